#pragma once

#include <string>

#include "tlx/platform/uikit/UIFont.h"
#include "tlx/platform/uikit/UIView.h"

namespace tlx {

/// Text. UTF-8; cleared and empty are the same.
class UILabel : public UIView {
 public:
  static const Class& classObject();

  const std::string& text() const { return text_; }
  void setText(std::string text);
  /// Nothing is the platform's default font. A new one makes the superview lay out anew: a button goes by its title's
  /// width.
  const UIFontRef& font() const { return font_; }
  void setFont(UIFontRef font);
  /// Nothing is the platform's own colour for text.
  const std::optional<UIColor>& textColor() const { return textColor_; }
  void setTextColor(std::optional<UIColor> color);

 private:
  std::string text_;
  UIFontRef font_;
  std::optional<UIColor> textColor_;
};

}  // namespace tlx
