#include "adapters/memory/Pictures.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace tlx::memory {

std::shared_ptr<const UIImage> solidPicture(std::size_t width, std::size_t height, std::uint32_t colour,
                                            UIImageOrientation orientation, double scale) {
  std::vector<std::uint8_t> pixels(width * height * CGImage::bytesPerPixel);
  for (std::size_t at = 0; at < pixels.size(); at += CGImage::bytesPerPixel) {
    pixels[at] = static_cast<std::uint8_t>(colour >> 16);
    pixels[at + 1] = static_cast<std::uint8_t>(colour >> 8);
    pixels[at + 2] = static_cast<std::uint8_t>(colour);
    pixels[at + 3] = 255;
  }
  return std::make_shared<const UIImage>(CGImage::create(width, height, std::move(pixels)), scale, orientation);
}

CGSize answeredSize(CGSize original, CGSize target, PHImageContentMode mode) {
  if (target.width <= 0 || target.height <= 0) return original;
  const double across = target.width / original.width, down = target.height / original.height;
  const double fitting = mode == PHImageContentModeAspectFill ? std::max(across, down) : std::min(across, down);
  const double factor = std::min(fitting, 1.0);
  return {std::max(1.0, std::round(original.width * factor)), std::max(1.0, std::round(original.height * factor))};
}

}  // namespace tlx::memory
