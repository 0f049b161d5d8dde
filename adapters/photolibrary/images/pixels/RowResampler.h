#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "adapters/photolibrary/images/pixels/FittedSize.h"

namespace tlx::photolibrary {

/// Makes a picture smaller while its rows come in from the top, keeping no more of it than the rows that still
/// contribute. The filter is the interpolating cubic (support 2, a = -1/2), widened by the ratio: an average over the
/// area of a pixel that keeps edges crisp. Where the ratio is large, whole blocks of pixels are averaged first, down to
/// twice the result or more. Four channels a pixel, colour premultiplied. One thread. It exists because the picture
/// library's own resize takes two to eight times as long and wants the whole picture; see `tlx_bench_thumbnails`.
class RowResampler {
 public:
  /// Told of each finished row, from the top; the row is valid within the call and may be written to.
  using Row = std::function<void(std::uint8_t* rgba)>;

  /// `to` is no larger than `from` in either direction.
  RowResampler(PixelSize from, PixelSize to, Row finished);

  /// The next row of `from`'s width.
  void add(const std::uint8_t* rgba);

 private:
  /// What each place of the result takes from the source.
  struct Taps {
    struct Span {
      std::int32_t first, count;
      std::size_t weights;
    };
    std::vector<Span> spans;
    std::vector<float> weights;
  };
  /// `from` in blocks, of `box` pixels each, which cover `pixels` of them.
  static Taps tapsFor(std::int32_t pixels, std::int32_t box, std::int32_t from, std::int32_t to);
  /// Averages blocks of `box_` rows; true when a row of blocks is complete and lies in `source_`.
  bool average(const std::uint8_t* rgba, bool last);
  void addAveraged();
  void across();
  void emit(const float* sums);

  PixelSize from_, to_;
  std::int32_t boxWidth_, boxHeight_;  // pixels in a block
  PixelSize averaged_;                 // the picture in blocks, of which the last of a row or column may be smaller
  std::int32_t rowsInBox_ = 0;
  Row finished_;
  Taps acrossTaps_, downTaps_;
  std::int32_t nextSource_ = 0, nextAveraged_ = 0, nextResult_ = 0;
  std::size_t slots_ = 1;
  std::vector<std::uint32_t> boxes_;
  std::vector<float> source_, narrowed_, sums_;
  std::vector<std::uint8_t> result_;
};

}  // namespace tlx::photolibrary
