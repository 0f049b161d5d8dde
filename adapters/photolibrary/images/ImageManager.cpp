#include "adapters/photolibrary/images/ImageManager.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/FilePictures.h"
#include "adapters/photolibrary/images/ImageRequest.h"

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

}  // namespace

void ImageManager::name(Request& request, const std::shared_ptr<const PHAsset>& asset) {
  if (asset) {
    request.asked.identifier = asset->localIdentifier;
  } else {
    request.refused = libraryError(PhotoLibraryErrorNotFound, "no item was named");
  }
}

ImageManager::ImageManager(ItemStore& items, DecodersPort& decoders, PixelStore& pixels, MainQueuePort& mainQueue)
    : ImageManager(items, decoders, pixels, mainQueue, Settings()) {}

ImageManager::ImageManager(ItemStore& items, DecodersPort& decoders, PixelStore& pixels, MainQueuePort& mainQueue,
                           Settings settings)
    : items_(items),
      mainQueue_(mainQueue),
      decoders_(decoders),
      layers_(items, decoders, pixels, settings.thumbnailBytes, settings.largestThumbnail, std::move(settings.shared)),
      screenScale_(std::max(1.0, settings.screenScale)),
      alive_(std::make_shared<std::atomic<bool>>(true)),
      mostRecordBytes_(settings.recordBytes),
      fetchers_(settings.fetchers),
      workers_(workerCount(settings.workers), [this] { decoders_.leaveThread(); }) {}

ImageManager::~ImageManager() {
  stop();
}

void ImageManager::stop() {
  alive_->store(false);
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [id, request] : requests_) request->stop.request_stop();
    for (const auto& [key, preheated] : preheated_) preheated.request->stop.request_stop();
    for (const auto& table : making_) {
      for (const auto& [key, making] : table) making->abandoned.request_stop();
    }
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
  // What is elsewhere goes from the workers to the fetchers and back at most twice: for a preview, and for the
  // original.
  for (int round = 0; round < 2; ++round) {
    workers_.waitUntilIdle();
    fetchers_.waitUntilIdle();
  }
  workers_.waitUntilIdle();
}

