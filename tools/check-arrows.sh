#!/usr/bin/env bash
# Reads every include of tlx/, adapters/ and apps/ and tells those that go from a folder to one that its row below does
# not name, and circles among the folders. Run as a test. Two paths, `check-arrows.sh FROM TO`, pretend that the file
# FROM includes TO: that is how the tests see it fail.
set -u
cd "$(dirname "$0")/.."

# folder: the folders, and the single headers, that it may include besides itself. "x/..." is x and all below it.
rows() {
  cat <<'ROWS'
tlx/platform:
tlx/platform/dispatch: tlx/platform
tlx/platform/foundation: tlx/platform tlx/platform/dispatch
tlx/platform/coregraphics: tlx/platform tlx/platform/foundation
tlx/platform/quartzcore: tlx/platform tlx/platform/dispatch tlx/platform/foundation tlx/platform/coregraphics
tlx/platform/avfoundation: tlx/platform tlx/platform/foundation tlx/platform/coregraphics
tlx/platform/systemconfiguration: tlx/platform tlx/platform/dispatch tlx/platform/foundation
tlx/platform/uikit: tlx/platform tlx/platform/dispatch tlx/platform/foundation tlx/platform/coregraphics tlx/platform/quartzcore tlx/platform/avfoundation
tlx/platform/photos: tlx/platform tlx/platform/dispatch tlx/platform/foundation tlx/platform/coregraphics tlx/platform/avfoundation tlx/platform/uikit
tlx/progress: tlx/platform/...
tlx/library: tlx/platform/... tlx/views/UIImage+BundleInfo.h
tlx/views: tlx/platform/... tlx/library tlx/picker/MediaPickerBroadcastProtocol.h
tlx/picker: tlx/platform/... tlx/library tlx/views tlx/progress
adapters/memory: tlx/platform/...
adapters/netlink: tlx/platform/...
adapters/modules:
adapters/camera: tlx/platform/... adapters/modules
adapters/qtquick/loop: tlx/platform/...
adapters/qtquick/views: tlx/platform/...
adapters/qtquick/scenes: tlx/platform/... adapters/qtquick/views
adapters/qtquick/window: tlx/platform/... adapters/qtquick/views adapters/qtquick/scenes
adapters/qtquick/capture: tlx/platform/... adapters/qtquick/views
adapters/qtquick: tlx/platform/... adapters/qtquick/...
adapters/photolibrary/base: tlx/platform/...
adapters/photolibrary/source: tlx/platform/... adapters/photolibrary/base
adapters/photolibrary/access: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source
adapters/photolibrary/catalogue: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source
adapters/photolibrary/images/headers: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source
adapters/photolibrary/images/writing: tlx/platform/...
adapters/photolibrary/images/pixels: tlx/platform/... adapters/photolibrary/base
adapters/photolibrary/images/codecs: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source adapters/photolibrary/images/headers adapters/photolibrary/images/pixels
adapters/photolibrary/images/cache: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source adapters/photolibrary/images/pixels adapters/photolibrary/images/writing
adapters/photolibrary/images: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source adapters/photolibrary/images/cache adapters/photolibrary/images/pixels
adapters/photolibrary/decoding: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source adapters/photolibrary/images/pixels
adapters/photolibrary/decoding/worker: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source adapters/photolibrary/decoding adapters/photolibrary/images/codecs adapters/photolibrary/images/headers adapters/photolibrary/images/pixels
adapters/photolibrary/files: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source adapters/photolibrary/catalogue adapters/photolibrary/images/writing
adapters/photolibrary/cloud: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source
adapters/photolibrary/cloud/webdav: tlx/platform/... adapters/photolibrary/base adapters/photolibrary/source adapters/photolibrary/catalogue adapters/photolibrary/cloud
adapters/photolibrary: tlx/platform/... adapters/photolibrary/...
apps/tlx-media-picker: tlx/... adapters/... apps/tlx-media-picker/keyring
apps/tlx-media-picker/keyring: adapters/photolibrary/cloud
apps/tlx-media-decoder: adapters/photolibrary/...
ROWS
}

# The broadcast protocol and the image category stand alone, so that the rooms below may include them.
standing_alone='tlx/picker/MediaPickerBroadcastProtocol.h|tlx/views/UIImage+BundleInfo.h'

includes() {
  grep -rnE '^#include "[^"]+/[^"]+"' tlx adapters apps --include='*.h' --include='*.cpp'
  [ $# -eq 2 ] && echo "$1:0:#include \"$2\""
}

wrong=0
awk -v alone="$standing_alone" '
  function folder(path) { sub(/\/[^\/]*$/, "", path); return path }
  function allowed(from, to, header,    names, n, i, all) {
    n = split(row[from], names, " ")
    for (i = 1; i <= n; i++) {
      if (names[i] == to || names[i] == header) return 1
      all = names[i]
      if (sub(/\/\.\.\.$/, "", all) && (to == all || index(to, all "/") == 1)) return 1
    }
    return 0
  }
  function walk(at, path,    next_ones, n, i) {  # depth first; a folder that is met again on the way closes a circle
    if (state[at] == "done") return
    if (state[at] == "open") { print "circle:" substr(path, index(path, " > " at) + 2) " > " at; wrong = 1; return }
    state[at] = "open"
    n = split(arrows[at], next_ones, " ")
    for (i = 1; i <= n; i++) walk(next_ones[i], path " > " at)
    state[at] = "done"
  }
  BEGIN { split(alone, names, "|"); for (i in names) stands_alone[names[i]] = 1 }
  NR == FNR { from = $1; sub(/:$/, "", from); $1 = ""; row[from] = $0 " "; rows[from]; next }
  {
    split($0, quoted, "\"")
    included = quoted[2]
    place = quoted[1]
    sub(/:#include $/, "", place)
    file = place
    sub(/:[0-9]+$/, "", file)
    from = folder(file)
    to = folder(included)
    if (from == to && !(file in stands_alone)) next
    if (file in stands_alone) {
      if (index(to, "tlx/platform") != 1) { print place ": " file " may include tlx/platform/ alone"; wrong = 1 }
      next
    }
    if (!(from in rows)) {
      if (!told[from]++) { print place ": the folder " from " has no row in check-arrows.sh"; wrong = 1 }
    } else if (!allowed(from, to, included)) {
      print place ": " from " may not include " included
      wrong = 1
    }
    if (!(included in stands_alone) && !known[from, to]++) arrows[from] = arrows[from] " " to
  }
  END { for (each in arrows) walk(each, ""); exit wrong }
' <(rows) <(includes "$@") || wrong=1

# tlx/ is built with the standard library alone; a stray system header would go unnoticed where it happens to be
# installed.
if grep -rnE '^#include <(Q|vips|jpeg|exif|sqlite|gst|libav|heif|glib)' tlx adapters/memory; then
  echo "tlx/ and the memory platform use the standard library alone"
  wrong=1
fi
exit $wrong
