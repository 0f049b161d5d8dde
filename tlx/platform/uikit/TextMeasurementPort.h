#pragma once

#include <string>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/uikit/UIFont.h"

namespace tlx {

/// Measures text as it would be drawn.
class TextMeasurementPort {
 public:
  virtual ~TextMeasurementPort() = default;
  /// Main thread. The size of one line of UTF-8 text in points; 0 × 0 for empty text. `font` may be nothing.
  virtual CGSize sizeOfText(const std::string& text, const UIFontRef& font) = 0;
};

}  // namespace tlx
