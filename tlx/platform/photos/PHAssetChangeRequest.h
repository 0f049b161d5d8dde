#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "tlx/platform/avfoundation/AVAsset.h"
#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/uikit/UIImage.h"

namespace tlx {

/// Stands for an asset that is being made. Any thread.
class PHObjectPlaceholder {
 public:
  /// The asset's identifier from the moment at which the change is known to have succeeded; empty before, and when it
  /// failed.
  Identifier localIdentifier() const;
  /// For the library.
  void setLocalIdentifier(Identifier identifier);

 private:
  mutable std::mutex mutex_;
  Identifier identifier_;
};

/// One asset that is to be made, of an image or of a video. Neither is set when the asker had none; saving it fails.
struct PHAssetCreation {
  std::shared_ptr<const UIImage> image;
  std::optional<AVRecording> video;
  std::optional<double> creationDate;  ///< seconds since 1970-01-01 00:00 UTC; now when absent
  std::shared_ptr<PHObjectPlaceholder> placeholder;
};

/// What is to be done to the library, told within a block of `PHPhotoLibrary::performChanges_completionHandler`;
/// outside of one it is a programming error (`NSException`).
class PHAssetChangeRequest {
 public:
  static std::shared_ptr<PHAssetChangeRequest> creationRequestForAssetFromImage(std::shared_ptr<const UIImage> image);
  static std::shared_ptr<PHAssetChangeRequest> creationRequestForAssetFromVideoAtFileURL(
      std::optional<AVRecording> video);

  void setCreationDate(double secondsSince1970) { creation_.creationDate = secondsSince1970; }
  const std::shared_ptr<PHObjectPlaceholder>& placeholderForCreatedAsset() const { return creation_.placeholder; }

  /// For the library: runs the block on this thread and answers what it asked for, in order.
  static std::vector<PHAssetCreation> collect(const std::function<void()>& block);

 private:
  static std::shared_ptr<PHAssetChangeRequest> begin(PHAssetCreation creation);

  PHAssetCreation creation_;
};

}  // namespace tlx
