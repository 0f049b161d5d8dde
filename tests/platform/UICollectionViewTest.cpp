#include <utility>

#include "GridFixture.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(GridTest, AsksOnlyInItsPassAndOnlyInAWindow) {
  source->count = 12;
  grid->reloadData();
  grid->layoutIfNeeded();
  EXPECT_EQ(source->countsAsked, 0);
  platform.application.window()->addSubview(grid);
  EXPECT_EQ(source->countsAsked, 0);
  pass();
  EXPECT_EQ(source->countsAsked, 1);
  EXPECT_THAT(source->asked, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
  expectCellsInPlace();
  const auto cell = std::static_pointer_cast<NumberCell>(grid->cellForItemAtIndexPath({0, 5}));
  EXPECT_EQ(cell->frameWhenAwake, CGRectMake(0, 0, 100, 100));
  EXPECT_EQ(cell->frame(), CGRectMake(240, 110, 100, 100));
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
  CountingRenderer renderer(*grid);
  source->asked.clear();
  scrollTo(115);
  EXPECT_THAT(source->asked, ElementsAre(12, 13, 14));
  EXPECT_EQ(renderer.count(UIViewChange::Items), 1);
  EXPECT_EQ(renderer.count(UIViewChange::Subviews), 0) << "the row that went out came in as it was";
  scrollTo(116);
  EXPECT_EQ(renderer.count(UIViewChange::Items), 1) << "nothing came or went";
  EXPECT_EQ(renderer.count(UIViewChange::ContentOffset), 0) << "the renderer's own scroll is not told back";
  for (double y = 116; y < 32'000; y += 777) {
    scrollTo(y);
    expectCellsInPlace();
  }
  scrollTo(grid->maximumOffsetY());
  expectCellsInPlace();
  EXPECT_EQ(visible().back(), 899);
  EXPECT_LE(cellsMade, made + 3) << "a window holds one row more where rows are cut at both ends";
}

TEST_F(GridTest, ReloadedItemKeepsItsCellOnTheScreen) {
  show(30);
  const auto before = grid->cellForItemAtIndexPath({0, 4});
  CountingRenderer renderer(*grid);
  source->asked.clear();
  source->countsAsked = 0;
  grid->reloadItemsAtIndexPaths({{0, 4}, {0, 4}, {0, 29}, {0, 400}, {0, -1}, {1, 2}});
  EXPECT_THAT(source->asked, IsEmpty()) << "only in the pass";
  pass();
  EXPECT_THAT(source->asked, ElementsAre(4)) << "once, and only what is visible";
  EXPECT_EQ(source->countsAsked, 0);
  EXPECT_EQ(grid->cellForItemAtIndexPath({0, 4}), before);
  EXPECT_EQ(renderer.count(UIViewChange::Subviews), 0);
  EXPECT_EQ(renderer.count(UIViewChange::Items), 1);
  expectCellsInPlace();
}

TEST_F(GridTest, ReloadPutsCellsBackWhereTheyWereAndKeepsTheOffsetWithinTheContent) {
  show(90);
  scrollTo(1000);
  const auto cell = grid->cellForItemAtIndexPath({0, 30});
  source->offsets.clear();
  grid->reloadData();
  pass();
  EXPECT_EQ(grid->cellForItemAtIndexPath({0, 30}), cell);
  EXPECT_EQ(grid->contentOffset().y, 1000);
  EXPECT_THAT(source->offsets, IsEmpty());

  CountingRenderer renderer(*grid);
  source->count = 15;
  grid->reloadData();
  pass();
  EXPECT_EQ(grid->contentOffset().y, 540 - 330);
  EXPECT_THAT(source->offsets, ElementsAre(210)) << "a clamped offset is a scroll";
  EXPECT_GE(renderer.count(UIViewChange::ContentOffset), 1);
  expectCellsInPlace();
  EXPECT_EQ(visible().back(), 14);

  source->count = 0;
  grid->reloadData();
  pass();
  EXPECT_EQ(grid->contentOffset().y, 0);
  EXPECT_THAT(visible(), IsEmpty());
  EXPECT_THAT(grid->subviews(), IsEmpty());
}

