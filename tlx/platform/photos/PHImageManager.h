#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "tlx/platform/photos/ImageManagerPort.h"

namespace tlx {

/// Where the picker asks for pictures and videos. Thin: the contract is `ImageManagerPort`'s.
class PHImageManager {
 public:
  virtual ~PHImageManager() = default;

  /// The one manager of the installed platform.
  static std::shared_ptr<PHImageManager> defaultManager();

  PHImageRequestID requestImageForAsset_targetSize_contentMode_options_resultHandler(
      const std::shared_ptr<const PHAsset>& asset, CGSize targetSize, PHImageContentMode contentMode,
      const PHImageRequestOptions& options, PHImageResultHandler resultHandler);
  PHImageRequestID requestAVAssetForVideo_options_resultHandler(const std::shared_ptr<const PHAsset>& asset,
                                                                const PHVideoRequestOptions& options,
                                                                PHVideoResultHandler resultHandler);
  void cancelImageRequest(PHImageRequestID request);
};

/// A manager that can be told what will be wanted soon. What it preheated is released with it.
class PHCachingImageManager : public PHImageManager {
 public:
  /// An absent list does nothing.
  using Assets = std::optional<std::vector<std::shared_ptr<const PHAsset>>>;

  ~PHCachingImageManager() override;

  void startCachingImagesForAssets_targetSize_contentMode_options(const Assets& assets, CGSize targetSize,
                                                                  PHImageContentMode contentMode,
                                                                  const PHImageRequestOptions& options);
  void stopCachingImagesForAssets_targetSize_contentMode_options(const Assets& assets, CGSize targetSize,
                                                                 PHImageContentMode contentMode,
                                                                 const PHImageRequestOptions& options);
  void stopCachingImagesForAllAssets();
};

}  // namespace tlx
