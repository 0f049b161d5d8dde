#include "tlx/platform/uikit/UIScrollView.h"

#include <algorithm>
#include <cmath>

namespace tlx {

const Class& UIScrollView::classObject() {
  static const Class object{"UIScrollView", "UIView", "", [] { return std::make_shared<UIScrollView>(); }, {}, {}};
  return object;
}

CGRect UIScrollView::bounds() const {
  return {contentOffset_, frame().size};
}

double UIScrollView::maximumOffsetY() const {
  return std::max(minimumOffsetY(), contentSize().height + contentInset_.bottom - frame().size.height);
}

void UIScrollView::setContentOffset(const CGPoint& offset) {
  if (!moveTo(offset)) return;
  changed(UIViewChange::ContentOffset);
  tellScrolled();
}

void UIScrollView::scrolledTo(const CGPoint& offset) {
  if (moveTo(offset)) tellScrolled();
}

bool UIScrollView::moveTo(const CGPoint& offset) {
  if (offset == contentOffset_ || !std::isfinite(offset.x) || !std::isfinite(offset.y)) return false;
  contentOffset_ = offset;
  setNeedsLayout();
  return true;
}

void UIScrollView::tellScrolled() {
  if (auto delegate = scrollDelegate_.lock()) delegate->scrollViewDidScroll(*this);
}

void UIScrollView::setContentInset(const UIEdgeInsets& inset) {
  if (inset == contentInset_) return;
  const bool restsAtTop = contentOffset_.y == minimumOffsetY();
  const bool restsAtLeft = contentOffset_.x == -contentInset_.left;
  contentInset_ = inset;
  setNeedsLayout();
  changed(UIViewChange::ContentOffset);
  setContentOffset({restsAtLeft ? -inset.left : contentOffset_.x, restsAtTop ? -inset.top : contentOffset_.y});
  settleOffset();
}

void UIScrollView::setContentSize(const CGSize& size) {
  if (size != contentSize_) {
    contentSize_ = size;
    changed(UIViewChange::ContentOffset);
  }
  settleOffset();
}

void UIScrollView::settleOffset() {
  const double top = minimumOffsetY(), bottom = maximumOffsetY();
  const double left = -contentInset_.left;
  const double right = std::max(left, contentSize().width + contentInset_.right - frame().size.width);
  CGPoint offset{std::clamp(contentOffset_.x, left, right), contentOffset_.y};
  if (offset.y < top && top != settledMinimumY_) offset.y = top;
  if (offset.y > bottom && bottom != settledMaximumY_) offset.y = bottom;
  settledMinimumY_ = top;
  settledMaximumY_ = bottom;
  setContentOffset(offset);
}

void UIScrollView::sizeChanged() {
  settleOffset();
}

}  // namespace tlx
