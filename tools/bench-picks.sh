#!/usr/bin/env bash
# How much memory the program holds with a thousand twelve-megapixel photos picked and delivered at 1600 × 1600. Needs 4 GB in the
# temporary folder while it runs.
set -eu
bin=${1:?usage: bench-picks.sh FOLDER [COUNT]}
count=${2:-1000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/photos"
"$bin/tlx_bench_thumbnails" --photo "$work/one.jpg"
for ((i = 0; i < count; ++i)); do cp "$work/one.jpg" "$work/photos/photo$i.jpg"; done

XDG_CACHE_HOME=$work/cache "$bin/tlx-media-picker" --headless --pick "Camera Roll:0-$((count - 1))" --size 1600x1600 \
  "$work/photos" >"$work/records" 2>"$work/words" &
program=$!
highest=0
while resident=$(awk '/VmHWM/ {print $2}' "/proc/$program/status" 2>/dev/null) && [ -n "$resident" ]; do
  highest=$resident
  sleep 0.05
done
wait "$program"
delivered=$(wc -l <"$work/records")
printf '%-44s %d delivered  resident at most %d MB  aim 1024 MB  %s\n' "picks at 1600 x 1600" "$delivered" \
  $((highest / 1024)) "$([ $((highest / 1024)) -lt 1024 ] && [ "$delivered" = "$count" ] && echo kept || echo MISSED)"
