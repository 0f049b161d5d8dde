#pragma once

#include <memory>

#include "tlx/platform/uikit/UIView.h"

namespace tlx {

class UIViewController;

/// The root of everything on the screen.
class UIWindow : public UIView {
 public:
  explicit UIWindow(const CGRect& frame) : UIView(frame) {}
  ~UIWindow() override;

  /// Puts the controller's view into the window, as large as it, and tells the controller that it appears.
  void setRootViewController(const std::shared_ptr<UIViewController>& controller);
  const std::shared_ptr<UIViewController>& rootViewController() const { return rootViewController_; }
  std::shared_ptr<UIWindow> window() override;

 private:
  std::shared_ptr<UIViewController> rootViewController_;
};

}  // namespace tlx
