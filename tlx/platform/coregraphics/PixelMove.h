#pragma once

#include <cstddef>
#include <cstdint>

namespace tlx {

/// Rows of premultiplied RGBA to read from, at any alignment.
struct PixelSource {
  const std::uint8_t* pixels;
  std::size_t bytesPerRow;
  std::int64_t width, height;
};

/// Rows to write to.
struct PixelTarget {
  std::uint8_t* pixels;
  std::size_t bytesPerRow;
  std::int64_t width, height;
};

/// Where whole pixels go. The pixel in column i of row j goes to column x + xStep·i of row y + yStep·j or, transposed,
/// to column x + xStep·j of row y + yStep·i. The steps are 1 or −1.
struct PixelMove {
  bool transposed = false;
  int xStep = 1, yStep = 1;
  std::int64_t x = 0, y = 0;
};

/// Moves the pixels that fall within the target: in place of what is there, or over it. Quarter turns go in blocks, at
/// about the speed of copying.
void movePixels(const PixelSource& source, const PixelMove& move, const PixelTarget& target, bool overwrite);

}  // namespace tlx
