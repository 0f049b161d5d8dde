#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/coregraphics/CGImage.h"

namespace tlx::test {

/// A picture written as rows of characters, one for each pixel: '.' is clear, every other one an opaque colour of its
/// own.
inline std::shared_ptr<const CGImage> letterPicture(const std::vector<std::string>& rows) {
  std::vector<std::uint8_t> pixels;
  for (const std::string& row : rows) {
    for (const char letter : row) {
      const auto value = static_cast<std::uint8_t>(letter);
      if (letter == '.') {
        pixels.insert(pixels.end(), {0, 0, 0, 0});
      } else {
        pixels.insert(pixels.end(), {value, static_cast<std::uint8_t>(255 - value), 7, 255});
      }
    }
  }
  return CGImage::create(rows.empty() ? 0 : rows[0].size(), rows.size(), std::move(pixels));
}

/// The same backwards; a pixel that is neither clear nor one of the letters reads '?'.
inline std::vector<std::string> lettersOf(const CGImage& image) {
  std::vector<std::string> rows;
  for (std::size_t y = 0; y < image.height(); ++y) {
    std::string row;
    for (std::size_t x = 0; x < image.width(); ++x) {
      const std::uint8_t* pixel = image.row(y) + x * CGImage::bytesPerPixel;
      const bool clear = pixel[0] == 0 && pixel[1] == 0 && pixel[2] == 0 && pixel[3] == 0;
      const bool letter = pixel[0] + pixel[1] == 255 && pixel[2] == 7 && pixel[3] == 255;
      row += clear ? '.' : letter ? static_cast<char>(pixel[0]) : '?';
    }
    rows.push_back(row);
  }
  return rows;
}

}  // namespace tlx::test
