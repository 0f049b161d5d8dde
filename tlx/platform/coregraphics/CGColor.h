#pragma once

namespace tlx {

/// sRGB components from 0 to 1, not premultiplied.
struct CGColor {
  double red = 0, green = 0, blue = 0, alpha = 0;

  static constexpr CGColor colorWithRed_green_blue_alpha(double red, double green, double blue, double alpha) {
    return {red, green, blue, alpha};
  }
  static constexpr CGColor clearColor() { return {0, 0, 0, 0}; }
  static constexpr CGColor whiteColor() { return {1, 1, 1, 1}; }
  static constexpr CGColor redColor() { return {1, 0, 0, 1}; }

  friend bool operator==(const CGColor&, const CGColor&) = default;
};

}  // namespace tlx
