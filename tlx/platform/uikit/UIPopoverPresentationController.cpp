#include "tlx/platform/uikit/UIPopoverPresentationController.h"

#include <algorithm>
#include <cmath>

namespace tlx {

CGRect UIPopoverPresentationController::frameInWindow(const CGSize& window) const {
  CGRect source = sourceRect_;
  if (auto view = sourceView()) source = view->convertRectToWindow(source);
  CGSize wanted{std::max(UIPopoverDefaultContentSize.width, std::ceil(UIPopoverDefaultShare * window.width)),
                std::max(UIPopoverDefaultContentSize.height, std::ceil(UIPopoverDefaultShare * window.height))};
  if (auto presented = presentedViewController(); presented && presented->preferredContentSize().width > 0) {
    wanted = presented->preferredContentSize();
  }
  const double top = std::clamp(CGRectGetMaxY(source) + UIPopoverArrowHeight, UIPopoverMargin,
                                std::max(UIPopoverMargin, window.height - UIPopoverMargin));
  const double width = std::max(0.0, std::min(wanted.width, window.width - 2 * UIPopoverMargin));
  const double height = std::max(0.0, std::min(wanted.height, window.height - UIPopoverMargin - top));
  const double rightmost = std::max(UIPopoverMargin, window.width - UIPopoverMargin - width);
  const double x = std::clamp(CGRectGetMidX(source) - width / 2.0, UIPopoverMargin, rightmost);
  return CGRectMake(x, top, width, height);
}

bool UIPopoverPresentationController::requestDismissal() {
  auto presented = presentedViewController();
  if (!presented || !presented->presentingViewController() || presented->isBeingDismissed()) return false;
  if (auto asked = delegate(); asked && !asked->popoverPresentationControllerShouldDismissPopover(*this)) return false;
  presented->dismissViewControllerAnimated_completion(true, nullptr);
  return true;
}

}  // namespace tlx
