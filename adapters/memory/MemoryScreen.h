#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tlx/platform/ApplicationPort.h"
#include "tlx/platform/uikit/PresentationPort.h"
#include "tlx/platform/uikit/TextMeasurementPort.h"
#include "tlx/platform/uikit/UIAlertController.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/platform/uikit/UIFont.h"
#include "tlx/platform/uikit/UIWindow.h"

namespace tlx::memory {

/// Every character is half as wide as the font is high, and a line 1.2 times as high, so that a test can tell widths by
/// heart.
class MemoryTextMeasurement final : public TextMeasurementPort {
 public:
  /// Of the platform's default font.
  static constexpr double defaultPointSize = 17;

  CGSize sizeOfText(const std::string& text, const UIFontRef& font) override;
};

/// Remembers what is on the screen, and presses what a person would press. Keeps nothing alive.
class MemoryPresentation final : public PresentationPort {
 public:
  struct Event {
    enum Kind { FullScreen, Popover, Alert } kind;
    bool presented;  ///< else dismissed
    bool animated;
    std::string title, message;        ///< of an alert
    std::vector<std::string> buttons;  ///< of an alert, in order
  };

  void present(const std::shared_ptr<UIViewController>& presented, bool animated) override;
  void dismiss(const std::shared_ptr<UIViewController>& presented, bool animated) override;

  const std::vector<Event>& events() const { return events_; }
  /// The topmost presented screen; nothing when there is none. A screen that is on its way out does not count.
  std::shared_ptr<UIViewController> top() const;
  /// The topmost screen, if it is an alert.
  std::shared_ptr<UIAlertController> alert() const { return std::dynamic_pointer_cast<UIAlertController>(top()); }
  /// The topmost screen's popover, if it is one.
  std::shared_ptr<UIPopoverPresentationController> popover() const;

  /// A person presses the alert's button with that title. False without such a button or alert.
  bool press(const std::string& button);
  /// A person presses beside the popover. Answers whether it goes; false when the topmost screen is none.
  bool pressOutside();

 private:
  void record(const UIViewController& controller, bool presented, bool animated);

  std::vector<Event> events_;
  std::vector<std::weak_ptr<UIViewController>> screens_;
};

/// A phone with one window, 375 × 667 points, on which a plain host screen stands.
class MemoryApplication final : public ApplicationPort {
 public:
  std::shared_ptr<UIWindow> window() const override { return window_; }
  std::optional<UIUserInterfaceIdiom> userInterfaceIdiom() const override { return idiom_; }
  double screenScale() const override { return screenScale_; }
  bool openURL(const std::string& url) override;
  void setStatusBarHidden(bool hidden) override { statusBarHidden_ = hidden; }
  bool reduceMotion() const override { return reduceMotion_; }

  /// A new window of that size with a plain root view controller. The one before goes.
  void openWindow(const CGSize& size);
  void closeWindow();
  /// The screen that a host would present from; nothing without a window.
  std::shared_ptr<UIViewController> host() const { return window_ ? window_->rootViewController() : nullptr; }
  /// Nothing: a device that does not tell.
  void setIdiom(std::optional<UIUserInterfaceIdiom> idiom) { idiom_ = idiom; }
  void setReduceMotion(bool reduce) { reduceMotion_ = reduce; }
  void setScreenScale(double scale) { screenScale_ = scale; }

  const std::vector<std::string>& openedURLs() const { return openedURLs_; }
  bool isStatusBarHidden() const { return statusBarHidden_; }

 private:
  std::shared_ptr<UIWindow> window_;
  std::optional<UIUserInterfaceIdiom> idiom_ = UIUserInterfaceIdiomPhone;
  std::vector<std::string> openedURLs_;
  bool statusBarHidden_ = false, reduceMotion_ = false;
  double screenScale_ = 1;
};

}  // namespace tlx::memory
