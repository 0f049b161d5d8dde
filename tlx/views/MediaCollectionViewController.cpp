#include "tlx/views/MediaCollectionViewController.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tlx/library/AlbumModel.h"
#include "tlx/library/MediaModel.h"
#include "tlx/library/PhotoManager.h"
#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/photos/PHChange.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/views/CollectionViewCell.h"
#include "tlx/views/PickerStoryboard.h"

namespace tlx {
namespace {

/// Of the grid's width.
constexpr double kItemSidePhone = 0.24375;
constexpr double kItemSidePad = 0.16927;
constexpr double kInteritemSpacing = 2.0;
constexpr double kWidthsToLineSpacing = 100.0;
constexpr double kLineSpacingPad = 30.0;
constexpr double kThumbnailSide = 130.0;
/// Of the one subview of the header and of the footer that the code knows.
constexpr std::int64_t kSupplementaryTag = 101;

/// Whether both hold the same items in the same order.
bool showsTheSame(const AlbumModel::Assets& before, const AlbumModel::Assets& after) {
  if (before == after) return true;
  return before && after &&
         std::equal(before->begin(), before->end(), after->begin(), after->end(), [](const auto& a, const auto& b) {
           return a == b || (a && b && a->localIdentifier == b->localIdentifier);
         });
}

}  // namespace

CGSize sizeCollectionViewCell;
CGSize AssetGridThumbnailSize;

const Class& MediaCollectionViewController::classObject() {
  static const Class object{
      "MediaCollectionViewController",
      "UICollectionViewController",
      kTLXMediaPickerBundle,
      [] { return std::make_shared<MediaCollectionViewController>(); },
      {outlet("flowLayout", &MediaCollectionViewController::flowLayout, "UICollectionViewFlowLayout")},
      {action("btnCameraPressed:", &MediaCollectionViewController::btnCameraPressed)}};
  return object;
}

std::shared_ptr<MediaCollectionViewController> MediaCollectionViewController::initWithStoryBoard_photoManager_delegate(
    const std::shared_ptr<PickerStoryboard>& storyBoard, const std::shared_ptr<PhotoManager>& photoManager,
    const std::weak_ptr<MediaCollectionViewDelegate>& delegate) {
  if (!storyBoard) return nullptr;
  auto grid =
      std::dynamic_pointer_cast<MediaCollectionViewController>(storyBoard->instantiateViewController(classObject()));
  if (!grid) return nullptr;
  grid->photoManager = photoManager;
  grid->customDelegate = delegate;
  return grid;
}

void MediaCollectionViewController::viewDidLoad() {
  UICollectionViewController::viewDidLoad();
  const auto grid = collectionView();
  if (!grid) return;
  const double width = grid->frame().size.width;
  const bool pad = UIDevice::currentDevice().userInterfaceIdiom() == UIUserInterfaceIdiomPad;
  const double side = std::ceil((pad ? kItemSidePad : kItemSidePhone) * width);
  sizeCollectionViewCell = CGSizeMake(side, side);
  if (auto layout = flowLayout.lock()) {
    layout->setItemSize(sizeCollectionViewCell);
    layout->setMinimumInteritemSpacing(kInteritemSpacing);
    layout->setMinimumLineSpacing(pad ? kLineSpacingPad : width / kWidthsToLineSpacing);
  }
  grid->setBounces(true);
  grid->setAlwaysBounceVertical(true);
  resetCachedAssets();
}

void MediaCollectionViewController::viewDidAppear(bool animated) {
  UICollectionViewController::viewDidAppear(animated);
}

void MediaCollectionViewController::didReceiveMemoryWarning() {
  UICollectionViewController::didReceiveMemoryWarning();
}

void MediaCollectionViewController::albumPicked(const std::shared_ptr<AlbumModel>& album) {
  resetCachedAssets();
  albumModel = album;
  reload();
}

void MediaCollectionViewController::reload() {
  if (auto grid = collectionView()) grid->reloadData();
}

void MediaCollectionViewController::btnCameraPressed(const std::shared_ptr<UIButton>& sender) {
  if (auto delegate = customDelegate.lock()) delegate->btnCameraPressed();
}

std::string MediaCollectionViewController::getFormattedText_suffix(std::int64_t count, const std::string& suffix) {
  if (count == 0) return "No " + suffix + "s";
  return std::to_string(count) + " " + suffix + (count == 1 ? "" : "s");
}

void MediaCollectionViewController::mediaPicker_selectedAlbum(std::shared_ptr<AlbumModel>,
                                                              std::shared_ptr<AlbumModel> album) {
  albumPicked(album);
  assetFetchResult = album ? album->getAssetCollection() : nullptr;
}

void MediaCollectionViewController::mediaPicker_photoLibraryChanged(std::shared_ptr<const PHChange>,
                                                                    std::shared_ptr<const PHChange> change) {
  const bool touched = change && change->changeDetailsForFetchResult(assetFetchResult);
  // Marks are set in the manager's records, and those are new after every change.
  const auto renewed = photoManager ? photoManager->newAlbumModelForOldModel(albumModel) : nullptr;
  const auto assets = renewed ? renewed->getAssetCollection() : nullptr;
  // The records may be those of a later change already, of which word is still to come.
  const bool same = !touched && showsTheSame(assetFetchResult, assets);
  albumModel = renewed;
  assetFetchResult = assets;
  if (!same) reload();
}

std::int64_t MediaCollectionViewController::collectionView_numberOfItemsInSection(UICollectionView& collectionView,
                                                                                  std::int64_t section) {
  return albumModel ? albumModel->getMediaCount() : 0;
}

std::shared_ptr<UICollectionViewCell> MediaCollectionViewController::collectionView_cellForItemAtIndexPath(
    UICollectionView& collectionView, const NSIndexPath& indexPath) {
  if (!albumModel) return nullptr;
  const auto model = albumModel->getMediaModelAtIndex(static_cast<std::uint64_t>(indexPath.row()));
  const auto cell = std::dynamic_pointer_cast<CollectionViewCell>(
      collectionView.dequeueReusableCellWithReuseIdentifier_forIndexPath("CollectionViewCell", indexPath));
  if (!cell) return nullptr;
  cell->updateCell(model);
  const auto asset = model ? model->getMediaAsset() : nullptr;
  PHImageRequestOptions options;
  options.deliveryMode = PHImageRequestOptionsDeliveryModeOpportunistic;
  options.networkAccessAllowed = true;
  AssetGridThumbnailSize = CGSizeMake(kThumbnailSide, kThumbnailSide);
  std::weak_ptr<CollectionViewCell> weakCell = cell;
  imageManager()->requestImageForAsset_targetSize_contentMode_options_resultHandler(
      asset, AssetGridThumbnailSize, PHImageContentModeAspectFill, options,
      [weakCell, identifier = asset ? asset->localIdentifier : Identifier()](
          const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
        const auto shown = weakCell.lock();
        if (!shown || !(shown->representedAssetIdentifier == identifier)) return;
        if (auto icon = shown->imgViewImagIcon.lock()) icon->setImage(image);
      });
  return cell;
}

std::shared_ptr<UICollectionReusableView>
MediaCollectionViewController::collectionView_viewForSupplementaryElementOfKind_atIndexPath(
    UICollectionView& collectionView, const std::string& kind, const NSIndexPath& indexPath) {
  if (kind == UICollectionElementKindSectionHeader) {
    auto header = collectionView.dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(
        kind, "HeaderView", indexPath);
    auto tagged = header ? header->viewWithTag(kSupplementaryTag) : nullptr;
    if (auto button = std::dynamic_pointer_cast<UIControl>(tagged)) {
      button->addTarget_action_forControlEvents(sharedAs(this), &MediaCollectionViewController::btnCameraPressed,
                                                UIControlEventTouchUpInside);
    }
    return header;
  }
  if (kind == UICollectionElementKindSectionFooter) {
    auto footer = collectionView.dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(
        kind, "FooterView", indexPath);
    auto tagged = footer ? footer->viewWithTag(kSupplementaryTag) : nullptr;
    if (auto label = std::dynamic_pointer_cast<UILabel>(tagged)) {
      const std::int64_t count = assetFetchResult ? static_cast<std::int64_t>(assetFetchResult->count()) : 0;
      label->setText(getFormattedText_suffix(count, "Photo"));
    }
    return footer;
  }
  return nullptr;
}

void MediaCollectionViewController::collectionView_didSelectItemAtIndexPath(UICollectionView& collectionView,
                                                                            const NSIndexPath& indexPath) {
  const auto model =
      albumModel ? albumModel->getMediaModelAtIndex(static_cast<std::uint64_t>(indexPath.item)) : nullptr;
  if (!model) return;
  const auto tappedIn = albumModel;
  model->setIsMediaSelected(!model->isModelSelected());
  if (photoManager) {
    photoManager->setIsMediaSelected_withModelIdentifier(model->isModelSelected(), model->getMediaIdentifier());
  }
  if (auto delegate = customDelegate.lock()) delegate->pickedModel(model);
  // The delegate may have taken its time, and the item may stand elsewhere by now.
  const std::optional<NSIndexPath> now = albumModel == tappedIn ? indexPath
                                                                : indexPathForElementWithModelIdentifier_inView(
                                                                      model->getMediaIdentifier(), collectionView);
  if (now) collectionView.reloadItemsAtIndexPaths({*now});
}

void MediaCollectionViewController::scrollViewDidScroll(UIScrollView& scrollView) {
  updateCachedAssets();
}

Identifier MediaCollectionViewController::modelIdentifierForElementAtIndexPath_inView(const NSIndexPath& indexPath,
                                                                                      const UIView& view) const {
  const auto model =
      albumModel ? albumModel->getMediaModelAtIndex(static_cast<std::uint64_t>(indexPath.item)) : nullptr;
  return model ? model->getMediaIdentifier() : Identifier();
}

std::optional<NSIndexPath> MediaCollectionViewController::indexPathForElementWithModelIdentifier_inView(
    const Identifier& identifier, const UIView& view) const {
  if (!albumModel) return std::nullopt;
  std::int64_t item = 0;
  const bool none = albumModel->visitMediaModels([&](const MediaModel& model) {
    if (model.getMediaIdentifier() == identifier) return false;
    ++item;
    return true;
  });
  if (none) return std::nullopt;
  return NSIndexPath{0, item};
}

const std::shared_ptr<PHCachingImageManager>& MediaCollectionViewController::imageManager() {
  if (!imageManager_) imageManager_ = std::make_shared<PHCachingImageManager>();
  return imageManager_;
}

}  // namespace tlx
