#include "tlx/platform/coregraphics/CGImage.h"

#include <utility>

#include "tlx/platform/NSException.h"

namespace tlx {

std::shared_ptr<const CGImage> CGImage::create(std::size_t width, std::size_t height,
                                               std::vector<std::uint8_t> pixels) {
  if (pixels.size() < width * height * bytesPerPixel) {
    throw NSException(NSInvalidArgumentException, "CGImage: fewer pixels than width times height");
  }
  auto bytes = std::make_shared<const std::vector<std::uint8_t>>(std::move(pixels));
  const std::uint8_t* data = bytes->data();
  return createWithOwner(width, height, width * bytesPerPixel, data, std::move(bytes));
}

std::shared_ptr<const CGImage> CGImage::createWithOwner(std::size_t width, std::size_t height, std::size_t bytesPerRow,
                                                        const std::uint8_t* pixels, std::shared_ptr<const void> owner) {
  if (width == 0 || height == 0 || bytesPerRow < width * bytesPerPixel || !pixels) {
    throw NSException(NSInvalidArgumentException, "CGImage: not a bitmap");
  }
  std::shared_ptr<CGImage> image(new CGImage);
  image->width_ = width;
  image->height_ = height;
  image->bytesPerRow_ = bytesPerRow;
  image->pixels_ = pixels;
  image->owner_ = std::move(owner);
  return image;
}

}  // namespace tlx
