#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UICollectionViewFlowLayout.h"

namespace tlx {
namespace {

UICollectionViewFlowLayout& laidOut(UICollectionViewFlowLayout& layout, CGSize item, double spacing, double line,
                                    std::int64_t count, double width) {
  layout.setItemSize(item);
  layout.setMinimumInteritemSpacing(spacing);
  layout.setMinimumLineSpacing(line);
  layout.prepareLayout(count, width);
  return layout;
}

TEST(UICollectionViewFlowLayout, FillsRowsFromEdgeToEdge) {
  struct Row {
    double width, item, spacing;
    std::int64_t perRow;
    double second, lastEnd;
    const char* why;
    UIEdgeInsets inset = {};
  };
  for (const Row& row : {
           Row{375, 92, 2, 4, 92 + 7.0 / 3.0, 375, "a phone: what is left over widens three gaps"},
           Row{320, 78, 2, 4, 78 + 8.0 / 3.0, 320, "a small phone"},
           Row{1024, 174, 2, 5, 174 + 154.0 / 4.0, 1024, "a pad"},
           Row{98, 32, 1, 3, 33, 98, "fits exactly"},
           Row{97.9, 32, 1, 2, 65.9, 97.9, "almost a third"},
           Row{0.3, 0.1, 0, 3, 0.1, 0.3, "fits exactly but for rounding"},
           Row{150, 100, 10, 1, 25, 125, "alone: in the middle"},
           Row{80, 100, 10, 1, 0, 100, "wider than the grid: at the edge"},
           Row{1024, 174, 2, 5, 26 + 174 + 102 / 4.0, 998, "between margins", {26, 26, 26, 26}},
           Row{100, 32, 1, 2, 57, 89, "margins that leave no room for a third", {0, 3, 0, 11}},
       }) {
    UICollectionViewFlowLayout layout;
    layout.setSectionInset(row.inset);
    laidOut(layout, {row.item, 10}, row.spacing, 5, 1000, row.width);
    ASSERT_EQ(layout.itemsPerRow(), row.perRow) << row.why;
    const std::int64_t last = row.perRow - 1;
    EXPECT_NEAR(layout.frameForItemAtIndex(row.perRow == 1 ? 0 : 1).origin.x, row.second, 1e-9) << row.why;
    EXPECT_NEAR(CGRectGetMaxX(layout.frameForItemAtIndex(last)), row.lastEnd, 1e-9) << row.why;
    EXPECT_EQ(layout.frameForItemAtIndex(999).origin.x, layout.frameForItemAtIndex(999 % row.perRow).origin.x)
        << row.why << ": the short last row keeps the columns";
  }
}

TEST(UICollectionViewFlowLayout, AMillionthItemIsAsExactAsTheFirst) {
  UICollectionViewFlowLayout layout;
  layout.setHeaderReferenceSize({0, 61});
  laidOut(layout, {92, 92}, 2, 3.75, 1'000'000, 375);
  EXPECT_EQ(layout.frameForItemAtIndex(999'999).origin.y, 61 + 249'999 * 95.75);
  EXPECT_EQ(layout.collectionViewContentSize().height, 61 + 249'999 * 95.75 + 92);
  const auto found = layout.layoutAttributesForElementsInRect(CGRectMake(0, 61 + 200'000 * 95.75, 375, 92));
  ASSERT_EQ(found.size(), 4u);
  EXPECT_EQ(found[0].indexPath.item, 800'000);
}

/// Whatever the rectangle, the answer is what looking at every element's frame gives.
TEST(UICollectionViewFlowLayout, FindsWhatARectangleMeets) {
  UICollectionViewFlowLayout layout;
  layout.setHeaderReferenceSize({0, 30});
  layout.setFooterReferenceSize({0, 20});
  layout.setSectionInset({7, 5, 9, 3});
  struct Case {
    CGSize item;
    double spacing, line;
    std::int64_t count;
  };
  for (const Case& c : {Case{{92, 92}, 2, 3.75, 39}, Case{{50, 0.1}, 0, 0.2, 70}, Case{{400, 33}, 2, 0, 9},
                        Case{{92, 92}, 2, 30, 0}, Case{{92, 92}, 2, 3, 1}}) {
    laidOut(layout, c.item, c.spacing, c.line, c.count, 375);
    const double height = layout.collectionViewContentSize().height;
    for (double y = -50; y < height + 50; y += height / 97) {
      for (const CGRect& rect : {CGRectMake(0, y, 375, 120), CGRectMake(100, y, 90, 0.01), CGRectMake(92, y, 2, 50),
                                 CGRectMake(375, y + 50, -375, -50), CGRectMake(0, std::round(y), 375, 92),
                                 CGRectMake(-1e12, -1e12, 2e12, 2e12), CGRectMake(0, y, 0, 10)}) {
        std::vector<std::pair<std::string, std::int64_t>> expected, answered;
        if (CGRectIntersectsRect(layout.headerFrame(), rect)) {
          expected.emplace_back(UICollectionElementKindSectionHeader, 0);
        }
        for (std::int64_t i = 0; i < c.count; ++i) {
          if (CGRectIntersectsRect(layout.frameForItemAtIndex(i), rect)) expected.emplace_back("", i);
        }
        if (CGRectIntersectsRect(layout.footerFrame(), rect)) {
          expected.emplace_back(UICollectionElementKindSectionFooter, 0);
        }
        for (const auto& element : layout.layoutAttributesForElementsInRect(rect)) {
          answered.emplace_back(element.representedElementKind, element.indexPath.item);
        }
        ASSERT_EQ(answered, expected) << "y " << rect.origin.y << " height " << rect.size.height << " line " << c.line;
      }
    }
    for (std::int64_t i = 0; i < c.count; ++i) {
      const CGRect frame = layout.frameForItemAtIndex(i);
      EXPECT_EQ(layout.indexOfItemAtPoint(frame.origin), i) << "an item has its own top left corner";
      if (c.line == 0) continue;
      EXPECT_EQ(layout.indexOfItemAtPoint({frame.origin.x, CGRectGetMaxY(frame)}), -1) << i;
    }
  }
}

TEST(UICollectionViewFlowLayout, MeasuresThatMakeNoSenseShowNothing) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinite = std::numeric_limits<double>::infinity();
  const CGRect everywhere = CGRectMake(-1e300, -1e300, 2e300, 2e300);
  for (const double bad : {0.0, -5.0, nan, infinite}) {
    UICollectionViewFlowLayout layout;
    laidOut(layout, {bad, bad}, bad, bad, 1000, bad);
    EXPECT_TRUE(layout.layoutAttributesForElementsInRect(everywhere).empty()) << bad;
    EXPECT_EQ(layout.indexOfItemAtPoint({0, 0}), -1) << bad;
    EXPECT_TRUE(std::isfinite(layout.collectionViewContentSize().height)) << bad;
    laidOut(layout, {10, 10}, 1, 1, 1000, 100);
    EXPECT_TRUE(layout.layoutAttributesForElementsInRect(CGRectMake(0, bad, 100, bad)).size() <= 1000) << bad;
    EXPECT_EQ(layout.indexOfItemAtPoint({nan, bad}), -1) << bad;
    laidOut(layout, {10, 10}, 1, 1, -7, 100);
    EXPECT_EQ(layout.collectionViewContentSize().height, 0);
  }
}

}  // namespace
}  // namespace tlx
