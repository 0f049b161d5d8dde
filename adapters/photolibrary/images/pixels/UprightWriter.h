#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "adapters/photolibrary/images/pixels/FittedSize.h"

namespace tlx::photolibrary {

/// Puts the rows of a stored picture where they belong in the upright one, in one pass and whole pixels. Quarter turns
/// are gathered a few rows at a time, so that the result is written in whole cache lines. One thread.
class UprightWriter {
 public:
  /// `stored` is the size before turning, `turn` the EXIF number of the orientation. `pixels` has room for the turned
  /// picture without gaps between rows, and outlives the object.
  UprightWriter(PixelSize stored, std::int32_t turn, std::uint8_t* pixels);

  /// The next row from the top, four bytes a pixel.
  void add(const std::uint8_t* rgba);
  /// Whether all rows have come.
  bool complete() const { return row_ == stored_.height; }
  /// Writes the rows gathered so far; happens by itself after the last row.
  void flush();

 private:
  static constexpr std::int32_t gathered = 16;  // pixels in a cache line

  PixelSize stored_;
  std::int32_t turn_;
  std::uint8_t* pixels_;
  std::int32_t row_ = 0, pending_ = 0;
  std::vector<std::uint32_t> block_;
};

}  // namespace tlx::photolibrary
