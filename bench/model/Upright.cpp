// Turning a picture of 12 million pixels upright, against one rotated copy at memory speed.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "tlx/views/UIImage+BundleInfo.h"

#include "bench/SideBySide.h"

namespace {

constexpr std::size_t width = 4000, height = 3000;

/// The limit: a quarter turn clockwise and nothing else, into memory fresh from the system, as a redraw's is.
void rotatedCopy(const std::uint32_t* from, std::uint32_t* to) {
  constexpr std::size_t block = 16;
  for (std::size_t x = 0; x < width; x += block) {
    for (std::size_t y = 0; y < height; y += block) {
      for (std::size_t i = x; i < std::min(x + block, width); ++i) {
        for (std::size_t j = y; j < std::min(y + block, height); ++j) {
          to[i * height + (height - 1 - j)] = from[j * width + i];
        }
      }
    }
  }
}

}  // namespace

int main() {
  using namespace tlx;
  std::vector<std::uint8_t> pixels(width * height * CGImage::bytesPerPixel);
  std::uint32_t value = 1;
  for (auto& byte : pixels) byte = static_cast<std::uint8_t>((value = value * 1664525u + 1013904223u) >> 24);
  for (std::size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 255;
  const auto bitmap = CGImage::create(width, height, std::move(pixels));

  const auto peer = [&] {
    return bench::secondsOf([&] {
      std::unique_ptr<std::uint32_t[], decltype(&std::free)> copy(
          static_cast<std::uint32_t*>(std::malloc(width * height * 4)), &std::free);
      rotatedCopy(reinterpret_cast<const std::uint32_t*>(bitmap->pixels()), copy.get());
      bench::keep(copy.get());
    });
  };
  const auto redraw = [&](UIImageOrientation orientation) {
    const auto image = std::make_shared<const UIImage>(bitmap, 1.0, orientation);
    return [image] {
      return bench::secondsOf([&] {
        const auto upright = scaleAndRotate(image);
        bench::keep(upright.get());
      });
    };
  };
  bool kept = true;
  kept &= bench::sideBySide("upright redraw, 12 MP, right", 2, 15, redraw(UIImageOrientationRight), peer);
  kept &= bench::sideBySide("upright redraw, 12 MP, left", 2, 15, redraw(UIImageOrientationLeft), peer);
  kept &= bench::sideBySide("upright redraw, 12 MP, down", 2, 15, redraw(UIImageOrientationDown), peer);
  const auto plainCopy = [&] {
    return bench::secondsOf([&] {
      std::unique_ptr<std::uint8_t, decltype(&std::free)> copy(
          static_cast<std::uint8_t*>(std::malloc(width * height * 4)), &std::free);
      std::memcpy(copy.get(), bitmap->pixels(), width * height * 4);
      bench::keep(copy.get());
    });
  };
  bench::sideBySide("  the same beside a plain copy", 0, 15, redraw(UIImageOrientationRight), plainCopy);
  const auto twice = std::make_shared<const UIImage>(bitmap, 2.0, UIImageOrientationRight);
  bench::sideBySide(
      "  the same at scale 2 (halved by area)", 0, 7,
      [&] { return bench::secondsOf([&] { bench::keep(scaleAndRotate(twice).get()); }); }, peer);
  return kept ? 0 : 1;
}
