#include "adapters/photolibrary/images/ImageManager.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <utility>

#include "adapters/photolibrary/images/LibraryError.h"

namespace tlx::photolibrary {
namespace {

unsigned workerCount(unsigned wanted) {
  return wanted > 0 ? wanted : std::max(1u, std::thread::hardware_concurrency());
}

PHImageInfo failure(NSError error, bool inCloud = false) {
  PHImageInfo info;
  info.PHImageErrorKey = std::move(error);
  info.PHImageResultIsInCloudKey = inCloud;
  return info;
}

bool wantsPreview(const PHImageRequestOptions& options) {
  return options.deliveryMode == PHImageRequestOptionsDeliveryModeOpportunistic ||
         options.deliveryMode == PHImageRequestOptionsDeliveryModeFastFormat;
}

/// Damaged files reach deep into other people's code; what that throws is an answer like any other.
template <class Make>
Picture guarded(Make make) {
  try {
    return make();
  } catch (const std::bad_alloc&) {
    return libraryError(PhotoLibraryErrorNoSpace, "no memory for a picture");
  } catch (const std::exception& error) {
    return libraryError(PhotoLibraryErrorDamaged, error.what());
  }
}

}  // namespace

struct ImageManager::Request {
  PHImageRequestID id = PHInvalidImageRequestID;
  std::int64_t number = 0;  // its place in the queue
  ThumbnailKey key;
  PHImageRequestOptions options;  // of a video request as far as they are the same
  /// Touched on the main thread only for image requests, so that what they keep dies there.
  std::shared_ptr<const PHImageResultHandler> imageHandler;
  std::shared_ptr<const PHVideoResultHandler> videoHandler;
  std::atomic<bool> cancelled{false};
  std::optional<Original> original;  // once it has come from elsewhere
  std::optional<NSError> refused;    // why there will be none
  bool inCloud = false;
  bool previewed = false;  // the embedded picture has been looked for

  ImageDecoder::Request decoding() const { return {key.target, key.mode, &cancelled}; }
};

void ImageManager::name(Request& request, const std::shared_ptr<const PHAsset>& asset) {
  if (asset) {
    request.key.identifier = asset->localIdentifier;
  } else {
    request.refused = libraryError(PhotoLibraryErrorNotFound, "no item was named");
  }
}

struct ImageManager::Preheated {
  RequestRef request;
  std::set<CacheClient> clients;
};

struct ImageManager::Answer {
  std::shared_ptr<const UIImage> image;
  PHImageInfo info;
};

struct ImageManager::Embedded {
  std::shared_ptr<const UIImage> image;
  bool covers = false;  // as good as what decoding the photo would give at this size
};

ImageManager::ImageManager(ItemStore& items, MainQueuePort& mainQueue) : ImageManager(items, mainQueue, Settings()) {}

ImageManager::ImageManager(ItemStore& items, MainQueuePort& mainQueue, Settings settings)
    : items_(items),
      mainQueue_(mainQueue),
      pixels_(settings.pixelFolder, settings.pixels),
      decoder_(pixels_),
      thumbnails_(settings.thumbnailBytes, settings.largestThumbnail),
      screenScale_(std::max(1.0, settings.screenScale)),
      alive_(std::make_shared<std::atomic<bool>>(true)),
      fetchers_(settings.fetchers),
      workers_(workerCount(settings.workers), &ImageDecoder::leaveThread) {}

ImageManager::~ImageManager() {
  stop();
}

void ImageManager::stop() {
  alive_->store(false);
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [id, request] : requests_) request->cancelled = true;
    for (const auto& [key, preheated] : preheated_) preheated.request->cancelled = true;
  }
  fetchers_.stop();
  workers_.stop();
}

void ImageManager::setScreenScale(double scale) {
  screenScale_ = std::max(1.0, scale);
}

