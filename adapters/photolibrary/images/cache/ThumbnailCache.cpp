#include "adapters/photolibrary/images/cache/ThumbnailCache.h"

#include <functional>
#include <utility>

namespace tlx::photolibrary {
namespace {

std::size_t bytesOf(const UIImage& image) {
  return image.bitmap() ? image.bitmap()->byteCount() : 0;
}

}  // namespace

std::size_t ThumbnailKeyHash::operator()(const ThumbnailKey& key) const noexcept {
  const std::hash<double> number;
  std::size_t hash = key.identifier.hash();
  for (const std::size_t part :
       {number(key.target.width), number(key.target.height), static_cast<std::size_t>(key.mode)}) {
    hash = hash * 1099511628211u ^ part;
  }
  return hash;
}

std::shared_ptr<const UIImage> ThumbnailCache::find(const ThumbnailKey& key, FileVersion version) {
  const std::lock_guard lock(mutex_);
  const auto found = byKey_.find(key);
  if (found == byKey_.end()) return nullptr;
  if (found->second->version != version) {
    erase(found->second);
    return nullptr;
  }
  entries_.splice(entries_.begin(), entries_, found->second);
  return found->second->image;
}

void ThumbnailCache::insert(const ThumbnailKey& key, FileVersion version, std::shared_ptr<const UIImage> image) {
  const std::size_t size = bytesOf(*image);
  if (size >= largest_) return;
  const std::lock_guard lock(mutex_);
  if (const auto found = byKey_.find(key); found != byKey_.end()) erase(found->second);
  entries_.push_front({key, version, std::move(image)});
  byKey_[key] = entries_.begin();
  bytes_ += size;
  while (bytes_ > limit_) erase(std::prev(entries_.end()));
}

void ThumbnailCache::age(const ThumbnailKey& key) {
  const std::lock_guard lock(mutex_);
  if (const auto found = byKey_.find(key); found != byKey_.end()) {
    entries_.splice(entries_.end(), entries_, found->second);
  }
}

std::size_t ThumbnailCache::bytes() const {
  const std::lock_guard lock(mutex_);
  return bytes_;
}

void ThumbnailCache::erase(Entries::iterator entry) {
  bytes_ -= bytesOf(*entry->image);
  byKey_.erase(entry->key);
  entries_.erase(entry);
}

}  // namespace tlx::photolibrary
