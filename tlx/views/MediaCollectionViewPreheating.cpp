#include <cmath>

#include "tlx/library/AlbumModel.h"
#include "tlx/library/MediaModel.h"
#include "tlx/views/IndexPathCategories.h"
#include "tlx/views/MediaCollectionViewController.h"

namespace tlx {
namespace {

/// How far the band reaches beyond the view at either end, and how far it lets the view go before it follows, as parts
/// of the view's height.
constexpr double kReach = 0.5;
constexpr double kHeightsToSlack = 3.0;

}  // namespace

void MediaCollectionViewController::resetCachedAssets() {
  imageManager()->stopCachingImagesForAllAssets();
  previousPreheatRect = CGRectZero;
}

void MediaCollectionViewController::updateCachedAssets() {
  if (!isViewLoaded() || !view()->window()) return;
  const auto grid = collectionView();
  if (!grid) return;
  const CGRect bounds = grid->bounds();
  const CGRect preheatRect = CGRectInset(bounds, 0.0, -kReach * CGRectGetHeight(bounds));
  const double delta = std::abs(CGRectGetMidY(preheatRect) - CGRectGetMidY(previousPreheatRect));
  if (!(delta > CGRectGetHeight(bounds) / kHeightsToSlack)) return;

  std::vector<NSIndexPath> added, removed;
  const auto appendElements = [&grid](std::vector<NSIndexPath>& paths, const CGRect& rect) {
    const auto found = aapl_indexPathsForElementsInRect(*grid, rect);
    if (found) paths.insert(paths.end(), found->begin(), found->end());
  };
  computeDifferenceBetweenRect_andRect_removedHandler_addedHandler(
      previousPreheatRect, preheatRect, [&](const CGRect& rect) { appendElements(removed, rect); },
      [&](const CGRect& rect) { appendElements(added, rect); });

  const auto toStart = assetsAtIndexPaths(added);
  const auto toStop = assetsAtIndexPaths(removed);
  PHImageRequestOptions options;
  options.deliveryMode = PHImageRequestOptionsDeliveryModeOpportunistic;
  options.networkAccessAllowed = true;
  imageManager()->startCachingImagesForAssets_targetSize_contentMode_options(toStart, AssetGridThumbnailSize,
                                                                             PHImageContentModeAspectFill, options);
  imageManager()->stopCachingImagesForAssets_targetSize_contentMode_options(toStop, AssetGridThumbnailSize,
                                                                            PHImageContentModeAspectFill, options);
  previousPreheatRect = preheatRect;
}

void MediaCollectionViewController::computeDifferenceBetweenRect_andRect_removedHandler_addedHandler(
    const CGRect& oldRect, const CGRect& newRect, const RectHandler& removedHandler, const RectHandler& addedHandler) {
  if (!CGRectIntersectsRect(newRect, oldRect)) {
    addedHandler(newRect);
    removedHandler(oldRect);
    return;
  }
  const double oldMaxY = CGRectGetMaxY(oldRect), oldMinY = CGRectGetMinY(oldRect);
  const double newMaxY = CGRectGetMaxY(newRect), newMinY = CGRectGetMinY(newRect);
  const auto strip = [&newRect](double top, double bottom) {
    return CGRectMake(newRect.origin.x, top, newRect.size.width, bottom - top);
  };
  if (newMaxY > oldMaxY) addedHandler(strip(oldMaxY, newMaxY));
  if (oldMinY > newMinY) addedHandler(strip(newMinY, oldMinY));
  if (newMaxY < oldMaxY) removedHandler(strip(newMaxY, oldMaxY));
  if (oldMinY < newMinY) removedHandler(strip(oldMinY, newMinY));
}

PHCachingImageManager::Assets MediaCollectionViewController::assetsAtIndexPaths(
    const std::vector<NSIndexPath>& indexPaths) const {
  if (indexPaths.empty()) return std::nullopt;
  std::vector<std::shared_ptr<const PHAsset>> assets;
  assets.reserve(indexPaths.size());
  for (const NSIndexPath& path : indexPaths) {
    const auto model = albumModel ? albumModel->getMediaModelAtIndex(static_cast<std::uint64_t>(path.item)) : nullptr;
    if (auto asset = model ? model->getMediaAsset() : nullptr) assets.push_back(std::move(asset));
  }
  return assets;
}

}  // namespace tlx
