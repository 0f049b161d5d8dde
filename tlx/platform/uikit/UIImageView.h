#pragma once

#include <memory>

#include "tlx/platform/uikit/UIImage.h"
#include "tlx/platform/uikit/UIView.h"

namespace tlx {

/// Shows a picture, or nothing, fitted into its bounds as its content mode says.
class UIImageView : public UIView {
 public:
  static const Class& classObject();

  const std::shared_ptr<const UIImage>& image() const { return image_; }
  void setImage(std::shared_ptr<const UIImage> image);

 private:
  std::shared_ptr<const UIImage> image_;
};

}  // namespace tlx
