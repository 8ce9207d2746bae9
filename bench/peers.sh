#!/usr/bin/env bash
# The whole tool beside its peers, in one run: each quillmere job and its
# yardstick (the vips command-line tools doing the nearest plain job) run
# alternately, several times, on the same 24-megapixel photo. Prints the
# median wall time of each, its ratio to the yardstick and its peak RSS.
# The machine is shared and noisy: only the ratios mean much.
#
#   bench/peers.sh [ROUNDS]        (make bench-peers)
set -euo pipefail
cd "$(dirname "$0")/.."

ROUNDS=${1:-5}
TOOL=${QUILLMERE:-build/release/quillmere}
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

PHOTO=$WORK/photo24.jpg
bench/large-photo.sh "$PHOTO"
# The same photo as a phone held upright saves it: its pixels lie on their
# side, and the EXIF orientation says to turn them upright.
PORTRAIT=$WORK/portrait24.jpg
bench/large-photo.sh "$PORTRAIT" 6

# Presets of the comparison that do not ship.
mkdir -p "$WORK/presets"
cat >"$WORK/presets/Nothing.qmf" <<'EOF'
<filter version="1">
<mod name="Brightness"><var name="Amount" type="float">1</var></mod>
</filter>
EOF
cat >"$WORK/presets/Blur_10.qmf" <<'EOF'
<filter version="1">
<mod name="Blur"><var name="Amount" type="float">10</var></mod>
</filter>
EOF
cat >"$WORK/presets/Blur_100.qmf" <<'EOF'
<filter version="1">
<mod name="Blur"><var name="Amount" type="float">100</var></mod>
</filter>
EOF

# One timed run: prints "seconds peak_kib", or fails saying why (an older
# build compared with QUILLMERE= may not know a preset).
measure() {
  /usr/bin/time -f '%e %M' -o "$WORK/time" "$@" >/dev/null 2>"$WORK/err" || {
    echo "failed: $*" >&2
    grep -v '^Command exited' "$WORK/err" | head -3 >&2
    return 1
  }
  cat "$WORK/time"
}

median() { sort -n | awk '{a[NR]=$1} END {print (NR % 2) ? a[(NR+1)/2] : (a[NR/2] + a[NR/2+1]) / 2}'; }

# compare LABEL -- YARDSTICK... -- JOB...
compare() {
  local label=$1
  shift 2
  local yard=() job=()
  while [ "$1" != "--" ]; do yard+=("$1"); shift; done
  shift
  job=("$@")
  : >"$WORK/yard" && : >"$WORK/job"
  for _ in $(seq "$ROUNDS"); do
    measure "${yard[@]}" >>"$WORK/yard" || return 0
    measure "${job[@]}" >>"$WORK/job" || return 0
  done
  local yt jt jm ym
  yt=$(cut -d' ' -f1 "$WORK/yard" | median)
  jt=$(cut -d' ' -f1 "$WORK/job" | median)
  ym=$(cut -d' ' -f2 "$WORK/yard" | sort -n | tail -1)
  jm=$(cut -d' ' -f2 "$WORK/job" | sort -n | tail -1)
  printf '%-34s %6.2fs %6.2fs %6.2fx %6d MiB %6d MiB\n' "$label" "$yt" "$jt" \
    "$(awk -v j="$jt" -v y="$yt" 'BEGIN {print j / y}')" $((ym / 1024)) $((jm / 1024))
}

OUT=$WORK/out.jpg
COPY=(vips copy "$PHOTO" "$OUT[Q=100]")
APPLY=(env XDG_DATA_HOME="$WORK/data" "$TOOL" apply)
mkdir -p "$WORK/data/quillmere"
ln -s "$WORK/presets" "$WORK/data/quillmere/Presets"

printf '%-34s %7s %7s %7s %10s %10s\n' "work (24 MP, $ROUNDS rounds)" yardstk quillm ratio "yard RSS" "RSS"
compare "apply, a preset that changes nothing" -- "${COPY[@]}" -- "${APPLY[@]}" --preset Nothing "$PHOTO" -o "$OUT"
# Every shipped preset (camera styles included), then the two blurs.
shipped=()
for file in "resources/Default Presets"/*.qmf; do
  name=$(basename "$file" .qmf)
  shipped+=("${name//_/ }")
done
for preset in "${shipped[@]}" "Blur 10" "Blur 100"; do
  compare "apply --preset \"$preset\"" -- "${COPY[@]}" -- "${APPLY[@]}" --preset "$preset" "$PHOTO" -o "$OUT"
done
compare "apply --preset \"Golden Hour\", a portrait photo" -- vips autorot "$PORTRAIT" "$OUT[Q=100]" -- \
  "${APPLY[@]}" --preset "Golden Hour" "$PORTRAIT" -o "$OUT"
compare "thumbnails (80 x 50)" -- vipsthumbnail -s 80x50 -o "$WORK/thumb.png" "$PHOTO" -- \
  "$TOOL" thumbnails "$PHOTO" -o "$WORK/sheet.png"
