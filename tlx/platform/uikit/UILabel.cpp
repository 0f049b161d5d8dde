#include "tlx/platform/uikit/UILabel.h"

#include <utility>

namespace tlx {

const Class& UILabel::classObject() {
  static const Class object{"UILabel", "UIView", "", [] { return std::make_shared<UILabel>(); }, {}, {}};
  return object;
}

void UILabel::setText(std::string text) {
  text_ = std::move(text);
  changed(UIViewChange::Text);
}

void UILabel::setFont(UIFontRef font) {
  font_ = std::move(font);
  changed(UIViewChange::Font);
  if (auto above = superview()) above->setNeedsLayout();
}

void UILabel::setTextColor(std::optional<UIColor> color) {
  textColor_ = color;
  changed(UIViewChange::TextColor);
}

}  // namespace tlx
