#include "adapters/memory/LibraryContents.h"

#include <algorithm>
#include <unordered_set>

#include "tlx/platform/NSException.h"

namespace tlx::memory {
namespace {

[[noreturn]] void refuse(const std::string& reason) {
  throw NSException(NSInvalidArgumentException, reason);
}

}  // namespace

PHAsset photo(Identifier identifier, double creationDate) {
  return {PHAssetMediaTypeImage, std::move(identifier), 0, creationDate};
}

PHAsset video(Identifier identifier, double creationDate, double duration) {
  return {PHAssetMediaTypeVideo, std::move(identifier), duration, creationDate};
}

Identifier LibraryContents::addSmartAlbum(const std::string& title, const std::vector<PHAsset>& items) {
  return addAlbum(PHAssetCollectionTypeSmartAlbum, title, items);
}

Identifier LibraryContents::addUserAlbum(const std::string& title, const std::vector<PHAsset>& items) {
  return addAlbum(PHAssetCollectionTypeAlbum, title, items);
}

Identifier LibraryContents::addAlbum(PHAssetCollectionType type, const std::string& title,
                                     const std::vector<PHAsset>& items) {
  Identifier identifier = title;
  for (int number = 2; findAlbum(identifier); ++number) identifier = title + " " + std::to_string(number);
  albums_.push_back({{type, identifier, title}, {}});
  albums_.back().items.reserve(items.size());
  std::unordered_set<Identifier> held;
  for (const PHAsset& item : items) {
    if (!items_.count(item.localIdentifier)) add(item);
    if (held.insert(item.localIdentifier).second) albums_.back().items.push_back(item.localIdentifier);
  }
  return identifier;
}

void LibraryContents::add(const PHAsset& item, const std::vector<Identifier>& albums) {
  items_[item.localIdentifier] = std::make_shared<const PHAsset>(item);
  for (const Identifier& identifier : albums) {
    auto& items = album(identifier).items;
    if (std::find(items.begin(), items.end(), item.localIdentifier) == items.end())
      items.push_back(item.localIdentifier);
  }
}

void LibraryContents::remove(const std::vector<Identifier>& items) {
  std::unordered_set<Identifier> removed;
  for (const Identifier& item : items) {
    if (items_.erase(item) == 0) refuse("No item " + item.string());
    removed.insert(item);
  }
  for (Album& each : albums_) {
    std::erase_if(each.items, [&](const Identifier& item) { return removed.count(item) != 0; });
  }
}

void LibraryContents::removeAlbum(const Identifier& identifier) {
  album(identifier);
  std::erase_if(albums_, [&](const Album& each) { return each.collection.localIdentifier == identifier; });
}

void LibraryContents::renameAlbum(const Identifier& identifier, const std::string& title) {
  album(identifier).collection.localizedTitle = title;
}

std::shared_ptr<const PHAsset> LibraryContents::find(const Identifier& item) const {
  auto found = items_.find(item);
  return found == items_.end() ? nullptr : found->second;
}

const LibraryContents::Album* LibraryContents::findAlbum(const Identifier& identifier) const {
  auto found = std::find_if(albums_.begin(), albums_.end(),
                            [&](const Album& each) { return each.collection.localIdentifier == identifier; });
  return found == albums_.end() ? nullptr : &*found;
}

LibraryContents::Album& LibraryContents::album(const Identifier& identifier) {
  if (const Album* found = findAlbum(identifier)) return const_cast<Album&>(*found);
  refuse("No album " + identifier.string());
}

std::vector<std::shared_ptr<const PHAsset>> LibraryContents::fetch(const Identifier& identifier,
                                                                   const PHFetchOptions& options) const {
  std::vector<std::shared_ptr<const PHAsset>> found;
  const Album* album = findAlbum(identifier);
  if (!album) return found;
  if (options.predicate() && options.predicate()->format != "mediaType = %d") {
    refuse("Unknown predicate " + options.predicate()->format);
  }
  found.reserve(album->items.size());
  for (const Identifier& item : album->items) {
    auto asset = find(item);
    if (!options.predicate() || asset->mediaType == options.predicate()->argument) found.push_back(std::move(asset));
  }
  // From the least significant key to the most significant one, each pass keeping the order of the one before.
  for (auto key = options.sortDescriptors().rbegin(); key != options.sortDescriptors().rend(); ++key) {
    if (key->key != "creationDate") refuse("Unknown sort key " + key->key);
    std::stable_sort(found.begin(), found.end(), [ascending = key->ascending](const auto& a, const auto& b) {
      return ascending ? a->creationDate < b->creationDate : b->creationDate < a->creationDate;
    });
  }
  return found;
}

}  // namespace tlx::memory
