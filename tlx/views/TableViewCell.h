#pragma once

#include <memory>

#include "tlx/platform/photos/PHImageManager.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/platform/uikit/UILabel.h"
#include "tlx/platform/uikit/UITableView.h"

namespace tlx {

class AlbumModel;

/// A row of the album list: the newest item as a square, the album's name and its count.
class TableViewCell : public UITableViewCell {
 public:
  static const Class& classObject();

  void awakeFromNib() override;
  /// Shows the album, coloured by whether it is current, with the thumbnail that is at hand. The path is not read.
  void updateCell_forIndexPath(const std::shared_ptr<AlbumModel>& album, const NSIndexPath& indexPath);
  /// Whether the thumbnail that was at hand, if any, is not the one that the album ought to have.
  bool awaitsThumbnail() const { return awaitsThumbnail_; }
  /// Asks for an album's thumbnail in the size that rows show.
  static void requestThumbnail(const std::shared_ptr<const PHAsset>& asset, bool synchronous,
                               PHImageResultHandler handler);

  std::weak_ptr<UIImageView> imgViewFolderIcon;
  std::weak_ptr<UILabel> lblFolderName;
  std::weak_ptr<UILabel> lblFolderImageNo;

 private:
  bool awaitsThumbnail_ = false;
};

}  // namespace tlx
