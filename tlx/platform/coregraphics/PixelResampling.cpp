#include "tlx/platform/coregraphics/PixelResampling.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tlx {
namespace {

constexpr std::int64_t channels = 4;

/// What the pixels first … first + taps.size() − 1 of one axis are made of: weights[at …] over source pixels from
/// `from` on.
struct AxisWeights {
  struct Taps {
    std::int64_t from;
    std::int64_t count;
    std::size_t at;
  };
  std::int64_t first = 0;
  std::vector<Taps> taps;
  std::vector<float> weights;

  std::int64_t count() const { return static_cast<std::int64_t>(taps.size()); }
};

/// The pixels that [low, high) touches within 0 … limit − 1. A touch that is only rounding does not count.
struct Cover {
  std::int64_t begin, end;
};

Cover coverOf(double low, double high, std::int64_t limit) {
  constexpr double rounding = 1e-6;
  const auto top = static_cast<double>(limit);
  const double begin = std::clamp(std::floor(low + rounding), 0.0, top);
  const double end = std::clamp(std::ceil(high - rounding), 0.0, top);
  return {static_cast<std::int64_t>(begin), static_cast<std::int64_t>(std::max(begin, end))};
}

AxisWeights weightsFor(const AxisMap& map, std::int64_t sourceLength, std::int64_t targetLength) {
  const auto length = static_cast<double>(sourceLength);
  const double one = map.offset;
  const double other = map.offset + map.scale * length;
  const Cover cover = coverOf(std::min(one, other), std::max(one, other), targetLength);

  AxisWeights result;
  result.first = cover.begin;
  result.taps.reserve(static_cast<std::size_t>(cover.end - cover.begin));
  for (std::int64_t index = cover.begin; index < cover.end; ++index) {
    const double start = (static_cast<double>(index) - map.offset) / map.scale;
    const double end = (static_cast<double>(index) + 1 - map.offset) / map.scale;
    const double low = std::min(start, end), high = std::max(start, end);
    const Cover under = coverOf(low, high, sourceLength);
    result.taps.push_back({under.begin, under.end - under.begin, result.weights.size()});
    for (std::int64_t k = under.begin; k < under.end; ++k) {
      const double share = std::min(high, static_cast<double>(k) + 1) - std::max(low, static_cast<double>(k));
      result.weights.push_back(static_cast<float>(share / (high - low)));
    }
  }
  return result;
}

std::uint8_t toByte(float value) {
  return static_cast<std::uint8_t>(std::min(std::max(value, 0.0f) + 0.5f, 255.0f));
}

}  // namespace

ResampledPixels resampleAlongAxes(const PixelSource& source, const AxisMap& xMap, const AxisMap& yMap,
                                  std::int64_t columns, std::int64_t rows) {
  const AxisWeights across = weightsFor(xMap, source.width, columns);
  const AxisWeights down = weightsFor(yMap, source.height, rows);
  ResampledPixels result;
  result.x = across.first;
  result.y = down.first;
  result.width = across.count();
  result.height = down.count();
  if (result.width == 0 || result.height == 0) return result;
  result.pixels.resize(static_cast<std::size_t>(result.width * result.height * channels));

  // Rows first: that is one long loop over neighbouring bytes, and leaves a single row to be weighed across.
  const std::int64_t rowLength = source.width * channels;
  std::vector<float> sums(static_cast<std::size_t>(rowLength));
  std::uint8_t* out = result.pixels.data();
  for (const AxisWeights::Taps& vertical : down.taps) {
    std::fill(sums.begin(), sums.end(), 0.0f);
    for (std::int64_t k = 0; k < vertical.count; ++k) {
      const float weight = down.weights[vertical.at + static_cast<std::size_t>(k)];
      const std::uint8_t* row = source.pixels + (vertical.from + k) * static_cast<std::ptrdiff_t>(source.bytesPerRow);
      float* sum = sums.data();
      for (std::int64_t i = 0; i < rowLength; ++i) sum[i] += weight * static_cast<float>(row[i]);
    }
    for (const AxisWeights::Taps& horizontal : across.taps) {
      std::array<float, channels> pixel{};
      const float* sum = sums.data() + horizontal.from * channels;
      for (std::int64_t k = 0; k < horizontal.count; ++k) {
        const float weight = across.weights[horizontal.at + static_cast<std::size_t>(k)];
        for (std::size_t c = 0; c < channels; ++c) pixel[c] += weight * *sum++;
      }
      for (const float value : pixel) *out++ = toByte(value);
    }
  }
  return result;
}

}  // namespace tlx
