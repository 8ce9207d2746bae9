#!/usr/bin/env bash
# The desktop editor on the 24-megapixel photo, headless: the time from
# start to the first preview shown, to every thumbnail shown, from one
# click to its preview, and the window thread's longest stall (it must stay
# under 50 ms). Runs ROUNDS times; the machine is noisy, so read the spread.
#
#   bench/editor-timings.sh [ROUNDS]        (make bench-editor)
set -euo pipefail
cd "$(dirname "$0")/.."
ROUNDS=${1:-3}
EDITOR=${QUILLMERE_EDITOR:-build/release/quillmere-editor}
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
bench/large-photo.sh "$WORK/photo24.jpg"
for round in $(seq "$ROUNDS"); do
  echo "== round $round"
  QT_QPA_PLATFORM=offscreen "$EDITOR" --timings "$WORK/photo24.jpg" 2>/dev/null
done
