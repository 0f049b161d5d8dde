#include "tlx/views/CollectionViewCell.h"

#include <utility>

#include "tlx/library/MediaModel.h"
#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/views/UIImage+BundleInfo.h"

namespace tlx {

const Class& CollectionViewCell::classObject() {
  static const Class object{"CollectionViewCell",
                            "UICollectionViewCell",
                            kTLXMediaPickerBundle,
                            [] { return std::make_shared<CollectionViewCell>(); },
                            {outlet("imgViewImagIcon", &CollectionViewCell::imgViewImagIcon, "UIImageView"),
                             outlet("imgViewOverLay", &CollectionViewCell::imgViewOverLay, "UIImageView"),
                             outlet("lblVideoLength", &CollectionViewCell::lblVideoLength, "UILabel")},
                            {}};
  return object;
}

void CollectionViewCell::awakeFromNib() {
  UICollectionViewCell::awakeFromNib();
  const auto icon = imgViewImagIcon.lock();
  if (icon) icon->setFrame(frame());
  if (auto overlay = imgViewOverLay.lock()) overlay->setFrame(frame());
  if (icon) {
    icon->setClipsToBounds(true);
    icon->setContentMode(UIViewContentModeScaleAspectFill);
  }
}

void CollectionViewCell::prepareForReuse() {
  UICollectionViewCell::prepareForReuse();
  if (auto icon = imgViewImagIcon.lock()) icon->setImage(nullptr);
}

void CollectionViewCell::updateCell(const std::shared_ptr<MediaModel>& model) {
  representedAssetIdentifier = model ? model->getMediaIdentifier() : Identifier();
  const auto length = model ? model->getVedioDurationString() : std::nullopt;
  if (auto label = lblVideoLength.lock()) {
    label->setHidden(!length);
    label->setText(length.value_or(""));
  }
  const auto overlay = imgViewOverLay.lock();
  if (!overlay) return;
  if (model && model->isModelSelected()) {
    overlay->setImage(tlx_imageWithName("Overlay_strong"));
    overlay->setHidden(false);
  } else {
    overlay->setHidden(true);
  }
}

void CollectionViewCell::setThumbnailImage(std::shared_ptr<const UIImage> image) {
  thumbnailImage_ = std::move(image);
  if (auto icon = imgViewImagIcon.lock()) icon->setImage(thumbnailImage_);
}

}  // namespace tlx
