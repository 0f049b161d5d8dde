#include <algorithm>
#include <cmath>
#include <functional>
#include <set>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UIWindow.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NumberCell : public UICollectionViewCell {
 public:
  void prepareForReuse() override { number = -1; }
  std::int64_t number = -1;
};

/// Answers the item's number in a cell, and keeps a record of what it was asked.
class NumberSource : public UICollectionViewDataSource, public UICollectionViewDelegate {
 public:
  std::int64_t collectionView_numberOfItemsInSection(UICollectionView&, std::int64_t) override {
    ++countsAsked;
    return count;
  }
  std::shared_ptr<UICollectionViewCell> collectionView_cellForItemAtIndexPath(UICollectionView& grid,
                                                                              const NSIndexPath& path) override {
    asked.push_back(path.item);
    auto cell = grid.dequeueReusableCellWithReuseIdentifier_forIndexPath("number", path);
    if (beforeAnswer) beforeAnswer(grid, path.item);
    std::static_pointer_cast<NumberCell>(cell)->number = path.item;
    return path.item == repeated ? grid.cellForItemAtIndexPath({0, 0}) : cell;
  }
  std::shared_ptr<UICollectionReusableView> collectionView_viewForSupplementaryElementOfKind_atIndexPath(
      UICollectionView& grid, const std::string& kind, const NSIndexPath& path) override {
    return grid.dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(kind, kind, path);
  }
  void scrollViewDidScroll(UIScrollView& grid) override { offsets.push_back(grid.contentOffset().y); }
  void collectionView_didSelectItemAtIndexPath(UICollectionView&, const NSIndexPath& path) override {
    tapped.push_back(path.item);
  }

  std::int64_t count = 0, repeated = -1;
  int countsAsked = 0;
  std::vector<std::int64_t> asked, tapped;
  std::vector<double> offsets;
  std::function<void(UICollectionView&, std::int64_t)> beforeAnswer;
};

/// A grid of 100 × 100 items, three to a row and ten points apart, 340 wide and 330 high: three rows and a bit are
/// visible.
class GridTest : public testing::Test {
 protected:
  GridTest() {
    platform.application.openWindow({340, 330});
    grid->setFrame(CGRectMake(0, 0, 340, 330));
    grid->collectionViewLayout()->setItemSize({100, 100});
    grid->registerPrototype("number", [this](const CGRect& frame) {
      ++cellsMade;
      auto cell = std::make_shared<NumberCell>();
      cell->setFrame(frame);
      return cell;
    });
    for (const char* kind : {UICollectionElementKindSectionHeader, UICollectionElementKindSectionFooter}) {
      grid->registerPrototype(kind, [](const CGRect&) { return std::make_shared<UICollectionReusableView>(); });
    }
    grid->setDataSource(source);
    grid->setDelegate(source);
  }

  void show(std::int64_t count) {
    source->count = count;
    platform.application.window()->addSubview(grid);
    reload();
  }
  void reload() {
    grid->reloadData();
    pass();
  }
  void pass() { platform.application.window()->layoutIfNeeded(); }
  void scrollTo(double y) {
    grid->scrolledTo({0, y});
    pass();
  }
  /// What a person would see: each visible cell shows its own number in its own place, and nothing else stands there.
  void expectCellsInPlace(std::size_t count, std::int64_t last) {
    EXPECT_EQ(grid->visibleCells().size(), count);
    std::set<std::shared_ptr<UIView>> standing;
    for (const auto& [item, cell] : grid->visibleCells()) {
      EXPECT_EQ(std::static_pointer_cast<NumberCell>(cell)->number, item);
      EXPECT_EQ(cell->frame(), grid->collectionViewLayout()->frameForItemAtIndex(item)) << item;
      EXPECT_EQ(cell->superview(), grid) << item;
      standing.insert(cell);
    }
    for (const auto& view : grid->subviews()) {
      EXPECT_TRUE(!dynamic_cast<NumberCell*>(view.get()) || standing.contains(view)) << "a cell nobody shows";
    }
    if (count > 0) {
      EXPECT_EQ(grid->visibleCells().rbegin()->first, last);
    }
  }

  memory::MemoryPlatform platform;
  std::shared_ptr<NumberSource> source = std::make_shared<NumberSource>();
  std::shared_ptr<UICollectionView> grid = std::make_shared<UICollectionView>();
  int cellsMade = 0;
};

