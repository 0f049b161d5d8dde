#pragma once

#include <memory>
#include <string>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/uikit/UIView.h"

namespace tlx::qtquick {

/// Where grids and lists get their reusable views from: the object that the QML engine knows as `scenes`.
class CellSource {
 public:
  virtual ~CellSource() = default;
  /// Main thread. A reusable view from the file of that name, at (0, 0) with the frame's size, awake. An `NSException`
  /// when there is no such file.
  virtual std::shared_ptr<UIView> makeCell(const std::string& name, const CGRect& frame) = 0;
};

}  // namespace tlx::qtquick
