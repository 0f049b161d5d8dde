#include "tlx/platform/uikit/UIImage.h"

namespace tlx {

CGSize UIImage::size() const {
  if (!bitmap_ || scale_ == 0) return {};
  const double width = static_cast<double>(bitmap_->width()) / scale_;
  const double height = static_cast<double>(bitmap_->height()) / scale_;
  switch (orientation_) {
    case UIImageOrientationLeft:
    case UIImageOrientationRight:
    case UIImageOrientationLeftMirrored:
    case UIImageOrientationRightMirrored:
      return {height, width};
    default:
      return {width, height};
  }
}

}  // namespace tlx
