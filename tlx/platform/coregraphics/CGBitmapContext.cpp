#include "tlx/platform/coregraphics/CGBitmapContext.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "tlx/platform/NSException.h"
#include "tlx/platform/coregraphics/PixelMove.h"
#include "tlx/platform/coregraphics/PixelResampling.h"

namespace tlx {
namespace {

/// How far a pixel may be off its place, over the whole picture, and still count as on it: what sine and cosine of a
/// quarter turn leave behind is far below, anything that shows far above.
constexpr double tolerance = 1e-6;

// Memory that the system hands out cleared is not cleared again: for a picture of 12 million pixels that would be a
// pass of its own.
std::shared_ptr<std::uint8_t> clearedPixels(std::size_t count) {
  return {static_cast<std::uint8_t*>(std::calloc(count, CGImage::bytesPerPixel)), &std::free};
}

double snapped(double value) {
  const double nearest = std::round(value);
  return std::abs(value - nearest) < tolerance ? nearest : value;
}

bool isFinite(const CGAffineTransform& t) {
  return std::isfinite(t.a) && std::isfinite(t.b) && std::isfinite(t.c) && std::isfinite(t.d) && std::isfinite(t.tx) &&
         std::isfinite(t.ty);
}

/// A transform that keeps rows and columns straight: the picture's columns run along x and its rows along y or,
/// transposed, the other way round.
struct AxisTransform {
  bool transposed;
  AxisMap x, y;  // of the target's axes

  static bool movesWholePixels(const AxisMap& map, double length) {
    return std::abs(std::abs(map.scale) - 1) * length < tolerance && map.offset == std::round(map.offset) &&
           std::abs(map.offset) < 1e15;
  }
};

bool keepsAxes(const CGAffineTransform& t, double width, double height, AxisTransform* result) {
  if (std::abs(t.b) * width < tolerance && std::abs(t.c) * height < tolerance) {
    *result = {false, {t.a, snapped(t.tx)}, {t.d, snapped(t.ty)}};
    return true;
  }
  if (std::abs(t.a) * width < tolerance && std::abs(t.d) * height < tolerance) {
    *result = {true, {t.c, snapped(t.tx)}, {t.b, snapped(t.ty)}};
    return true;
  }
  return false;
}

/// The pixel with index i covers i to i + 1: mirrored, it comes to lie one below where its first edge goes.
std::int64_t firstPixel(const AxisMap& map) {
  return static_cast<std::int64_t>(map.offset) - (map.scale < 0 ? 1 : 0);
}

}  // namespace

CGBitmapContext::CGBitmapContext(CGSize size) {
  const double width = std::ceil(snapped(size.width)), height = std::ceil(snapped(size.height));
  constexpr double most = std::numeric_limits<std::int32_t>::max();
  if (!(width > 0 && height > 0 && width < most && height < most)) return;
  pixels_ = clearedPixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  if (!pixels_) return;
  width_ = static_cast<std::size_t>(width);
  height_ = static_cast<std::size_t>(height);
}

void CGBitmapContext::drawImage(const CGRect& rect, const std::shared_ptr<const CGImage>& image) {
  if (!image || !pixels_) return;
  const auto imageWidth = static_cast<double>(image->width()), imageHeight = static_cast<double>(image->height());
  const CGAffineTransform intoRect{CGRectGetWidth(rect) / imageWidth,
                                   0,
                                   0,
                                   -CGRectGetHeight(rect) / imageHeight,
                                   CGRectGetMinX(rect),
                                   CGRectGetMaxY(rect)};
  const CGAffineTransform transform = CGAffineTransformConcat(intoRect, ctm_);
  if (!isFinite(transform) || transform.a * transform.d == transform.b * transform.c) return;

  AxisTransform axes{};
  if (!keepsAxes(transform, imageWidth, imageHeight, &axes)) {
    throw NSException(NSInvalidArgumentException, "A picture is drawn along the axes or not at all");
  }
  makeWritable();
  const PixelSource source{image->pixels(), image->bytesPerRow(), static_cast<std::int64_t>(image->width()),
                           static_cast<std::int64_t>(image->height())};
  const PixelTarget target{pixels_.get(), width_ * CGImage::bytesPerPixel, static_cast<std::int64_t>(width_),
                           static_cast<std::int64_t>(height_)};
  const bool overwrite = blank_;
  blank_ = false;

  const double alongX = axes.transposed ? imageHeight : imageWidth;
  const double alongY = axes.transposed ? imageWidth : imageHeight;
  if (AxisTransform::movesWholePixels(axes.x, alongX) && AxisTransform::movesWholePixels(axes.y, alongY)) {
    movePixels(
        source,
        {axes.transposed, axes.x.scale < 0 ? -1 : 1, axes.y.scale < 0 ? -1 : 1, firstPixel(axes.x), firstPixel(axes.y)},
        target, overwrite);
    return;
  }
  if (axes.transposed) {
    const ResampledPixels drawn = resampleAlongAxes(source, axes.y, axes.x, target.height, target.width);
    movePixels(drawn.source(), {true, 1, 1, drawn.y, drawn.x}, target, overwrite);
  } else {
    const ResampledPixels drawn = resampleAlongAxes(source, axes.x, axes.y, target.width, target.height);
    movePixels(drawn.source(), {false, 1, 1, drawn.x, drawn.y}, target, overwrite);
  }
}

std::shared_ptr<const CGImage> CGBitmapContext::makeImage() {
  if (!pixels_) return nullptr;
  return CGImage::createWithOwner(width_, height_, width_ * CGImage::bytesPerPixel, pixels_.get(), pixels_);
}

// An image that was made shares the pixels until the next drawing.
void CGBitmapContext::makeWritable() {
  if (pixels_.use_count() == 1) return;
  auto copy = clearedPixels(width_ * height_);
  if (!copy) throw std::bad_alloc();
  std::memcpy(copy.get(), pixels_.get(), width_ * height_ * CGImage::bytesPerPixel);
  pixels_ = std::move(copy);
}

}  // namespace tlx
