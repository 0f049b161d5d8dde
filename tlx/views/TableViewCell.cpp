#include "tlx/views/TableViewCell.h"

#include <string>
#include <utility>

#include "tlx/library/AlbumModel.h"
#include "tlx/platform/foundation/NSBundle.h"

namespace tlx {
namespace {

constexpr double kThumbnailSide = 130.0;
constexpr double kFontSize = 12.0;
constexpr UIColor kCurrentColor{62 / 255.0, 193 / 255.0, 199 / 255.0, 1.0};
constexpr UIColor kNameColor{69 / 255.0, 92 / 255.0, 102 / 255.0, 1.0};
constexpr UIColor kCountColor{69 / 255.0, 92 / 255.0, 102 / 255.0, 0.4};

}  // namespace

const Class& TableViewCell::classObject() {
  static const Class object{"TableViewCell",
                            "UITableViewCell",
                            kTLXMediaPickerBundle,
                            [] { return std::make_shared<TableViewCell>(); },
                            {outlet("imgViewFolderIcon", &TableViewCell::imgViewFolderIcon, "UIImageView"),
                             outlet("lblFolderName", &TableViewCell::lblFolderName, "UILabel"),
                             outlet("lblFolderImageNo", &TableViewCell::lblFolderImageNo, "UILabel")},
                            {}};
  return object;
}

void TableViewCell::requestThumbnail(const std::shared_ptr<const PHAsset>& asset, bool synchronous,
                                     PHImageResultHandler handler) {
  PHImageRequestOptions options;
  options.synchronous = synchronous;
  options.deliveryMode = PHImageRequestOptionsDeliveryModeOpportunistic;
  PHImageManager::defaultManager()->requestImageForAsset_targetSize_contentMode_options_resultHandler(
      asset, CGSizeMake(kThumbnailSide, kThumbnailSide), PHImageContentModeAspectFill, options, std::move(handler));
}

void TableViewCell::awakeFromNib() {
  UITableViewCell::awakeFromNib();
  if (auto icon = imgViewFolderIcon.lock()) {
    icon->setClipsToBounds(true);
    icon->setContentMode(UIViewContentModeScaleAspectFill);
  }
}

void TableViewCell::updateCell_forIndexPath(const std::shared_ptr<AlbumModel>& album, const NSIndexPath& indexPath) {
  const auto name = lblFolderName.lock();
  const auto count = lblFolderImageNo.lock();
  if (name) name->setText(album ? album->getAlbumName() : "");
  if (count) count->setText(std::to_string(album ? album->getMediaCount() : 0));
  setAccessibilityLabel(album ? album->getAlbumName() + ", " + std::to_string(album->getMediaCount()) : "");

  requestThumbnail(album ? album->getAssetForThumb() : nullptr, true,
                   [this](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
                     if (auto icon = imgViewFolderIcon.lock()) icon->setImage(image);
                     awaitsThumbnail_ = info.PHImageResultIsDegradedKey;
                   });

  const bool current = album && album->isAlbumSelected();
  setAccessibilityTraits(current ? UIAccessibilityTraitSelected : UIAccessibilityTraitNone);
  const auto font = UIFont::fontWithName_size(current ? "Raleway-Bold" : "Raleway-Regular", kFontSize);
  if (name) {
    name->setTextColor(current ? kCurrentColor : kNameColor);
    name->setFont(font);
  }
  if (count) {
    count->setTextColor(current ? kCurrentColor : kCountColor);
    count->setFont(font);
  }
  setBackgroundColor(UIColor::clearColor());
  setSelectionStyle(UITableViewCellSelectionStyleNone);
}

}  // namespace tlx