CGSize ImageManager::pixelTarget(CGSize target, const PHImageRequestOptions& options) const {
  const bool inACell = wantsPreview(options) && options.resizeMode != PHImageRequestOptionsResizeModeExact &&
                       target.width <= largestCell && target.height <= largestCell;
  const double scale = inACell ? screenScale_.load() : 1;
  return {target.width * scale, target.height * scale};
}

void ImageManager::waitUntilIdle() {
  // Work goes from the fetchers to the workers and back at most once.
  workers_.waitUntilIdle();
  fetchers_.waitUntilIdle();
  workers_.waitUntilIdle();
}

PHImageRequestID ImageManager::requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize targetSize,
                                            PHImageContentMode contentMode, const PHImageRequestOptions& options,
                                            PHImageResultHandler handler) {
  auto request = std::make_shared<Request>();
  name(*request, asset);
  request->key.target = pixelTarget(targetSize, options);
  request->key.mode = contentMode;
  request->options = options;
  {
    const std::lock_guard lock(mutex_);
    request->number = ++lastNumber_;
    request->id = ++lastId_;
  }
  const PHImageRequestID id = request->id;
  if (options.synchronous) {
    const Answer answer = makePicture(*request);
    if (handler) handler(answer.image, answer.info);
    return id;
  }
  if (options.deliveryMode == PHImageRequestOptionsDeliveryModeOpportunistic) {
    if (const auto image = cached(request->key)) {
      if (handler) handler(image, PHImageInfo());
      return id;
    }
  }
  request->imageHandler = std::make_shared<const PHImageResultHandler>(std::move(handler));
  {
    const std::lock_guard lock(mutex_);
    requests_[id] = request;
  }
  if (wantsPreview(options)) {
    enqueue(workers_, RequestQueue::Preview, request, &ImageManager::previewStage);
  } else {
    enqueue(workers_, RequestQueue::Picture, request, &ImageManager::pictureStage);
  }
  return id;
}

PHImageRequestID ImageManager::requestAVAsset(const std::shared_ptr<const PHAsset>& asset,
                                              const PHVideoRequestOptions& options, PHVideoResultHandler handler) {
  auto request = std::make_shared<Request>();
  name(*request, asset);
  request->options.networkAccessAllowed = options.networkAccessAllowed;
  request->options.progressHandler = options.progressHandler;
  request->videoHandler = std::make_shared<const PHVideoResultHandler>(std::move(handler));
  {
    const std::lock_guard lock(mutex_);
    request->number = ++lastNumber_;
    request->id = ++lastId_;
    requests_[request->id] = request;
  }
  const PHImageRequestID id = request->id;
  enqueue(workers_, RequestQueue::Picture, request, &ImageManager::videoStage);
  return id;
}

void ImageManager::cancelImageRequest(PHImageRequestID id) {
  RequestRef request;
  {
    const std::lock_guard lock(mutex_);
    const auto found = requests_.find(id);
    if (found == requests_.end()) return;
    request = std::move(found->second);
    requests_.erase(found);
  }
  request->cancelled = true;
  withdraw(*request, {RequestQueue::Preview, RequestQueue::Picture});
  request->imageHandler.reset();
}

void ImageManager::withdraw(const Request& request, std::initializer_list<RequestQueue::Lane> lanes) {
  for (RequestQueue* queue : {&workers_, &fetchers_}) {
    for (const auto lane : lanes) queue->remove(lane, request.number);
  }
}

void ImageManager::enqueue(RequestQueue& queue, RequestQueue::Lane lane, const RequestRef& request, Stage stage) {
  queue.add(lane, request->number, [this, request, stage] { (this->*stage)(request); });
}

