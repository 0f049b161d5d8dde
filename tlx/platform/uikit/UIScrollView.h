#pragma once

#include <memory>

#include "tlx/platform/uikit/UIView.h"

namespace tlx {

class UIScrollView;

class UIScrollViewDelegate {
 public:
  virtual ~UIScrollViewDelegate() = default;
  /// After every change of the offset, by whomever.
  virtual void scrollViewDidScroll(UIScrollView& scrollView) {}
};

/// A view onto content larger than itself. The offset is the content's point at the view's top left corner; at rest
/// at the start it is minus the inset.
class UIScrollView : public UIView {
 public:
  static const Class& classObject();

  CGPoint contentOffset() const { return contentOffset_; }
  /// Anywhere, also past the ends. An offset that is not a number is not taken.
  void setContentOffset(const CGPoint& offset);
  const UIEdgeInsets& contentInset() const { return contentInset_; }
  /// Content at rest at its start stays at its start.
  void setContentInset(const UIEdgeInsets& inset);
  CGSize contentSize() const { return contentSize_; }
  bool bounces() const { return bounces_; }
  void setBounces(bool bounces) { bounces_ = bounces; }
  bool alwaysBounceVertical() const { return alwaysBounceVertical_; }
  void setAlwaysBounceVertical(bool bounces) { alwaysBounceVertical_ = bounces; }
  CGRect bounds() const override;

  void setScrollDelegate(std::weak_ptr<UIScrollViewDelegate> delegate) { scrollDelegate_ = std::move(delegate); }

  /// The renderer's report of a scroll (a finger, a wheel); not told back.
  void scrolledTo(const CGPoint& offset);
  /// The offsets between which the content may rest; the same twice for content that fits.
  double minimumOffsetY() const { return -contentInset_.top; }
  double maximumOffsetY() const;

 protected:
  /// Told to the renderer as a change of the offset, which is then brought within the content.
  void setContentSize(const CGSize& size);
  /// After the ends have moved: an offset past an end that did move goes back to it. Past one that did not, a finger
  /// holds it.
  void settleOffset();
  void sizeChanged() override;

 private:
  bool moveTo(const CGPoint& offset);
  void tellScrolled();

  CGPoint contentOffset_;
  CGSize contentSize_;
  UIEdgeInsets contentInset_;
  double settledMinimumY_ = 0, settledMaximumY_ = 0;
  bool bounces_ = true, alwaysBounceVertical_ = false;
  std::weak_ptr<UIScrollViewDelegate> scrollDelegate_;
};

}  // namespace tlx
