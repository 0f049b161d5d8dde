#pragma once

#include <cstdint>
#include <span>

#include "tlx/platform/coregraphics/CGImage.h"

#include "adapters/photolibrary/images/writing/ByteSink.h"

namespace tlx::photolibrary {

/// The longest side that the library below writes.
inline constexpr std::size_t kJpegSideLimit = 65'500;

/// How much colour a JPEG keeps beside the light.
enum class JpegColour {
  EveryPixel,   ///< as pictures that somebody made may need: small text in red
  EverySecond,  ///< in both directions, as cameras write it
};

/// Writes the picture as a JPEG of quality 92, at which nobody sees a difference and a file has a few megabytes. What
/// is transparent comes out as over black. `exif` is a block without a mark in front, of at most 60,000 bytes; none
/// when empty. Answers 0, the sink's error number, EFBIG for a side beyond the limit, or ENOMEM. Any thread.
int writeJpeg(const CGImage& image, JpegColour colour, std::span<const std::uint8_t> exif, const ByteSink& sink);

}  // namespace tlx::photolibrary
