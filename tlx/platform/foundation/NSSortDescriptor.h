#pragma once

#include <cstdint>
#include <string>

namespace tlx {

/// One key to sort a fetch by.
struct NSSortDescriptor {
  std::string key;
  bool ascending = true;

  static NSSortDescriptor sortDescriptorWithKey_ascending(std::string key, bool ascending) {
    return {std::move(key), ascending};
  }
  friend bool operator==(const NSSortDescriptor&, const NSSortDescriptor&) = default;
};

/// A condition on a fetch: a format such as "mediaType = %d" and the number that stands for its one placeholder.
struct NSPredicate {
  std::string format;
  std::int64_t argument = 0;

  static NSPredicate predicateWithFormat(std::string format, std::int64_t argument) {
    return {std::move(format), argument};
  }
  friend bool operator==(const NSPredicate&, const NSPredicate&) = default;
};

}  // namespace tlx
