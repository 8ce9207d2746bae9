#!/usr/bin/env bash
# Writes the benchmarks' 24-megapixel photo to PATH: the sample photo scaled
# to 6000 x 4000 and saved as a JPEG at quality 95. Needs the vips tools.
# With ORIENTATION, its EXIF orientation tag says that (6: the camera was
# turned a quarter to the right, as a phone held upright saves its photos).
#
#   bench/large-photo.sh PATH [ORIENTATION]
set -euo pipefail
cd "$(dirname "$0")/.."
out=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
vips resize resources/samples/seeding.jpg "$scratch/scaled.v" 1.13 --vscale 1.34
vips crop "$scratch/scaled.v" "$out[Q=95]" 0 0 6000 4000
if [ $# -ge 2 ]; then
  python3 - "$out" "$2" <<'PY'
import sys
path, orientation = sys.argv[1], int(sys.argv[2])
data = bytearray(open(path, "rb").read())
tiff = data.find(b"Exif\0\0") + 6
order = "little" if data[tiff:tiff + 2] == b"II" else "big"
number = lambda at, size: int.from_bytes(data[at:at + size], order)
entries = tiff + number(tiff + 4, 4)
for k in range(number(entries, 2)):
    entry = entries + 2 + 12 * k
    if number(entry, 2) == 0x0112:
        data[entry + 8:entry + 10] = orientation.to_bytes(2, order)
        open(path, "wb").write(data)
        sys.exit(0)
sys.exit("no orientation tag in " + path)
PY
fi
