#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "adapters/photolibrary/base/FileBytes.h"
#include "adapters/photolibrary/images/pixels/FittedSize.h"
#include "adapters/photolibrary/images/writing/PngWriter.h"

namespace tlx::photolibrary {

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

}  // namespace tlx::photolibrary
