#pragma once

#include <cstdint>
#include <vector>

#include "tlx/platform/coregraphics/PixelMove.h"

namespace tlx {

/// Pixels made by resampling, and the column and row of a target at which they belong.
struct ResampledPixels {
  std::vector<std::uint8_t> pixels;
  std::int64_t x = 0, y = 0, width = 0, height = 0;

  PixelSource source() const { return {pixels.data(), static_cast<std::size_t>(width) * 4, width, height}; }
};

/// One axis: the source coordinate u goes to scale·u + offset; `scale` is not 0, negative mirrors.
struct AxisMap {
  double scale, offset;
};

/// Scales along both axes, and keeps what falls into the columns 0 … columns − 1 and rows 0 … rows − 1. Every pixel is
/// the average of the source that it covers; one that the picture covers in part is clear for the rest.
ResampledPixels resampleAlongAxes(const PixelSource& source, const AxisMap& xMap, const AxisMap& yMap,
                                  std::int64_t columns, std::int64_t rows);

}  // namespace tlx
