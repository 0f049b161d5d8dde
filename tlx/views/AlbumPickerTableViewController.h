#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>

#include "tlx/picker/MediaPickerBroadcastProtocol.h"
#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/uikit/UITableView.h"
#include "tlx/views/AlbumPickerDelegate.h"
#include "tlx/views/MediaPickerProtocol.h"

namespace tlx {

class AlbumModel;
class PhotoManager;
class PickerStoryboard;
class TableViewCell;

/// The photo manager's albums as a list, one of them current. A choice is told to the delegate and closes the list. The
/// current album is both `lastSelectedAlbum` and the one album that bears the mark. Main thread only.
class AlbumPickerTableViewController : public UITableViewController,
                                       public MediaPickerProtocol,
                                       public MediaPickerBroadcastProtocol {
 public:
  static const Class& classObject();

  /// A new list out of the storyboard; nothing without a storyboard. Its view is loaded already, and 0.1 seconds later
  /// it makes the first album current.
  static std::shared_ptr<MediaPickerProtocol> initWithStoryBoard_photoManager_delegate(
      const std::shared_ptr<PickerStoryboard>& storyBoard, const std::shared_ptr<PhotoManager>& photoManager,
      const std::weak_ptr<AlbumPickerDelegate>& delegate);

  std::shared_ptr<UIView> getView() override;
  /// Loads the view.
  void awakeFromNib() override;
  void viewDidLoad() override;
  void viewWillAppear(bool animated) override;
  void viewDidAppear(bool animated) override;
  void didReceiveMemoryWarning() override;
  void loadFirstTime();

  /// Keeps the current album current under its new record without a word to the delegate; chooses the first when it is
  /// gone.
  void mediaPicker_photoLibraryChanged(std::shared_ptr<const PHChange>, std::shared_ptr<const PHChange>) override;
  /// Chooses the first album called "Camera Roll" or "All Photos"; nothing happens without one.
  void mediaPicker_selectCameraRollAlbum(std::string, std::string) override;

  std::int64_t tableView_numberOfRowsInSection(UITableView& tableView, std::int64_t section) override;
  double tableView_heightForRowAtIndexPath(UITableView& tableView, const NSIndexPath& indexPath) override;
  std::shared_ptr<UITableViewCell> tableView_cellForRowAtIndexPath(UITableView& tableView,
                                                                   const NSIndexPath& indexPath) override;
  /// A tap on a row whose album is gone already does nothing.
  void tableView_didSelectRowAtIndexPath(UITableView& tableView, const NSIndexPath& indexPath) override;

  std::shared_ptr<PhotoManager> photoManager;
  std::weak_ptr<AlbumPickerDelegate> customDelegate;
  std::shared_ptr<AlbumModel> lastSelectedAlbum;
  /// Height of a row and side of its thumbnail, in points, as of the last time the height was asked for.
  double flImageWidth = 0;

 private:
  void applyFonts(const AlbumModel& album, const TableViewCell& cell);
  void makeThumbnail(const AlbumModel& album);
  void reloadRowsShowing(const Identifier& item);

  /// Items whose thumbnails were asked for since the list appeared or the library changed: each once, or an item whose
  /// thumbnail nobody keeps would be made again and again.
  std::unordered_set<Identifier> thumbnailsAskedFor_;

  [[maybe_unused]] NSIndexPath prevSelectedIndexPath;
  [[maybe_unused]] bool boolLoadAlbumForFirstTime = false;
};

}  // namespace tlx
