#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tlx/platform/uikit/UIFont.h"

namespace tlx {

class AlbumModel;

/// What the album list tells and asks the picker. Main thread.
class AlbumPickerDelegate {
 public:
  virtual ~AlbumPickerDelegate() = default;

  /// The album became the current one. Never nothing.
  virtual void pickedAlbumWithAlbumModel(const std::shared_ptr<AlbumModel>& album) = 0;
  /// The font for a key such as "Raleway-Bold:14". No answer leaves a label its own font; the answer that there is no
  /// font resets it to the platform's default.
  virtual std::optional<UIFontRef> fontsForKey(const std::string& key) { return std::nullopt; }
};

}  // namespace tlx
