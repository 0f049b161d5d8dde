#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tlx/platform/coregraphics/CGImage.h"

#include "adapters/photolibrary/images/codecs/FittedSize.h"
#include "adapters/photolibrary/images/headers/FileBytes.h"

namespace tlx::photolibrary {

/// A PNG's texts by keyword, in their order.
class PngTexts {
 public:
  void add(std::string key, std::string text) { all_.emplace_back(std::move(key), std::move(text)); }
  /// The first text of that keyword; nothing when there is none.
  std::optional<std::string_view> find(std::string_view key) const;
  auto begin() const { return all_.begin(); }
  auto end() const { return all_.end(); }

 private:
  std::vector<std::pair<std::string, std::string>> all_;
};

/// A small picture with texts.
struct PngThumbnail {
  PixelSize size;
  bool opaque = true;
  std::vector<std::uint8_t> rgba;  ///< rows without a gap, colour not premultiplied
  PngTexts texts;

  /// Nothing for what is damaged, truncated or larger than `maxSide` a side. `accept` is asked once, with all texts
  /// where they stand before the pixels; answering false there saves decoding them.
  static std::optional<PngThumbnail> read(Bytes png, int maxSide, const std::function<bool(const PngTexts&)>& accept);
};

/// A PNG of the picture, quick to write and to read rather than small. Empty when there is no memory for it.
std::vector<std::uint8_t> writePng(const CGImage& image, const PngTexts& texts);

}  // namespace tlx::photolibrary
