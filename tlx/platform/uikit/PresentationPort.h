#pragma once

#include <memory>

#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {

/// Shows presented screens. Main thread. The controllers keep the links, the order and the time; the port only draws,
/// and brings presses back through `UIPopoverPresentationController::requestDismissal` and
/// `UIAlertController::perform`.
class PresentationPort {
 public:
  virtual ~PresentationPort() = default;
  /// The kind follows from the presented controller: an alert by its class, a popover by its style, else full screen.
  /// Its view stands in the presenter's window already, on top, except an alert, which has none.
  virtual void present(const std::shared_ptr<UIViewController>& presented, bool animated) = 0;
  /// Called when the dismissal begins; the presentation is over, and the view out of the window, after
  /// `UIPresentationAnimationDuration` or at once.
  virtual void dismiss(const std::shared_ptr<UIViewController>& presented, bool animated) = 0;
  /// Told after each of the above and whenever else it may have changed: the screen that takes input now, the window's
  /// root among them, or nothing while none does, as `UIViewController::inputReaches` says. Views refuse presses by
  /// themselves; a port that draws sees to it that the keyboard and assistive technology meet the same screen.
  virtual void inputMoved(const std::shared_ptr<UIViewController>& screen) {}
};

}  // namespace tlx
