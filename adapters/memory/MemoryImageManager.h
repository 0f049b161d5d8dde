#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "tlx/platform/photos/ImageManagerPort.h"

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/memory/MemoryPhotoLibrary.h"

namespace tlx::memory {

/// How an item behaves when it is asked for.
struct ItemScript {
  double width = 400, height = 300;                       ///< of the original, in pixels
  std::uint32_t colour = 0x4488CC;                        ///< 0xRRGGBB, of the whole picture
  UIImageOrientation orientation = UIImageOrientationUp;  ///< other than up: a library that breaks its contract

  double seconds = 0;                           ///< virtual time until the final answer; 0: in a later turn
  bool inMemory = false;                        ///< opportunistic requests are answered within the call
  bool degradedFirst = false;                   ///< opportunistic requests get a degraded answer in the next turn
  bool stalls = false;                          ///< no final answer until `MemoryImageManager::release`
  std::optional<NSError> error = std::nullopt;  ///< why there is no picture or video

  bool inCloud = false;  ///< the original is elsewhere: requests that forbid the network fail
  /// Reported from the start to the answer, evenly spread over `seconds`; `inCloud` only.
  std::vector<double> progress = {};
  bool progressOnMainThread = false;

  std::vector<AVAssetTrack> tracks = {{AVMediaTypeVideo, "h264", 1920, 1080, 10}, {AVMediaTypeAudio, "aac", 0, 0, 10}};
  bool deliversWithoutVideoTrack = false;  ///< answers the tracks above also where none is a video track
};

/// Pictures and videos for the items of a memory library, in one colour each, behaving as a test scripts them. An item
/// without a script of its own behaves as the default script says.
class MemoryImageManager final : public ImageManagerPort {
 public:
  MemoryImageManager(const MemoryPhotoLibrary& library, MainLoop& loop, Background& background);
  ~MemoryImageManager() override;

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

  // What follows is the test's side, on the main thread.

  /// Requests from now on behave so; what the item had in memory is forgotten.
  void setScript(const Identifier& item, ItemScript script);
  void setDefaultScript(ItemScript script);
  /// The item's stalled requests go on as its script now says, without stalling.
  void release(const Identifier& item);

  struct Request {
    PHImageRequestID id = PHInvalidImageRequestID;
    Identifier item;  ///< absent for a request without an asset
    bool isVideo = false;
    CGSize targetSize;
    PHImageContentMode contentMode = PHImageContentModeAspectFit;
    PHImageRequestOptions imageOptions;  ///< without the handler, lest the log keeps alive what made the request
    PHVideoRequestOptions videoOptions;  ///< likewise
    bool reportsProgress = false;
  };
  std::vector<Request> requests() const;
  /// Every id that was given to `cancelImageRequest`.
  const std::vector<PHImageRequestID>& cancelled() const { return cancelled_; }
  /// Requests that still owe their final answer.
  std::size_t outstanding() const { return jobs_.size(); }

  struct CachingCall {
    enum Kind { Start, Stop, StopAll } kind;
    CacheClient client;
    std::vector<Identifier> items;
    CGSize targetSize;
    PHImageContentMode contentMode = PHImageContentModeAspectFit;
    PHImageRequestOptions options;  ///< of a start, without the handler
  };
  const std::vector<CachingCall>& cachingCalls() const { return cachingCalls_; }
  /// What has been started and not stopped, by any client.
  std::vector<Identifier> preheated() const;

  /// Lets go of all that waits, without answering.
  void clear();

 private:
  struct Job;
  using CacheKey = std::tuple<Identifier, double, double, PHImageContentMode>;

  PHImageRequestID begin(const std::shared_ptr<Job>& job);
  ItemScript scriptOf(const Identifier& item) const;
  std::shared_ptr<Job> find(PHImageRequestID request) const;
  bool isInMemory(const Job& job) const;
  void proceed(const Job& job, double seconds);
  void serveNewest();
  void takeNextStep(PHImageRequestID request);
  void reportProgress(const std::shared_ptr<Job>& job);
  void finish(const std::shared_ptr<Job>& job);
  void answerImage(const Job& job) const;
  static void answerDegraded(const Job& job, bool withImage);
  void answerVideo(const Job& job) const;
  std::optional<PHImageInfo> failureOf(const Job& job) const;

  const MemoryPhotoLibrary& library_;
  MainLoop& loop_;
  Background& background_;

  mutable std::mutex mutex_;  // guards what synchronous requests on other threads reach as well: scripts and requests
  ItemScript defaultScript_;
  std::unordered_map<Identifier, ItemScript> scripts_;
  std::vector<Request> requests_;

  std::map<PHImageRequestID, std::shared_ptr<Job>> jobs_;
  std::vector<PHImageRequestID> ready_;
  std::vector<PHImageRequestID> cancelled_;
  std::vector<CachingCall> cachingCalls_;
  std::map<CacheClient, std::set<CacheKey>> started_;  // asked to be preheated
  std::set<CacheKey> held_;                            // in memory by now
};

}  // namespace tlx::memory
