#pragma once

#include <memory>

#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/platform/uikit/UILabel.h"

namespace tlx {

class MediaModel;

/// A square of the grid: the thumbnail, a video's length, and the overlay that marks a picked item.
class CollectionViewCell : public UICollectionViewCell {
 public:
  static const Class& classObject();

  /// Both pictures fill the cell as it stands now; later sizes are the scene's to follow.
  void awakeFromNib() override;
  void prepareForReuse() override;
  /// Shows the model's length and mark, and names it for assistive technology; the thumbnail is left to whoever asks
  /// for it.
  void updateCell(const std::shared_ptr<MediaModel>& model);

  const std::shared_ptr<const UIImage>& thumbnailImage() const { return thumbnailImage_; }
  void setThumbnailImage(std::shared_ptr<const UIImage> image);

  std::weak_ptr<UIImageView> imgViewImagIcon;
  std::weak_ptr<UIImageView> imgViewOverLay;
  /// The item that the cell shows now, by which a late thumbnail is recognised.
  Identifier representedAssetIdentifier;
  std::weak_ptr<UILabel> lblVideoLength;

 private:
  std::shared_ptr<const UIImage> thumbnailImage_;
};

}  // namespace tlx
