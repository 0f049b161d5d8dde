#!/usr/bin/env bash
# Opens the picker on the person's own pictures, or on a sample library that is made when there are none. Without a
# display it says so and goes through the same flow off screen.
set -eu
cd "$(dirname "$0")/.."
bin=build/release/bin

own_pictures() {
  local folder
  for key in PICTURES VIDEOS; do
    folder=$( (command -v xdg-user-dir >/dev/null && xdg-user-dir $key) || true)
    [ -n "$folder" ] && [ "$folder" != "$HOME" ] || folder=$HOME/$([ $key = PICTURES ] && echo Pictures || echo Videos)
    [ -d "$folder" ] && find -L "$folder" -maxdepth 6 -type f \
      \( -iname '*.jp*g' -o -iname '*.png' -o -iname '*.heic' -o -iname '*.webp' -o -iname '*.mp4' -o -iname '*.mov' \) \
      -print -quit
  done | grep -q .
}

folders=()
if ! own_pictures; then
  sample=${XDG_DATA_HOME:-$HOME/.local/share}/tlx-media-picker/sample-library
  echo "No pictures of your own were found: using a sample library in $sample"
  "$bin/tlx-sample-library" "$sample"
  folders=("$sample")
fi

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ "${TLX_HEADLESS:-}" = "" ]; then
  exec "$bin/tlx-media-picker" ${folders[@]+"${folders[@]}"}
fi

echo "There is no display: going through the same flow off screen."
out=$(mktemp -d)
echo "== Albums"
"$bin/tlx-media-picker" --headless --list ${folders[@]+"${folders[@]}"}
echo "== The newest three items, delivered to $out"
"$bin/tlx-media-picker" --headless --pick "Camera Roll:0-2" --output "$out" ${folders[@]+"${folders[@]}"}
ls -l "$out"
