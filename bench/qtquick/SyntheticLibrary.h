#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/foundation/SystemLogPort.h"
#include "tlx/platform/photos/ImageManagerPort.h"
#include "tlx/platform/photos/PhotoLibraryPort.h"
#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

namespace tlx::bench {

/// A library of any size in the camera roll, every eighth item a video. The other albums are empty.
class SyntheticLibrary final : public PhotoLibraryPort {
 public:
  explicit SyntheticLibrary(std::size_t count);

  PHAuthorizationStatus authorizationStatus() const override { return PHAuthorizationStatusAuthorized; }
  void requestAuthorization(AuthorizationHandler handler) override { handler(authorizationStatus()); }
  std::shared_ptr<const PHFetchResult<PHAssetCollection>> fetchAssetCollections(PHAssetCollectionType type,
                                                                                PHAssetCollectionSubtype) override;
  std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssets(const PHAssetCollection& album,
                                                            const PHFetchOptions&) override {
    return album.assetCollectionType == PHAssetCollectionTypeSmartAlbum ? assets_ : nothing_;
  }
  std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssetsWithLocalIdentifiers(
      const std::vector<Identifier>&) override {
    return std::make_shared<PHFetchResult<PHAsset>>();
  }
  void setChangeHandler(ChangeHandler) override {}

 private:
  std::shared_ptr<const PHFetchResult<PHAsset>> assets_;
  std::shared_ptr<const PHFetchResult<PHAsset>> nothing_ = std::make_shared<PHFetchResult<PHAsset>>();
};

/// Pictures as a library would hand them to cells, in colours.
std::vector<std::shared_ptr<const UIImage>> makePictures(int count);

/// Pictures that are there at once.
class ReadyImages final : public ImageManagerPort {
 public:
  explicit ReadyImages(std::vector<std::shared_ptr<const UIImage>> pictures) : pictures_(std::move(pictures)) {}

  PHImageRequestID requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize, PHImageContentMode,
                                const PHImageRequestOptions&, PHImageResultHandler handler) override;
  PHImageRequestID requestAVAsset(const std::shared_ptr<const PHAsset>&, const PHVideoRequestOptions&,
                                  PHVideoResultHandler) override {
    return ++last_;
  }
  void cancelImageRequest(PHImageRequestID) override {}
  void startCachingImages(CacheClient, const std::vector<std::shared_ptr<const PHAsset>>& assets, CGSize,
                          PHImageContentMode, const PHImageRequestOptions&) override {
    preheated_ += assets.size();
  }
  void stopCachingImages(CacheClient, const std::vector<std::shared_ptr<const PHAsset>>&, CGSize,
                         PHImageContentMode) override {}
  void stopCachingImagesForAllAssets(CacheClient) override {}

  std::size_t preheated() const { return preheated_; }

 private:
  std::vector<std::shared_ptr<const UIImage>> pictures_;
  PHImageRequestID last_ = 0;
  std::size_t preheated_ = 0;
};

class NoNetwork final : public ReachabilityPort {
 public:
  std::unique_ptr<ReachabilityTarget> createWithName(const std::string&) override { return nullptr; }
  std::unique_ptr<ReachabilityTarget> createWithAddress(const sockaddr*) override { return nullptr; }
};

class StderrLog final : public SystemLogPort {
 public:
  void log(const std::string& line) override;
  void assertionFailed(const std::string& function, const std::string& file, int line,
                       const std::string& description) override;
};

}  // namespace tlx::bench
