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

}  // namespace
}  // namespace tlx
