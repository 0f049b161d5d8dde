#pragma once

#include <compare>
#include <cstdint>
#include <set>

namespace tlx {

/// A position in a table or a grid. A table calls the second number its row.
struct NSIndexPath {
  std::int64_t section = 0;
  std::int64_t item = 0;

  static NSIndexPath indexPathForItem_inSection(std::int64_t item, std::int64_t section) { return {section, item}; }
  static NSIndexPath indexPathForRow_inSection(std::int64_t row, std::int64_t section) { return {section, row}; }
  std::int64_t row() const { return item; }

  friend auto operator<=>(const NSIndexPath&, const NSIndexPath&) = default;
};

/// A set of unsigned indexes, walked in ascending order.
using NSIndexSet = std::set<std::uint64_t>;

}  // namespace tlx
