#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <vips/vips.h>

namespace tlx::program::test {

/// What another program sees in a picture's file.
struct Picture {
  int width = 0, height = 0;
  std::vector<std::uint8_t> pixels;  ///< red, green, blue, alpha, upright when asked for
  std::string loader;                ///< the format, as in "jpegload"
  std::string taken, takenOffset;    ///< as the file says it; empty when it does not
  int orientation = 0;               ///< as the file says it; 0 when it does not

  std::array<int, 4> at(int x, int y) const {
    const auto* pixel = pixels.data() + 4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                             static_cast<std::size_t>(x));
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
  }
};

/// Nothing in it when the file is no picture.
Picture readPicture(const std::string& path, bool upright = false);

/// The mean difference of two pictures' channels; 255 when their sizes differ.
double difference(const Picture& one, const Picture& other);

}  // namespace tlx::program::test
