#pragma once

#include <memory>
#include <string>

#include "tlx/platform/uikit/UIControl.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/platform/uikit/UILabel.h"

namespace tlx {

/// An image in its own size and, to its right, a title; both together are centred in the content rectangle, which is
/// the bounds. Where they do not fit, the title gets narrower first, then the image. There is one state, so what is set
/// for any state is set for all.
class UIButton : public UIControl {
 public:
  static const Class& classObject();

  void setTitle_forState(std::string title, UIControlState state);
  const std::string& titleForState(UIControlState state) const;
  void setImage_forState(std::shared_ptr<const UIImage> image, UIControlState state);
  UIControlState state() const { return UIControlStateNormal; }

  /// The label and the picture that the button shows; made when first set or read, kept for the button's life.
  const std::shared_ptr<UILabel>& titleLabel();
  const std::shared_ptr<UIImageView>& imageView();

  /// Shift the image within the content rectangle by half the difference of opposite edges.
  const UIEdgeInsets& imageEdgeInsets() const { return imageEdgeInsets_; }
  void setImageEdgeInsets(const UIEdgeInsets& insets);

  /// Where the image and the title go within a content rectangle. After each change the button asks for the image's,
  /// then the title's, until both repeat, at most three times.
  virtual CGRect imageRectForContentRect(const CGRect& contentRect);
  virtual CGRect titleRectForContentRect(const CGRect& contentRect);

 protected:
  void layoutSubviews() override;
  void sizeChanged() override;

 private:
  CGSize imageSizeWithin(const CGRect& contentRect) const;
  CGSize titleSizeWithin(const CGRect& contentRect) const;

  std::string title_;
  std::shared_ptr<const UIImage> image_;
  std::shared_ptr<UILabel> titleLabel_;
  std::shared_ptr<UIImageView> imageView_;
  UIEdgeInsets imageEdgeInsets_;
};

}  // namespace tlx
