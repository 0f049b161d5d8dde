#include "adapters/photolibrary/catalogue/Snapshot.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>

#include "adapters/photolibrary/catalogue/Albums.h"

namespace tlx::photolibrary {
namespace {

/// Oldest first, items of one moment in the library's own order still.
Assets oldestFirst(const Assets& newestFirst) {
  Assets turned;
  turned.reserve(newestFirst.size());
  for (auto end = newestFirst.end(); end != newestFirst.begin();) {
    auto start = end - 1;
    while (start != newestFirst.begin() && (*(start - 1))->creationDate == (*start)->creationDate) --start;
    turned.insert(turned.end(), start, end);
    end = start;
  }
  return turned;
}

}  // namespace

bool sameContent(const PHFetchResult<PHAsset>& a, const PHFetchResult<PHAsset>& b) {
  return a.count() == b.count() &&
         std::equal(a.begin(), a.end(), b.begin(), [](const auto& x, const auto& y) { return looksTheSame(*x, *y); });
}

Snapshot::Snapshot(Assets live, Assets trashed, Folders folders, std::shared_ptr<FetchLedger> ledger,
                   const Snapshot* before)
    : live_(std::make_shared<PHFetchResult<PHAsset>>(std::move(live))),
      trashed_(std::make_shared<PHFetchResult<PHAsset>>(std::move(trashed))),
      folders_(std::move(folders)),
      ledger_(std::move(ledger)),
      generation_(before ? before->generation_ + 1 : 1) {
  if (before) {
    std::lock_guard lock(before->mutex_);
    earlier_ = before->earlier_;
    for (const auto& [question, answer] : before->answers_) earlier_.insert_or_assign(question, answer);
    std::erase_if(earlier_, [](const auto& entry) { return entry.second.expired(); });
  }
  groupByFolder();
  findDoubles();
  makeFolderAlbums(before);
}

const std::shared_ptr<const PHAsset>& Snapshot::assetAt(std::uint32_t position) const {
  const auto at = static_cast<std::ptrdiff_t>(position), living = static_cast<std::ptrdiff_t>(live_->count());
  return at < living ? live_->begin()[at] : trashed_->begin()[at - living];
}

void Snapshot::groupByFolder() {
  folderStarts_.assign(folders_.size() + 1, 0);
  const auto total = static_cast<std::uint32_t>(count());
  for (std::uint32_t i = 0; i < total; ++i) ++folderStarts_[itemAt(i).folder + 1];
  for (std::size_t f = 1; f < folderStarts_.size(); ++f) folderStarts_[f] += folderStarts_[f - 1];
  std::vector<std::uint32_t> next(folderStarts_.begin(), folderStarts_.end() - 1);
  byFolder_.resize(total);
  for (std::uint32_t i = 0; i < total; ++i) byFolder_[next[itemAt(i).folder]++] = i;
}

void Snapshot::findDoubles() {
  shown_ = live_;
  if (std::none_of(folders_.begin(), folders_.end(), [](const auto& folder) { return folder->onServer(); })) return;
  const auto count = static_cast<std::uint32_t>(live_->count());
  struct Content {
    std::string_view name;
    std::int64_t bytes;
    double second;
    bool operator==(const Content&) const = default;
  };
  const auto contentOf = [&](std::uint32_t i) {
    const Item& item = itemAt(i);
    return Content{item.name, item.facts.bytes, std::floor(item.creationDate)};
  };
  const auto hash = [](const Content& content) {
    return std::hash<std::string_view>()(content.name) * 31 + std::hash<std::int64_t>()(content.bytes) * 31 +
           std::hash<double>()(content.second);
  };
  const auto onServer = [&](std::uint32_t i) { return folders_[itemAt(i).folder]->onServer(); };
  /// Of two doubles, the one with the lower rank is shown.
  const auto rank = [&](std::uint32_t i) { return std::pair(onServer(i), folders_[itemAt(i).folder]->root); };
  std::unordered_map<Content, std::uint32_t, decltype(hash)> first(0, hash);  // of those with a copy on a server
  for (std::uint32_t i = 0; i < count; ++i) {
    if (onServer(i)) first.emplace(contentOf(i), i);
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto found = first.find(contentOf(i));
    if (found != first.end() && rank(i) < rank(found->second)) found->second = i;
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!onServer(i)) continue;
    const std::uint32_t shown = first.find(contentOf(i))->second;
    if (rank(shown) < rank(i)) doubles_.emplace(i, shown);
  }
  if (doubles_.empty()) return;
  Assets shown;
  shown.reserve(count - doubles_.size());
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!doubles_.contains(i)) shown.push_back(live_->begin()[i]);
  }
  shown_ = std::make_shared<PHFetchResult<PHAsset>>(std::move(shown));
}

std::uint32_t Snapshot::shownFor(std::uint32_t position) const {
  const auto found = doubles_.find(position);
  return found == doubles_.end() ? position : found->second;
}

