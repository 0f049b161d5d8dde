#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "tlx/platform/photos/PHAssetCollection.h"
#include "tlx/platform/photos/PHFetchResult.h"

#include "adapters/photolibrary/catalogue/FetchLedger.h"
#include "adapters/photolibrary/source/Item.h"

namespace tlx::photolibrary {

using CollectionResult = std::shared_ptr<const PHFetchResult<PHAssetCollection>>;

/// The whole library at one moment: immutable, but for remembered answers. Any thread; no method waits for a disk.
/// Answers are made when first asked for and then kept: the same question gives the same object. An answer that came
/// out as in the snapshot before is that snapshot's object, so unchanged albums cost nothing and a change is seen by
/// comparing.
///
/// A file that lies on a server as well as on this machine, or on two servers, is one item: the one that is here, else
/// the one under the earlier root. It is taken for the same by its name, its length and its date to the second. The
/// other, its double, keeps its position and can be found, but answers hold the item in its place, once each.
class Snapshot {
 public:
  /// `live` and `trashed` are in the library's order. `folders` holds every folder that an item names, and perhaps
  /// more.
  Snapshot(Assets live, Assets trashed, Folders folders, std::shared_ptr<FetchLedger> ledger, const Snapshot* before);

  /// Rises by one from each snapshot to its successor.
  std::uint64_t generation() const { return generation_; }
  std::size_t count() const { return live_->count() + trashed_->count(); }
  /// Positions run through the live items, then the trashed ones.
  const std::shared_ptr<const PHAsset>& assetAt(std::uint32_t position) const;
  const Item& itemAt(std::uint32_t position) const { return itemOf(*assetAt(position)); }
  const AssetResult& live() const { return live_; }
  const AssetResult& trashed() const { return trashed_; }

  const Folders& folders() const { return folders_; }
  /// The positions of a folder's items, in the library's order.
  struct Positions {
    const std::uint32_t* first;
    const std::uint32_t* last;
    const std::uint32_t* begin() const { return first; }
    const std::uint32_t* end() const { return last; }
    bool empty() const { return first == last; }
  };
  Positions itemsIn(std::uint32_t folder) const;

  static constexpr std::uint32_t kNowhere = 0xffffffff;
  /// Where the item with this identifier stands, or `kNowhere`. The first call makes the table for it, some 50 ms for a
  /// million items: whoever publishes a snapshot calls `prepareLookup` on its own thread right after.
  std::uint32_t find(const Identifier& identifier) const;
  void prepareLookup() const;
  /// Where the live item with that file name in that folder stands, or `kNowhere`.
  std::uint32_t findFile(const std::string& folder, const std::string& name) const;

  const CollectionResult& smartAlbums() const;
  const CollectionResult& folderAlbums() const { return folderAlbums_; }
  AssetResult answer(const Question& question) const;

 private:
  void groupByFolder();
  void makeFolderAlbums(const Snapshot* before);
  AssetResult compute(const Question& question) const;
  void findDoubles();
  /// What answers show for the item at this position: itself, or what it is a double of.
  std::uint32_t shownFor(std::uint32_t position) const;

  AssetResult live_, trashed_;
  AssetResult shown_;                                         ///< `live_` without doubles
  std::unordered_map<std::uint32_t, std::uint32_t> doubles_;  ///< to what they are doubles of
  Folders folders_;
  std::shared_ptr<FetchLedger> ledger_;
  std::uint64_t generation_;
  std::vector<std::uint32_t> folderStarts_, byFolder_;
  std::vector<std::uint32_t> albumFolders_;  ///< which folders have an album, in the order of their positions
  CollectionResult folderAlbums_;
  std::map<std::string, std::uint32_t> folderOfAlbum_;

  mutable std::once_flag lookupMade_;
  mutable std::vector<std::uint32_t> lookup_;  ///< open addressing by the identifier's hash

  mutable std::mutex mutex_;
  mutable std::map<Question, AssetResult> answers_;
  mutable std::map<Question, std::weak_ptr<const PHFetchResult<PHAsset>>> earlier_;
};

/// Whether both hold items that look the same in the same order.
bool sameContent(const PHFetchResult<PHAsset>& a, const PHFetchResult<PHAsset>& b);

}  // namespace tlx::photolibrary
