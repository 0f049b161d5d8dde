#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "tlx/platform/photos/ImageManagerPort.h"

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"

namespace tlx::memory {

/// Stands before any image manager and lets chosen requests go wrong; all others pass through untouched.
class FaultyImageManager final : public ImageManagerPort {
 public:
  enum class Fault {
    Fail,               ///< the final answer comes without a picture or video, with the error
    Stall,              ///< answers are held back until `releaseStalled`; does not touch synchronous requests
    AnswerTwice,        ///< the final answer comes twice
    AnswerAfterCancel,  ///< a cancel has no effect
    AnswerElsewhere,    ///< pictures come on the adapters' own thread, videos on the main thread; does not touch
                        ///< synchronous requests
  };

  FaultyImageManager(ImageManagerPort& inner, MainLoop& loop, Background& background)
      : inner_(inner), loop_(loop), background_(background) {}

  /// The `request`-th request from now on, counted from 1, images and videos alike, suffers the fault. Several faults
  /// for one request add up.
  void plan(int request, Fault fault, NSError error = {kPhotoLibraryErrorDomain, PhotoLibraryErrorDamaged, "Damaged"});
  /// The answers held back are given, on the main thread or the adapters' own as the request's kind asks; later ones
  /// of these requests come at once.
  void releaseStalled();
  void clear();

  PHImageRequestID requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize targetSize,
                                PHImageContentMode contentMode, const PHImageRequestOptions& options,
                                PHImageResultHandler handler) override;
  PHImageRequestID requestAVAsset(const std::shared_ptr<const PHAsset>& asset, const PHVideoRequestOptions& options,
                                  PHVideoResultHandler handler) override;
  void cancelImageRequest(PHImageRequestID request) override;
  void startCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                          CGSize targetSize, PHImageContentMode contentMode,
                          const PHImageRequestOptions& options) override {
    inner_.startCachingImages(client, assets, targetSize, contentMode, options);
  }
  void stopCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                         CGSize targetSize, PHImageContentMode contentMode) override {
    inner_.stopCachingImages(client, assets, targetSize, contentMode);
  }
  void stopCachingImagesForAllAssets(CacheClient client) override { inner_.stopCachingImagesForAllAssets(client); }

 private:
  struct Plan {
    std::set<Fault> faults;
    NSError error;

    bool has(Fault fault) const { return faults.count(fault) != 0; }
  };
  struct Stalled;

  Plan nextPlan();
  std::shared_ptr<Stalled> stall(const Plan& plan, bool isVideo);
  void deliver(const std::shared_ptr<Stalled>& stalled, bool onMainThread, const std::function<void()>& answer);
  void remember(const Plan& plan, PHImageRequestID request, const std::shared_ptr<Stalled>& stalled);

  ImageManagerPort& inner_;
  MainLoop& loop_;
  Background& background_;

  std::mutex mutex_;
  int requestCount_ = 0;
  std::map<int, Plan> plans_;
  std::set<PHImageRequestID> uncancellable_;
  std::map<PHImageRequestID, std::shared_ptr<Stalled>> stalled_;
};

}  // namespace tlx::memory
