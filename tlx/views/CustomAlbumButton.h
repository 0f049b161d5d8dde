#pragma once

#include "tlx/platform/uikit/UIButton.h"

namespace tlx {

/// The title button of the picker: its title centred, its arrow just right of it. Title and arrow settle in the second
/// pass, when the arrow's width is known; too long a title is cut so that the arrow still fits.
class CustomAlbumButton : public UIButton {
 public:
  static const Class& classObject();

  CGRect imageRectForContentRect(const CGRect& contentRect) override;
  /// Stands where the last image pass left room for it.
  CGRect titleRectForContentRect(const CGRect& contentRect) override;

  /// The title's size, its x, and the arrow's width, as of the last image pass.
  CGSize size;
  double flTitleOrigin = 0;
  double flImageWidth = 0;
};

}  // namespace tlx
