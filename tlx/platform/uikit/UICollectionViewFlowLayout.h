#pragma once

#include <cstdint>
#include <functional>
#include <string>
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

/// Items of one size in rows from the top, under a header and above a footer as wide as the content. As many to a row as fit with
/// the minimum spacing between them; what is left over widens the spacing evenly. All of it is arithmetic, so that a
/// million items cost what ten cost.
class UICollectionViewFlowLayout : public NSObject {
 public:
  static const Class& classObject();

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

  /// Elements that the rectangle meets: the header, the items in ascending order, the footer.
  std::vector<UICollectionViewLayoutAttributes> layoutAttributesForElementsInRect(const CGRect& rect) const;
  CGRect frameForItemAtIndex(std::int64_t index) const;
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

  CGSize itemSize_{50, 50}, headerSize_, footerSize_;
  double interitemSpacing_ = 10, lineSpacing_ = 10, width_ = 0;
  std::int64_t itemCount_ = 0;
  std::function<void()> invalidated_;
};

}  // namespace tlx
