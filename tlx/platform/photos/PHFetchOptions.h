#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "tlx/platform/foundation/NSSortDescriptor.h"

namespace tlx {

/// What a fetch of assets keeps and how it orders it. Libraries understand the sort key "creationDate" and the
/// predicate "mediaType = %d"; ties keep the library's own order.
class PHFetchOptions {
 public:
  void setSortDescriptors(std::vector<NSSortDescriptor> descriptors) { sortDescriptors_ = std::move(descriptors); }
  void setPredicate(NSPredicate predicate) { predicate_ = std::move(predicate); }
  const std::vector<NSSortDescriptor>& sortDescriptors() const { return sortDescriptors_; }
  const std::optional<NSPredicate>& predicate() const { return predicate_; }

  friend bool operator==(const PHFetchOptions&, const PHFetchOptions&) = default;

 private:
  std::vector<NSSortDescriptor> sortDescriptors_;
  std::optional<NSPredicate> predicate_;
};

}  // namespace tlx
