#pragma once

#include <memory>
#include <string>

#include "tlx/platform/coregraphics/CGGeometry.h"

namespace tlx {

/// A font by family name and point size. A name that the machine lacks is drawn in its standard font; the name is kept.
class UIFont {
 public:
  static std::shared_ptr<const UIFont> fontWithName_size(std::string name, double pointSize);

  UIFont(std::string name, double pointSize) : name_(std::move(name)), pointSize_(pointSize) {}
  const std::string& fontName() const { return name_; }
  double pointSize() const { return pointSize_; }

 private:
  std::string name_;
  double pointSize_;
};

/// Nothing stands for the platform's default font.
using UIFontRef = std::shared_ptr<const UIFont>;

/// The size of one line of UTF-8 text in points, as the installed platform would draw it. Main thread.
CGSize sizeWithAttributes(const std::string& text, const UIFontRef& font);

}  // namespace tlx
