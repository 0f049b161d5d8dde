#include "tlx/platform/uikit/UIImageView.h"

#include <utility>

namespace tlx {

const Class& UIImageView::classObject() {
  static const Class object{"UIImageView", "UIView", "", [] { return std::make_shared<UIImageView>(); }, {}, {}};
  return object;
}

void UIImageView::setImage(std::shared_ptr<const UIImage> image) {
  image_ = std::move(image);
  changed(UIViewChange::Image);
}

}  // namespace tlx
