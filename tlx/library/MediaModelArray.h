#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "tlx/library/MediaModel.h"
#include "tlx/platform/photos/PHFetchResult.h"

namespace tlx {

/// The records of one album, in order. They lie side by side in blocks that are filled once and never moved; a record
/// that is handed out keeps its block alive, and so survives the array and the album. Main thread only.
class MediaModelArray {
 public:
  std::size_t count() const { return count_; }
  /// Nothing at or past the count.
  std::shared_ptr<MediaModel> objectAtIndex(std::uint64_t index) const;
  /// Appends one new record for each asset, in order, as one block. An absent asset gets none.
  void addObjectsForAssets(const PHFetchResult<PHAsset>& assets);

  /// Calls `visit(MediaModel&)` for the records at 0 up to `limit` − 1, as far as there are any, while it answers
  /// true. Answers whether it always did. For passes over the whole library: touches nothing beside the records.
  template <class Visit>
  bool visitFirst(std::int64_t limit, Visit visit) const {
    if (limit <= 0) return true;
    auto left = static_cast<std::uint64_t>(limit);
    for (const Block& block : blocks_) {
      const std::uint64_t here = std::min<std::uint64_t>(left, block.count);
      for (MediaModel *record = block.records.get(), *end = record + here; record != end; ++record) {
        if (!visit(*record)) return false;
      }
      left -= here;
      if (left == 0) break;
    }
    return true;
  }

 private:
  struct Block {
    std::shared_ptr<MediaModel> records;  // the first one; owns them all
    std::size_t count;
  };

  std::vector<Block> blocks_;
  std::size_t count_ = 0;
};

}  // namespace tlx
