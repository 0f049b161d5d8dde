#include "tlx/platform/uikit/UIButton.h"

#include <algorithm>
#include <utility>

namespace tlx {
namespace {

constexpr int kLayoutPasses = 3;

}  // namespace

const Class& UIButton::classObject() {
  static const Class object{"UIButton", "UIControl", "", [] { return std::make_shared<UIButton>(); }, {}, {}};
  return object;
}

const std::string& UIButton::titleForState(UIControlState) const {
  return title_;
}

void UIButton::setTitle_forState(std::string title, UIControlState) {
  if (title == title_) return;
  title_ = std::move(title);
  titleLabel()->setText(title_);
  setNeedsLayout();
  changed(UIViewChange::Title);
}

void UIButton::setImage_forState(std::shared_ptr<const UIImage> image, UIControlState) {
  if (image == image_) return;
  image_ = std::move(image);
  imageView()->setImage(image_);
  setNeedsLayout();
  changed(UIViewChange::Image);
}

const std::shared_ptr<UILabel>& UIButton::titleLabel() {
  if (!titleLabel_) {
    titleLabel_ = std::make_shared<UILabel>();
    titleLabel_->setUserInteractionEnabled(false);
    titleLabel_->setText(title_);
    addSubview(titleLabel_);
    setNeedsLayout();
  }
  return titleLabel_;
}

const std::shared_ptr<UIImageView>& UIButton::imageView() {
  if (!imageView_) {
    imageView_ = std::make_shared<UIImageView>();
    imageView_->setUserInteractionEnabled(false);
    imageView_->setImage(image_);
    addSubview(imageView_);
    setNeedsLayout();
  }
  return imageView_;
}

void UIButton::setImageEdgeInsets(const UIEdgeInsets& insets) {
  if (insets == imageEdgeInsets_) return;
  imageEdgeInsets_ = insets;
  setNeedsLayout();
}

CGSize UIButton::imageSizeWithin(const CGRect& contentRect) const {
  const CGSize size = image_ ? image_->size() : CGSize{};
  return {std::min(size.width, CGRectGetWidth(contentRect)), std::min(size.height, CGRectGetHeight(contentRect))};
}

CGSize UIButton::titleSizeWithin(const CGRect& contentRect) const {
  const CGSize size =
      title_.empty() ? CGSize{} : sizeWithAttributes(title_, titleLabel_ ? titleLabel_->font() : UIFontRef());
  const double room = CGRectGetWidth(contentRect) - imageSizeWithin(contentRect).width;
  return {std::min(size.width, room), std::min(size.height, CGRectGetHeight(contentRect))};
}

CGRect UIButton::imageRectForContentRect(const CGRect& contentRect) {
  const CGSize image = imageSizeWithin(contentRect), title = titleSizeWithin(contentRect);
  const UIEdgeInsets& insets = imageEdgeInsets_;
  return CGRectMake(CGRectGetMidX(contentRect) - (image.width + title.width) / 2.0 + (insets.left - insets.right) / 2.0,
                    CGRectGetMidY(contentRect) - image.height / 2.0 + (insets.top - insets.bottom) / 2.0, image.width,
                    image.height);
}

CGRect UIButton::titleRectForContentRect(const CGRect& contentRect) {
  const CGSize image = imageSizeWithin(contentRect), title = titleSizeWithin(contentRect);
  return CGRectMake(CGRectGetMidX(contentRect) - (image.width + title.width) / 2.0 + image.width,
                    CGRectGetMidY(contentRect) - title.height / 2.0, title.width, title.height);
}

void UIButton::layoutSubviews() {
  if (!titleLabel_ && !imageView_) return;
  CGRect image, title;
  for (int pass = 0; pass < kLayoutPasses; ++pass) {
    const CGRect nextImage = imageRectForContentRect(bounds());
    const CGRect nextTitle = titleRectForContentRect(bounds());
    const bool repeated = pass > 0 && nextImage == image && nextTitle == title;
    image = nextImage;
    title = nextTitle;
    if (repeated) break;
  }
  if (imageView_) imageView_->setFrame(image);
  if (titleLabel_) titleLabel_->setFrame(title);
}

void UIButton::sizeChanged() {
  setNeedsLayout();
}

}  // namespace tlx
