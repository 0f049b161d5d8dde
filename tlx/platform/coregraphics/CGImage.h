#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace tlx {

/// An immutable bitmap: sRGB, 8 bits a channel, red, green, blue, alpha in memory order, colour premultiplied by alpha,
/// rows from the top. Width and height are in pixels, both at least 1. The pixels stay where they are for the object's
/// life, and may be read on any thread.
class CGImage {
 public:
  static constexpr std::size_t bytesPerPixel = 4;

  /// Takes over `pixels`, which holds height × width × 4 bytes.
  static std::shared_ptr<const CGImage> create(std::size_t width, std::size_t height, std::vector<std::uint8_t> pixels);
  /// Refers to `pixels`, kept alive by `owner` (a mapped file, a decoder's buffer); `bytesPerRow` ≥ 4 × width.
  static std::shared_ptr<const CGImage> createWithOwner(std::size_t width, std::size_t height, std::size_t bytesPerRow,
                                                        const std::uint8_t* pixels, std::shared_ptr<const void> owner);

  std::size_t width() const { return width_; }
  std::size_t height() const { return height_; }
  std::size_t bytesPerRow() const { return bytesPerRow_; }
  const std::uint8_t* pixels() const { return pixels_; }
  const std::uint8_t* row(std::size_t y) const { return pixels_ + y * bytesPerRow_; }
  std::size_t byteCount() const { return bytesPerRow_ * height_; }

 private:
  CGImage() = default;

  std::size_t width_ = 0, height_ = 0, bytesPerRow_ = 0;
  const std::uint8_t* pixels_ = nullptr;  // unretained: owner_ keeps the bytes
  std::shared_ptr<const void> owner_;
};

}  // namespace tlx
