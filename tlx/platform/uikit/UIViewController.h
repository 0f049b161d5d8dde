#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "tlx/platform/uikit/UIView.h"

namespace tlx {

class UIPopoverPresentationController;
class UIWindow;

enum UIModalPresentationStyle : std::int64_t {
  UIModalPresentationNone = -1,
  UIModalPresentationFullScreen = 0,
  UIModalPresentationPopover = 7,
};

/// Seconds that a presentation or a dismissal takes when it is animated: short enough not to be waited for.
inline constexpr double UIPresentationAnimationDuration = 0.25;

/// One screen. Main thread only. It comes out of a scene without its view; the view is loaded when it is first read.
class UIViewController : public NSObject {
 public:
  static const Class& classObject();

  UIViewController();
  ~UIViewController() override;

  /// Loads the view on first read: the scene's loader runs (outlets are connected), then `viewDidLoad`.
  const std::shared_ptr<UIView>& view();
  bool isViewLoaded() const { return view_ != nullptr; }
  /// For scenes. The loader makes the view, connects the controller's outlets and answers the view.
  void setViewLoader(std::function<std::shared_ptr<UIView>()> loader) { viewLoader_ = std::move(loader); }

  virtual void viewDidLoad() {}
  virtual void viewWillAppear(bool animated) {}
  virtual void viewDidAppear(bool animated) {}
  virtual void viewWillDisappear(bool animated) {}
  virtual void didReceiveMemoryWarning() {}
  virtual bool prefersStatusBarHidden() { return false; }

  /// Shows another screen over this one: full screen, as a popover or as an alert. The links are set at once;
  /// `completion` runs when the animation has ended. While something this controller presented is on its way out, the
  /// call waits for that, in order; while something stays presented it is refused, and logged. Nothing happens for
  /// nothing.
  void presentViewController_animated_completion(const std::shared_ptr<UIViewController>& controller, bool animated,
                                                 std::function<void()> completion);
  /// For what must come: waits, in the same order, also for what stays presented, and is never refused. `make` runs
  /// when its turn has come, at once if nothing is in the way; it may answer nothing, and then nothing is shown.
  void presentWhenFree(std::function<std::shared_ptr<UIViewController>()> make);
  /// Ends what this controller presents, or else this controller's own presentation; what is on its way out already
  /// counts as gone. The links are cleared and `completion` runs when the animation has ended. Does nothing, and drops
  /// the completion, when there is neither.
  void dismissViewControllerAnimated_completion(bool animated, std::function<void()> completion);
  /// Ends this controller's own presentation, whatever stands above it, which goes along. Does nothing, and drops the
  /// completion, when this controller is not presented or is on its way out.
  void leave(bool animated, std::function<void()> completion);
  /// Lets go of what waits to be presented by this controller.
  void dropWaiting();

  /// Nothing when this controller is not presented.
  std::shared_ptr<UIViewController> presentingViewController() const { return presenting_.lock(); }
  const std::shared_ptr<UIViewController>& presentedViewController() const { return presented_; }
  bool isBeingDismissed() const { return beingDismissed_; }
  /// Whether something waits for its turn to be presented by this controller.
  bool hasWaiting() const { return !waiting_.empty(); }

  /// Whether hands, keys and assistive technology reach a view: not what something presented covers or what is on its
  /// way out; and nothing at all from the moment at which a button of an alert is chosen until its effect has run, or
  /// while a presentation waits for another one to go. A view outside of any window is always within reach.
  static bool inputReaches(const UIView& view);

  UIModalPresentationStyle modalPresentationStyle() const { return modalPresentationStyle_; }
  void setModalPresentationStyle(UIModalPresentationStyle style) { modalPresentationStyle_ = style; }
  /// 0 × 0 when it was not set: the platform's default size applies.
  const CGSize& preferredContentSize() const { return preferredContentSize_; }
  void setPreferredContentSize(const CGSize& size) { preferredContentSize_ = size; }
  /// Nothing unless the style is popover; the same object while this controller lives.
  std::shared_ptr<UIPopoverPresentationController> popoverPresentationController();

  /// For whoever puts the view on the screen: it will appear now, and has appeared after so many seconds.
  void appear(bool animated, double seconds);

 protected:
  /// Runs when the view is there, before `viewDidLoad`.
  virtual void viewLoaded() {}

 private:
  struct Waiting {
    std::function<std::shared_ptr<UIViewController>()> make;
    bool animated = true;
    std::function<void()> completion;
  };
  static std::shared_ptr<UIViewController> screenWithInput(const UIWindow& window);
  static void tellOfInput();
  void presentNext();
  void dismissPresented(bool animated, std::function<void()> completion);

  std::shared_ptr<UIView> view_;
  std::function<std::shared_ptr<UIView>()> viewLoader_;
  std::weak_ptr<UIViewController> presenting_;
  std::shared_ptr<UIViewController> presented_;
  std::deque<Waiting> waiting_;  // what this controller will present, in order
  bool beingDismissed_ = false, loading_ = false;
  UIModalPresentationStyle modalPresentationStyle_ = UIModalPresentationFullScreen;
  CGSize preferredContentSize_;
  std::shared_ptr<UIPopoverPresentationController> popover_;
};

}  // namespace tlx
