#include "tlx/platform/photos/PHImageManager.h"

#include <utility>

#include "tlx/platform/Platform.h"

namespace tlx {
namespace {

ImageManagerPort& port() {
  return Platform::current().ports().imageManager;
}

}  // namespace

std::shared_ptr<PHImageManager> PHImageManager::defaultManager() {
  return Platform::current().once<PHImageManager>([] { return std::make_shared<PHImageManager>(); });
}

PHImageRequestID PHImageManager::requestImageForAsset_targetSize_contentMode_options_resultHandler(
    const std::shared_ptr<const PHAsset>& asset, CGSize targetSize, PHImageContentMode contentMode,
    const PHImageRequestOptions& options, PHImageResultHandler resultHandler) {
  return port().requestImage(asset, targetSize, contentMode, options, std::move(resultHandler));
}

PHImageRequestID PHImageManager::requestAVAssetForVideo_options_resultHandler(
    const std::shared_ptr<const PHAsset>& asset, const PHVideoRequestOptions& options,
    PHVideoResultHandler resultHandler) {
  return port().requestAVAsset(asset, options, std::move(resultHandler));
}

void PHImageManager::cancelImageRequest(PHImageRequestID request) {
  port().cancelImageRequest(request);
}

PHCachingImageManager::~PHCachingImageManager() {
  if (Platform* platform = Platform::installed()) platform->ports().imageManager.stopCachingImagesForAllAssets(this);
}

void PHCachingImageManager::startCachingImagesForAssets_targetSize_contentMode_options(
    const Assets& assets, CGSize targetSize, PHImageContentMode contentMode, const PHImageRequestOptions& options) {
  if (assets) port().startCachingImages(this, *assets, targetSize, contentMode, options);
}

void PHCachingImageManager::stopCachingImagesForAssets_targetSize_contentMode_options(const Assets& assets,
                                                                                      CGSize targetSize,
                                                                                      PHImageContentMode contentMode,
                                                                                      const PHImageRequestOptions&) {
  if (assets) port().stopCachingImages(this, *assets, targetSize, contentMode);
}

void PHCachingImageManager::stopCachingImagesForAllAssets() {
  port().stopCachingImagesForAllAssets(this);
}

}  // namespace tlx
