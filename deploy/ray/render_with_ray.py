"""Renders a list of photos with Ray over Quillmere's Python module: one
task per photo, each writing its result whole (or not at all) beside the
others, skipping results that are already there.

    python3 render_with_ray.py LIST OUT_DIR --preset Noir [--address auto]
"""
import argparse
import os

import ray


@ray.remote(num_cpus=1)
def render(photo, out_dir, preset):
    import quillmere  # imported in the worker, where it renders

    target = os.path.join(out_dir, os.path.splitext(os.path.basename(photo))[0] + ".jpg")
    if os.path.exists(target):
        return target, "skipped"
    try:
        quillmere.apply_file(photo, target, preset=preset)
    except quillmere.Error as failure:
        return target, str(failure)
    return target, "written"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("list", help="one photo path a line")
    parser.add_argument("out_dir")
    parser.add_argument("--preset", required=True)
    parser.add_argument("--address", default=None, help="a Ray cluster to join (default: start one here)")
    options = parser.parse_args()

    ray.init(address=options.address)
    with open(options.list) as f:
        photos = [line.strip() for line in f if line.strip()]
    os.makedirs(options.out_dir, exist_ok=True)
    pending = [render.remote(p, options.out_dir, options.preset) for p in photos]
    failed = 0
    while pending:
        done, pending = ray.wait(pending, num_returns=min(64, len(pending)))
        for target, outcome in ray.get(done):
            if outcome not in ("written", "skipped"):
                failed += 1
                print(outcome)
    print(f"{len(photos) - failed} of {len(photos)} photos rendered or already there")
    raise SystemExit(1 if failed else 0)


if __name__ == "__main__":
    main()
