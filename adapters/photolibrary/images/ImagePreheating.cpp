#include <utility>
#include <vector>

#include "adapters/photolibrary/images/ImageRequest.h"

namespace tlx::photolibrary {

void ImageManager::startCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                                      CGSize targetSize, PHImageContentMode contentMode,
                                      const PHImageRequestOptions& options) {
  if (!(targetSize.width > 0) || !(targetSize.height > 0)) return;
  std::vector<RequestRef> fresh;
  {
    const std::lock_guard lock(mutex_);
    lastPreheat_ += static_cast<std::int64_t>(assets.size());
    std::int64_t number = lastPreheat_;  // the first of the list is the most urgent
    for (const auto& asset : assets) {
      if (!asset) continue;
      const ThumbnailKey key{asset->localIdentifier, targetSize, contentMode};
      Preheated& preheated = preheated_[key];
      preheated.clients.insert(client);
      if (preheated.request) continue;
      preheated.request = std::make_shared<Request>();
      preheated.request->number = number--;
      preheated.request->asked = preheated.request->key = key;
      preheated.request->key.target = pixelTarget(targetSize, options);
      preheated.request->options = options;
      fresh.push_back(preheated.request);
    }
  }
  for (const RequestRef& request : fresh) {
    enqueue(workers_, RequestQueue::Preheat, request, &ImageManager::preheatStage);
  }
}

void ImageManager::release(CacheClient client, const ThumbnailKey& asked) {
  RequestRef request;
  {
    const std::lock_guard lock(mutex_);
    const auto found = preheated_.find(asked);
    if (found == preheated_.end() || found->second.clients.erase(client) == 0) return;
    if (!found->second.clients.empty()) return;
    request = std::move(found->second.request);
    preheated_.erase(found);
    request->stop.request_stop();
    abandonUnwanted(*request);
  }
  withdraw(*request, {RequestQueue::Preheat});
  leaveBehind(asked);
  layers_.memory().age(request->key);
}

void ImageManager::stopCachingImages(CacheClient client, const std::vector<std::shared_ptr<const PHAsset>>& assets,
                                     CGSize targetSize, PHImageContentMode contentMode) {
  for (const auto& asset : assets) {
    if (asset) release(client, {asset->localIdentifier, targetSize, contentMode});
  }
}

void ImageManager::stopCachingImagesForAllAssets(CacheClient client) {
  std::vector<ThumbnailKey> keys;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, preheated] : preheated_) {
      if (preheated.clients.count(client) > 0) keys.push_back(key);
    }
  }
  for (const ThumbnailKey& key : keys) release(client, key);
}

void ImageManager::leaveBehind(const ThumbnailKey& asked) {
  std::vector<RequestRef> left;
  {
    const std::lock_guard lock(mutex_);
    const auto [begin, end] = asked_.equal_range(asked);
    for (auto each = begin; each != end; ++each) {
      if (const auto found = requests_.find(each->second); found != requests_.end()) left.push_back(found->second);
    }
  }
  for (const RequestRef& request : left) {
    request->behind = true;
    for (RequestQueue* queue : {&workers_, &fetchers_}) {
      for (const auto lane : {RequestQueue::Preview, RequestQueue::Picture}) {
        queue->move(lane, RequestQueue::Behind, request->number);
      }
    }
  }
}

void ImageManager::preheatStage(const RequestRef& request) {
  if (request->isCancelled()) return;
  const auto wanted = request->wanted(request->stop.get_token());
  if (request->preview ? layers_.fromPreview(wanted, *request->preview) : layers_.atHand(wanted, true)) return;
  request->lookedAtHand = true;
  if (sentForPreview(request, RequestQueue::Preheat, &ImageManager::preheatStage)) return;
  if (sentToFetch(request, RequestQueue::Preheat, &ImageManager::preheatStage)) return;
  makeForAll(request);
}

}  // namespace tlx::photolibrary
