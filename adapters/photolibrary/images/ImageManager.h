#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "tlx/platform/dispatch/MainQueue.h"
#include "tlx/platform/photos/ImageManagerPort.h"

#include "adapters/photolibrary/ItemStore.h"
#include "adapters/photolibrary/images/ImageDecoder.h"
#include "adapters/photolibrary/images/PixelStore.h"
#include "adapters/photolibrary/images/RequestQueue.h"
#include "adapters/photolibrary/images/ThumbnailCache.h"

namespace tlx::photolibrary {

/// The pictures and videos of a library's items, made by one worker per processor. Thumbnails that were made lately are
/// kept in memory and answer within the call; a photo's embedded thumbnail is the degraded first answer otherwise.
///
/// Target sizes count in points where the answer is to be looked at in a cell, and in pixels where someone relies on
/// them: an opportunistic or fast request that does not ask for the exact size, and whose target is at most
/// `largestCell` a side, is answered for target × screen scale, still with the scale 1 and never enlarged. All others,
/// a host's deliveries among them, are made for the target as it stands.
///
/// Destroyed on the main thread; the workers end first, and nothing is called afterwards. Delivered pictures stay valid
/// for as long as they are held.
class ImageManager final : public ImageManagerPort {
 public:
  struct Settings {
    unsigned workers = 0;                                ///< 0 for one per processor
    unsigned fetchers = 2;                               ///< threads that wait for originals from elsewhere
    std::size_t thumbnailBytes = std::size_t{64} << 20;  ///< of finished thumbnails kept in memory
    std::size_t largestThumbnail = std::size_t{4} << 20;
    double screenScale = 1;  ///< pixels of the screen in a point
    std::string pixelFolder = PixelStore::defaultFolder();
    PixelStore::Limits pixels = {};
  };

  static constexpr double largestCell = 512;

  /// Both outlive the object.
  ImageManager(ItemStore& items, MainQueuePort& mainQueue);
  ImageManager(ItemStore& items, MainQueuePort& mainQueue, Settings settings);
  ~ImageManager() override;
  /// Ends the workers; nothing is called afterwards, and what is asked for stays unanswered. Main thread, before the
  /// platform goes; calling it again does nothing.
  void stop();

  /// For requests from now on, where the window comes to another screen. Main thread; below 1 counts as 1.
  void setScreenScale(double scale);

  PHImageRequestID requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize targetSize,
                                PHImageContentMode contentMode, const PHImageRequestOptions& options,
                                PHImageResultHandler handler) override;
  PHImageRequestID requestAVAsset(const std::shared_ptr<const PHAsset>& asset, const PHVideoRequestOptions& options,
                                  PHVideoResultHandler handler) override;
  void cancelImageRequest(PHImageRequestID request) override;
  void startCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                          CGSize targetSize, PHImageContentMode contentMode,
                          const PHImageRequestOptions& options) override;
  void stopCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                         CGSize targetSize, PHImageContentMode contentMode) override;
  void stopCachingImagesForAllAssets(CacheClient client) override;

  /// Returns when no worker has anything left to do; steps that they posted may still wait on the main queue. New
  /// requests made meanwhile are waited for too.
  void waitUntilIdle();
  const ThumbnailCache& thumbnails() const { return thumbnails_; }

 private:
  struct Request;
  struct Preheated;
  struct Answer;
  struct Embedded;
  using RequestRef = std::shared_ptr<Request>;
  using Stage = void (ImageManager::*)(const RequestRef&);

  static void name(Request& request, const std::shared_ptr<const PHAsset>& asset);
  CGSize pixelTarget(CGSize target, const PHImageRequestOptions& options) const;
  void enqueue(RequestQueue& queue, RequestQueue::Lane lane, const RequestRef& request, Stage stage);
  void previewStage(const RequestRef& request);
  void pictureStage(const RequestRef& request);
  void videoStage(const RequestRef& request);
  void preheatStage(const RequestRef& request);
  /// Whether the request has gone to wait for its original elsewhere, to come back to `then`.
  bool sentToFetch(const RequestRef& request, RequestQueue::Lane lane, Stage then);
  void withdraw(const Request& request, std::initializer_list<RequestQueue::Lane> lanes);
  void release(CacheClient client, const ThumbnailKey& key);

  /// The finished picture, from memory or made now; on any thread.
  Answer makePicture(Request& request);
  /// The picture inside the photo's file, kept in memory when it is good enough to be final.
  Embedded embedded(Request& request, bool onlyIfItCovers);
  std::shared_ptr<const UIImage> cached(const ThumbnailKey& key);
  std::variant<Original, NSError> fetch(Request& request);
  void deliver(RequestRef request, Answer answer, bool final);

  ItemStore& items_;          // unretained: outlives the manager by contract
  MainQueuePort& mainQueue_;  // unretained: outlives the manager by contract
  PixelStore pixels_;
  ImageDecoder decoder_;
  ThumbnailCache thumbnails_;
  std::atomic<double> screenScale_;
  /// False once the manager is gone: steps that still wait on the main queue then do nothing.
  std::shared_ptr<std::atomic<bool>> alive_;

  std::mutex mutex_;
  std::int64_t lastNumber_ = 0, lastPreheat_ = 0;
  PHImageRequestID lastId_ = PHInvalidImageRequestID;
  std::unordered_map<PHImageRequestID, RequestRef> requests_;
  std::unordered_map<ThumbnailKey, Preheated, ThumbnailKeyHash> preheated_;

  RequestQueue fetchers_;
  RequestQueue workers_;
};

}  // namespace tlx::photolibrary
