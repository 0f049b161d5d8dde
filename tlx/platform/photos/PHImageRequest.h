#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "tlx/platform/avfoundation/AVAsset.h"
#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/foundation/NSError.h"
#include "tlx/platform/photos/PHAsset.h"
#include "tlx/platform/uikit/UIImage.h"

namespace tlx {

using PHImageRequestID = std::int32_t;
inline constexpr PHImageRequestID PHInvalidImageRequestID = 0;

enum PHImageContentMode : std::int64_t {
  PHImageContentModeAspectFit = 0,   ///< the largest picture of the item's shape within the target size
  PHImageContentModeAspectFill = 1,  ///< the smallest picture of the item's shape that covers the target size
};

enum PHImageRequestOptionsDeliveryMode : std::int64_t {
  PHImageRequestOptionsDeliveryModeOpportunistic = 0,  ///< a degraded answer when one is at hand, then the final one
  PHImageRequestOptionsDeliveryModeHighQualityFormat = 1,  ///< exactly one answer, the final one
  PHImageRequestOptionsDeliveryModeFastFormat = 2,         ///< exactly one answer, whichever is quickest
};

enum PHImageRequestOptionsResizeMode : std::int64_t {
  PHImageRequestOptionsResizeModeNone = 0,   ///< may come larger than asked
  PHImageRequestOptionsResizeModeFast = 1,   ///< at or somewhat above the target size
  PHImageRequestOptionsResizeModeExact = 2,  ///< exactly the size that the target size and the content mode give
};

enum PHVideoRequestOptionsVersion : std::int64_t {
  PHVideoRequestOptionsVersionCurrent = 0,
  PHVideoRequestOptionsVersionOriginal = 1,
};

enum PHVideoRequestOptionsDeliveryMode : std::int64_t {
  PHVideoRequestOptionsDeliveryModeAutomatic = 0,
  PHVideoRequestOptionsDeliveryModeHighQualityFormat = 1,
};

/// What is told with each answer.
struct PHImageInfo {
  std::optional<NSError> PHImageErrorKey;   ///< why there is no image or video; absent beside a good answer
  bool PHImageResultIsDegradedKey = false;  ///< a better answer follows
  bool PHImageResultIsInCloudKey = false;   ///< the original is not on this machine
};

/// Told while bytes come from a network, and only then: progress from 0 to 1, never falling. Setting *stop ends the
/// transfer; the request then answers as cancelled. Called on a thread of the adapter's.
using PHAssetImageProgressHandler =
    std::function<void(double progress, const NSError* error, bool* stop, const PHImageInfo& info)>;
using PHImageResultHandler = std::function<void(const std::shared_ptr<const UIImage>& image, const PHImageInfo& info)>;
using PHVideoResultHandler = std::function<void(const std::shared_ptr<const AVAsset>& asset,
                                                const std::shared_ptr<const AVAudioMix>& mix, const PHImageInfo& info)>;

struct PHImageRequestOptions {
  PHImageRequestOptionsDeliveryMode deliveryMode = PHImageRequestOptionsDeliveryModeOpportunistic;
  PHImageRequestOptionsResizeMode resizeMode = PHImageRequestOptionsResizeModeFast;
  bool networkAccessAllowed = false;  ///< an original that is elsewhere may be fetched, else the request fails
  bool synchronous = false;           ///< answers before the request returns
  PHAssetImageProgressHandler progressHandler;
};

struct PHVideoRequestOptions {
  PHVideoRequestOptionsVersion version = PHVideoRequestOptionsVersionCurrent;
  PHVideoRequestOptionsDeliveryMode deliveryMode = PHVideoRequestOptionsDeliveryModeAutomatic;
  bool networkAccessAllowed = false;
  PHAssetImageProgressHandler progressHandler;
};

}  // namespace tlx
