#pragma once

#include <cstdint>
#include <memory>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/coregraphics/CGImage.h"

namespace tlx {

/// How the stored pixels must be turned to stand upright. A value outside the names may occur and is a programming
/// error only where an image is redrawn.
enum UIImageOrientation : std::int64_t {
  UIImageOrientationUp = 0,
  UIImageOrientationDown = 1,           ///< half a turn
  UIImageOrientationLeft = 2,           ///< a quarter turn counter-clockwise
  UIImageOrientationRight = 3,          ///< a quarter turn clockwise
  UIImageOrientationUpMirrored = 4,     ///< mirrored left to right
  UIImageOrientationDownMirrored = 5,   ///< mirrored top to bottom
  UIImageOrientationLeftMirrored = 6,   ///< mirrored, then a quarter turn counter-clockwise
  UIImageOrientationRightMirrored = 7,  ///< mirrored, then a quarter turn clockwise
};

/// An immutable picture: a bitmap, how many of its pixels make a point, and how to turn it upright.
class UIImage {
 public:
  explicit UIImage(std::shared_ptr<const CGImage> bitmap, double scale = 1.0,
                   UIImageOrientation orientation = UIImageOrientationUp)
      : bitmap_(std::move(bitmap)), scale_(scale), orientation_(orientation) {}

  /// Nothing for an image that is backed by other data.
  const std::shared_ptr<const CGImage>& bitmap() const { return bitmap_; }
  double scale() const { return scale_; }
  UIImageOrientation imageOrientation() const { return orientation_; }
  /// In points, as the image stands when turned upright: pixels over scale, sides swapped for the quarter turns.
  CGSize size() const;

 private:
  std::shared_ptr<const CGImage> bitmap_;
  double scale_;
  UIImageOrientation orientation_;
};

}  // namespace tlx
