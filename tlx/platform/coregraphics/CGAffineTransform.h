#pragma once

#include "tlx/platform/coregraphics/CGGeometry.h"

namespace tlx {

/// Maps (x, y) to (a·x + c·y + tx, b·x + d·y + ty).
struct CGAffineTransform {
  double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
  friend bool operator==(const CGAffineTransform&, const CGAffineTransform&) = default;
};

inline constexpr CGAffineTransform CGAffineTransformIdentity{};

CGAffineTransform CGAffineTransformMakeTranslation(double tx, double ty);
CGAffineTransform CGAffineTransformMakeScale(double sx, double sy);
/// Turns by `angle` radians towards growing y, which on a screen looks clockwise.
CGAffineTransform CGAffineTransformMakeRotation(double angle);
/// First `first`, then `second`.
CGAffineTransform CGAffineTransformConcat(const CGAffineTransform& first, const CGAffineTransform& second);
/// The new step acts on a point before what `t` does already.
CGAffineTransform CGAffineTransformTranslate(const CGAffineTransform& t, double tx, double ty);
CGAffineTransform CGAffineTransformScale(const CGAffineTransform& t, double sx, double sy);
CGAffineTransform CGAffineTransformRotate(const CGAffineTransform& t, double angle);

}  // namespace tlx
