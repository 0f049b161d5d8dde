#include "tlx/views/CollectionViewCell.h"

#include <cstdio>
#include <ctime>
#include <utility>

#include "tlx/library/MediaModel.h"
#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/photos/PHAsset.h"
#include "tlx/views/UIImage+BundleInfo.h"

namespace tlx {
namespace {

/// "Photo, 12 March 2024, 14:05", in the machine's time zone and the picker's language.
std::string spokenName(const PHAsset& asset) {
  static constexpr const char* months[] = {"January", "February", "March",     "April",   "May",      "June",
                                           "July",    "August",   "September", "October", "November", "December"};
  const char* kind = asset.mediaType == PHAssetMediaTypeVideo ? "Video" : "Photo";
  const auto seconds = static_cast<std::time_t>(asset.creationDate);
  std::tm local{};
  if (!localtime_r(&seconds, &local)) return kind;
  char name[80];
  std::snprintf(name, sizeof name, "%s, %d %s %d, %02d:%02d", kind, local.tm_mday, months[local.tm_mon],
                local.tm_year + 1900, local.tm_hour, local.tm_min);
  return name;
}

}  // namespace

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
  const auto asset = model ? model->getMediaAsset() : nullptr;
  setAccessibilityLabel(asset ? spokenName(*asset) : "");
  setAccessibilityTraits(model && model->isModelSelected() ? UIAccessibilityTraitSelected : UIAccessibilityTraitNone);
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
