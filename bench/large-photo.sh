#!/usr/bin/env bash
# Writes the benchmarks' 24-megapixel photo to PATH: the sample photo scaled
# to 6000 x 4000 and saved as a JPEG at quality 95. Needs the vips tools.
#
#   bench/large-photo.sh PATH
set -euo pipefail
cd "$(dirname "$0")/.."
out=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
vips resize resources/samples/seeding.jpg "$scratch/scaled.v" 1.13 --vscale 1.34
vips crop "$scratch/scaled.v" "$out[Q=95]" 0 0 6000 4000
