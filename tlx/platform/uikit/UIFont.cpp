#include "tlx/platform/uikit/UIFont.h"

#include <utility>

#include "tlx/platform/Platform.h"
#include "tlx/platform/uikit/TextMeasurementPort.h"

namespace tlx {

std::shared_ptr<const UIFont> UIFont::fontWithName_size(std::string name, double pointSize) {
  return std::make_shared<const UIFont>(std::move(name), pointSize);
}

CGSize sizeWithAttributes(const std::string& text, const UIFontRef& font) {
  return Platform::current().ports().textMeasurement.sizeOfText(text, font);
}

}  // namespace tlx
