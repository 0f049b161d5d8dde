#include "adapters/qtquick/views/CellPixels.h"

#include <QSysInfo>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace tlx::qtquick {
namespace {

// Two pixels of four channels at a time; compilers turn these into the instructions of the machine at hand.
using Channels = std::uint16_t __attribute__((vector_size(16)));
using Bytes = std::uint8_t __attribute__((vector_size(8)));
using FourPixels = std::uint8_t __attribute__((vector_size(16)));
using Halves = std::uint64_t __attribute__((vector_size(16)));

/// So many pixels, or parts of them, make one: enough for up to half the size. What is smaller still is left to Qt.
constexpr std::size_t kPixelsToOne = 3;
constexpr int kWhole = 256;

/// Which pixels of a line each pixel of the shorter line covers, and the share of each, adding up to 256.
struct Shares {
  Shares(int from, int to) {
    const double step = static_cast<double>(from) / to;
    for (int i = 0; i < to; ++i) {
      const double begin = i * step, end = begin + step;
      first.push_back(std::min(static_cast<int>(begin), from - static_cast<int>(kPixelsToOne)));
      int left = kWhole;
      std::size_t largest = shares.size();
      for (std::size_t k = 0; k < kPixelsToOne; ++k) {
        const double pixel = first.back() + static_cast<double>(k);
        const double covered = std::max(0.0, std::min(end, pixel + 1) - std::max(begin, pixel)) / step;
        shares.push_back(static_cast<std::uint16_t>(std::lround(covered * kWhole)));
        left -= shares.back();
        if (shares.back() > shares[largest]) largest = shares.size() - 1;
      }
      shares[largest] = static_cast<std::uint16_t>(shares[largest] + left);
    }
  }
  std::vector<int> first;
  std::vector<std::uint16_t> shares;  // `kPixelsToOne` for each
};

/// The cells of a grid are of one size, and so are most pictures.
struct Plan {
  Plan(const QSize& source, const QSize& target)
      : from(source), to(target), across(from.width(), to.width()), down(from.height(), to.height()) {
    for (int x = 0; x < to.width(); x += 2) {
      // An odd last pixel is made together with its neighbour once more.
      const auto begin = static_cast<std::size_t>(std::min(x, to.width() - 2));
      for (std::size_t k = 0; k < kPixelsToOne; ++k) {
        const std::uint16_t a = across.shares[begin * kPixelsToOne + k];
        const std::uint16_t b = across.shares[(begin + 1) * kPixelsToOne + k];
        pairs.push_back(Channels{a, a, a, a, b, b, b, b});
      }
    }
  }
  QSize from, to;
  Shares across, down;
  std::vector<Channels> pairs;  // of two neighbours each
};

Channels two(const std::uint16_t* one, const std::uint16_t* other) {
  std::uint64_t a = 0, b = 0;
  std::memcpy(&a, one, sizeof a);
  std::memcpy(&b, other, sizeof b);
  return reinterpret_cast<Channels>(Halves{a, b});
}

/// The mean of the lines that line `y` of the outcome covers, four numbers a pixel, of four pixels or more.
void addLines(const QImage& picture, const Shares& down, int y, std::vector<std::uint16_t>& line) {
  const std::uint16_t* shares = &down.shares[static_cast<std::size_t>(y) * kPixelsToOne];
  const uchar* top = picture.constScanLine(down.first[static_cast<std::size_t>(y)]);
  const qsizetype stride = picture.bytesPerLine();
  Channels parts[kPixelsToOne];
  for (std::size_t k = 0; k < kPixelsToOne; ++k) parts[k] = Channels{} + shares[k];
  const auto length = static_cast<std::ptrdiff_t>(line.size());
  for (std::ptrdiff_t i = 0; i < length; i += 16) {
    const std::ptrdiff_t begin = std::min(i, length - 16);
    Channels sum{}, sumAfter{};
    for (std::size_t k = 0; k < kPixelsToOne; ++k) {
      FourPixels bytes;
      std::memcpy(&bytes, top + k * stride + begin, sizeof bytes);
      const FourPixels low =
          __builtin_shufflevector(bytes, FourPixels{}, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
      const FourPixels high =
          __builtin_shufflevector(bytes, FourPixels{}, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
      sum += reinterpret_cast<Channels>(low) * parts[k];
      sumAfter += reinterpret_cast<Channels>(high) * parts[k];
    }
    sum /= kWhole;
    sumAfter /= kWhole;
    std::memcpy(line.data() + begin, &sum, sizeof sum);
    std::memcpy(line.data() + begin + 8, &sumAfter, sizeof sumAfter);
  }
}

/// Answers whether all of it is opaque. `out` is at least two pixels wide.
bool shrink(const QImage& picture, const Plan& plan, QImage& out) {
  std::vector<std::uint16_t> line(static_cast<std::size_t>(picture.width()) * 4);
  const int width = out.width();
  const int* first = plan.across.first.data();
  Channels all = Channels{} - 1;
  for (int y = 0; y < out.height(); ++y) {
    addLines(picture, plan.down, y, line);
    uchar* pixels = out.scanLine(y);
    const Channels* shares = plan.pairs.data();
    for (int x = 0; x < width; x += 2, shares += kPixelsToOne) {
      const int begin = std::min(x, width - 2);
      const std::uint16_t* one = line.data() + 4 * first[begin];
      const std::uint16_t* other = line.data() + 4 * first[begin + 1];
      Channels sum{};
      for (std::size_t k = 0; k < kPixelsToOne; ++k) sum += two(one + 4 * k, other + 4 * k) * shares[k];
      sum /= kWhole;
      all &= sum;
      // As the screen has them.
      sum = __builtin_shufflevector(sum, sum, 2, 1, 0, 3, 6, 5, 4, 7);
      const Bytes two = __builtin_convertvector(sum, Bytes);
      std::memcpy(pixels + 4 * begin, &two, sizeof two);
    }
  }
  return all[3] == 255 && all[7] == 255;
}

bool isOpaque(const QImage& image) {
  QRgb all = 0xff000000;
  const int width = image.width();
  for (int y = 0; y < image.height(); ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    for (int x = 0; x < width; ++x) all &= row[x];
  }
  return all == 0xff000000;
}

bool isWithin(int from, int to) {
  return from >= to && from <= 2 * to && from >= 4;
}

}  // namespace

QImage screenImage(const QImage& picture, const QSize& size) {
  QImage out;
  bool opaque = false;
  if (QSysInfo::ByteOrder == QSysInfo::LittleEndian && size.width() > 1 && picture.size() != size &&
      isWithin(picture.width(), size.width()) && isWithin(picture.height(), size.height())) {
    thread_local std::optional<Plan> plan;
    if (!plan || plan->from != picture.size() || plan->to != size) plan.emplace(picture.size(), size);
    out = QImage(size, QImage::Format_ARGB32_Premultiplied);
    if (out.isNull()) return out;
    opaque = shrink(picture, *plan, out);
  } else {
    out = picture.size() == size ? picture : picture.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    out = std::move(out).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    opaque = isOpaque(out);
  }
  if (opaque) out.reinterpretAsFormat(QImage::Format_RGB32);
  return out;
}

}  // namespace tlx::qtquick