TEST_F(GridTest, AsksOnlyInItsPassAndOnlyInAWindow) {
  source->count = 12;
  grid->reloadData();
  grid->layoutIfNeeded();
  platform.application.window()->addSubview(grid);
  EXPECT_EQ(source->countsAsked, 0);
  pass();
  EXPECT_EQ(source->countsAsked, 1);
  EXPECT_THAT(source->asked, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
  expectCellsInPlace(9, 8);
  grid->removeFromSuperview();
  grid->reloadData();
  grid->layoutIfNeeded();
  EXPECT_EQ(source->countsAsked, 1);
  platform.application.window()->addSubview(grid);
  pass();
  EXPECT_EQ(source->countsAsked, 2) << "what was demanded outside of the window is made up for";
}

TEST_F(GridTest, RecyclesWhatScrollsOutForWhatScrollsIn) {
  show(900);
  scrollTo(5);
  const int made = cellsMade;
  source->asked.clear();
  scrollTo(115);
  EXPECT_THAT(source->asked, ElementsAre(12, 13, 14));
  for (double y = 116; y < 32'000; y += 777) {
    scrollTo(y);
    expectCellsInPlace(grid->visibleCells().size(),
                       std::min<std::int64_t>(899, std::lround(std::ceil((y + 330) / 110)) * 3 - 1));
  }
  scrollTo(grid->maximumOffsetY());
  expectCellsInPlace(9, 899);
  EXPECT_LE(cellsMade, made + 3) << "a window holds one row more where rows are cut at both ends";
}

TEST_F(GridTest, AReloadKeepsCellsWhereTheyAreAndTheOffsetWithinTheContent) {
  show(90);
  scrollTo(1000);
  const auto cell = grid->cellForItemAtIndexPath({0, 30});
  source->asked.clear();
  grid->reloadItemsAtIndexPaths({{0, 30}, {0, 30}, {0, 89}, {0, 400}, {0, -1}, {1, 31}});
  EXPECT_THAT(source->asked, IsEmpty()) << "only in the pass";
  pass();
  EXPECT_THAT(source->asked, ElementsAre(30)) << "once, and only what is visible";
  EXPECT_EQ(source->countsAsked, 1);
  source->offsets.clear();
  reload();
  EXPECT_EQ(grid->cellForItemAtIndexPath({0, 30}), cell);
  EXPECT_THAT(source->offsets, IsEmpty());
  source->count = 15;
  reload();
  EXPECT_THAT(source->offsets, ElementsAre(540 - 330)) << "a clamped offset is a scroll";
  expectCellsInPlace(9, 14);
  source->count = 0;
  reload();
  EXPECT_EQ(grid->contentOffset().y, 0);
  EXPECT_THAT(grid->subviews(), IsEmpty());
}

TEST_F(GridTest, RestsAtMinusItsInsetAndWhereAFingerHoldsIt) {
  grid->setContentInset({61, 0, 0, 0});
  EXPECT_THAT(source->offsets, ElementsAre(-61));
  show(30);
  EXPECT_EQ(grid->contentOffset().y, -61);
  scrollTo(500);
  grid->setContentInset({0, 0, 0, 0});
  EXPECT_EQ(grid->contentOffset().y, 500) << "only content at rest at its start stays there";
  grid->scrolledTo({0, std::nan("")});
  EXPECT_EQ(grid->contentOffset().y, 500);
  for (const double held : {-40.0, grid->maximumOffsetY() + 40}) {
    scrollTo(held);
    reload();
    EXPECT_EQ(grid->contentOffset().y, held) << "past an end the finger decides when it lets go";
  }
}

TEST_F(GridTest, ANewSizeReflowsWithoutAskingAndClampsAsAScroll) {
  grid->collectionViewLayout()->setFooterReferenceSize({0, 40});
  show(30);
  scrollTo(grid->maximumOffsetY());
  source->offsets.clear();
  grid->setFrame(CGRectMake(0, 0, 560, 330));
  pass();
  EXPECT_THAT(source->offsets, ElementsAre(650 + 40 - 330));
  const auto footer = grid->supplementaryViewForElementKind(UICollectionElementKindSectionFooter);
  EXPECT_EQ(footer->frame(), CGRectMake(0, 650, 560, 40));
  expectCellsInPlace(15, 29);
  EXPECT_EQ(source->countsAsked, 1);
}

TEST_F(GridTest, TapsAndScrollsReachOnlyItemsThatExistWhenThePassHasRun) {
  grid->setContentInset({61, 0, 20, 0});
  show(90);
  for (const auto& [item, offset, why] : {std::tuple(0, -61.0, "visible already"),
                                          {9, 330.0 + 100 + 20 - 330, "up to the lower inset"},
                                          {3, 110.0 - 61, "down to the upper inset"},
                                          {90, 49.0, "does not exist"}}) {
    grid->scrollToItemAtIndexPath({0, item});
    EXPECT_EQ(grid->contentOffset().y, offset) << why;
  }
  EXPECT_TRUE(grid->tappedAt({0, 89}));
  EXPECT_FALSE(grid->tappedAt({0, 90}) || grid->tappedAt({0, -1}) || grid->tappedAt({1, 0}));
  source->count = 2;
  grid->reloadData();
  EXPECT_FALSE(grid->tappedAt({0, 4})) << "the list has shrunk since the last frame";
  EXPECT_THAT(source->tapped, ElementsAre(89));
}

/// What a data source may do to the grid while it is being asked, errors included, which are told and do not last.
TEST_F(GridTest, SurvivesWhatADataSourceDoesWhileItIsAsked) {
  const struct {
    const char* why;
    std::function<void(UICollectionView&)> deed;
    std::size_t visible;
    bool isError = false;
  } rows[] = {
      {"demands everything anew", [](UICollectionView& view) { view.reloadData(); }, 9},
      {"shrinks", [&](UICollectionView& view) { source->count = 4, view.reloadData(); }, 4},
      {"scrolls", [](UICollectionView& view) { view.setContentOffset(CGRectMake(0, 440, 0, 0).origin); }, 9},
      {"asks for a pass", [](UICollectionView& view) { view.reloadData(), view.layoutIfNeeded(); }, 9},
      {"changes the layout",
       [](UICollectionView& view) { view.collectionViewLayout()->setItemSize(CGSizeMake(165, 100)); }, 6},
      {"an identifier nobody registered",
       [](UICollectionView& view) {
         view.dequeueReusableCellWithReuseIdentifier_forIndexPath("unknown", NSIndexPath());
       },
       9, true},
      {"its own error", [](UICollectionView&) { throw NSException(NSInvalidArgumentException, "in the middle"); }, 9,
       true},
      {"answers a cell twice", [&](UICollectionView&) { source->repeated = 2; }, 9, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    bool done = false;
    source->beforeAnswer = [&](UICollectionView& view, std::int64_t item) {
      if (item == 2 && !std::exchange(done, true)) row.deed(view);
    };
    grid->collectionViewLayout()->setItemSize({100, 100});
    grid->setContentOffset({0, 0});
    if (row.isError) {
      EXPECT_THROW(show(90), NSException);
      source->repeated = -1;
      grid->setNeedsLayout();
    } else {
      show(90);
      EXPECT_FALSE(grid->needsLayout()) << "one more pass follows at once";
    }
    pass();
    EXPECT_TRUE(done);
    const std::int64_t first = grid->contentOffset().y > 0 ? 12 : 0;
    expectCellsInPlace(row.visible, first + static_cast<std::int64_t>(row.visible) - 1);
  }
  source->beforeAnswer = [](UICollectionView& view, std::int64_t) { view.reloadData(); };
  show(90);  // a source that never rests hangs nothing
  source->beforeAnswer = nullptr;
  pass();
  expectCellsInPlace(9, 8);
}

TEST_F(GridTest, GoesWithItsOwnersAlsoWhileItAsks) {
  show(90);
  scrollTo(700);
  const std::weak_ptr<UICollectionView> watched = grid;
  const auto layout = grid->collectionViewLayout();
  source->beforeAnswer = [this](UICollectionView& view, std::int64_t) {
    view.removeFromSuperview();
    grid = nullptr;
  };
  grid->reloadData();
  pass();
  EXPECT_TRUE(watched.expired());
  layout->setItemSize({10, 10});  // its grid has gone
}

}  // namespace
}  // namespace tlx
