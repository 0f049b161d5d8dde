#pragma once

namespace tlx {

/// sRGB components from 0 to 1, not premultiplied.
struct UIColor {
  double red = 0, green = 0, blue = 0, alpha = 0;

  static constexpr UIColor colorWithRed_green_blue_alpha(double red, double green, double blue, double alpha) {
    return {red, green, blue, alpha};
  }
  static constexpr UIColor clearColor() { return {0, 0, 0, 0}; }
  static constexpr UIColor whiteColor() { return {1, 1, 1, 1}; }
  static constexpr UIColor redColor() { return {1, 0, 0, 1}; }

  friend bool operator==(const UIColor&, const UIColor&) = default;
};

}  // namespace tlx
