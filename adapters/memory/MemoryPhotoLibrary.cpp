#include "adapters/memory/MemoryPhotoLibrary.h"

#include <algorithm>
#include <map>

namespace tlx::memory {

/// Which question each fetch result of this library answered. Shared with the changes; any thread.
struct MemoryPhotoLibrary::Origins {
  struct Origin {
    std::weak_ptr<const PHFetchResult<PHAsset>> result;
    std::function<std::vector<std::shared_ptr<const PHAsset>>(const LibraryContents&)> ask;
  };

  std::shared_ptr<const PHFetchResult<PHAsset>> remember(
      const LibraryContents& contents,
      std::function<std::vector<std::shared_ptr<const PHAsset>>(const LibraryContents&)> ask) {
    auto result = std::make_shared<const PHFetchResult<PHAsset>>(ask(contents));
    std::lock_guard lock(mutex);
    std::erase_if(origins, [](const auto& entry) { return entry.second.result.expired(); });
    origins[result.get()] = {result, std::move(ask)};
    return result;
  }

  std::optional<Origin> find(const std::shared_ptr<const PHFetchResult<PHAsset>>& result) {
    std::lock_guard lock(mutex);
    auto found = origins.find(result.get());
    if (found == origins.end() || found->second.result.lock() != result) return std::nullopt;
    return found->second;
  }

  std::mutex mutex;
  std::map<const void*, Origin> origins;
};

class MemoryPhotoLibrary::Change final : public PHChange {
 public:
  Change(std::uint64_t place, std::shared_ptr<const LibraryContents> after, std::shared_ptr<Origins> origins)
      : number(place), after_(std::move(after)), origins_(std::move(origins)) {}

  const std::uint64_t number;  ///< the first is 1

  std::shared_ptr<const PHFetchResultChangeDetails> changeDetailsForFetchResult(
      const std::shared_ptr<const PHFetchResult<PHAsset>>& result) const override {
    if (!result) return nullptr;
    const auto origin = origins_->find(result);
    if (!origin) return nullptr;
    auto after = origins_->remember(*after_, origin->ask);
    const bool same =
        std::equal(result->begin(), result->end(), after->begin(), after->end(), [](const auto& a, const auto& b) {
          return a->localIdentifier == b->localIdentifier && a->mediaType == b->mediaType &&
                 a->creationDate == b->creationDate && a->duration == b->duration;
        });
    if (same) return nullptr;
    return std::make_shared<const PHFetchResultChangeDetails>(PHFetchResultChangeDetails{result, std::move(after)});
  }

 private:
  std::shared_ptr<const LibraryContents> after_;
  std::shared_ptr<Origins> origins_;
};

MemoryPhotoLibrary::MemoryPhotoLibrary(Background& background)
    : background_(background), origins_(std::make_shared<Origins>()) {}

MemoryPhotoLibrary::~MemoryPhotoLibrary() = default;

void MemoryPhotoLibrary::requestAuthorization(AuthorizationHandler handler) {
  {
    std::lock_guard lock(mutex_);
    if (status_ != PHAuthorizationStatusNotDetermined) {
      background_.perform([this, handler = std::move(handler)] { handler(status_); });
      return;
    }
    waitingForPrompt_.push_back(std::move(handler));
    if (std::exchange(promptIsOpen_, true)) return;
  }
  ++promptCount_;
  if (promptAnswer_) answerPrompt(*promptAnswer_);
}

void MemoryPhotoLibrary::answerPrompt(PHAuthorizationStatus status) {
  // The status changes where the handlers are called, so that whoever asked has left this call by then.
  background_.perform([this, status] {
    std::vector<AuthorizationHandler> handlers;
    {
      std::lock_guard lock(mutex_);
      status_ = status;
      promptIsOpen_ = false;
      handlers.swap(waitingForPrompt_);
    }
    for (const auto& handler : handlers) handler(status);
  });
}

std::shared_ptr<const PHFetchResult<PHAssetCollection>> MemoryPhotoLibrary::fetchAssetCollections(
    PHAssetCollectionType type, PHAssetCollectionSubtype) {
  std::vector<std::shared_ptr<const PHAssetCollection>> found;
  if (status_ == PHAuthorizationStatusAuthorized) {
    const auto contents = seen();
    for (const auto& album : contents->albums()) {
      if (album.collection.assetCollectionType == type) {
        found.push_back(std::make_shared<const PHAssetCollection>(album.collection));
      }
    }
  }
  return std::make_shared<const PHFetchResult<PHAssetCollection>>(std::move(found));
}

std::shared_ptr<const PHFetchResult<PHAsset>> MemoryPhotoLibrary::fetchAssets(const PHAssetCollection& collection,
                                                                              const PHFetchOptions& options) {
  ++assetFetchCount_;
  if (status_ != PHAuthorizationStatusAuthorized) return std::make_shared<const PHFetchResult<PHAsset>>();
  auto& answers = fetched_[collection.localIdentifier];
  for (const auto& [asked, answer] : answers) {
    if (asked == options) return answer;
  }
  answers.emplace_back(
      options, origins_->remember(*seen(), [album = collection.localIdentifier, options](const LibraryContents& in) {
        return in.fetch(album, options);
      }));
  return answers.back().second;
}

std::shared_ptr<const PHFetchResult<PHAsset>> MemoryPhotoLibrary::fetchAssetsWithLocalIdentifiers(
    const std::vector<Identifier>& identifiers) {
  if (status_ != PHAuthorizationStatusAuthorized) return std::make_shared<const PHFetchResult<PHAsset>>();
  return origins_->remember(*seen(), [identifiers](const LibraryContents& in) {
    std::vector<std::shared_ptr<const PHAsset>> found;
    for (const Identifier& identifier : identifiers) {
      if (auto asset = in.find(identifier)) found.push_back(std::move(asset));
    }
    return found;
  });
}

void MemoryPhotoLibrary::setChangeHandler(ChangeHandler handler) {
  auto next = handler ? std::make_shared<const ChangeHandler>(std::move(handler)) : nullptr;
  std::unique_lock lock(handlerMutex_);
  handler_.swap(next);
  // A handler that replaces itself cannot be waited for.
  handlerIdle_.wait(lock, [this] { return !handlerRuns_ || handlerThread_ == std::this_thread::get_id(); });
  const bool listens = handler_ != nullptr;
  lock.unlock();  // the old handler goes with `next`, outside the lock
  if (!listens) return;
  {
    std::lock_guard contentsLock(mutex_);
    const auto unheard = std::exchange(unheard_, nullptr);
    if (!unheard || !changesSeen_ || unheard->number <= *changesSeen_) return;
    undelivered_.push_front(unheard);
  }
  background_.perform([this] { deliverNextChange(); });
}

void MemoryPhotoLibrary::performChanges(std::vector<PHAssetCreation> creations, ChangesHandler completion) {
  std::optional<NSError> error = saveError_;
  for (const auto& creation : creations) {
    if (!creation.image && !creation.video) {
      error = NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorUnsupported, "There is nothing to save."};
    }
  }
  if (error) {
    background_.perform([completion = std::move(completion), error] { completion(false, error); });
    return;
  }
  changeQuietly([&](LibraryContents& contents) {
    if (!contents.findAlbum("Camera")) contents.addUserAlbum("Camera");
    std::vector<Identifier> albums{"Camera"};
    for (const auto& album : contents.albums()) {
      if (album.collection.assetCollectionType != PHAssetCollectionTypeSmartAlbum) continue;
      albums.push_back(album.collection.localIdentifier);
      break;
    }
    for (const auto& creation : creations) {
      const Identifier identifier = "saved " + std::to_string(++saveCount_);
      const double date = creation.creationDate.value_or(0);
      contents.add(creation.image ? photo(identifier, date) : video(identifier, date, creation.video->duration),
                   albums);
      creation.placeholder->setLocalIdentifier(identifier);
      if (creation.image) lastSaved_ = creation.image;
    }
  });
  background_.perform([this, completion = std::move(completion), tells = tellsOfSaves_] {
    completion(true, std::nullopt);
    if (tells) deliverNextChange();
  });
}

