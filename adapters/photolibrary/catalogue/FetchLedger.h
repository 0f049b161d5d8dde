#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tlx/platform/photos/PHAsset.h"
#include "tlx/platform/photos/PHFetchOptions.h"
#include "tlx/platform/photos/PHFetchResult.h"

namespace tlx::photolibrary {

using AssetResult = std::shared_ptr<const PHFetchResult<PHAsset>>;

/// What a fetch of assets asked: an album's items of a kind in an order, or the items with given identifiers.
struct Question {
  std::string album;                      ///< identifier; empty when asked by items
  std::optional<std::int64_t> mediaType;  ///< only items of this type
  bool ascending = false;                 ///< oldest first
  bool impossible = false;                ///< a predicate that no library understands: nothing fits it
  std::vector<Identifier> items;          ///< asked by items, in their order

  /// Understands the sort key "creationDate" (any other leaves the library's own order, newest first) and the
  /// predicate "mediaType = %d".
  static Question about(const Identifier& album, const PHFetchOptions& options);

  friend bool operator<(const Question& a, const Question& b) {
    return std::tie(a.album, a.mediaType, a.ascending, a.impossible, a.items) <
           std::tie(b.album, b.mediaType, b.ascending, b.impossible, b.items);
  }
};

/// Remembers, for as long as anyone holds a fetch result, which question it answered, so that a change can be asked
/// about results of any age. Any thread.
class FetchLedger {
 public:
  struct Entry {
    std::weak_ptr<const PHFetchResult<PHAsset>> result;
    Question question;
    std::uint64_t generation = 0;  ///< of the newest snapshot that gave this answer
  };
  void record(const AssetResult& result, const Question& question, std::uint64_t generation);
  std::optional<Entry> find(const AssetResult& result) const;

 private:
  mutable std::mutex mutex_;
  std::map<const void*, Entry> entries_;
  std::size_t nextSweep_ = 64;
};

}  // namespace tlx::photolibrary
