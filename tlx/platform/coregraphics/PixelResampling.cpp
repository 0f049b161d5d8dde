#include "tlx/platform/coregraphics/PixelResampling.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

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
    const double covered = std::max(0.0, std::min(high, length) - std::max(low, 0.0)) / (high - low);
    AxisWeights::Taps taps{0, 0, result.weights.size()};
    if (std::abs(map.scale) <= 1) {
      const Cover under = coverOf(low, high, sourceLength);
      taps.from = under.begin;
      for (std::int64_t k = under.begin; k < under.end; ++k) {
        const double share = std::min(high, static_cast<double>(k) + 1) - std::max(low, static_cast<double>(k));
        result.weights.push_back(static_cast<float>(share / (high - low)));
      }
    } else {
      const double centre = std::clamp((low + high) / 2 - 0.5, 0.0, length - 1);
      taps.from = std::min(static_cast<std::int64_t>(centre), std::max<std::int64_t>(sourceLength - 2, 0));
      const double fraction = centre - static_cast<double>(taps.from);
      result.weights.push_back(static_cast<float>((1 - fraction) * covered));
      if (sourceLength > 1) result.weights.push_back(static_cast<float>(fraction * covered));
    }
    taps.count = static_cast<std::int64_t>(result.weights.size() - taps.at);
    result.taps.push_back(taps);
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

ResampledPixels resample(const PixelSource& source, const CGAffineTransform& transform, std::int64_t columns,
                         std::int64_t rows) {
  const auto width = static_cast<double>(source.width), height = static_cast<double>(source.height);
  const double xScale = std::hypot(transform.a, transform.b), yScale = std::hypot(transform.c, transform.d);
  if (xScale < 1 || yScale < 1) {
    // What shrinks is averaged first, along the picture's own axes, to the size at which it is turned.
    const double smallWidth = std::max(1.0, std::ceil(width * std::min(xScale, 1.0)));
    const double smallHeight = std::max(1.0, std::ceil(height * std::min(yScale, 1.0)));
    if (smallWidth < width || smallHeight < height) {
      const ResampledPixels small =
          resampleAlongAxes(source, {smallWidth / width, 0}, {smallHeight / height, 0},
                            static_cast<std::int64_t>(smallWidth), static_cast<std::int64_t>(smallHeight));
      return resample(small.source(), CGAffineTransformScale(transform, width / smallWidth, height / smallHeight),
                      columns, rows);
    }
  }

  constexpr double kBeyond = std::numeric_limits<double>::infinity();
  double left = kBeyond, right = -kBeyond, top = kBeyond, bottom = -kBeyond;
  for (const CGPoint corner : {CGPoint{0, 0}, CGPoint{width, 0}, CGPoint{0, height}, CGPoint{width, height}}) {
    const CGPoint at = CGPointApplyAffineTransform(corner, transform);
    left = std::min(left, at.x), right = std::max(right, at.x);
    top = std::min(top, at.y), bottom = std::max(bottom, at.y);
  }
  // One pixel more on each side: interpolation fades out over the picture's edge.
  const Cover across = coverOf(left - 1, right + 1, columns), down = coverOf(top - 1, bottom + 1, rows);
  ResampledPixels result;
  result.x = across.begin;
  result.y = down.begin;
  result.width = across.end - across.begin;
  result.height = down.end - down.begin;
  result.pixels.resize(static_cast<std::size_t>(result.width * result.height * channels));

  const CGAffineTransform back = CGAffineTransformInvert(transform);
  std::uint8_t* out = result.pixels.data();
  for (std::int64_t y = down.begin; y < down.end; ++y) {
    for (std::int64_t x = across.begin; x < across.end; ++x, out += channels) {
      const CGPoint at =
          CGPointApplyAffineTransform({static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5}, back);
      const double u = at.x - 0.5, v = at.y - 0.5;
      if (!(u > -1 && v > -1 && u < width && v < height)) continue;
      const auto column = static_cast<std::int64_t>(std::floor(u)), row = static_cast<std::int64_t>(std::floor(v));
      const double fx = u - std::floor(u), fy = v - std::floor(v);
      std::array<float, channels> pixel{};
      for (std::int64_t dy = 0; dy < 2; ++dy) {
        for (std::int64_t dx = 0; dx < 2; ++dx) {
          if (column + dx < 0 || column + dx >= source.width || row + dy < 0 || row + dy >= source.height) continue;
          const auto weight = static_cast<float>((dx ? fx : 1 - fx) * (dy ? fy : 1 - fy));
          const std::uint8_t* from =
              source.pixels + (row + dy) * static_cast<std::ptrdiff_t>(source.bytesPerRow) + (column + dx) * channels;
          for (std::size_t c = 0; c < channels; ++c) pixel[c] += weight * static_cast<float>(from[c]);
        }
      }
      for (std::size_t c = 0; c < channels; ++c) out[c] = toByte(pixel[c]);
    }
  }
  return result;
}

}  // namespace tlx
