#pragma once

#include <memory>
#include <string>

#include "tlx/platform/uikit/UIControl.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/platform/uikit/UILabel.h"

namespace tlx {

/// A title and an image side by side, image first, centred in the content rectangle.
class UIButton : public UIControl {
 public:
  static const Class& classObject();

  void setTitle_forState(std::string title, UIControlState state);
  const std::string& titleForState(UIControlState state) const;
  void setImage_forState(std::shared_ptr<const UIImage> image, UIControlState state);
  const std::shared_ptr<const UIImage>& imageForState(UIControlState state) const;
  UIControlState state() const { return UIControlStateNormal; }

  /// The label and the picture that the button shows; made on first read, kept for the button's life.
  const std::shared_ptr<UILabel>& titleLabel();
  const std::shared_ptr<UIImageView>& imageView();

  const UIEdgeInsets& imageEdgeInsets() const { return imageEdgeInsets_; }
  void setImageEdgeInsets(const UIEdgeInsets& insets);

  /// Where the image and the title go within a content rectangle. After each change the button asks for the image's, then the title's, until
  /// both repeat, at most three times.
  virtual CGRect imageRectForContentRect(const CGRect& contentRect);
  virtual CGRect titleRectForContentRect(const CGRect& contentRect);

 protected:
  void layoutSubviews() override;
  void sizeChanged() override;

 private:
  std::string title_;
  std::shared_ptr<const UIImage> image_;
  std::shared_ptr<UILabel> titleLabel_;
  std::shared_ptr<UIImageView> imageView_;
  UIEdgeInsets imageEdgeInsets_;
};

}  // namespace tlx
