"""The scale-out recipes parse and agree with each other and with the tool."""
import ast
import json
import os
import re

import yaml

DEPLOY = os.path.join(os.path.dirname(__file__), "..", "..", "deploy")

DOCKERFILE_INSTRUCTIONS = {"FROM", "RUN", "CMD", "LABEL", "EXPOSE", "ENV", "ADD", "COPY", "ENTRYPOINT", "VOLUME",
                           "USER", "WORKDIR", "ARG", "ONBUILD", "STOPSIGNAL", "HEALTHCHECK", "SHELL"}


def dockerfile_instructions(path):
    """(INSTRUCTION, arguments) pairs, continuation lines joined."""
    instructions, pending = [], ""
    for line in open(path):
        stripped = line.strip()
        if not pending and (not stripped or stripped.startswith("#")):
            continue
        if stripped.endswith("\\"):
            pending += stripped[:-1] + " "
            continue
        whole = pending + stripped
        pending = ""
        keyword, _, arguments = whole.partition(" ")
        instructions.append((keyword, arguments.strip()))
    assert not pending, "a continuation line runs off the end"
    return instructions


def test_the_dockerfile_installs_the_package_on_debian_12():
    instructions = dockerfile_instructions(os.path.join(DEPLOY, "Dockerfile"))
    keywords = [k for k, _ in instructions]
    assert set(keywords) <= DOCKERFILE_INSTRUCTIONS, set(keywords) - DOCKERFILE_INSTRUCTIONS
    assert keywords[0] == "FROM" and instructions[0][1].startswith("debian:12")
    args = dict(a.split("=", 1) for k, a in instructions if k == "ARG")
    assert re.fullmatch(r"quillmere_[0-9.]+_amd64\.deb", args["QUILLMERE_DEB"])
    run = " ".join(a for k, a in instructions if k == "RUN")
    assert "/tmp/quillmere.deb" in run and "apt-get install" in run
    assert json.loads(dict(instructions)["ENTRYPOINT"]) == ["quillmere"]


def body(kubernetes_object):
    """What an object asks for: its one field beside the type and the
    metadata."""
    (fields,) = [v for k, v in kubernetes_object.items() if k not in ("apiVersion", "kind", "metadata")]
    return fields


def test_the_indexed_job_gives_each_pod_its_own_shard_of_the_list():
    job = yaml.safe_load(open(os.path.join(DEPLOY, "kubernetes", "quillmere-job.yaml")))
    assert job["apiVersion"] == "batch/v1" and job["kind"] == "Job"
    wanted = body(job)
    assert wanted["completionMode"] == "Indexed"
    pod = body(wanted["template"])
    container = pod["containers"][0]
    command = " ".join(container["args"])
    shard = re.search(r'--shard "\$JOB_COMPLETION_INDEX/(\d+)"', command)
    assert shard and int(shard.group(1)) == wanted["completions"], command
    assert "--skip-existing" in command and "--files-from" in command
    mounts = {m["name"]: m["mountPath"] for m in container["volumeMounts"]}
    assert all(path.startswith(mounts["photos"]) for path in re.findall(r"(/photos\S*)", command))
    assert pod["restartPolicy"] == "Never"


def test_the_ray_example_is_python_that_uses_the_module():
    source = open(os.path.join(DEPLOY, "ray", "render_with_ray.py")).read()
    tree = ast.parse(source)
    calls = {node.func.attr for node in ast.walk(tree)
             if isinstance(node, ast.Call) and isinstance(node.func, ast.Attribute)}
    assert "apply_file" in calls and "remote" in calls
