#!/usr/bin/env bash
# Reads every include and tells those that go against the arrows of ARCHITECTURE.md. Run as a test.
set -u
cd "$(dirname "$0")/.."
wrong=0

# room  what it may include, as a pattern over the included path
rules() {
  cat <<'RULES'
tlx/platform	^tlx/platform/
tlx/progress	^tlx/(platform|progress)/
tlx/library	^tlx/(platform|library)/|^tlx/views/UIImage\+BundleInfo\.h$
tlx/views	^tlx/(platform|library|views)/|^tlx/picker/MediaPickerBroadcastProtocol\.h$
tlx/picker	^tlx/(platform|library|views|progress|picker)/
adapters/memory	^tlx/platform/|^adapters/memory/
adapters/qtquick	^tlx/platform/|^adapters/qtquick/
adapters/photolibrary	^tlx/platform/|^adapters/photolibrary/
adapters/netlink	^tlx/platform/|^adapters/netlink/
adapters/camera	^tlx/platform/|^adapters/camera/
RULES
}

while IFS=$'\t' read -r room allowed; do
  [ -d "$room" ] || continue
  while IFS=: read -r file line text; do
    included=$(sed -E 's/.*"([^"]+)".*/\1/' <<<"$text")
    if ! grep -qE "$allowed" <<<"$included"; then
      echo "$file:$line: $room may not include $included"
      wrong=1
    fi
  done < <(grep -rnE '^#include "' "$room" --include='*.h' --include='*.cpp' | grep -vE '#include "[^/"]+"')
done < <(rules)

# The broadcast protocol and the image category stand alone, so that the rooms below may include them.
for alone in tlx/picker/MediaPickerBroadcastProtocol.h tlx/views/UIImage+BundleInfo.h; do
  if grep -nE '^#include "tlx/(picker|library|views|progress)/' "$alone"; then
    echo "$alone: may include tlx/platform/ alone"
    wrong=1
  fi
done

# tlx/ is built with the standard library alone; a stray system header would go unnoticed where it happens to be installed.
if grep -rnE '^#include <(Q|vips|jpeg|exif|sqlite|gst|libav|heif|glib)' tlx adapters/memory; then
  echo "tlx/ and the memory platform use the standard library alone"
  wrong=1
fi
exit $wrong
