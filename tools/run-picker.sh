#!/usr/bin/env bash
# Opens the picker on the person's own pictures, or on a sample library that is made when there are none. Without a
# display it says so and goes through the same flow off screen, leaving what it delivered and pictures of the window.
# Fails as the program does, except that a Cancel is no failure.
set -eu
cd "$(dirname "$0")/.."
bin=build/release/bin

# The person's folders for pictures and videos; one that is set to the home folder is switched off.
standard_folders() {
  local key folder
  for key in PICTURES VIDEOS; do
    folder=$(command -v xdg-user-dir >/dev/null && xdg-user-dir $key || true)
    [ -n "$folder" ] || folder=$HOME/$([ $key = PICTURES ] && echo Pictures || echo Videos)
    [ "${folder%/}" != "${HOME%/}" ] && [ -d "$folder" ] && printf '%s\n' "$folder"
  done | sort -u
}

holds_pictures() {
  find -L "$1" -maxdepth 6 -type f \
    \( -iname '*.jp*g' -o -iname '*.png' -o -iname '*.heic' -o -iname '*.webp' -o -iname '*.mp4' -o -iname '*.mov' \) \
    -print -quit 2>/dev/null | grep -q .
}

own=false
mapfile -t folders < <(standard_folders)
for folder in ${folders[@]+"${folders[@]}"}; do
  if holds_pictures "$folder"; then own=true; fi
done
maker=
if ! $own; then
  sample=${XDG_DATA_HOME:-$HOME/.local/share}/tlx-media-picker/sample-library
  echo "No pictures of your own were found: using a sample library in $sample"
  # It goes on while the window is open, newest first, and ends with it.
  exec {made}< <(exec setpriv --pdeathsig TERM "$bin/tlx-sample-library" "$sample")
  maker=$!
  trap 'kill $maker 2>/dev/null && wait $maker || true' EXIT
  read -r first <&"$made" || { echo "No sample library could be made."; exit 1; }
  folders=("$sample")
fi

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ "${TLX_HEADLESS:-}" = "" ]; then
  # The picker finds the person's own folders by itself, and asks for access to them.
  if $own; then folders=(); fi
  status=0
  "$bin/tlx-media-picker" ${folders[@]+"${folders[@]}"} || status=$?
  # Who cancels has made no error.
  exit $((status == 1 ? 0 : status))
fi

if [ -n "$maker" ]; then wait "$maker"; fi
# Nobody can be asked here: naming the folders is the consent.
echo "There is no display: going through the same flow off screen."
out=$(mktemp -d)
echo "== Albums"
albums=$("$bin/tlx-media-picker" --headless --list "${folders[@]}")
printf '%s\n' "$albums"
count=$(printf '%s\n' "$albums" | sed -n 's/^{"albums":\[{"title":"[^"]*","identifier":"[^"]*","count":\([0-9]*\).*/\1/p')
if [ -z "$count" ]; then
  echo "There is nothing to pick."
  exit 0
fi
last=$((count < 3 ? count - 1 : 2))
echo "== The newest $((last + 1)) of $count items, delivered to $out"
"$bin/tlx-media-picker" --headless --pick "smart:camera-roll:0-$last" --on-failure continue --output "$out" \
  --screenshot "$out/window-picked.png" "${folders[@]}"
QT_QPA_PLATFORM=offscreen "$bin/tlx-media-picker" --screenshot "$out/window.png" "${folders[@]}"
echo "== Pictures of the window: $out/window.png and $out/window-picked.png"
ls -l "$out"
