#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tlx/picker/MediaPickerBroadcastProtocol.h"
#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/photos/PHFetchResult.h"
#include "tlx/platform/photos/PHImageManager.h"
#include "tlx/platform/uikit/UIButton.h"
#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UIDataSourceModelAssociation.h"
#include "tlx/views/MediaCollectionViewDelegate.h"

namespace tlx {

class AlbumModel;
class PhotoManager;
class PickerStoryboard;

/// Side of an item as the last grid to load its view computed it, in points; 0 × 0 before.
extern CGSize sizeCollectionViewCell;
/// What thumbnails are asked for, in points whatever the screen's scale; 0 × 0 until a first cell was configured.
extern CGSize AssetGridThumbnailSize;

/// The items of one album as a grid of square thumbnails, with a camera button above and the count below. The marks
/// live in the records and in the photo manager, never in the cells. Main thread only.
class MediaCollectionViewController : public UICollectionViewController,
                                      public UIDataSourceModelAssociation,
                                      public MediaPickerBroadcastProtocol {
 public:
  static const Class& classObject();

  /// A new grid out of the storyboard, with no album; nothing without a storyboard.
  static std::shared_ptr<MediaCollectionViewController> initWithStoryBoard_photoManager_delegate(
      const std::shared_ptr<PickerStoryboard>& storyBoard, const std::shared_ptr<PhotoManager>& photoManager,
      const std::weak_ptr<MediaCollectionViewDelegate>& delegate);

  /// Computes item size and spacing from the view's width at this moment, once: later sizes only reflow.
  void viewDidLoad() override;
  void viewDidAppear(bool animated) override;
  void didReceiveMemoryWarning() override;

  /// Shows the album. The list of assets that the count and library changes go by is not touched.
  void albumPicked(const std::shared_ptr<AlbumModel>& album);
  void reload();
  void btnCameraPressed(const std::shared_ptr<UIButton>& sender);
  /// "No Photos", "1 Photo", "25 Photos".
  static std::string getFormattedText_suffix(std::int64_t count, const std::string& suffix);

  void mediaPicker_selectedAlbum(std::shared_ptr<AlbumModel>, std::shared_ptr<AlbumModel> album) override;
  /// Takes over the shown album's new record, and reloads everything when its assets changed; an album that is gone
  /// leaves the grid empty.
  void mediaPicker_photoLibraryChanged(std::shared_ptr<const PHChange>,
                                       std::shared_ptr<const PHChange> change) override;

  std::int64_t collectionView_numberOfItemsInSection(UICollectionView& collectionView, std::int64_t section) override;
  std::shared_ptr<UICollectionViewCell> collectionView_cellForItemAtIndexPath(UICollectionView& collectionView,
                                                                              const NSIndexPath& indexPath) override;
  std::shared_ptr<UICollectionReusableView> collectionView_viewForSupplementaryElementOfKind_atIndexPath(
      UICollectionView& collectionView, const std::string& kind, const NSIndexPath& indexPath) override;
  /// A tap on an item whose record is gone already does nothing.
  void collectionView_didSelectItemAtIndexPath(UICollectionView& collectionView, const NSIndexPath& indexPath) override;
  void scrollViewDidScroll(UIScrollView& scrollView) override;
  /// By the assets' local identifiers.
  Identifier modelIdentifierForElementAtIndexPath_inView(const NSIndexPath& indexPath,
                                                         const UIView& view) const override;
  std::optional<NSIndexPath> indexPathForElementWithModelIdentifier_inView(const Identifier& identifier,
                                                                           const UIView& view) const override;

  // Preheating: thumbnails in a band around what is visible are asked for before they are needed.

  using RectHandler = std::function<void(const CGRect&)>;

  /// Releases everything that was preheated; the next scroll starts over.
  void resetCachedAssets();
  /// Moves the band once the view has scrolled by more than a third of its height. Nothing happens outside a window.
  void updateCachedAssets();
  /// The strips that enter and leave when a band goes from `oldRect` to `newRect`, all as wide as the new one: entering
  /// before leaving, lower before upper, except that of two bands apart the new is entered whole, then the old left
  /// whole.
  void computeDifferenceBetweenRect_andRect_removedHandler_addedHandler(const CGRect& oldRect, const CGRect& newRect,
                                                                        const RectHandler& removedHandler,
                                                                        const RectHandler& addedHandler);
  /// Nothing for no paths. A path without an item is left out.
  PHCachingImageManager::Assets assetsAtIndexPaths(const std::vector<NSIndexPath>& indexPaths) const;

  std::weak_ptr<UICollectionViewFlowLayout> flowLayout;
  std::shared_ptr<AlbumModel> albumModel;
  std::weak_ptr<MediaCollectionViewDelegate> customDelegate;
  /// Made on first read.
  const std::shared_ptr<PHCachingImageManager>& imageManager();
  /// The band that is preheated now, in the content's coordinates.
  CGRect previousPreheatRect;
  std::shared_ptr<const PHFetchResult<PHAsset>> assetFetchResult;
  std::shared_ptr<PhotoManager> photoManager;

 private:
  std::shared_ptr<PHCachingImageManager> imageManager_;
};

}  // namespace tlx