TEST_F(GridTest, ResizeReflowsWithoutAskingAndClampsAsAScroll) {
  show(30);
  scrollTo(grid->maximumOffsetY());
  source->offsets.clear();
  source->asked.clear();
  grid->setFrame(CGRectMake(0, 0, 560, 330));
  pass();
  EXPECT_EQ(grid->collectionViewLayout()->itemsPerRow(), 5);
  EXPECT_EQ(grid->contentOffset().y, 6 * 110 - 10 - 330);
  EXPECT_THAT(source->offsets, ElementsAre(320));
  expectCellsInPlace();
  for (const std::int64_t item : source->asked) EXPECT_LT(item, 21) << "was visible already: " << item;
  EXPECT_EQ(source->countsAsked, 1);
}

TEST_F(GridTest, AtRestTheOffsetIsMinusTheInset) {
  grid->setContentInset({61, 0, 0, 0});
  EXPECT_EQ(grid->contentOffset().y, -61);
  EXPECT_THAT(source->offsets, ElementsAre(-61));
  show(30);
  EXPECT_EQ(grid->contentOffset().y, -61);
  EXPECT_EQ(visible().back(), 8);
  EXPECT_THAT(source->kindsAsked, IsEmpty()) << "a header without a height is not asked for";
  scrollTo(500);
  grid->setContentInset({0, 0, 0, 0});
  EXPECT_EQ(grid->contentOffset().y, 500) << "only content at rest at its start stays there";
}

TEST_F(GridTest, ContentHeldPastAnEndStaysThereThroughAReload) {
  show(30);
  for (const double held : {-40.0, grid->maximumOffsetY() + 40}) {
    scrollTo(held);
    grid->reloadData();
    pass();
    EXPECT_EQ(grid->contentOffset().y, held) << "the finger decides when it lets go";
  }
}

TEST_F(GridTest, HeaderAndFooterStandAroundTheItemsAndAroundNone) {
  grid->collectionViewLayout()->setHeaderReferenceSize({0, 50});
  grid->collectionViewLayout()->setFooterReferenceSize({0, 40});
  show(0);
  EXPECT_THAT(source->kindsAsked,
              ElementsAre(UICollectionElementKindSectionHeader, UICollectionElementKindSectionFooter));
  EXPECT_EQ(grid->supplementaryViewForElementKind(UICollectionElementKindSectionFooter)->frame(),
            CGRectMake(0, 50, 340, 40));
  source->count = 30;
  source->kindsAsked.clear();
  grid->reloadData();
  pass();
  EXPECT_THAT(source->kindsAsked, ElementsAre(UICollectionElementKindSectionHeader));
  EXPECT_EQ(grid->supplementaryViewForElementKind(UICollectionElementKindSectionFooter), nullptr);
  EXPECT_EQ(grid->cellForItemAtIndexPath({0, 0})->frame().origin.y, 50);
  scrollTo(grid->maximumOffsetY());
  EXPECT_EQ(grid->supplementaryViewForElementKind(UICollectionElementKindSectionHeader), nullptr);
  EXPECT_EQ(grid->supplementaryViewForElementKind(UICollectionElementKindSectionFooter)->frame(),
            CGRectMake(0, 50 + 1090, 340, 40));
  EXPECT_EQ(grid->contentSize().height, 50 + 1090 + 40);
}

TEST_F(GridTest, TapsReachOnlyItemsThatExistWhenThePassHasRun) {
  show(5);
  EXPECT_TRUE(grid->tappedAt({0, 4}));
  for (const NSIndexPath& missing : {NSIndexPath{0, 5}, NSIndexPath{0, -1}, NSIndexPath{1, 0}}) {
    EXPECT_FALSE(grid->tappedAt(missing));
  }
  source->count = 2;
  grid->reloadData();
  EXPECT_FALSE(grid->tappedAt({0, 4})) << "the list has shrunk since the last frame";
  EXPECT_THAT(source->tapped, ElementsAre(4));
}

