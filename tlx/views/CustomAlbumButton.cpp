#include "tlx/views/CustomAlbumButton.h"

#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/UIFont.h"

namespace tlx {
namespace {

/// What the arrow is smaller than the platform's image rectangle, and how much lower it stands, in points.
constexpr double kArrowNarrower = 15.0;
constexpr double kArrowShorter = 11.0;
constexpr double kArrowLower = 6.0;

}  // namespace

const Class& CustomAlbumButton::classObject() {
  static const Class object{"CustomAlbumButton",
                            "UIButton",
                            kTLXMediaPickerBundle,
                            [] { return std::make_shared<CustomAlbumButton>(); },
                            {},
                            {}};
  return object;
}

CGRect CustomAlbumButton::imageRectForContentRect(const CGRect& contentRect) {
  const CGRect base = UIButton::imageRectForContentRect(contentRect);
  const double middle = contentRect.size.width / 2.0;
  size = sizeWithAttributes(titleForState(state()), titleLabel()->font());
  flTitleOrigin = middle - (size.width + flImageWidth) / 2.0;
  CGRect image =
      CGRectMake(flTitleOrigin + size.width - imageEdgeInsets().right + imageEdgeInsets().left,
                 base.origin.y + kArrowLower, base.size.width - kArrowNarrower, base.size.height - kArrowShorter);
  if (size.width + image.size.width > contentRect.size.width) {
    flTitleOrigin = contentRect.origin.x;
    size.width = contentRect.size.width - image.size.width;
    image.origin.x = flTitleOrigin + size.width;
  }
  flImageWidth = image.size.width;
  return image;
}

CGRect CustomAlbumButton::titleRectForContentRect(const CGRect& contentRect) {
  const CGRect base = UIButton::titleRectForContentRect(contentRect);
  return CGRectMake(flTitleOrigin, base.origin.y, size.width, size.height);
}

}  // namespace tlx
