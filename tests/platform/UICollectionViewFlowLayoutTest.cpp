#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UICollectionViewFlowLayout.h"

namespace tlx {
namespace {

void layOut(UICollectionViewFlowLayout& layout, CGSize item, double spacing, double line, std::int64_t count,
            double width) {
  layout.setItemSize(item);
  layout.setMinimumInteritemSpacing(spacing);
  layout.setMinimumLineSpacing(line);
  layout.prepareLayout(count, width);
}

TEST(UICollectionViewFlowLayout, FillsRowsFromEdgeToEdge) {
  const struct {
    double width, item, spacing;
    std::int64_t perRow;
    double second, lastEnd;
    const char* why;
    UIEdgeInsets inset = {};
  } rows[] = {
      {375, 92, 2, 4, 92 + 7.0 / 3.0, 375, "a phone: what is left over widens three gaps"},
      {97.9, 32, 1, 2, 65.9, 97.9, "almost a third"},
      {0.3, 0.1, 0, 3, 0.1, 0.3, "fits exactly but for rounding"},
      {150, 100, 10, 1, 25, 125, "alone: in the middle"},
      {80, 100, 10, 1, 0, 100, "wider than the grid: at the edge"},
      {1024, 174, 2, 5, 26 + 174 + 102 / 4.0, 998, "between margins", {26, 26, 26, 26}},
      {100, 32, 1, 2, 57, 89, "margins that leave no room for a third", {0, 3, 0, 11}},
  };
  for (const auto& row : rows) {
    UICollectionViewFlowLayout layout;
    layout.setSectionInset(row.inset);
    layOut(layout, {row.item, 10}, row.spacing, 5, 1000, row.width);
    ASSERT_EQ(layout.itemsPerRow(), row.perRow) << row.why;
    EXPECT_EQ(layout.collectionViewContentSize().height,
              row.inset.top + std::ceil(1000.0 / static_cast<double>(row.perRow)) * 15 - 5 + row.inset.bottom);
    EXPECT_NEAR(layout.frameForItemAtIndex(row.perRow == 1 ? 0 : 1).origin.x, row.second, 1e-9) << row.why;
    EXPECT_NEAR(CGRectGetMaxX(layout.frameForItemAtIndex(row.perRow - 1)), row.lastEnd, 1e-9) << row.why;
    EXPECT_EQ(layout.frameForItemAtIndex(999).origin.x, layout.frameForItemAtIndex(999 % row.perRow).origin.x)
        << row.why << ": the short last row keeps the columns";
  }
}

/// Whatever the rectangle, the answer is what looking at every element's frame gives.
TEST(UICollectionViewFlowLayout, FindsWhatARectangleMeets) {
  using Elements = std::vector<std::pair<std::string, std::int64_t>>;
  UICollectionViewFlowLayout layout;
  layout.setHeaderReferenceSize({0, 30});
  layout.setFooterReferenceSize({0, 20});
  layout.setSectionInset({7, 5, 9, 3});
  const struct {
    CGSize item;
    double spacing, line;
    std::int64_t count;
  } cases[] = {{{92, 92}, 2, 3.75, 39}, {{50, 0.1}, 0, 0.2, 70}, {{400, 33}, 2, 0, 9}, {{92, 92}, 2, 30, 0}};
  for (const auto& c : cases) {
    layOut(layout, c.item, c.spacing, c.line, c.count, 375);
    const double height = layout.collectionViewContentSize().height;
    for (double y = -50; y < height + 50; y += height / 97) {
      for (const CGRect& rect : {CGRectMake(0, y, 375, 120), CGRectMake(100, y, 90, 0.01), CGRectMake(92, y, 2, 50),
                                 CGRectMake(375, y + 50, -375, -50), CGRectMake(0, std::round(y), 375, 92),
                                 CGRectMake(-1e12, -1e12, 2e12, 2e12), CGRectMake(0, y, 0, 10)}) {
        Elements expected, answered;
        const auto look = [&](const CGRect& frame, const char* kind, std::int64_t item) {
          if (CGRectIntersectsRect(frame, rect)) expected.emplace_back(kind, item);
        };
        look(layout.headerFrame(), UICollectionElementKindSectionHeader, 0);
        for (std::int64_t i = 0; i < c.count; ++i) look(layout.frameForItemAtIndex(i), "", i);
        look(layout.footerFrame(), UICollectionElementKindSectionFooter, 0);
        for (const auto& element : layout.layoutAttributesForElementsInRect(rect)) {
          answered.emplace_back(element.representedElementKind, element.indexPath.item);
        }
        ASSERT_EQ(answered, expected) << "y " << rect.origin.y << " height " << rect.size.height << " line " << c.line;
      }
    }
    for (std::int64_t i = 0; i < c.count; ++i) {
      const CGRect frame = layout.frameForItemAtIndex(i);
      EXPECT_EQ(layout.indexOfItemAtPoint(frame.origin), i) << "an item has its own top left corner";
      EXPECT_TRUE(c.line == 0 || layout.indexOfItemAtPoint({frame.origin.x, CGRectGetMaxY(frame)}) == -1) << i;
    }
  }
}

TEST(UICollectionViewFlowLayout, MeasuresThatMakeNoSenseShowNothing) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinite = std::numeric_limits<double>::infinity();
  for (const double bad : {0.0, -5.0, nan, infinite}) {
    UICollectionViewFlowLayout layout;
    layOut(layout, {bad, bad}, bad, bad, 1000, bad);
    EXPECT_TRUE(layout.layoutAttributesForElementsInRect(CGRectMake(-1e300, -1e300, 2e300, 2e300)).empty()) << bad;
    EXPECT_EQ(layout.indexOfItemAtPoint({0, 0}), -1) << bad;
    EXPECT_TRUE(std::isfinite(layout.collectionViewContentSize().height)) << bad;
  }
}

}  // namespace
}  // namespace tlx