TEST_F(GridTest, ScrollsNoFurtherThanAnItemNeeds) {
  grid->setContentInset({61, 0, 20, 0});
  show(90);
  struct Row {
    std::int64_t item;
    double offset;
    const char* why;
  };
  for (const Row& row : {Row{0, -61, "visible already"}, Row{9, 330 + 100 + 20 - 330, "up to the lower inset"},
                         Row{10, 120, "the same row"}, Row{3, 110 - 61, "down to the upper inset"},
                         Row{89, 29 * 110 + 100 + 20 - 330, "the last"}, Row{90, 2980, "does not exist"}}) {
    grid->scrollToItemAtIndexPath({0, row.item});
    EXPECT_EQ(grid->contentOffset().y, row.offset) << row.why;
  }
}

TEST_F(GridTest, PlacesAnsweredWithNothingStayEmptyAndAreNotAskedAgain) {
  source->empty = {1, 13};
  show(90);
  EXPECT_EQ(grid->cellForItemAtIndexPath({0, 1}), nullptr);
  expectCellsInPlace();
  source->asked.clear();
  scrollTo(10);
  EXPECT_THAT(source->asked, ElementsAre(9, 10, 11));
  source->empty.clear();
  grid->reloadItemsAtIndexPaths({{0, 1}});
  pass();
  EXPECT_NE(grid->cellForItemAtIndexPath({0, 1}), nullptr);
  EXPECT_LE(cellsMade, 12) << "what was dequeued and not answered goes back";
}

/// What a data source may do to the grid while it is being asked.
TEST_F(GridTest, SurvivesWhatADataSourceDoesWhileItIsAsked) {
  struct Row {
    const char* why;
    std::function<void(NumberSource&, UICollectionView&)> deed;
    std::size_t visible;
  };
  for (const Row& row : {
           Row{"demands everything anew", [](NumberSource&, UICollectionView&view) { view.reloadData(); }, 9},
           Row{"shrinks", [](NumberSource&self, UICollectionView&view) { self.count = 4, view.reloadData(); }, 4},
           Row{"demands other items anew",
               [](NumberSource&, UICollectionView&view) {
                 view.reloadItemsAtIndexPaths({{0, 1}, {0, 7}});
               },
               9},
           Row{"scrolls",
               [](NumberSource&, UICollectionView&view) {
                 view.setContentOffset({0, 440});
               },
               9},
           Row{"asks for a pass",
               [](NumberSource&, UICollectionView&view) { view.reloadData(), view.layoutIfNeeded(); }, 9},
           Row{"leaves the window", [](NumberSource&, UICollectionView&view) { view.removeFromSuperview(); }, 9},
           Row{"changes the layout",
               [](NumberSource&, UICollectionView&view) {
                 view.collectionViewLayout()->setItemSize({165, 100});
               },
               6},
       }) {
    SCOPED_TRACE(row.why);
    bool done = false;
    source->beforeAnswer = [&](UICollectionView& view, std::int64_t item) {
      if (item == 2 && !std::exchange(done, true)) row.deed(*source, view);
    };
    grid->collectionViewLayout()->setItemSize({100, 100});
    grid->setContentOffset({0, 0});
    grid->reloadData();
    show(90);
    platform.application.window()->addSubview(grid);
    pass();
    EXPECT_TRUE(done);
    EXPECT_EQ(grid->visibleCells().size(), row.visible);
    expectCellsInPlace();
  }
}

TEST_F(GridTest, ADataSourceThatNeverRestsHangsNothing) {
  source->beforeAnswer = [](UICollectionView& view, std::int64_t) { view.reloadData(); };
  show(90);
  source->beforeAnswer = nullptr;
  pass();
  EXPECT_EQ(visible().size(), 9u);
  expectCellsInPlace();
}

