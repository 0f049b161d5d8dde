#pragma once

#include <variant>
#include <vector>

#include "tlx/platform/coregraphics/CGColor.h"
#include "tlx/platform/coregraphics/CGGeometry.h"

namespace tlx {

/// Records drawing as operations, which a renderer replays and a test reads. A path is added to until it is stroked or
/// filled, which uses it up. y grows downward; angles are in radians and grow from x towards y.
class CGContext {
 public:
  struct Ellipse {
    CGRect rect;
  };
  struct LineTo {
    CGPoint point;
  };
  struct Arc {
    CGPoint center;
    double radius, startAngle, endAngle;
    bool clockwise;
  };
  struct Close {};
  using PathElement = std::variant<Ellipse, LineTo, Arc, Close>;
  struct Stroke {
    std::vector<PathElement> path;
    CGColor color;
    double lineWidth;
  };
  struct Fill {
    std::vector<PathElement> path;
    CGColor color;
  };
  using Operation = std::variant<Stroke, Fill>;

  void addEllipseInRect(const CGRect& rect) { path_.push_back(Ellipse{rect}); }
  /// From `startAngle` to `endAngle` in the direction of increasing angle unless `clockwise`. An end before the start
  /// in that direction lies a full turn on.
  void addArc(const CGPoint& center, double radius, double startAngle, double endAngle, bool clockwise) {
    path_.push_back(Arc{center, radius, startAngle, endAngle, clockwise});
  }
  void addLineToPoint(const CGPoint& point) { path_.push_back(LineTo{point}); }
  void closePath() { path_.push_back(Close{}); }
  void setStrokeColor(const CGColor& color) { stroke_ = color; }
  void setFillColor(const CGColor& color) { fill_ = color; }
  void setLineWidth(double width) { lineWidth_ = width; }
  void strokePath() { operations_.push_back(Stroke{take(), stroke_, lineWidth_}); }
  void fillPath() { operations_.push_back(Fill{take(), fill_}); }

  const std::vector<Operation>& operations() const { return operations_; }

 private:
  std::vector<PathElement> take() {
    std::vector<PathElement> path;
    path.swap(path_);
    return path;
  }

  std::vector<PathElement> path_;
  std::vector<Operation> operations_;
  CGColor stroke_{0, 0, 0, 1}, fill_{0, 0, 0, 1};
  double lineWidth_ = 1;
};

}  // namespace tlx
