#include "adapters/memory/MemoryImageManager.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "adapters/memory/Pictures.h"

namespace tlx::memory {
namespace {

NSError libraryError(PhotoLibraryErrorCode code, const std::string& text) {
  return {kPhotoLibraryErrorDomain, code, text};
}

std::vector<Identifier> identifiersOf(const std::vector<std::shared_ptr<const PHAsset>>& assets) {
  std::vector<Identifier> identifiers;
  identifiers.reserve(assets.size());
  for (const auto& asset : assets) identifiers.push_back(asset->localIdentifier);
  return identifiers;
}

}  // namespace

struct MemoryImageManager::Job {
  Request request;
  std::shared_ptr<const PHAsset> asset;
  ItemScript script;
  PHAssetImageProgressHandler progressHandler;
  PHImageResultHandler imageHandler;
  PHVideoResultHandler videoHandler;

  bool degradedIsDue = false;
  bool isStalled = false;
  std::size_t progressReported = 0;
  std::atomic<bool> stopped = false;  // by the progress handler
  std::atomic<bool> cancelled = false;

  bool networkAllowed() const {
    return request.isVideo ? request.videoOptions.networkAccessAllowed : request.imageOptions.networkAccessAllowed;
  }
  bool isOpportunistic() const {
    return !request.isVideo && request.imageOptions.deliveryMode == PHImageRequestOptionsDeliveryModeOpportunistic;
  }
  bool hasProgressLeft() const {
    return script.inCloud && networkAllowed() && progressHandler && progressReported < script.progress.size() &&
           !stopped;
  }
  CacheKey cacheKey() const {
    return {request.item, request.targetSize.width, request.targetSize.height, request.contentMode};
  }
};

MemoryImageManager::MemoryImageManager(const MemoryPhotoLibrary& library, MainLoop& loop, Background& background)
    : library_(library), loop_(loop), background_(background) {}

MemoryImageManager::~MemoryImageManager() = default;

PHImageRequestID MemoryImageManager::requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize targetSize,
                                                  PHImageContentMode contentMode, const PHImageRequestOptions& options,
                                                  PHImageResultHandler handler) {
  auto job = std::make_shared<Job>();
  job->asset = asset;
  job->imageHandler = std::move(handler);
  job->progressHandler = options.progressHandler;
  job->request.targetSize = targetSize;
  job->request.contentMode = contentMode;
  job->request.imageOptions = options;
  job->request.imageOptions.progressHandler = nullptr;
  return begin(job);
}

PHImageRequestID MemoryImageManager::requestAVAsset(const std::shared_ptr<const PHAsset>& asset,
                                                    const PHVideoRequestOptions& options,
                                                    PHVideoResultHandler handler) {
  auto job = std::make_shared<Job>();
  job->asset = asset;
  job->videoHandler = std::move(handler);
  job->progressHandler = options.progressHandler;
  job->request.isVideo = true;
  job->request.videoOptions = options;
  job->request.videoOptions.progressHandler = nullptr;
  return begin(job);
}

PHImageRequestID MemoryImageManager::begin(const std::shared_ptr<Job>& job) {
  Request& request = job->request;
  if (job->asset) request.item = job->asset->localIdentifier;
  request.reportsProgress = job->progressHandler != nullptr;
  job->script = scriptOf(request.item);
  {
    std::lock_guard lock(mutex_);
    request.id = static_cast<PHImageRequestID>(requests_.size() + 1);
    requests_.push_back(request);
  }
  const bool synchronous = !request.isVideo && request.imageOptions.synchronous;
  const bool known = job->asset && library_.contents()->find(request.item);
  if (synchronous && known && loop_.isMainThread() && !isInMemory(*job) &&
      request.imageOptions.deliveryMode != PHImageRequestOptionsDeliveryModeHighQualityFormat) {
    answerDegraded(*job, job->script.degradedFirst);
    return request.id;
  }
  if (synchronous || isInMemory(*job)) {
    answerImage(*job);
    return request.id;
  }
  jobs_.emplace(request.id, job);
  job->degradedIsDue = job->script.degradedFirst && job->isOpportunistic();
  proceed(*job, job->degradedIsDue || job->hasProgressLeft() ? 0 : job->script.seconds);
  return request.id;
}

ItemScript MemoryImageManager::scriptOf(const Identifier& item) const {
  std::lock_guard lock(mutex_);
  auto found = scripts_.find(item);
  return found == scripts_.end() ? defaultScript_ : found->second;
}

