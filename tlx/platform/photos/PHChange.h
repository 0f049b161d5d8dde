#pragma once

#include <memory>

#include "tlx/platform/photos/PHAsset.h"
#include "tlx/platform/photos/PHFetchResult.h"

namespace tlx {

/// How one fetch result came out of a change.
struct PHFetchResultChangeDetails {
  std::shared_ptr<const PHFetchResult<PHAsset>> fetchResultBeforeChanges;
  std::shared_ptr<const PHFetchResult<PHAsset>> fetchResultAfterChanges;
};

/// What changed in the library in one step. Immutable; may be asked on any thread.
class PHChange {
 public:
  virtual ~PHChange() = default;
  /// Nothing when the fetch that gave `result` would give the same items in the same order after the change, each with
  /// the same type, date and duration, or when `result` is nothing or no fetch result of this library.
  virtual std::shared_ptr<const PHFetchResultChangeDetails> changeDetailsForFetchResult(
      const std::shared_ptr<const PHFetchResult<PHAsset>>& result) const = 0;
};

}  // namespace tlx
