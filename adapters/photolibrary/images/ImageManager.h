#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <set>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <vector>

#include "tlx/platform/dispatch/MainQueuePort.h"
#include "tlx/platform/photos/ImageManagerPort.h"

#include "adapters/photolibrary/images/PictureLayers.h"
#include "adapters/photolibrary/images/RequestQueue.h"
#include "adapters/photolibrary/images/pixels/PixelStore.h"
#include "adapters/photolibrary/source/DecodersPort.h"
#include "adapters/photolibrary/source/ItemStore.h"

namespace tlx::photolibrary {

/// The pictures and videos of a library's items, made by one worker per processor. Thumbnails that were made lately are
/// kept in memory and answer within the call; the desktop's shared thumbnails answer next; a photo's embedded thumbnail
/// is the degraded first answer otherwise. What had to be decoded is written to the shared thumbnails when nobody waits
/// for anything else. For the same picture there is never more than one decoding at a time.
///
/// An item whose original is elsewhere is shown by its preview. Where there is none, a photo's original is fetched for
/// a cell when it is no more than a preview would be (`largestForACell`), or else scrolling would fetch the library;
/// larger ones and videos show nothing until someone fetched them.
///
/// What a client stops caching has left its neighbourhood: requests for the same item, size and mode that still wait go
/// behind everything else, and are answered in the end.
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
    double screenScale = 1;                             ///< pixels of the screen in a point
    std::int64_t recordBytes = std::int64_t{32} << 20;  ///< of pictures that wait to be written to the shared ones
    SharedThumbnails::Settings shared = {};
  };

  static constexpr double largestCell = 512;
  static constexpr std::int64_t largestForACell = std::int64_t{512} << 10;  ///< bytes

  /// `pixels` is where the decoders keep the pictures that they make. All outlive the object.
  ImageManager(ItemStore& items, DecodersPort& decoders, PixelStore& pixels, MainQueuePort& mainQueue);
  ImageManager(ItemStore& items, DecodersPort& decoders, PixelStore& pixels, MainQueuePort& mainQueue,
               Settings settings);
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
  const ThumbnailCache& thumbnails() const { return layers_.memory(); }

 private:
  struct Request;
  struct Preheated;
  struct Making;
  struct Answer;
  using RequestRef = std::shared_ptr<Request>;
  using Stage = void (ImageManager::*)(const RequestRef&);

  static void name(Request& request, const std::shared_ptr<const PHAsset>& asset);
  CGSize pixelTarget(CGSize target, const PHImageRequestOptions& options) const;
  /// Takes an image request out of the tables; nothing when it is not there. The mutex is held.
  RequestRef take(PHImageRequestID id);

  void enqueue(RequestQueue& queue, RequestQueue::Lane lane, const RequestRef& request, Stage stage);
  void previewStage(const RequestRef& request);
  void pictureStage(const RequestRef& request);
  void videoStage(const RequestRef& request);
  void preheatStage(const RequestRef& request);
  /// Sends the request to wait for its preview, or its original, that lies elsewhere, and to go on with `then`. False
  /// when there is nothing to wait for.
  bool sentForPreview(const RequestRef& request, RequestQueue::Lane lane, Stage then);
  bool sentToFetch(const RequestRef& request, RequestQueue::Lane lane, Stage then);
  bool isElsewhere(const Identifier& identifier) const;
  void withdraw(const Request& request, std::initializer_list<RequestQueue::Lane> lanes);
  /// Lets what waits for that picture wait behind everything else.
  void leaveBehind(const ThumbnailKey& asked);
  void release(CacheClient client, const ThumbnailKey& asked);

  /// Makes the picture, or waits for another worker that is making the same one; answers whoever waits then.
  void makeForAll(const RequestRef& request);
  /// Ends a decoding that nobody wants any more. The mutex is held.
  void abandonUnwanted(const Request& request);
  /// The finished picture, from memory or made now; on any thread.
  Answer makePicture(Request& request, std::stop_token stop);
  /// What there is already, on the main thread.
  Answer whatIsAtHand(const Request& request);
  std::variant<Original, NSError> fetch(Request& request);
  void recordLater(SharedThumbnails::Record record);
  void deliver(RequestRef request, Answer answer, bool final);

  ItemStore& items_;          // unretained: outlives the manager by contract
  MainQueuePort& mainQueue_;  // unretained: outlives the manager by contract
  DecodersPort& decoders_;    // unretained: outlive the object by contract
  PictureLayers layers_;
  std::atomic<double> screenScale_;
  /// False once the manager is gone: steps that still wait on the main queue then do nothing.
  std::shared_ptr<std::atomic<bool>> alive_;
  const std::int64_t mostRecordBytes_;
  std::atomic<std::int64_t> recordBytes_{0};

  std::mutex mutex_;
  std::int64_t lastNumber_ = 0, lastPreheat_ = 0, lastRecord_ = 0;
  PHImageRequestID lastId_ = PHInvalidImageRequestID;
  std::unordered_map<PHImageRequestID, RequestRef> requests_;
  /// Image requests and preheating by what was asked for, in points.
  std::unordered_multimap<ThumbnailKey, PHImageRequestID, ThumbnailKeyHash> asked_;
  std::unordered_map<ThumbnailKey, Preheated, ThumbnailKeyHash> preheated_;
  /// What workers are making now, by the picture: thumbnails, and what is made of the original itself.
  std::array<std::unordered_map<ThumbnailKey, std::shared_ptr<Making>, ThumbnailKeyHash>, 2> making_;

  RequestQueue fetchers_;
  RequestQueue workers_;
};

}  // namespace tlx::photolibrary