ImageManager::Embedded ImageManager::embedded(Request& request, bool onlyIfItCovers) {
  request.previewed = true;
  const auto located = items_.locate(request.key.identifier);
  const ItemLocation* item = std::get_if<ItemLocation>(&located);
  if (!item || item->path.empty()) return {};
  // Only these containers' embedded pictures are made with the photo and kept with it, and decoding the photo itself
  // takes a hundred times as long.
  const bool isTrue = item->format == MediaFormat::Heic || item->format == MediaFormat::Avif;
  if (onlyIfItCovers && !isTrue) return {};
  const Picture picture = guarded([&] { return decoder_.decodeEmbedded(item->path, request.decoding()); });
  const auto* bitmap = std::get_if<std::shared_ptr<const CGImage>>(&picture);
  if (!bitmap) return {};
  const PixelSize wanted = fittedSize({item->width, item->height}, request.key.target, request.key.mode);
  const PixelSize made{static_cast<std::int32_t>((*bitmap)->width()), static_cast<std::int32_t>((*bitmap)->height())};
  Embedded answer{std::make_shared<const UIImage>(*bitmap), isTrue && made == wanted};
  if (answer.covers) thumbnails_.insert(request.key, {item->modified, item->bytes}, answer.image);
  return answer;
}

void ImageManager::previewStage(const RequestRef& request) {
  if (const auto image = cached(request->key)) return deliver(request, {image, {}}, true);
  const Embedded quick = embedded(*request, false);
  const bool enough = quick.covers || request->options.deliveryMode == PHImageRequestOptionsDeliveryModeFastFormat;
  if (quick.image) {
    Answer answer{quick.image, {}};
    answer.info.PHImageResultIsDegradedKey = !enough;
    deliver(request, std::move(answer), enough);
    if (enough) return;
  }
  enqueue(workers_, RequestQueue::Picture, request, &ImageManager::pictureStage);
}

void ImageManager::pictureStage(const RequestRef& request) {
  if (!request->cancelled && sentToFetch(request, RequestQueue::Picture, &ImageManager::pictureStage)) return;
  Answer answer;
  if (!request->cancelled) answer = makePicture(*request);
  deliver(request, std::move(answer), true);
}

void ImageManager::preheatStage(const RequestRef& request) {
  if (request->cancelled || cached(request->key)) return;
  if (sentToFetch(request, RequestQueue::Preheat, &ImageManager::preheatStage)) return;
  makePicture(*request);
}

void ImageManager::videoStage(const RequestRef& request) {
  if (!request->cancelled && sentToFetch(request, RequestQueue::Picture, &ImageManager::videoStage)) return;
  std::shared_ptr<const AVAsset> video;
  PHImageInfo info;
  auto fetched = request->cancelled ? libraryError(PhotoLibraryErrorCancelled, "cancelled") : fetch(*request);
  if (NSError* error = std::get_if<NSError>(&fetched)) {
    info = failure(std::move(*error), request->inCloud);
  } else {
    Original& original = std::get<Original>(fetched);
    auto probed = probeVideo(original.path);
    if (NSError* unreadable = std::get_if<NSError>(&probed)) {
      info = failure(std::move(*unreadable));
    } else {
      VideoInfo& content = std::get<VideoInfo>(probed);
      auto playable = std::make_shared<const AVURLAsset>(original.path, std::move(content.tracks), content.duration,
                                                         original.owner);
      if (playable->tracksWithMediaType(AVMediaTypeVideo).empty()) {
        info = failure(libraryError(PhotoLibraryErrorUnsupported, original.path + ": no video track"));
      } else {
        video = std::move(playable);
      }
    }
  }
  std::shared_ptr<const PHVideoResultHandler> handler;
  {
    const std::lock_guard lock(mutex_);
    const auto found = requests_.find(request->id);
    if (found == requests_.end() || request->cancelled) return;
    handler = std::move(request->videoHandler);
    requests_.erase(found);
  }
  if (handler && *handler) (*handler)(video, nullptr, info);
}

bool ImageManager::sentToFetch(const RequestRef& request, RequestQueue::Lane lane, Stage then) {
  if (request->original || request->refused || !request->options.networkAccessAllowed) return false;
  const auto located = items_.locate(request->key.identifier);
  const ItemLocation* item = std::get_if<ItemLocation>(&located);
  if (!item || !item->path.empty()) return false;
  request->inCloud = true;
  fetchers_.add(lane, request->number, [this, request, lane, then] {
    auto fetched = fetch(*request);
    if (Original* original = std::get_if<Original>(&fetched)) {
      request->original = std::move(*original);
    } else {
      request->refused = std::get<NSError>(std::move(fetched));
    }
    enqueue(workers_, lane, request, then);
  });
  return true;
}

