#include "tlx/platform/coregraphics/CGAffineTransform.h"

#include <cmath>

namespace tlx {

CGAffineTransform CGAffineTransformMakeTranslation(double tx, double ty) {
  return {1, 0, 0, 1, tx, ty};
}

CGAffineTransform CGAffineTransformMakeScale(double sx, double sy) {
  return {sx, 0, 0, sy, 0, 0};
}

CGAffineTransform CGAffineTransformMakeRotation(double angle) {
  const double sine = std::sin(angle);
  const double cosine = std::cos(angle);
  return {cosine, sine, -sine, cosine, 0, 0};
}

CGAffineTransform CGAffineTransformConcat(const CGAffineTransform& first, const CGAffineTransform& second) {
  return {first.a * second.a + first.b * second.c,
          first.a * second.b + first.b * second.d,
          first.c * second.a + first.d * second.c,
          first.c * second.b + first.d * second.d,
          first.tx * second.a + first.ty * second.c + second.tx,
          first.tx * second.b + first.ty * second.d + second.ty};
}

CGAffineTransform CGAffineTransformTranslate(const CGAffineTransform& t, double tx, double ty) {
  return CGAffineTransformConcat(CGAffineTransformMakeTranslation(tx, ty), t);
}

CGAffineTransform CGAffineTransformScale(const CGAffineTransform& t, double sx, double sy) {
  return CGAffineTransformConcat(CGAffineTransformMakeScale(sx, sy), t);
}

CGAffineTransform CGAffineTransformRotate(const CGAffineTransform& t, double angle) {
  return CGAffineTransformConcat(CGAffineTransformMakeRotation(angle), t);
}

}  // namespace tlx
