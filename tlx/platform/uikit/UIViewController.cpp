#include "tlx/platform/uikit/UIViewController.h"

#include <utility>

#include "tlx/platform/Platform.h"
#include "tlx/platform/foundation/NSTimer.h"
#include "tlx/platform/foundation/SystemLog.h"
#include "tlx/platform/uikit/PresentationPort.h"
#include "tlx/platform/uikit/UIAlertController.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/platform/uikit/UIPopoverPresentationController.h"
#include "tlx/platform/uikit/UIWindow.h"

namespace tlx {
namespace {

/// Runs the step at once, or when an animation of the presentation's length has ended.
void afterAnimation(bool animated, std::function<void()> step) {
  if (animated && UIView::areAnimationsEnabled()) {
    performAfterDelay(UIPresentationAnimationDuration, std::move(step));
  } else {
    step();
  }
}

bool isAlert(const UIViewController& controller) {
  return dynamic_cast<const UIAlertController*>(&controller) != nullptr;
}

void putIntoWindow(UIViewController& presenting, UIViewController& presented) {
  if (isAlert(presented)) return;
  auto window = presenting.view() ? presenting.view()->window() : nullptr;
  if (!window) window = UIApplication::sharedApplication().window();
  const auto& view = presented.view();
  if (!window || !view) return;
  if (auto popover = presented.popoverPresentationController()) {
    view->setFrame(popover->frameInWindow(window->bounds().size));
  } else {
    view->setAutoresizingMask(UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight);
    view->setFrame(window->bounds());
  }
  window->addSubview(view);
}

}  // namespace

const Class& UIViewController::classObject() {
  static const Class object{"UIViewController", "", "", [] { return std::make_shared<UIViewController>(); }, {}, {}};
  return object;
}

UIViewController::UIViewController() = default;

UIViewController::~UIViewController() {
  // A host may let go of a screen without dismissing what it presents: that must not stay on the window, orphaned.
  Platform* platform = Platform::installed();
  if (!platform || !presented_) return;
  if (!presented_->beingDismissed_) {
    if (presented_->presented_) presented_->dismissPresented(false, nullptr);
    platform->ports().presentation.dismiss(presented_, false);
  }
  if (presented_->isViewLoaded()) presented_->view()->removeFromSuperview();
  tellOfInput();
}

const std::shared_ptr<UIView>& UIViewController::view() {
  if (view_ || loading_) return view_;
  loading_ = true;
  // The loader runs once, but is kept while it runs: it may be what keeps the scene alive.
  const auto loader = std::move(viewLoader_);
  viewLoader_ = nullptr;
  try {
    view_ = loader ? loader() : std::make_shared<UIView>();
  } catch (...) {
    loading_ = false;
    throw;
  }
  loading_ = false;
  viewLoaded();
  viewDidLoad();
  return view_;
}

void UIViewController::appear(bool animated, double seconds) {
  viewWillAppear(animated);
  const auto weak = weak_from_this();
  const auto appeared = [weak, animated] {
    if (auto self = std::static_pointer_cast<UIViewController>(weak.lock())) self->viewDidAppear(animated);
  };
  if (seconds > 0) {
    performAfterDelay(seconds, appeared);
  } else {
    appeared();
  }
}

std::shared_ptr<UIPopoverPresentationController> UIViewController::popoverPresentationController() {
  if (modalPresentationStyle_ != UIModalPresentationPopover) return nullptr;
  if (!popover_) popover_ = std::make_shared<UIPopoverPresentationController>(sharedAs(this));
  return popover_;
}

void UIViewController::presentViewController_animated_completion(const std::shared_ptr<UIViewController>& controller,
                                                                 bool animated, std::function<void()> completion) {
  if (!controller) return;
  if (presented_ && !presented_->beingDismissed_) {
    NSLog("A screen is presented already; the second presentation is refused.");
    return;
  }
  waiting_.push_back({[controller] { return controller; }, animated, std::move(completion)});
  presentNext();
}

void UIViewController::presentWhenFree(std::function<std::shared_ptr<UIViewController>()> make) {
  waiting_.push_back({std::move(make), true, nullptr});
  presentNext();
}

void UIViewController::presentNext() {
  const auto self = sharedAs(this);
  while (!presented_ && !waiting_.empty()) {
    const Waiting next = std::move(waiting_.front());
    waiting_.pop_front();
    const auto controller = next.make();
    if (!controller) continue;
    if (presented_ || !controller->presenting_.expired()) {
      NSLog("A screen is presented already; the second presentation is refused.");
      continue;
    }
    presented_ = controller;
    controller->presenting_ = self;
    putIntoWindow(*this, *controller);
    Platform::current().ports().presentation.present(controller, next.animated);
    controller->appear(next.animated,
                       next.animated && UIView::areAnimationsEnabled() ? UIPresentationAnimationDuration : 0);
    if (next.completion) afterAnimation(next.animated, next.completion);
  }
  tellOfInput();
}

void UIViewController::dropWaiting() {
  waiting_.clear();
  tellOfInput();
}

void UIViewController::dismissViewControllerAnimated_completion(bool animated, std::function<void()> completion) {
  if (presented_ && !presented_->beingDismissed_) {
    dismissPresented(animated, std::move(completion));
  } else {
    leave(animated, std::move(completion));
  }
}

void UIViewController::leave(bool animated, std::function<void()> completion) {
  if (auto presenting = presenting_.lock()) presenting->dismissPresented(animated, std::move(completion));
}

void UIViewController::dismissPresented(bool animated, std::function<void()> completion) {
  const auto leaving = presented_;
  if (leaving->beingDismissed_) return;
  leaving->waiting_.clear();
  if (leaving->presented_) leaving->dismissPresented(false, nullptr);
  leaving->beingDismissed_ = true;
  Platform::current().ports().presentation.dismiss(leaving, animated);
  tellOfInput();
  leaving->viewWillDisappear(animated);
  const auto weak = weak_from_this();
  afterAnimation(animated, [weak, leaving, completion = std::move(completion)] {
    leaving->beingDismissed_ = false;
    leaving->presenting_.reset();
    if (leaving->isViewLoaded() && !isAlert(*leaving)) leaving->view()->removeFromSuperview();
    const auto self = std::static_pointer_cast<UIViewController>(weak.lock());
    if (self && self->presented_ == leaving) self->presented_ = nullptr;
    if (completion) completion();
    if (self) self->presentNext();
    tellOfInput();
  });
}

std::shared_ptr<UIViewController> UIViewController::screenWithInput(const UIWindow& window) {
  auto screen = window.rootViewController();
  while (screen) {
    const auto& above = screen->presented_;
    const bool stays = above && !above->beingDismissed_;
    if (!stays) return screen->waiting_.empty() && !(above && isAlert(*above)) ? screen : nullptr;
    screen = above;
  }
  return nullptr;
}

bool UIViewController::inputReaches(const UIView& view) {
  const UIView* outermost = &view;
  auto above = view.superview();
  while (above && !std::dynamic_pointer_cast<UIWindow>(above)) {
    outermost = above.get();
    above = above->superview();
  }
  const auto window = std::dynamic_pointer_cast<UIWindow>(above);
  if (!window || !window->rootViewController()) return true;
  auto owner = window->rootViewController();
  for (auto screen = owner; screen; screen = screen->presented_) {
    if (screen->view_.get() == outermost) owner = screen;
  }
  return owner == screenWithInput(*window);
}

void UIViewController::tellOfInput() {
  Platform* platform = Platform::installed();
  const auto window = platform ? UIApplication::sharedApplication().window() : nullptr;
  if (window && window->rootViewController()) platform->ports().presentation.inputMoved(screenWithInput(*window));
}

}  // namespace tlx