std::variant<Original, NSError> ImageManager::fetch(Request& request) {
  if (request.original) return *request.original;
  if (request.refused) return *request.refused;
  ItemStore::FetchOptions options;
  options.networkAccessAllowed = request.options.networkAccessAllowed;
  options.cancelled = [&request] { return request.cancelled.load(); };
  if (request.options.progressHandler) {
    options.progress = [&request](double progress) {
      bool stop = false;
      request.options.progressHandler(progress, nullptr, &stop, PHImageInfo());
      return !stop;
    };
  }
  return items_.fetchOriginal(request.key.identifier, options);
}

std::shared_ptr<const UIImage> ImageManager::cached(const ThumbnailKey& key) {
  const auto located = items_.locate(key.identifier);
  const ItemLocation* item = std::get_if<ItemLocation>(&located);
  return item ? thumbnails_.find(key, {item->modified, item->bytes}) : nullptr;
}

ImageManager::Answer ImageManager::makePicture(Request& request) {
  if (request.refused) return {nullptr, failure(*request.refused, request.inCloud)};
  auto located = items_.locate(request.key.identifier);
  if (NSError* error = std::get_if<NSError>(&located)) return {nullptr, failure(std::move(*error))};
  const ItemLocation& item = std::get<ItemLocation>(located);
  const FileVersion version{item.modified, item.bytes};
  if (wantsPreview(request.options)) {
    if (const auto image = thumbnails_.find(request.key, version)) return {image, {}};
    if (!request.previewed) {
      if (Embedded quick = embedded(request, true); quick.covers) return {std::move(quick.image), {}};
    }
  }
  request.inCloud = item.path.empty() && !request.original;
  auto fetched = fetch(request);
  if (NSError* error = std::get_if<NSError>(&fetched)) {
    return {nullptr, failure(std::move(*error), request.inCloud)};
  }
  Picture picture = guarded([&] { return decoder_.decode(std::get<Original>(fetched).path, request.decoding()); });
  if (NSError* error = std::get_if<NSError>(&picture)) return {nullptr, failure(std::move(*error))};
  auto image = std::make_shared<const UIImage>(std::get<0>(std::move(picture)));
  thumbnails_.insert(request.key, version, image);
  return {std::move(image), {}};
}

void ImageManager::deliver(RequestRef request, Answer answer, bool final) {
  mainQueue_.post([this, alive = alive_, request = std::move(request), answer = std::move(answer), final] {
    if (!*alive) return;
    const auto handler = request->imageHandler;
    if (final) {
      // The worker is through with them, and what they keep is to die here.
      request->imageHandler.reset();
      request->options.progressHandler = nullptr;
    }
    if (request->cancelled) return;
    if (final) {
      const std::lock_guard lock(mutex_);
      requests_.erase(request->id);
    }
    if (handler && *handler) (*handler)(answer.image, answer.info);
  });
}

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
      preheated.request->key = key;
      preheated.request->key.target = pixelTarget(targetSize, options);
      preheated.request->options = options;
      fresh.push_back(preheated.request);
    }
  }
  for (const RequestRef& request : fresh) {
    enqueue(workers_, RequestQueue::Preheat, request, &ImageManager::preheatStage);
  }
}

void ImageManager::release(CacheClient client, const ThumbnailKey& key) {
  RequestRef request;
  {
    const std::lock_guard lock(mutex_);
    const auto found = preheated_.find(key);
    if (found == preheated_.end() || found->second.clients.erase(client) == 0) return;
    if (!found->second.clients.empty()) return;
    request = std::move(found->second.request);
    preheated_.erase(found);
  }
  request->cancelled = true;
  withdraw(*request, {RequestQueue::Preheat});
  thumbnails_.age(request->key);
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

}  // namespace tlx::photolibrary
