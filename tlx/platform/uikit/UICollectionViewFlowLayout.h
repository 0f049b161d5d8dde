#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/foundation/Class.h"
#include "tlx/platform/foundation/NSIndexPath.h"

namespace tlx {

inline constexpr char UICollectionElementKindSectionHeader[] = "UICollectionElementKindSectionHeader";
inline constexpr char UICollectionElementKindSectionFooter[] = "UICollectionElementKindSectionFooter";

/// Where one element of a collection stands, in the content's coordinates.
struct UICollectionViewLayoutAttributes {
  NSIndexPath indexPath;
  CGRect frame;
  /// Empty for an item, else one of the two kinds above.
  std::string representedElementKind;
};

/// Items of one size in rows from the top, under a header and above a footer as wide as the content. As many to a row
/// as fit with the minimum spacing between them, at least one; what is left over widens the spacing evenly, and a short
/// last row keeps the columns of the others. A row of one stands in the middle. Items without an area stand nowhere.
/// All of it is arithmetic, so that a million items cost what ten cost; each position is computed from its row, so that
/// the last one is as exact as the first.
class UICollectionViewFlowLayout : public NSObject {
 public:
  static const Class& classObject();

  /// Lengths that are negative or not finite are taken as 0.
  CGSize itemSize() const { return itemSize_; }
  void setItemSize(const CGSize& size);
  double minimumInteritemSpacing() const { return interitemSpacing_; }
  void setMinimumInteritemSpacing(double spacing);
  double minimumLineSpacing() const { return lineSpacing_; }
  void setMinimumLineSpacing(double spacing);
  CGSize headerReferenceSize() const { return headerSize_; }
  void setHeaderReferenceSize(const CGSize& size);
  CGSize footerReferenceSize() const { return footerSize_; }
  void setFooterReferenceSize(const CGSize& size);
  /// Around the rows, between header and footer. Negative or not finite counts as 0.
  void setSectionInset(const UIEdgeInsets& inset);

  /// Elements that the rectangle meets: the header, the items in ascending order, the footer.
  std::vector<UICollectionViewLayoutAttributes> layoutAttributesForElementsInRect(const CGRect& rect) const;
  /// The items of the rows that the rectangle meets, from the first to before the second.
  std::pair<std::int64_t, std::int64_t> itemsOfRowsInRect(const CGRect& rect) const;
  CGRect frameForItemAtIndex(std::int64_t index) const;
  /// Empty when the section has none.
  CGRect headerFrame() const;
  CGRect footerFrame() const;
  CGSize collectionViewContentSize() const;
  std::int64_t itemsPerRow() const;
  /// The item whose cell the point lies in, or −1.
  std::int64_t indexOfItemAtPoint(const CGPoint& point) const;

  /// What the collection view lays out; set by it.
  void prepareLayout(std::int64_t itemCount, double width);
  /// Called when a property above changed; set by the collection view.
  void setInvalidationHandler(std::function<void()> handler) { invalidated_ = std::move(handler); }

 private:
  void invalidate();
  std::int64_t rowCount() const;
  double rowWidth() const;
  double rowTop(std::int64_t row) const;
  double itemsBottom() const;

  CGSize itemSize_{50, 50}, headerSize_, footerSize_;
  UIEdgeInsets inset_;
  double interitemSpacing_ = 10, lineSpacing_ = 10, width_ = 0;
  std::int64_t itemCount_ = 0;
  std::function<void()> invalidated_;
};

}  // namespace tlx