TEST_F(GridTest, OutlivesItsOwnersWhileItAsks) {
  show(0);
  source->count = 90;
  std::weak_ptr<UICollectionView> watched = grid;
  source->beforeAnswer = [this](UICollectionView& view, std::int64_t) {
    view.removeFromSuperview();
    grid = nullptr;
  };
  grid->reloadData();
  pass();
  EXPECT_TRUE(watched.expired());
}

TEST_F(GridTest, ProgrammingErrorsAreToldAndDoNotLastPastThePass) {
  struct Row {
    const char* why;
    std::function<void(UICollectionView&, std::int64_t)> error;
  };
  for (const Row& row :
       {Row{"an identifier nobody registered",
            [](UICollectionView&view, std::int64_t) {
              view.dequeueReusableCellWithReuseIdentifier_forIndexPath("unknown", {0, 0});
            }},
        Row{"a header's prototype for a cell",
            [](UICollectionView&view, std::int64_t) {
              view.dequeueReusableCellWithReuseIdentifier_forIndexPath(UICollectionElementKindSectionHeader, {0, 0});
            }},
        Row{"the data source's own", [](UICollectionView&, std::int64_t) {
              throw NSException(NSInvalidArgumentException, "thrown in the middle");
            }}}) {
    SCOPED_TRACE(row.why);
    source->beforeAnswer = row.error;
    grid->reloadData();
    EXPECT_THROW(show(30), NSException);
    source->beforeAnswer = nullptr;
    grid->setNeedsLayout();
    pass();
    EXPECT_EQ(visible().size(), 9u);
    expectCellsInPlace();
  }
}

TEST_F(GridTest, RefusesACellThatStandsForAnotherItem) {
  class Repeating : public NumberSource {
    std::shared_ptr<UICollectionViewCell> collectionView_cellForItemAtIndexPath(UICollectionView& view,
                                                                                const NSIndexPath& path) override {
      return path.item == 1 ? view.cellForItemAtIndexPath({0, 0})
                            : NumberSource::collectionView_cellForItemAtIndexPath(view, path);
    }
  };
  auto repeating = std::make_shared<Repeating>();
  repeating->count = 3;
  grid->setDataSource(repeating);
  EXPECT_THROW(show(3), NSException);
}

TEST_F(GridTest, LetsGoOfEverythingInTheEnd) {
  show(90);
  scrollTo(700);
  std::vector<std::weak_ptr<UIView>> made{grid, grid->collectionViewLayout() ? grid->subviews()[0] : nullptr};
  const std::shared_ptr<UICollectionViewFlowLayout> layout = grid->collectionViewLayout();
  grid->removeFromSuperview();
  grid = nullptr;
  for (const auto& view : made) EXPECT_TRUE(view.expired());
  layout->setItemSize({10, 10});  // its grid has gone
}

TEST(UICollectionViewController, ServesItsOwnView) {
  class Controller : public UICollectionViewController {
   public:
    std::int64_t collectionView_numberOfItemsInSection(UICollectionView&, std::int64_t) override { return ++asked; }
    void scrollViewDidScroll(UIScrollView&) override { ++scrolled; }
    int asked = 0, scrolled = 0;
  };
  memory::MemoryPlatform platform;
  auto controller = std::make_shared<Controller>();
  const auto grid = controller->collectionView();
  ASSERT_NE(grid, nullptr);
  EXPECT_EQ(controller->view(), grid);
  grid->setContentOffset({0, 7});
  EXPECT_EQ(controller->scrolled, 1);
  platform.application.window()->addSubview(grid);
  platform.runUntilIdle();
  EXPECT_EQ(controller->asked, 1);

  auto wrong = std::make_shared<Controller>();
  wrong->setViewLoader([] { return std::make_shared<UIView>(); });
  EXPECT_THROW(wrong->view(), NSException);
}

}  // namespace
}  // namespace tlx
