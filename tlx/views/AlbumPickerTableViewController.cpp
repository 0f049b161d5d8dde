#include "tlx/views/AlbumPickerTableViewController.h"

#include <cmath>
#include <utility>

#include "tlx/library/AlbumModel.h"
#include "tlx/library/PhotoManager.h"
#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/foundation/NSTimer.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/platform/uikit/UIWindow.h"
#include "tlx/views/PickerStoryboard.h"
#include "tlx/views/TableViewCell.h"

namespace tlx {
namespace {

constexpr double kSecondsToFirstLoad = 0.1;
/// Of the width of the window's root view.
constexpr double kRowHeightPhone = 0.16;
constexpr double kRowHeightPad = 0.07;
constexpr double kNameDistance = 16.0;

double rootViewWidth() {
  const auto window = UIApplication::sharedApplication().window();
  const auto root = window ? window->rootViewController() : nullptr;
  const auto view = root ? root->view() : nullptr;
  return view ? view->frame().size.width : 0;
}

void invertMark(AlbumModel& album) {
  album.setIsAlbumSelected(!album.isAlbumSelected());
}

std::vector<NSIndexPath> listOf(const std::optional<NSIndexPath>& path) {
  return path ? std::vector{*path} : std::vector<NSIndexPath>{};
}

}  // namespace

const Class& AlbumPickerTableViewController::classObject() {
  static const Class object{"AlbumPickerTableViewController",
                            "UITableViewController",
                            kTLXMediaPickerBundle,
                            [] { return std::make_shared<AlbumPickerTableViewController>(); },
                            {},
                            {}};
  return object;
}

std::shared_ptr<MediaPickerProtocol> AlbumPickerTableViewController::initWithStoryBoard_photoManager_delegate(
    const std::shared_ptr<PickerStoryboard>& storyBoard, const std::shared_ptr<PhotoManager>& photoManager,
    const std::weak_ptr<AlbumPickerDelegate>& delegate) {
  if (!storyBoard) return nullptr;
  auto list =
      std::dynamic_pointer_cast<AlbumPickerTableViewController>(storyBoard->instantiateViewController(classObject()));
  if (!list) return nullptr;
  list->photoManager = photoManager;
  list->customDelegate = delegate;
  return list;
}

std::shared_ptr<UIView> AlbumPickerTableViewController::getView() {
  return tableView();
}

void AlbumPickerTableViewController::awakeFromNib() {
  UITableViewController::awakeFromNib();
  if (auto table = tableView()) table->setTableFooterView(std::make_shared<UIView>());
}

void AlbumPickerTableViewController::viewDidLoad() {
  UITableViewController::viewDidLoad();
  std::weak_ptr<AlbumPickerTableViewController> weakSelf = sharedAs(this);
  performAfterDelay(kSecondsToFirstLoad, [weakSelf] {
    if (auto self = weakSelf.lock()) self->loadFirstTime();
  });
}

void AlbumPickerTableViewController::viewWillAppear(bool animated) {
  UITableViewController::viewWillAppear(animated);
  thumbnailsAskedFor_.clear();
}

void AlbumPickerTableViewController::viewDidAppear(bool animated) {
  UITableViewController::viewDidAppear(animated);
}

void AlbumPickerTableViewController::didReceiveMemoryWarning() {
  UITableViewController::didReceiveMemoryWarning();
}

void AlbumPickerTableViewController::loadFirstTime() {
  const auto first = photoManager ? photoManager->getAlbumModelAtIndex(0) : nullptr;
  // A library change may have chosen an album already, as a library that is still being read brings them all the time:
  // inverting once more would leave the current album without its mark.
  if (!first || lastSelectedAlbum) return;
  invertMark(*first);
  lastSelectedAlbum = first;
  if (auto delegate = customDelegate.lock()) delegate->pickedAlbumWithAlbumModel(first);
}

void AlbumPickerTableViewController::mediaPicker_photoLibraryChanged(std::shared_ptr<const PHChange>,
                                                                     std::shared_ptr<const PHChange>) {
  const auto table = tableView();
  if (!table) return;
  thumbnailsAskedFor_.clear();
  table->reloadData();
  if (!photoManager || photoManager->getAlbumCount() == 0) {
    lastSelectedAlbum = nullptr;
    return;
  }
  const auto path = lastSelectedAlbum ? photoManager->findIndexPath(lastSelectedAlbum) : std::nullopt;
  if (path) {
    const auto renewed = photoManager->getAlbumModelAtIndex(static_cast<std::uint64_t>(path->row()));
    if (renewed) invertMark(*renewed);
    lastSelectedAlbum = renewed;
    table->reloadRowsAtIndexPaths_withRowAnimation({*path}, UITableViewRowAnimationNone);
  } else {
    lastSelectedAlbum = nullptr;
    tableView_didSelectRowAtIndexPath(*table, NSIndexPath::indexPathForRow_inSection(0, 0));
  }
}

void AlbumPickerTableViewController::mediaPicker_selectCameraRollAlbum(std::string, std::string) {
  const auto table = tableView();
  if (!photoManager || !table) return;
  for (std::int64_t row = 0; row < photoManager->getAlbumCount(); ++row) {
    const auto album = photoManager->getAlbumModelAtIndex(static_cast<std::uint64_t>(row));
    if (!album || (album->getAlbumName() != "Camera Roll" && album->getAlbumName() != "All Photos")) continue;
    if (lastSelectedAlbum) lastSelectedAlbum->setIsAlbumSelected(false);
    album->setIsAlbumSelected(true);
    lastSelectedAlbum = album;
    table->reloadData();
    tableView_didSelectRowAtIndexPath(*table, NSIndexPath::indexPathForRow_inSection(row, 0));
    return;
  }
}

std::int64_t AlbumPickerTableViewController::tableView_numberOfRowsInSection(UITableView& tableView,
                                                                             std::int64_t section) {
  return photoManager ? photoManager->getAlbumCount() : 0;
}

double AlbumPickerTableViewController::tableView_heightForRowAtIndexPath(UITableView& tableView,
                                                                         const NSIndexPath& indexPath) {
  const bool pad = UIDevice::currentDevice().userInterfaceIdiom() == UIUserInterfaceIdiomPad;
  flImageWidth = std::ceil((pad ? kRowHeightPad : kRowHeightPhone) * rootViewWidth());
  return flImageWidth;
}

std::shared_ptr<UITableViewCell> AlbumPickerTableViewController::tableView_cellForRowAtIndexPath(
    UITableView& tableView, const NSIndexPath& indexPath) {
  const auto cell = std::dynamic_pointer_cast<TableViewCell>(
      tableView.dequeueReusableCellWithIdentifier_forIndexPath("TableViewCell", indexPath));
  if (!cell) return nullptr;
  const auto album =
      photoManager ? photoManager->getAlbumModelAtIndex(static_cast<std::uint64_t>(indexPath.row())) : nullptr;
  if (auto icon = cell->imgViewFolderIcon.lock()) icon->setFrame(CGRectMake(0, 0, flImageWidth, flImageWidth));
  if (auto name = cell->lblFolderName.lock()) {
    CGRect frame = name->frame();
    frame.origin.x = flImageWidth + kNameDistance;
    name->setFrame(frame);
  }
  cell->updateCell_forIndexPath(album, indexPath);
  if (!album) return cell;
  applyFonts(*album, *cell);
  if (cell->awaitsThumbnail()) makeThumbnail(*album);
  return cell;
}

void AlbumPickerTableViewController::makeThumbnail(const AlbumModel& album) {
  const auto asset = album.getAssetForThumb();
  if (!asset || !thumbnailsAskedFor_.insert(asset->localIdentifier).second) return;
  std::weak_ptr<AlbumPickerTableViewController> weakSelf = sharedAs(this);
  TableViewCell::requestThumbnail(
      asset, false,
      [weakSelf, item = asset->localIdentifier](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
        const auto self = weakSelf.lock();
        if (self && image && !info.PHImageResultIsDegradedKey) self->reloadRowsShowing(item);
      });
}

void AlbumPickerTableViewController::reloadRowsShowing(const Identifier& item) {
  const auto table = tableView();
  if (!table || !photoManager) return;
  std::vector<NSIndexPath> rows;
  for (std::int64_t row = 0; row < photoManager->getAlbumCount(); ++row) {
    const auto album = photoManager->getAlbumModelAtIndex(static_cast<std::uint64_t>(row));
    const auto asset = album ? album->getAssetForThumb() : nullptr;
    if (asset && asset->localIdentifier == item) rows.push_back(NSIndexPath::indexPathForRow_inSection(row, 0));
  }
  table->reloadRowsAtIndexPaths_withRowAnimation(rows, UITableViewRowAnimationNone);
}

void AlbumPickerTableViewController::applyFonts(const AlbumModel& album, const TableViewCell& cell) {
  const auto delegate = customDelegate.lock();
  if (!delegate) return;
  const auto font = delegate->fontsForKey(album.isAlbumSelected() ? "Raleway-Bold:14" : "Raleway-Medium:14");
  if (!font) return;
  if (auto name = cell.lblFolderName.lock()) name->setFont(*font);
  if (auto count = cell.lblFolderImageNo.lock()) count->setFont(*font);
}

void AlbumPickerTableViewController::tableView_didSelectRowAtIndexPath(UITableView& tableView,
                                                                       const NSIndexPath& indexPath) {
  const auto album =
      photoManager ? photoManager->getAlbumModelAtIndex(static_cast<std::uint64_t>(indexPath.row())) : nullptr;
  if (!album) return;
  if (lastSelectedAlbum) {
    const auto former = photoManager->findIndexPath(lastSelectedAlbum);
    invertMark(*lastSelectedAlbum);
    tableView.reloadRowsAtIndexPaths_withRowAnimation(listOf(former), UITableViewRowAnimationNone);
  }
  invertMark(*album);
  tableView.deselectRowAtIndexPath_animated(indexPath, true);
  tableView.reloadRowsAtIndexPaths_withRowAnimation({indexPath}, UITableViewRowAnimationNone);
  lastSelectedAlbum = album;
  if (auto delegate = customDelegate.lock()) delegate->pickedAlbumWithAlbumModel(album);
  dismissViewControllerAnimated_completion(true, nullptr);
}

}  // namespace tlx
