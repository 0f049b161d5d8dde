#pragma once

#include <memory>
#include <vector>

#include "tlx/platform/photos/PHImageRequest.h"

namespace tlx {

/// Makes pictures and playable videos of library items.
///
/// Images are upright (orientation up), in sRGB, at the size that target size and content mode give, never enlarged
/// beyond the original. They come with the scale 1.
///
/// Threads. Requests are made on the main thread, except synchronous ones, which may be made on any thread.
/// - Asynchronous image requests answer on the main thread; videos and progress on a thread of the adapter's.
/// - A synchronous request answers exactly once, before it returns, on the calling thread, and never waits for the main
///   queue. On the main thread an opportunistic or fast one answers from what is at hand within a few milliseconds: in
///   memory, or kept with the file or beside it. The answer is degraded, with or without an image, where an
///   asynchronous request for the same would bring a better one or say why there is none.
/// - An opportunistic request whose picture is in memory answers within the call, before it returns its id. No other
///   asynchronous request does.
///
/// Answers. Opportunistic: zero or one degraded answer, then exactly one final answer. Any other mode: exactly one. A
/// failed request answers with no image and an error. A cancelled asynchronous image request answers no more; its
/// handler is released. A cancelled video request answers no more either.
///
/// Order. The newest waiting request is served first; a request for what is visible goes before anything preheated.
///
/// The handlers are called holding no lock of the adapter's and are let go after the last answer.
class ImageManagerPort {
 public:
  virtual ~ImageManagerPort() = default;

  /// `asset` may be nothing or no longer exist: the answer is then no image and an error. A target size of 0 × 0 or
  /// less asks for the full size. The id is never `PHInvalidImageRequestID`, nor used twice.
  virtual PHImageRequestID requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize targetSize,
                                        PHImageContentMode contentMode, const PHImageRequestOptions& options,
                                        PHImageResultHandler handler) = 0;
  /// Answers with no asset and an error for what is no video, holds no video track, or cannot be had.
  virtual PHImageRequestID requestAVAsset(const std::shared_ptr<const PHAsset>& asset,
                                          const PHVideoRequestOptions& options, PHVideoResultHandler handler) = 0;
  /// Main thread. Waiting work is dropped; the answer of running work is not delivered. An id that has been answered or
  /// was never given does nothing.
  virtual void cancelImageRequest(PHImageRequestID request) = 0;

  /// Names one user of the cache: what it preheats is its own to release.
  using CacheClient = const void*;
  /// These make pictures ahead of the requests for them, and release them. Main thread; all return at once. An empty
  /// list and a target size of 0 × 0 do nothing. What is started is matched
  /// for stopping by asset, size and mode.
  virtual void startCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                                  CGSize targetSize, PHImageContentMode contentMode,
                                  const PHImageRequestOptions& options) = 0;
  virtual void stopCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                                 CGSize targetSize, PHImageContentMode contentMode) = 0;
  virtual void stopCachingImagesForAllAssets(CacheClient client) = 0;
};

}  // namespace tlx
