#pragma once

namespace tlx {

/// Points, sizes and rectangles in points, y growing downward. All arithmetic is in doubles.
struct CGPoint {
  double x = 0, y = 0;
  friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

struct CGSize {
  double width = 0, height = 0;
  friend bool operator==(const CGSize&, const CGSize&) = default;
};

struct CGRect {
  CGPoint origin;
  CGSize size;
  friend bool operator==(const CGRect&, const CGRect&) = default;
};

struct UIEdgeInsets {
  double top = 0, left = 0, bottom = 0, right = 0;
  friend bool operator==(const UIEdgeInsets&, const UIEdgeInsets&) = default;
};

inline constexpr CGRect CGRectZero{};

constexpr CGSize CGSizeMake(double width, double height) {
  return {width, height};
}
constexpr CGRect CGRectMake(double x, double y, double width, double height) {
  return {{x, y}, {width, height}};
}

/// The edges treat a negative width or height as a rectangle that extends the other way.
constexpr double CGRectGetMinX(const CGRect& r) {
  return r.size.width < 0 ? r.origin.x + r.size.width : r.origin.x;
}
constexpr double CGRectGetMaxX(const CGRect& r) {
  return r.size.width < 0 ? r.origin.x : r.origin.x + r.size.width;
}
constexpr double CGRectGetMinY(const CGRect& r) {
  return r.size.height < 0 ? r.origin.y + r.size.height : r.origin.y;
}
constexpr double CGRectGetMaxY(const CGRect& r) {
  return r.size.height < 0 ? r.origin.y : r.origin.y + r.size.height;
}
constexpr double CGRectGetMidX(const CGRect& r) {
  return r.origin.x + r.size.width / 2.0;
}
constexpr double CGRectGetMidY(const CGRect& r) {
  return r.origin.y + r.size.height / 2.0;
}
constexpr double CGRectGetWidth(const CGRect& r) {
  return r.size.width < 0 ? -r.size.width : r.size.width;
}
constexpr double CGRectGetHeight(const CGRect& r) {
  return r.size.height < 0 ? -r.size.height : r.size.height;
}

/// The rectangle moved inward by dx at both sides and dy at both ends; negative amounts enlarge it.
constexpr CGRect CGRectInset(const CGRect& r, double dx, double dy) {
  return CGRectMake(r.origin.x + dx, r.origin.y + dy, r.size.width - 2 * dx, r.size.height - 2 * dy);
}

/// Whether the two overlap; rectangles that only share an edge do not. One without an area overlaps what it lies inside
/// of, its edges excepted.
constexpr bool CGRectIntersectsRect(const CGRect& a, const CGRect& b) {
  return CGRectGetMinX(a) < CGRectGetMaxX(b) && CGRectGetMinX(b) < CGRectGetMaxX(a) &&
         CGRectGetMinY(a) < CGRectGetMaxY(b) && CGRectGetMinY(b) < CGRectGetMaxY(a);
}

constexpr bool CGRectContainsPoint(const CGRect& r, const CGPoint& p) {
  return p.x >= CGRectGetMinX(r) && p.x < CGRectGetMaxX(r) && p.y >= CGRectGetMinY(r) && p.y < CGRectGetMaxY(r);
}

}  // namespace tlx
