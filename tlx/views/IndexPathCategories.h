#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/foundation/NSIndexPath.h"

namespace tlx {

class UICollectionView;

/// The paths of everything that the collection's layout has in the rectangle (content coordinates), in the layout's
/// order: a header or footer counts like an item. Nothing when there is nothing, never an empty list.
std::optional<std::vector<NSIndexPath>> aapl_indexPathsForElementsInRect(const UICollectionView& collectionView,
                                                                         const CGRect& rect);

/// One path for each index, ascending, all in the given section.
std::vector<NSIndexPath> aapl_indexPathsFromIndexesWithSection(const NSIndexSet& indexes, std::int64_t section);

}  // namespace tlx