void Snapshot::makeFolderAlbums(const Snapshot* before) {
  for (std::uint32_t f = 0; f < folders_.size(); ++f) {
    if (!folders_[f]->trashed && !itemsIn(f).empty()) albumFolders_.push_back(f);
  }
  if (before && before->albumFolders_ == albumFolders_ &&
      std::all_of(albumFolders_.begin(), albumFolders_.end(),
                  [&](std::uint32_t f) { return before->folders_[f] == folders_[f]; })) {
    folderAlbums_ = before->folderAlbums_;
    folderOfAlbum_ = before->folderOfAlbum_;
    return;
  }
  Folders shown;
  for (const std::uint32_t f : albumFolders_) {
    // One folder met on two paths, by a bind mount for instance, is one album.
    if (folderOfAlbum_.emplace(albumIdentifierOf(*folders_[f]), f).second) shown.push_back(folders_[f]);
  }
  std::vector<std::uint32_t> order;
  folderAlbums_ = std::make_shared<PHFetchResult<PHAssetCollection>>(photolibrary::folderAlbums(shown, order));
}

Snapshot::Positions Snapshot::itemsIn(std::uint32_t folder) const {
  if (folder + 1 >= folderStarts_.size()) return {nullptr, nullptr};
  return {byFolder_.data() + folderStarts_[folder], byFolder_.data() + folderStarts_[folder + 1]};
}

std::uint32_t Snapshot::findFile(const std::string& folder, const std::string& name) const {
  for (std::uint32_t f = 0; f < folders_.size(); ++f) {
    if (folders_[f]->path != folder || folders_[f]->trashed) continue;
    for (const std::uint32_t position : itemsIn(f)) {
      if (name == itemAt(position).name) return position;
    }
  }
  return kNowhere;
}

void Snapshot::prepareLookup() const {
  std::call_once(lookupMade_, [this] {
    const auto total = static_cast<std::uint32_t>(count());
    lookup_.assign(std::bit_ceil(std::size_t{total} * 2 + 2), kNowhere);
    const std::size_t mask = lookup_.size() - 1;
    for (std::uint32_t i = 0; i < total; ++i) {
      std::size_t slot = assetAt(i)->localIdentifier.hash() & mask;
      while (lookup_[slot] != kNowhere) slot = (slot + 1) & mask;
      lookup_[slot] = i;
    }
  });
}

std::uint32_t Snapshot::find(const Identifier& identifier) const {
  prepareLookup();
  const std::size_t mask = lookup_.size() - 1;
  for (std::size_t slot = identifier.hash() & mask; lookup_[slot] != kNowhere; slot = (slot + 1) & mask) {
    if (assetAt(lookup_[slot])->localIdentifier == identifier) return lookup_[slot];
  }
  return kNowhere;
}

const CollectionResult& Snapshot::smartAlbums() const {
  static const CollectionResult albums =
      std::make_shared<PHFetchResult<PHAssetCollection>>(photolibrary::smartAlbums());
  return albums;
}

AssetResult Snapshot::answer(const Question& question) const {
  std::lock_guard lock(mutex_);
  if (const auto found = answers_.find(question); found != answers_.end()) return found->second;
  AssetResult result = compute(question);
  if (const auto known = earlier_.find(question); known != earlier_.end()) {
    if (const AssetResult before = known->second.lock(); before && sameContent(*before, *result)) result = before;
    earlier_.erase(known);
  }
  ledger_->record(result, question, generation_);
  // Only albums are kept: the same list of single items is hardly ever asked for twice.
  if (question.items.empty()) answers_.emplace(question, result);
  return result;
}

AssetResult Snapshot::compute(const Question& question) const {
  Assets kept;
  const auto fits = [&](const PHAsset& asset) {
    return !question.impossible && (!question.mediaType || asset.mediaType == *question.mediaType);
  };
  if (!question.items.empty()) {
    for (const Identifier& identifier : question.items) {
      if (const std::uint32_t position = find(identifier); position != kNowhere)
        kept.push_back(assetAt(shownFor(position)));
    }
    return std::make_shared<PHFetchResult<PHAsset>>(std::move(kept));
  }
  if (const auto smart = smartAlbumOf(question.album)) {
    const bool trash = *smart == SmartAlbum::RecentlyDeleted;
    const bool everything = trash || *smart == SmartAlbum::CameraRoll;
    const AssetResult& from = trash ? trashed_ : shown_;
    if (everything && !question.mediaType && !question.impossible && !question.ascending) {
      return from;
    }
    for (const auto& asset : *from) {
      if (fits(*asset) && (everything || belongsTo(*smart, itemOf(*asset), trash))) kept.push_back(asset);
    }
  } else if (const auto album = folderOfAlbum_.find(question.album); album != folderOfAlbum_.end()) {
    bool exact = true;
    for (const std::uint32_t position : itemsIn(album->second)) {
      const std::uint32_t shown = shownFor(position);
      exact = exact && shown == position;
      if (fits(*assetAt(shown))) kept.push_back(assetAt(shown));
    }
    // Doubles agree in their dates only to the second, so an item in another's place may belong a little further on.
    if (!exact) {
      std::sort(kept.begin(), kept.end(),
                [](const auto& a, const auto& b) { return comesBefore(itemOf(*a), itemOf(*b)); });
    }
  }
  return std::make_shared<PHFetchResult<PHAsset>>(question.ascending ? oldestFirst(kept) : std::move(kept));
}

}  // namespace tlx::photolibrary