void MemoryPhotoLibrary::edit(const Edit& edit) {
  auto next = std::make_shared<LibraryContents>(*contents());
  edit(*next);
  fetched_.clear();
  std::lock_guard lock(mutex_);
  contents_ = std::move(next);
}

void MemoryPhotoLibrary::changeQuietly(const Edit& change) {
  edit(change);
  std::lock_guard lock(mutex_);
  undelivered_.push_back(std::make_shared<const Change>(++changes_, contents_, origins_));
}

void MemoryPhotoLibrary::changeAccess(PHAuthorizationStatus status) {
  status_ = status;
  fetched_.clear();
  {
    std::lock_guard lock(mutex_);
    const bool any = status == PHAuthorizationStatusAuthorized;
    undelivered_.push_back(std::make_shared<const Change>(
        ++changes_, any ? contents_ : std::make_shared<const LibraryContents>(), origins_));
  }
  background_.perform([this] { deliverNextChange(); });
}

void MemoryPhotoLibrary::change(const Edit& edit) {
  changeQuietly(edit);
  background_.perform([this] { deliverNextChange(); });
}

bool MemoryPhotoLibrary::deliverNextChange() {
  std::shared_ptr<const ChangeHandler> handler;
  {
    // One change after the other, also when several threads deliver.
    std::unique_lock lock(handlerMutex_);
    handlerIdle_.wait(lock, [this] { return !handlerRuns_; });
    handlerRuns_ = true;
    handlerThread_ = std::this_thread::get_id();
    handler = handler_;
  }
  std::shared_ptr<const Change> next;
  {
    std::lock_guard lock(mutex_);
    if (!undelivered_.empty()) {
      next = std::move(undelivered_.front());
      undelivered_.pop_front();
      if (!handler) unheard_ = next;
    }
  }
  struct Leave {
    ~Leave() {
      std::lock_guard lock(library.handlerMutex_);
      library.handlerRuns_ = false;
      library.handlerIdle_.notify_all();
    }
    MemoryPhotoLibrary& library;
  } leave{*this};
  if (next && handler) (*handler)(next);
  return next != nullptr;
}

void MemoryPhotoLibrary::clear() {
  std::vector<AuthorizationHandler> dropped;
  std::lock_guard lock(mutex_);
  dropped.swap(waitingForPrompt_);
}

std::shared_ptr<const LibraryContents> MemoryPhotoLibrary::seen() {
  std::lock_guard lock(mutex_);
  changesSeen_ = changes_;
  return contents_;
}

std::shared_ptr<const LibraryContents> MemoryPhotoLibrary::contents() const {
  std::lock_guard lock(mutex_);
  return contents_;
}

}  // namespace tlx::memory
