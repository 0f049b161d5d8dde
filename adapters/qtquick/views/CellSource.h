#pragma once

#include <cstddef>
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
  /// Main thread. Makes so many of them of that size while nothing else is to be done, for `makeCell` to hand out. Ends
  /// when the first is handed out: whoever shows cells by then makes what else is needed.
  virtual void makeReady(const std::string& name, const CGSize& size, std::size_t count) = 0;
};

}  // namespace tlx::qtquick
