#pragma once

#include <memory>

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
  /// Shows the album, coloured by whether it is current. Waits for the thumbnail. The path is not read.
  void updateCell_forIndexPath(const std::shared_ptr<AlbumModel>& album, const NSIndexPath& indexPath);

  std::weak_ptr<UIImageView> imgViewFolderIcon;
  std::weak_ptr<UILabel> lblFolderName;
  std::weak_ptr<UILabel> lblFolderImageNo;
};

}  // namespace tlx
