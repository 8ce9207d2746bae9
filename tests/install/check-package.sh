#!/usr/bin/env bash
# Unpacks the Debian package into a fresh root (no installation on this
# system) and runs what it installed there: the tool's version, its presets
# found beside it, and the Python module with those presets.
#
#   tests/install/check-package.sh DEB
set -euo pipefail
deb=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb --info "$deb" | grep -E "^ (Package|Version|Depends):"
dpkg-deb -x "$deb" "$root"

version=$("$root/usr/bin/quillmere" --version)
echo "installed: $version"
presets=$("$root/usr/bin/quillmere" presets)
grep -q "$root/usr/share/quillmere/Presets/.*Noir.qmf" <<<"$presets" ||
  { echo "the installed tool did not list its own presets:"; echo "$presets"; exit 1; }
test -f "$root/usr/include/quillmere/mods/ImageMod.h"
test -f "$root/usr/lib/cmake/Quillmere/QuillmereConfig.cmake"
test -x "$root/usr/bin/quillmere-editor"

module=$(ls "$root"/usr/lib/python3/dist-packages/quillmere*.so)
PYTHONPATH=$(dirname "$module") /usr/bin/python3 -c '
import sys, quillmere
names = quillmere.presets()
assert "Noir" in names, names
print("python module:", quillmere.__version__, len(names), "presets")'
echo "package check passed"
