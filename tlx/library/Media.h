#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "tlx/platform/avfoundation/AVAsset.h"
#include "tlx/platform/foundation/Class.h"
#include "tlx/platform/photos/PHAsset.h"
#include "tlx/platform/uikit/UIImage.h"

namespace tlx {

/// Outcome of fetching one item.
enum FetchCompletionStatus : std::int64_t {
  FetchCompletionStatusFetched = 0,           ///< the image or video arrived; also: never fetched
  FetchCompletionStatusUnsupportedVideo = 1,  ///< no video with a video track, and not for want of a connection
  FetchCompletionStatusNoInternet = 2,        ///< no image, or a cloud video while offline
};

/// One item handed to the host: the library's asset and, once fetched, its image or its video. Main thread only.
class Media : public NSObject {
 public:
  /// The image is stored as it is, also when it does not stand upright.
  static std::shared_ptr<Media> initMediaWithPHAsset_image(std::shared_ptr<const PHAsset> asset,
                                                           std::shared_ptr<const UIImage> image);
  static std::shared_ptr<Media> initMediaWithPHAsset_Video(std::shared_ptr<const PHAsset> asset,
                                                           std::shared_ptr<const AVAsset> video);
  static std::shared_ptr<Media> initMediaWithPHAsset(std::shared_ptr<const PHAsset> asset);

  /// Both are read from the asset each time; 0 and empty without one.
  PHAssetMediaType getMediaType() const;
  const Identifier& getMediaIdentifier() const;
  const std::shared_ptr<const UIImage>& getMediaImage() const { return imageMain_; }
  const std::shared_ptr<const AVAsset>& getMediaVideoAsset() const { return avVideoAsset_; }
  const std::shared_ptr<const PHAsset>& getAsset() const { return mediaAsset_; }
  /// Stores the image upright: itself when it is, else a new one, redrawn.
  void setImage(std::shared_ptr<const UIImage> image);
  void setAvAsset(std::shared_ptr<const AVAsset> video) { avVideoAsset_ = std::move(video); }

  FetchCompletionStatus fetchCompletionStatus() const { return fetchCompletionStatus_; }
  void setFetchCompletionStatus(FetchCompletionStatus status) { fetchCompletionStatus_ = status; }
  const std::shared_ptr<const PHAsset>& mediaAsset() const { return mediaAsset_; }
  void setMediaAsset(std::shared_ptr<const PHAsset> asset) { mediaAsset_ = std::move(asset); }
  /// The setter stores the image as it is.
  const std::shared_ptr<const UIImage>& imageMain() const { return imageMain_; }
  void setImageMain(std::shared_ptr<const UIImage> image) { imageMain_ = std::move(image); }
  const std::shared_ptr<const AVAsset>& avVideoAsset() const { return avVideoAsset_; }
  void setAvVideoAsset(std::shared_ptr<const AVAsset> video) { avVideoAsset_ = std::move(video); }

 private:
  FetchCompletionStatus fetchCompletionStatus_ = FetchCompletionStatusFetched;
  std::shared_ptr<const PHAsset> mediaAsset_;
  std::shared_ptr<const UIImage> imageMain_;
  std::shared_ptr<const AVAsset> avVideoAsset_;
};

}  // namespace tlx
