#include "adapters/photolibrary/images/pixels/RowResampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace tlx::photolibrary {
namespace {

constexpr std::size_t channels = 4;
/// The four channels at once; without this, compilers vectorise the loops only at their highest level.
using Pixel __attribute__((vector_size(channels * sizeof(float)))) = float;
constexpr std::int32_t maxBox = 2048;  // its square times 255 fits a sum

double cubic(double x) {
  x = std::abs(x);
  if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
  if (x < 2) return ((-0.5 * x + 2.5) * x - 4) * x + 2;
  return 0;
}

}  // namespace

RowResampler::Taps RowResampler::tapsFor(std::int32_t pixels, std::int32_t box, std::int32_t from, std::int32_t to) {
  Taps taps;
  taps.spans.reserve(static_cast<std::size_t>(to));
  const double ratio = static_cast<double>(pixels) / box / to;
  const double reach = 2 * ratio;
  for (std::int32_t i = 0; i < to; ++i) {
    const double centre = (i + 0.5) * ratio;
    const std::int32_t first = std::max(static_cast<std::int32_t>(std::floor(centre - reach)), 0);
    std::int32_t last = std::min(static_cast<std::int32_t>(std::ceil(centre + reach)), from);
    const std::size_t begin = taps.weights.size();
    double sum = 0;
    for (std::int32_t j = first; j < last; ++j) {
      const double weight = cubic((j + 0.5 - centre) / ratio);
      sum += weight;
      taps.weights.push_back(static_cast<float>(weight));
    }
    while (last - first > 1 && taps.weights.back() == 0) {
      taps.weights.pop_back();
      --last;
    }
    for (std::size_t k = begin; k < taps.weights.size(); ++k) {
      taps.weights[k] = static_cast<float>(taps.weights[k] / sum);
    }
    taps.spans.push_back({first, last - first, begin});
  }
  return taps;
}

RowResampler::RowResampler(PixelSize from, PixelSize to, Row finished)
    : from_(from),
      to_(to),
      boxWidth_(std::clamp(from.width / to.width / 2, 1, maxBox)),
      boxHeight_(std::clamp(from.height / to.height / 2, 1, maxBox)),
      averaged_{(from.width + boxWidth_ - 1) / boxWidth_, (from.height + boxHeight_ - 1) / boxHeight_},
      finished_(std::move(finished)) {
  result_.resize(static_cast<std::size_t>(to.width) * channels);
  if (from == to) return;
  acrossTaps_ = tapsFor(from.width, boxWidth_, averaged_.width, to.width);
  downTaps_ = tapsFor(from.height, boxHeight_, averaged_.height, to.height);
  for (std::size_t begin = 0, end = 0; begin < downTaps_.spans.size(); ++begin) {
    const auto& oldest = downTaps_.spans[begin];
    while (end < downTaps_.spans.size() && downTaps_.spans[end].first < oldest.first + oldest.count) ++end;
    slots_ = std::max(slots_, end - begin);
  }
  source_.resize(static_cast<std::size_t>(averaged_.width) * channels);
  if (boxWidth_ > 1 || boxHeight_ > 1) boxes_.assign(source_.size(), 0);
  narrowed_.resize(static_cast<std::size_t>(to.width) * channels);
  sums_.assign(slots_ * narrowed_.size(), 0.0f);
}

bool RowResampler::average(const std::uint8_t* rgba, bool last) {
  float* source = source_.data();
  if (boxes_.empty()) {
    for (std::size_t i = 0; i < source_.size(); ++i) source[i] = rgba[i];
    return true;
  }
  std::uint32_t* box = boxes_.data();
  for (std::int32_t x = 0; x < from_.width; x += boxWidth_, box += channels) {
    const std::int32_t end = std::min(x + boxWidth_, from_.width);
    std::uint32_t sum[channels] = {};
    for (std::int32_t i = x; i < end; ++i, rgba += channels) {
      for (std::size_t c = 0; c < channels; ++c) sum[c] += rgba[c];
    }
    for (std::size_t c = 0; c < channels; ++c) box[c] += sum[c];
  }
  if (++rowsInBox_ < boxHeight_ && !last) return false;
  const std::int32_t lastWidth = from_.width - (averaged_.width - 1) * boxWidth_;
  const float weight = 1.0f / static_cast<float>(boxWidth_ * rowsInBox_);
  const float lastWeight = 1.0f / static_cast<float>(lastWidth * rowsInBox_);
  const std::size_t inner = source_.size() - channels;
  for (std::size_t i = 0; i < inner; ++i) source[i] = static_cast<float>(boxes_[i]) * weight;
  for (std::size_t i = inner; i < source_.size(); ++i) source[i] = static_cast<float>(boxes_[i]) * lastWeight;
  std::fill(boxes_.begin(), boxes_.end(), 0u);
  rowsInBox_ = 0;
  return true;
}

void RowResampler::across() {
  const float* source = source_.data();
  float* out = narrowed_.data();
  for (const auto& span : acrossTaps_.spans) {
    const float* weights = acrossTaps_.weights.data() + span.weights;
    const float* pixel = source + static_cast<std::size_t>(span.first) * channels;
    Pixel sum = {}, each;
    for (std::int32_t tap = 0; tap < span.count; ++tap, pixel += channels) {
      std::memcpy(&each, pixel, sizeof(each));
      sum += weights[tap] * each;
    }
    std::memcpy(out, &sum, sizeof(sum));
    out += channels;
  }
}

void RowResampler::emit(const float* sums) {
  for (std::size_t i = 0; i < result_.size(); ++i) {
    const float value = std::min(std::max(sums[i] + 0.5f, 0.0f), 255.0f);
    result_[i] = static_cast<std::uint8_t>(value);
  }
  // The filter overshoots at edges; premultiplied colour must not exceed its alpha.
  for (std::size_t i = 0; i < result_.size(); i += channels) {
    const std::uint8_t alpha = result_[i + 3];
    if (alpha == 255) continue;
    for (std::size_t c = 0; c < 3; ++c) result_[i + c] = std::min(result_[i + c], alpha);
  }
  finished_(result_.data());
}

void RowResampler::add(const std::uint8_t* rgba) {
  if (nextSource_ >= from_.height) return;
  ++nextSource_;
  if (from_ == to_) {
    std::memcpy(result_.data(), rgba, result_.size());
    finished_(result_.data());
    return;
  }
  if (average(rgba, nextSource_ == from_.height)) addAveraged();
}

void RowResampler::addAveraged() {
  const std::int32_t row = nextAveraged_++;
  across();
  const std::size_t width = narrowed_.size();
  for (std::int32_t y = nextResult_; y < to_.height; ++y) {
    const auto& span = downTaps_.spans[static_cast<std::size_t>(y)];
    if (span.first > row) break;
    if (row >= span.first + span.count) continue;
    const float weight = downTaps_.weights[span.weights + static_cast<std::size_t>(row - span.first)];
    float* sums = sums_.data() + static_cast<std::size_t>(y) % slots_ * width;
    const float* narrowed = narrowed_.data();
    if (row == span.first) {
      for (std::size_t i = 0; i < width; ++i) sums[i] = weight * narrowed[i];
    } else {
      for (std::size_t i = 0; i < width; ++i) sums[i] += weight * narrowed[i];
    }
  }
  while (nextResult_ < to_.height) {
    const auto& span = downTaps_.spans[static_cast<std::size_t>(nextResult_)];
    if (row + 1 < span.first + span.count) break;
    emit(sums_.data() + static_cast<std::size_t>(nextResult_) % slots_ * width);
    ++nextResult_;
  }
}

}  // namespace tlx::photolibrary