std::shared_ptr<MemoryImageManager::Job> MemoryImageManager::find(PHImageRequestID request) const {
  auto found = jobs_.find(request);
  return found == jobs_.end() ? nullptr : found->second;
}

bool MemoryImageManager::isInMemory(const Job& job) const {
  if (!job.isOpportunistic() || failureOf(job)) return false;
  return job.script.inMemory || held_.count(job.cacheKey()) != 0;
}

void MemoryImageManager::proceed(const Job& job, double seconds) {
  const PHImageRequestID id = job.request.id;
  if (seconds > 0) {
    loop_.start(seconds, false, [this, id] { takeNextStep(id); });
  } else {
    ready_.push_back(id);
    loop_.post([this] { serveNewest(); });
  }
}

void MemoryImageManager::serveNewest() {
  if (ready_.empty()) return;
  const auto newest = std::max_element(ready_.begin(), ready_.end());
  const PHImageRequestID id = *newest;
  ready_.erase(newest);
  takeNextStep(id);
}

void MemoryImageManager::takeNextStep(PHImageRequestID request) {
  const auto job = find(request);
  if (!job) return;
  if (std::exchange(job->degradedIsDue, false)) {
    proceed(*job, job->hasProgressLeft() ? 0 : job->script.seconds);
    answerDegraded(*job, true);
  } else if (job->hasProgressLeft()) {
    reportProgress(job);
  } else if (job->script.stalls && !job->stopped) {
    job->isStalled = true;
  } else {
    finish(job);
  }
}

void MemoryImageManager::reportProgress(const std::shared_ptr<Job>& job) {
  const double pause = job->script.seconds / static_cast<double>(job->script.progress.size());
  const double progress = job->script.progress[job->progressReported++];
  const auto report = [job, progress] {
    if (job->cancelled) return;
    bool stop = false;
    PHImageInfo info;
    info.PHImageResultIsInCloudKey = true;
    job->progressHandler(progress, nullptr, &stop, info);
    if (stop) job->stopped = true;
  };
  const auto goOn = [this, job, pause] {
    if (find(job->request.id)) proceed(*job, job->stopped ? 0 : pause);
  };
  if (job->script.progressOnMainThread) {
    report();
    goOn();
  } else {
    background_.perform([this, report, goOn] {
      report();
      loop_.post(goOn);
    });
  }
}

void MemoryImageManager::finish(const std::shared_ptr<Job>& job) {
  if (!job->request.isVideo) {
    jobs_.erase(job->request.id);
    if (job->isOpportunistic() && !failureOf(*job)) held_.insert(job->cacheKey());
    answerImage(*job);
    return;
  }
  background_.perform([this, job] {
    if (!job->cancelled) answerVideo(*job);
    loop_.post([this, job] { jobs_.erase(job->request.id); });
  });
}

std::optional<PHImageInfo> MemoryImageManager::failureOf(const Job& job) const {
  PHImageInfo info;
  info.PHImageResultIsInCloudKey = job.script.inCloud;
  if (!job.asset || !library_.contents()->find(job.request.item)) {
    info.PHImageErrorKey = libraryError(PhotoLibraryErrorNotFound, "The item is gone");
  } else if (job.stopped) {
    info.PHImageErrorKey = libraryError(PhotoLibraryErrorCancelled, "The transfer was stopped");
  } else if (job.script.error) {
    info.PHImageErrorKey = job.script.error;
  } else if (job.script.inCloud && !job.networkAllowed()) {
    info.PHImageErrorKey = libraryError(PhotoLibraryErrorNetworkNotAllowed, "The original is not on this machine");
  } else if (!job.request.isVideo && job.script.stalls) {
    info.PHImageErrorKey = libraryError(PhotoLibraryErrorUnreadable, "The item does not answer");
  } else if (job.request.isVideo && !job.script.deliversWithoutVideoTrack &&
             (job.asset->mediaType != PHAssetMediaTypeVideo ||
              std::none_of(job.script.tracks.begin(), job.script.tracks.end(),
                           [](const AVAssetTrack& track) { return track.mediaType == AVMediaTypeVideo; }))) {
    info.PHImageErrorKey = libraryError(PhotoLibraryErrorUnsupported, "The item holds no video");
  } else {
    return std::nullopt;
  }
  return info;
}

void MemoryImageManager::answerImage(const Job& job) const {
  if (const auto failure = failureOf(job)) {
    job.imageHandler(nullptr, *failure);
    return;
  }
  const CGSize size =
      answeredSize({job.script.width, job.script.height}, job.request.targetSize, job.request.contentMode);
  PHImageInfo info;
  info.PHImageResultIsInCloudKey = job.script.inCloud;
  job.imageHandler(solidPicture(static_cast<std::size_t>(size.width), static_cast<std::size_t>(size.height),
                                job.script.colour, job.script.orientation),
                   info);
}

