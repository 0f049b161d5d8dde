#include "tlx/views/IndexPathCategories.h"

#include "tlx/platform/uikit/UICollectionView.h"

namespace tlx {

std::optional<std::vector<NSIndexPath>> aapl_indexPathsForElementsInRect(const UICollectionView& collectionView,
                                                                         const CGRect& rect) {
  const auto& layout = collectionView.collectionViewLayout();
  if (!layout) return std::nullopt;
  const auto elements = layout->layoutAttributesForElementsInRect(rect);
  if (elements.empty()) return std::nullopt;
  std::vector<NSIndexPath> paths;
  paths.reserve(elements.size());
  for (const auto& element : elements) paths.push_back(element.indexPath);
  return paths;
}

std::vector<NSIndexPath> aapl_indexPathsFromIndexesWithSection(const NSIndexSet& indexes, std::int64_t section) {
  std::vector<NSIndexPath> paths;
  paths.reserve(indexes.size());
  for (const auto index : indexes) {
    paths.push_back(NSIndexPath::indexPathForItem_inSection(static_cast<std::int64_t>(index), section));
  }
  return paths;
}

}  // namespace tlx
