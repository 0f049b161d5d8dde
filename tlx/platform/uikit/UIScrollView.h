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
  void setContentOffset(const CGPoint& offset);
  const UIEdgeInsets& contentInset() const { return contentInset_; }
  /// Content at rest at its start stays at its start.
  void setContentInset(const UIEdgeInsets& inset);
  virtual CGSize contentSize() const { return contentSize_; }
  bool bounces() const { return bounces_; }
  void setBounces(bool bounces) { bounces_ = bounces; }
  bool alwaysBounceVertical() const { return alwaysBounceVertical_; }
  void setAlwaysBounceVertical(bool bounces) { alwaysBounceVertical_ = bounces; }
  CGRect bounds() const override;

  void setScrollDelegate(std::weak_ptr<UIScrollViewDelegate> delegate) { scrollDelegate_ = std::move(delegate); }

  /// The renderer's report of a scroll (a finger, a wheel); not told back.
  void scrolledTo(const CGPoint& offset);
  /// The offsets between which the content may rest.
  double minimumOffsetY() const { return -contentInset_.top; }
  double maximumOffsetY() const;

 protected:
  void setContentSize(const CGSize& size);

 private:
  void moveTo(const CGPoint& offset);

  CGPoint contentOffset_;
  CGSize contentSize_;
  UIEdgeInsets contentInset_;
  bool bounces_ = true, alwaysBounceVertical_ = false;
  std::weak_ptr<UIScrollViewDelegate> scrollDelegate_;
};

}  // namespace tlx