void MemoryImageManager::answerDegraded(const Job& job, bool withImage) {
  const CGSize size = answeredSize({job.script.width, job.script.height}, {40, 40}, job.request.contentMode);
  PHImageInfo info;
  info.PHImageResultIsDegradedKey = true;
  job.imageHandler(withImage ? solidPicture(static_cast<std::size_t>(size.width), static_cast<std::size_t>(size.height),
                                            job.script.colour, job.script.orientation)
                             : nullptr,
                   info);
}

void MemoryImageManager::answerVideo(const Job& job) const {
  if (const auto failure = failureOf(job)) {
    job.videoHandler(nullptr, nullptr, *failure);
    return;
  }
  PHImageInfo info;
  info.PHImageResultIsInCloudKey = job.script.inCloud;
  job.videoHandler(
      std::make_shared<const AVURLAsset>("memory:" + job.request.item.string(), job.script.tracks, job.asset->duration),
      nullptr, info);
}

void MemoryImageManager::cancelImageRequest(PHImageRequestID request) {
  cancelled_.push_back(request);
  auto job = jobs_.extract(request);
  if (!job.empty()) job.mapped()->cancelled = true;
}

void MemoryImageManager::startCachingImages(CacheClient client,
                                            const std::vector<std::shared_ptr<const PHAsset>>& assets,
                                            CGSize targetSize, PHImageContentMode contentMode,
                                            const PHImageRequestOptions& options) {
  cachingCalls_.push_back({CachingCall::Start, client, identifiersOf(assets), targetSize, contentMode, options});
  cachingCalls_.back().options.progressHandler = nullptr;
  if (targetSize.width <= 0 || targetSize.height <= 0) return;
  for (const auto& asset : assets) {
    const CacheKey key{asset->localIdentifier, targetSize.width, targetSize.height, contentMode};
    started_[client].insert(key);
    const ItemScript script = scriptOf(asset->localIdentifier);
    if (script.error || script.stalls || (script.inCloud && !options.networkAccessAllowed)) continue;
    loop_.start(script.seconds, false, [this, client, key] {
      if (started_[client].count(key)) held_.insert(key);
    });
  }
}

void MemoryImageManager::stopCachingImages(CacheClient client,
                                           const std::vector<std::shared_ptr<const PHAsset>>& assets, CGSize targetSize,
                                           PHImageContentMode contentMode) {
  cachingCalls_.push_back({CachingCall::Stop, client, identifiersOf(assets), targetSize, contentMode, {}});
  for (const auto& asset : assets) {
    const CacheKey key{asset->localIdentifier, targetSize.width, targetSize.height, contentMode};
    if (started_[client].erase(key)) held_.erase(key);
  }
}

void MemoryImageManager::stopCachingImagesForAllAssets(CacheClient client) {
  cachingCalls_.push_back({CachingCall::StopAll, client, {}, {}, PHImageContentModeAspectFit, {}});
  for (const CacheKey& key : started_[client]) held_.erase(key);
  started_.erase(client);
}

void MemoryImageManager::setScript(const Identifier& item, ItemScript script) {
  std::erase_if(held_, [&](const CacheKey& key) { return std::get<0>(key) == item; });
  std::lock_guard lock(mutex_);
  scripts_[item] = std::move(script);
}

void MemoryImageManager::setDefaultScript(ItemScript script) {
  held_.clear();
  std::lock_guard lock(mutex_);
  defaultScript_ = std::move(script);
}

void MemoryImageManager::release(const Identifier& item) {
  for (const auto& [id, job] : std::map(jobs_)) {
    if (job->request.item != item) continue;
    job->script = scriptOf(item);
    job->script.stalls = false;
    if (std::exchange(job->isStalled, false)) proceed(*job, job->hasProgressLeft() ? 0 : job->script.seconds);
  }
}

std::vector<MemoryImageManager::Request> MemoryImageManager::requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

std::vector<Identifier> MemoryImageManager::preheated() const {
  std::vector<Identifier> items;
  for (const auto& [client, keys] : started_) {
    std::transform(keys.begin(), keys.end(), std::back_inserter(items),
                   [](const CacheKey& key) { return std::get<0>(key); });
  }
  return items;
}

void MemoryImageManager::clear() {
  while (!jobs_.empty()) std::exchange(jobs_, {}).clear();
}

}  // namespace tlx::memory
