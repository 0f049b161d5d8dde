#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "tlx/platform/coregraphics/CGAffineTransform.h"
#include "tlx/platform/coregraphics/CGImage.h"

namespace tlx {

/// A bitmap to draw pictures into. One thread at a time.
///
/// Handedness: the origin is the top left corner of the bitmap, y grows downward, and without a transform one unit is
/// one pixel. A picture, however, is drawn as if y grew upward: its top row lies along the rectangle's maxY, its left
/// column along minX. So without a transform every picture comes out upside down (mirrored top to bottom, not turned);
/// code that wants it upright flips the context first: scale by (1, −1), then translate by (0, −height).
///
/// `translateCTM`, `scaleCTM` and `concatCTM` act on points before the transform that is there already: the last one
/// called is the first that a point goes through.
class CGBitmapContext {
 public:
  /// Clear, of `size` rounded up to whole pixels; less than a millionth above a whole number counts as that number. A
  /// size that is not above 0 both ways, or that memory does not hold, gives a context without pixels: drawing does
  /// nothing and there is no image.
  explicit CGBitmapContext(CGSize size);
  CGBitmapContext(const CGBitmapContext&) = delete;
  CGBitmapContext& operator=(const CGBitmapContext&) = delete;

  std::size_t width() const { return width_; }
  std::size_t height() const { return height_; }

  void translateCTM(double tx, double ty) { ctm_ = CGAffineTransformTranslate(ctm_, tx, ty); }
  void scaleCTM(double sx, double sy) { ctm_ = CGAffineTransformScale(ctm_, sx, sy); }
  void concatCTM(const CGAffineTransform& transform) { ctm_ = CGAffineTransformConcat(transform, ctm_); }

  /// Draws the picture into the rectangle, over what is there. Where the transform takes pixels to pixels they are
  /// moved exactly, else every pixel is the average of the area that it covers. An absent picture, an empty rectangle
  /// and a transform without an inverse draw nothing. The transform keeps rows and columns straight: a turn by anything
  /// but quarters, or a shear, is a programming error (`NSException`).
  void drawImage(const CGRect& rect, const std::shared_ptr<const CGImage>& image);

  /// What has been drawn so far; later drawing does not change it. Nothing from a context without pixels.
  std::shared_ptr<const CGImage> makeImage();

 private:
  void makeWritable();

  std::size_t width_ = 0, height_ = 0;
  std::shared_ptr<std::uint8_t> pixels_;
  bool blank_ = true;
  CGAffineTransform ctm_;
};

}  // namespace tlx