PHImageRequestID ImageManager::requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize targetSize,
                                            PHImageContentMode contentMode, const PHImageRequestOptions& options,
                                            PHImageResultHandler handler) {
  auto request = std::make_shared<Request>();
  name(*request, asset);
  request->asked.target = targetSize;
  request->asked.mode = contentMode;
  request->key = request->asked;
  request->key.target = pixelTarget(targetSize, options);
  request->options = options;
  request->begun = items_.beginRequest(request->asked.identifier);
  {
    const std::lock_guard lock(mutex_);
    request->number = ++lastNumber_;
    request->id = ++lastId_;
  }
  const PHImageRequestID id = request->id;
  if (options.synchronous) {
    const bool atOnce = wantsPreview(options) && mainQueue_.isMainThread();
    const Answer answer = atOnce ? whatIsAtHand(*request) : makePicture(*request, {});
    if (handler) handler(answer.image, answer.info);
    return id;
  }
  if (options.deliveryMode == PHImageRequestOptionsDeliveryModeOpportunistic) {
    if (const auto image = layers_.inMemory(request->key)) {
      if (handler) handler(image, PHImageInfo());
      return id;
    }
  }
  request->imageHandler = std::make_shared<const PHImageResultHandler>(std::move(handler));
  {
    const std::lock_guard lock(mutex_);
    requests_[id] = request;
    asked_.emplace(request->asked, id);
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
  request->key = request->asked;
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

ImageManager::RequestRef ImageManager::take(PHImageRequestID id) {
  const auto found = requests_.find(id);
  if (found == requests_.end()) return nullptr;
  RequestRef request = std::move(found->second);
  requests_.erase(found);
  const auto [begin, end] = asked_.equal_range(request->asked);
  const auto asked = std::find_if(begin, end, [id](const auto& each) { return each.second == id; });
  if (asked != end) asked_.erase(asked);
  return request;
}

void ImageManager::cancelImageRequest(PHImageRequestID id) {
  RequestRef request;
  {
    const std::lock_guard lock(mutex_);
    request = take(id);
    if (!request) return;
    request->stop.request_stop();
    abandonUnwanted(*request);
  }
  withdraw(*request, {RequestQueue::Preview, RequestQueue::Picture, RequestQueue::Behind});
  request->imageHandler.reset();
  request->begun.reset();
}

void ImageManager::abandonUnwanted(const Request& request) {
  auto& table = making_[wantsPreview(request.options)];
  const auto found = table.find(request.key);
  if (found == table.end()) return;
  const auto& wanters = found->second->wanters;
  if (std::all_of(wanters.begin(), wanters.end(), [](const RequestRef& each) { return each->isCancelled(); })) {
    found->second->abandoned.request_stop();
  }
}

void ImageManager::withdraw(const Request& request, std::initializer_list<RequestQueue::Lane> lanes) {
  for (RequestQueue* queue : {&workers_, &fetchers_}) {
    for (const auto lane : lanes) queue->remove(lane, request.number);
  }
}

void ImageManager::enqueue(RequestQueue& queue, RequestQueue::Lane lane, const RequestRef& request, Stage stage) {
  if (request->behind) lane = RequestQueue::Behind;
  queue.add(lane, request->number, [this, request, stage] { (this->*stage)(request); });
}

void ImageManager::previewStage(const RequestRef& request) {
  if (request->isCancelled()) return deliver(request, {}, true);
  auto found = request->preview ? layers_.fromPreview(request->wanted(request->stop.get_token()), *request->preview)
                                : layers_.atHand(request->wanted(request->stop.get_token()), false);
  request->lookedAtHand = true;
  if (!found && sentForPreview(request, RequestQueue::Preview, &ImageManager::previewStage)) return;
  if (found) {
    const bool enough = found.isFinal || request->options.deliveryMode == PHImageRequestOptionsDeliveryModeFastFormat;
    Answer answer{std::move(found.image), {}};
    answer.info.PHImageErrorKey = std::move(found.error);
    answer.info.PHImageResultIsDegradedKey = !enough;
    deliver(request, std::move(answer), enough);
    if (enough) return;
  }
  enqueue(workers_, RequestQueue::Picture, request, &ImageManager::pictureStage);
}

void ImageManager::pictureStage(const RequestRef& request) {
  if (request->isCancelled()) return deliver(request, {}, true);
  if (sentToFetch(request, RequestQueue::Picture, &ImageManager::pictureStage)) return;
  makeForAll(request);
}

void ImageManager::makeForAll(const RequestRef& request) {
  const bool preheats = request->id == PHInvalidImageRequestID;
  if (!request->original && isElsewhere(request->key.identifier)) {
    // The reason why the original cannot be had belongs to this request alone: another may be allowed to fetch it.
    if (!preheats) deliver(request, makePicture(*request, request->stop.get_token()), true);
    return;
  }
  auto& table = making_[wantsPreview(request->options)];
  auto making = std::make_shared<Making>();
  making->wanters.push_back(request);
  {
    const std::lock_guard lock(mutex_);
    const auto [found, first] = table.try_emplace(request->key, making);
    if (!first) {
      found->second->wanters.push_back(request);
      return;
    }
  }
  const Answer answer = makePicture(*request, making->abandoned.get_token());
  {
    const std::lock_guard lock(mutex_);
    table.erase(request->key);
  }
  const bool abandoned = answer.info.PHImageErrorKey &&
                         answer.info.PHImageErrorKey->code == PhotoLibraryErrorCancelled &&
                         making->abandoned.stop_requested();
  for (const RequestRef& each : making->wanters) {
    if (abandoned && !each->isCancelled()) {
      // This one asked when the decoding had been cancelled already: it needs one of its own.
      const bool preheating = each->id == PHInvalidImageRequestID;
      enqueue(workers_, preheating ? RequestQueue::Preheat : RequestQueue::Picture, each,
              preheating ? &ImageManager::preheatStage : &ImageManager::pictureStage);
    } else if (each->id != PHInvalidImageRequestID) {
      deliver(each, each->isCancelled() ? Answer{} : answer, true);
    }
  }
}

bool ImageManager::isElsewhere(const Identifier& identifier) const {
  const auto located = items_.locate(identifier);
  const ItemLocation* item = std::get_if<ItemLocation>(&located);
  return item && item->path.empty();
}

void ImageManager::videoStage(const RequestRef& request) {
  if (!request->isCancelled() && sentToFetch(request, RequestQueue::Picture, &ImageManager::videoStage)) return;
  std::shared_ptr<const AVAsset> video;
  PHImageInfo info;
  auto fetched = request->isCancelled() ? libraryError(PhotoLibraryErrorCancelled, "cancelled") : fetch(*request);
  if (NSError* error = std::get_if<NSError>(&fetched)) {
    info = failure(std::move(*error), request->inCloud);
  } else {
    Original& original = std::get<Original>(fetched);
    auto probed = FilePictures(decoders_).tracks(original.path);
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
    if (!take(request->id)) return;
    handler = std::move(request->videoHandler);
  }
  if (handler && *handler) (*handler)(video, nullptr, info);
}

bool ImageManager::sentForPreview(const RequestRef& request, RequestQueue::Lane lane, Stage then) {
  if (request->askedForPreview || request->original || request->refused) return false;
  const auto located = items_.locate(request->key.identifier);
  const ItemLocation* item = std::get_if<ItemLocation>(&located);
  if (!item || !item->path.empty()) return false;
  request->askedForPreview = true;
  const PixelSize wanted = fittedSize({item->width, item->height}, request->key.target, request->key.mode);
  fetchers_.add(request->behind ? RequestQueue::Behind : lane, request->number, [this, request, lane, then, wanted] {
    auto fetched =
        items_.fetchPreview(request->key.identifier, std::max(wanted.width, wanted.height), request->stop.get_token());
    if (Preview* preview = std::get_if<Preview>(&fetched)) request->preview = std::move(*preview);
    enqueue(workers_, lane, request, then);
  });
  return true;
}

bool ImageManager::sentToFetch(const RequestRef& request, RequestQueue::Lane lane, Stage then) {
  if (request->original || request->refused || !request->options.networkAccessAllowed) return false;
  const auto located = items_.locate(request->key.identifier);
  const ItemLocation* item = std::get_if<ItemLocation>(&located);
  if (!item || !item->path.empty()) return false;
  request->inCloud = true;
  if (!request->videoHandler && wantsPreview(request->options) &&
      (isVideo(item->format) || item->bytes > largestForACell)) {
    request->refused = libraryError(PhotoLibraryErrorTooLarge, "more to fetch than a cell is worth");
    return false;
  }
  fetchers_.add(request->behind ? RequestQueue::Behind : lane, request->number, [this, request, lane, then] {
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
  options.stop = request.stop.get_token();
  if (request.options.progressHandler) {
    options.progress = [&request](double progress) {
      bool stop = false;
      request.options.progressHandler(progress, nullptr, &stop, PHImageInfo());
      return !stop;
    };
  }
  return items_.fetchOriginal(request.key.identifier, options);
}

ImageManager::Answer ImageManager::makePicture(Request& request, std::stop_token stop) {
  const auto answerOf = [](PictureLayers::Found found) {
    Answer answer{std::move(found.image), {}};
    answer.info.PHImageErrorKey = std::move(found.error);
    return answer;
  };
  if (request.refused) return {nullptr, failure(*request.refused, request.inCloud)};
  auto located = items_.locate(request.key.identifier);
  if (NSError* error = std::get_if<NSError>(&located)) return {nullptr, failure(std::move(*error))};
  const auto wanted = request.wanted(std::move(stop));
  if (wanted.thumbnail) {
    // Someone else may have made it since this request looked.
    if (auto image = layers_.inMemory(request.key)) return {std::move(image), {}};
    if (!request.lookedAtHand) {
      if (auto found = layers_.atHand(wanted, true)) return answerOf(std::move(found));
    }
  }
  request.inCloud = std::get<ItemLocation>(located).path.empty() && !request.original;
  auto fetched = fetch(request);
  if (NSError* error = std::get_if<NSError>(&fetched)) {
    return {nullptr, failure(std::move(*error), request.inCloud)};
  }
  std::optional<SharedThumbnails::Record> record;
  auto found = layers_.decode(wanted, std::get<Original>(fetched).path, record);
  if (record) recordLater(std::move(*record));
  return answerOf(std::move(found));
}

ImageManager::Answer ImageManager::whatIsAtHand(const Request& request) {
  if (request.refused) return {nullptr, failure(*request.refused)};
  auto located = items_.locate(request.key.identifier);
  if (NSError* error = std::get_if<NSError>(&located)) return {nullptr, failure(std::move(*error))};
  auto wanted = request.wanted({});
  wanted.atOnce = true;
  auto found = layers_.atHand(wanted, false);
  Answer answer{std::move(found.image), {}};
  answer.info.PHImageResultIsDegradedKey = !found.error && !(answer.image && found.isFinal);
  answer.info.PHImageErrorKey = std::move(found.error);
  answer.info.PHImageResultIsInCloudKey = std::get<ItemLocation>(located).path.empty();
  return answer;
}

void ImageManager::recordLater(SharedThumbnails::Record record) {
  const std::int64_t bytes = record.bytes();
  // Without room for it now, the thumbnail is written when the picture is next decoded.
  if (recordBytes_ + bytes > mostRecordBytes_) return;
  recordBytes_ += bytes;
  std::int64_t number = 0;
  {
    const std::lock_guard lock(mutex_);
    number = ++lastRecord_;
  }
  workers_.add(RequestQueue::Record, number, [this, bytes, record = std::move(record)] {
    layers_.shared().write(record);
    recordBytes_ -= bytes;
  });
}

void ImageManager::deliver(RequestRef request, Answer answer, bool final) {
  mainQueue_.post([this, alive = alive_, request = std::move(request), answer = std::move(answer), final] {
    if (!*alive) return;
    const auto handler = request->imageHandler;
    if (final) {
      // The worker needs them no more; whatever their closures own is destroyed here, on the main thread.
      request->imageHandler.reset();
      request->options.progressHandler = nullptr;
    }
    if (request->isCancelled()) return;
    if (final) {
      const std::lock_guard lock(mutex_);
      take(request->id);
    }
    if (handler && *handler) (*handler)(answer.image, answer.info);
    if (final) request->begun.reset();
  });
}

}  // namespace tlx::photolibrary
