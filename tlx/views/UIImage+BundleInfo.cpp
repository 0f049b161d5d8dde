#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "tlx/library/PhotoManager.h"
#include "tlx/platform/NSException.h"
#include "tlx/platform/coregraphics/CGBitmapContext.h"
#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/UIGraphics.h"
#include "tlx/platform/uikit/UIStoryboard.h"
#include "tlx/views/UIImage+BundleInfo.h"

namespace tlx {
namespace {

constexpr double pi = 3.141592653589793;

std::int32_t truncated(double value) {
  if (value != value) return 0;
  constexpr double lowest = std::numeric_limits<std::int32_t>::min();
  constexpr double highest = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::clamp(value, lowest, highest));
}

bool turnsAQuarter(UIImageOrientation orientation) {
  return orientation == UIImageOrientationLeft || orientation == UIImageOrientationRight ||
         orientation == UIImageOrientationLeftMirrored || orientation == UIImageOrientationRightMirrored;
}

CGAffineTransform transformFor(UIImageOrientation orientation, double width, double height) {
  const auto moved = [](double tx, double ty) { return CGAffineTransformMakeTranslation(tx, ty); };
  switch (orientation) {
    case UIImageOrientationUp:
      return CGAffineTransformIdentity;
    case UIImageOrientationDown:
      return CGAffineTransformRotate(moved(width, height), pi);
    case UIImageOrientationLeft:
      return CGAffineTransformRotate(moved(0, width), 3 * pi / 2);
    case UIImageOrientationRight:
      return CGAffineTransformRotate(moved(height, 0), pi / 2);
    case UIImageOrientationUpMirrored:
      return CGAffineTransformScale(moved(width, 0), -1, 1);
    case UIImageOrientationDownMirrored:
      return CGAffineTransformScale(moved(0, height), 1, -1);
    case UIImageOrientationLeftMirrored:
      return CGAffineTransformRotate(CGAffineTransformScale(moved(height, width), -1, 1), 3 * pi / 2);
    case UIImageOrientationRightMirrored:
      return CGAffineTransformRotate(CGAffineTransformMakeScale(-1, 1), pi / 2);
  }
  throw NSException(NSInternalInconsistencyException, "Invalid image orientation");
}

}  // namespace

std::shared_ptr<const UIImage> tlx_imageWithName(const std::string& name) {
  return imageNamed_inBundle(name, NSBundle::bundleForClass(PhotoManager::classObject()));
}

std::shared_ptr<const UIImage> scaleAndRotate(const std::shared_ptr<const UIImage>& image) {
  if (!image) return nullptr;
  const auto& bitmap = image->bitmap();
  const double width = bitmap ? static_cast<double>(bitmap->width()) : 0;
  const double height = bitmap ? static_cast<double>(bitmap->height()) : 0;
  const UIImageOrientation orientation = image->imageOrientation();

  const CGSize size = image->size();
  const double limit = truncated(std::max(size.width, size.height));
  CGSize bounds{width, height};
  if (width > limit || height > limit) {
    const double ratio = width / height;
    bounds = ratio > 1.0 ? CGSizeMake(limit, limit / ratio) : CGSizeMake(limit * ratio, limit);
  }
  const double factor = bounds.width / width;

  const CGAffineTransform transform = transformFor(orientation, width, height);
  if (turnsAQuarter(orientation)) std::swap(bounds.width, bounds.height);

  UIGraphicsBeginImageContext(bounds);
  CGBitmapContext& context = *UIGraphicsGetCurrentContext();
  // The mirrored quarter turns deliberately take the second branch.
  if (orientation == UIImageOrientationRight || orientation == UIImageOrientationLeft) {
    context.scaleCTM(-factor, factor);
    context.translateCTM(-height, 0);
  } else {
    context.scaleCTM(factor, -factor);
    context.translateCTM(0, -height);
  }
  context.concatCTM(transform);
  context.drawImage(CGRectMake(0, 0, width, height), bitmap);
  auto upright = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  return upright;
}

}  // namespace tlx
