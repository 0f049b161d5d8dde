#pragma once

#include <cstdint>
#include <optional>

#include "tlx/platform/coregraphics/CGImage.h"
#include "tlx/platform/foundation/NSError.h"

#include "adapters/photolibrary/images/pixels/FittedSize.h"

namespace tlx::photolibrary {

/// Why something failed, or nothing.
using Failure = std::optional<NSError>;

/// Where a decoder's finished rows go. One thread.
class RowSink {
 public:
  virtual ~RowSink() = default;
  /// A picture of `stored` pixels follows, which stands upright once it is turned as EXIF's number `turn` says. An
  /// error where there is no room for it.
  virtual Failure begin(PixelSize stored, std::int32_t turn) = 0;
  /// The next row from the top: sRGB, premultiplied, four bytes a pixel.
  virtual void add(const std::uint8_t* rgba) = 0;
};

}  // namespace tlx::photolibrary
