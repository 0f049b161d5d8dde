#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <utility>
#include <vector>

#include "adapters/photolibrary/images/ImageManager.h"

namespace tlx::photolibrary {

/// Whether a request is to be looked at in a cell rather than relied on.
inline bool wantsPreview(const PHImageRequestOptions& options) {
  return options.deliveryMode == PHImageRequestOptionsDeliveryModeOpportunistic ||
         options.deliveryMode == PHImageRequestOptionsDeliveryModeFastFormat;
}

struct ImageManager::Request {
  PHImageRequestID id = PHInvalidImageRequestID;  // of none: preheating
  std::int64_t number = 0;                        // its place in the queue
  ThumbnailKey asked;                             // as the caller named it
  ThumbnailKey key;                               // the same in pixels
  PHImageRequestOptions options;                  // of a video request as far as they are the same
  /// Touched on the main thread only for image requests, so that what they keep dies there.
  std::shared_ptr<const PHImageResultHandler> imageHandler;
  std::shared_ptr<const PHVideoResultHandler> videoHandler;
  std::stop_source stop;
  std::shared_ptr<const void> begun;  // of an image request: the item store's; the main thread's alone, as the handler
  std::atomic<bool> behind{false};    // no longer looked at
  std::optional<Preview> preview;     // once it has come from elsewhere
  std::optional<Original> original;   // likewise
  std::optional<NSError> refused;     // why there will be none
  bool inCloud = false;
  bool lookedAtHand = false, askedForPreview = false;

  bool isCancelled() const { return stop.stop_requested(); }
  PictureLayers::Wanted wanted(std::stop_token until) const { return {key, wantsPreview(options), std::move(until)}; }
};

struct ImageManager::Preheated {
  RequestRef request;
  std::set<CacheClient> clients;
};

struct ImageManager::Answer {
  std::shared_ptr<const UIImage> image;
  PHImageInfo info;
};

/// A picture in the making, and who gets it: the first of them set it going.
struct ImageManager::Making {
  std::vector<RequestRef> wanters;
  std::stop_source abandoned;
};

}  // namespace tlx::photolibrary
