#include "tlx/platform/uikit/UIWindow.h"

#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {

UIWindow::~UIWindow() = default;

void UIWindow::setRootViewController(const std::shared_ptr<UIViewController>& controller) {
  if (controller == rootViewController_) return;
  if (rootViewController_) {
    rootViewController_->viewWillDisappear(false);
    rootViewController_->view()->removeFromSuperview();
  }
  rootViewController_ = controller;
  if (!controller) return;
  const auto& view = controller->view();
  view->setAutoresizingMask(UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight);
  view->setFrame(bounds());
  addSubview(view);
  controller->appear(false, 0);
}

std::shared_ptr<UIWindow> UIWindow::window() {
  return sharedAs(this);
}

}  // namespace tlx
