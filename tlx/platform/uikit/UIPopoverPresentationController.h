#pragma once

#include <cstdint>
#include <memory>

#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {

enum UIPopoverArrowDirection : std::uint64_t {
  UIPopoverArrowDirectionUp = 1,
  UIPopoverArrowDirectionAny = 15,
};

/// Size of a popover whose content prefers none, in points: at least this, and on larger windows that share of them, so
/// that content which grows with the window has room; never larger than the window allows.
inline constexpr CGSize UIPopoverDefaultContentSize{320, 480};
inline constexpr double UIPopoverDefaultShare = 0.6;
/// Least distance of a popover from the window's edges, in points.
inline constexpr double UIPopoverMargin = 10;
/// Height of the arrow between the source and the popover, in points.
inline constexpr double UIPopoverArrowHeight = 13;

class UIPopoverPresentationController;

class UIPopoverPresentationControllerDelegate {
 public:
  virtual ~UIPopoverPresentationControllerDelegate() = default;
  /// None keeps the popover a popover on narrow screens.
  virtual UIModalPresentationStyle adaptivePresentationStyleForPresentationController(
      UIPopoverPresentationController& controller) {
    return UIModalPresentationFullScreen;
  }
  /// The person pressed outside or asked to close it.
  virtual bool popoverPresentationControllerShouldDismissPopover(UIPopoverPresentationController& controller) {
    return true;
  }
};

/// How one controller hangs under a view of the screen below.
class UIPopoverPresentationController : public NSObject {
 public:
  explicit UIPopoverPresentationController(const std::weak_ptr<UIViewController>& presented) : presented_(presented) {}

  void setDelegate(std::weak_ptr<UIPopoverPresentationControllerDelegate> delegate) { delegate_ = std::move(delegate); }
  std::shared_ptr<UIPopoverPresentationControllerDelegate> delegate() const { return delegate_.lock(); }
  void setSourceView(const std::shared_ptr<UIView>& view) { sourceView_ = view; }
  std::shared_ptr<UIView> sourceView() const { return sourceView_.lock(); }
  /// In the source view's own coordinates.
  void setSourceRect(const CGRect& rect) { sourceRect_ = rect; }
  const CGRect& sourceRect() const { return sourceRect_; }
  void setPermittedArrowDirections(std::uint64_t directions) { arrowDirections_ = directions; }
  std::uint64_t permittedArrowDirections() const { return arrowDirections_; }

  std::shared_ptr<UIViewController> presentedViewController() const { return presented_.lock(); }
  /// Where the popover's content stands in a window of that size: below the source, centred on it as far as the margins
  /// allow, as high as the preferred size or the room left.
  CGRect frameInWindow(const CGSize& window) const;
  /// A press outside, or Escape: asks the delegate, and dismisses when it agrees. Answers whether it does.
  bool requestDismissal();

 private:
  std::weak_ptr<UIViewController> presented_;
  std::weak_ptr<UIPopoverPresentationControllerDelegate> delegate_;
  std::weak_ptr<UIView> sourceView_;
  CGRect sourceRect_;
  std::uint64_t arrowDirections_ = UIPopoverArrowDirectionAny;
};

}  // namespace tlx
