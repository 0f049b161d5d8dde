#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/photos/PHImageRequest.h"

namespace tlx::photolibrary {

struct PixelSize {
  std::int32_t width = 0, height = 0;

  std::int64_t pixels() const { return std::int64_t{width} * height; }
  PixelSize turned() const { return {height, width}; }
  friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// The size that a picture of `source` pixels has when it is made for `target`: of the source's shape, within the
/// target or covering it, never larger than the source, rounded, each side at least 1. A target without an area asks
/// for the whole picture.
inline PixelSize fittedSize(PixelSize source, CGSize target, PHImageContentMode mode) {
  if (!(target.width > 0) || !(target.height > 0) || source.width <= 0 || source.height <= 0) return source;
  const double across = target.width / source.width;
  const double down = target.height / source.height;
  const double scale = mode == PHImageContentModeAspectFill ? std::max(across, down) : std::min(across, down);
  if (scale >= 1) return source;
  const auto side = [scale](std::int32_t length) {
    return std::max<std::int32_t>(1, static_cast<std::int32_t>(std::lround(length * scale)));
  };
  return {side(source.width), side(source.height)};
}

}  // namespace tlx::photolibrary
