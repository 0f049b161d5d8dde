#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/foundation/NSError.h"
#include "tlx/platform/photos/ImageManagerPort.h"

namespace tlx::program {

/// Passes requests on, and tells why what was picked could not be fetched: the picker itself only counts causes.
class TellingImages final : public ImageManagerPort {
 public:
  /// On the thread that the answer comes on, before it is passed on.
  using Tell = std::function<void(const PHAsset& asset, bool video, const NSError& cause)>;

  /// `images` outlives the object.
  TellingImages(ImageManagerPort& images, Tell tell);

  PHImageRequestID requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize targetSize,
                                PHImageContentMode contentMode, const PHImageRequestOptions& options,
                                PHImageResultHandler handler) override;
  PHImageRequestID requestAVAsset(const std::shared_ptr<const PHAsset>& asset, const PHVideoRequestOptions& options,
                                  PHVideoResultHandler handler) override;
  void cancelImageRequest(PHImageRequestID request) override { images_.cancelImageRequest(request); }
  void startCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                          CGSize targetSize, PHImageContentMode contentMode,
                          const PHImageRequestOptions& options) override {
    images_.startCachingImages(client, assets, targetSize, contentMode, options);
  }
  void stopCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                         CGSize targetSize, PHImageContentMode contentMode) override {
    images_.stopCachingImages(client, assets, targetSize, contentMode);
  }
  void stopCachingImagesForAllAssets(CacheClient client) override { images_.stopCachingImagesForAllAssets(client); }

 private:
  ImageManagerPort& images_;  // unretained: outlives the object by contract
  const std::shared_ptr<const Tell> tell_;
};

/// One line about an item at `place` that could not be fetched.
std::string fetchFailure(const std::string& place, bool video, const NSError& cause);

}  // namespace tlx::program
