#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UITableView.h"
#include "tlx/platform/uikit/UIWindow.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A list of 50-point rows in a table 200 high; says what it was asked.
class ListController : public UITableViewController {
 public:
  std::int64_t tableView_numberOfRowsInSection(UITableView&, std::int64_t) override { return count; }
  double tableView_heightForRowAtIndexPath(UITableView&, const NSIndexPath& path) override {
    heightsAsked.push_back(path.row());
    return height;
  }
  std::shared_ptr<UITableViewCell> tableView_cellForRowAtIndexPath(UITableView& table,
                                                                   const NSIndexPath& path) override {
    asked.push_back(path.row());
    return table.dequeueReusableCellWithIdentifier_forIndexPath("row", path);
  }
  void tableView_didSelectRowAtIndexPath(UITableView& table, const NSIndexPath& path) override {
    tapped.push_back(path.row());
    if (onTap) onTap(table, path);
  }

  std::int64_t count = 0;
  double height = 50;
  std::vector<std::int64_t> asked, heightsAsked, tapped;
  std::function<void(UITableView&, const NSIndexPath&)> onTap;
};

class TableTest : public testing::Test {
 protected:
  TableTest() {
    table->setFrame(CGRectMake(0, 0, 300, 200));
    table->registerPrototype("row", [this](const CGRect& frame) {
      ++cellsMade;
      auto cell = std::make_shared<UITableViewCell>();
      cell->setFrame(frame);
      return cell;
    });
  }
  void show(std::int64_t count) {
    controller->count = count;
    platform.application.window()->addSubview(table);
    platform.runUntilIdle();
  }
  std::vector<std::int64_t> rowsAskedBy(const std::function<void()>& deed) {
    controller->asked.clear();
    deed();
    platform.runUntilIdle();
    return controller->asked;
  }

  memory::MemoryPlatform platform;
  std::shared_ptr<ListController> controller = std::make_shared<ListController>();
  std::shared_ptr<UITableView> table = controller->tableView();
  int cellsMade = 0;
};

TEST_F(TableTest, AsksForOneHeightAndForWhatIsVisible) {
  auto footer = std::make_shared<UIView>(CGRectMake(0, 0, 10, 30));
  table->setTableFooterView(footer);
  show(0);
  EXPECT_THAT(controller->heightsAsked, IsEmpty()) << "there is no row to ask for";
  EXPECT_EQ(footer->frame(), CGRectMake(0, 0, 300, 30));
  EXPECT_THAT(rowsAskedBy([&] { table->reloadData(), controller->count = 40; }), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(controller->heightsAsked, ElementsAre(0));
  EXPECT_EQ(table->cellForRowAtIndexPath({0, 3})->frame(), CGRectMake(0, 150, 300, 50));
  EXPECT_EQ(footer->frame(), CGRectMake(0, 2000, 300, 30));
  EXPECT_EQ(table->contentSize(), CGSizeMake(300, 2030));
  EXPECT_THAT(rowsAskedBy([&] { table->scrolledTo({0, 60}); }), ElementsAre(4, 5));
  EXPECT_LE(cellsMade, 5);
  EXPECT_THAT(controller->heightsAsked, ElementsAre(0)) << "a scroll does not ask";
  controller->height = 25;
  EXPECT_THAT(rowsAskedBy([&] { table->setFrame(CGRectMake(0, 0, 280, 100)); }), ElementsAre(6)) << "a resize does";
  EXPECT_EQ(table->cellForRowAtIndexPath({0, 5})->frame(), CGRectMake(0, 125, 280, 25));
}

TEST_F(TableTest, ReloadsRowsThatAreThereAndPassesOverTheRest) {
  show(3);
  const auto cell = table->cellForRowAtIndexPath({0, 1});
  EXPECT_THAT(
      rowsAskedBy([&] {
        table->reloadRowsAtIndexPaths_withRowAnimation({{0, 1}, {0, 7}, {0, -1}, {3, 0}}, UITableViewRowAnimationNone);
      }),
      ElementsAre(1));
  EXPECT_EQ(table->cellForRowAtIndexPath({0, 1}), cell);
  EXPECT_THAT(rowsAskedBy([&] {
                controller->count = 1;
                table->reloadData();
                table->reloadRowsAtIndexPaths_withRowAnimation({{0, 2}}, UITableViewRowAnimationNone);
              }),
              ElementsAre(0))
      << "a row that the reload will take away";
  EXPECT_EQ(table->subviews().size(), 1u);
}

TEST_F(TableTest, ATapSelectsUntilTheRowIsDeselectedOrReloaded) {
  show(3);
  EXPECT_FALSE(table->tappedAt({0, 3}));
  EXPECT_TRUE(table->tappedAt({0, 2}));
  EXPECT_EQ(table->indexPathForSelectedRow(), (NSIndexPath{0, 2}));
  table->deselectRowAtIndexPath_animated({0, 1}, true);
  EXPECT_EQ(table->indexPathForSelectedRow(), (NSIndexPath{0, 2})) << "another row's";
  table->deselectRowAtIndexPath_animated({0, 2}, true);
  EXPECT_EQ(table->indexPathForSelectedRow(), std::nullopt);
  controller->onTap = [](UITableView& view, const NSIndexPath& path) {
    view.reloadRowsAtIndexPaths_withRowAnimation({path}, UITableViewRowAnimationNone);
  };
  EXPECT_TRUE(table->tappedAt({0, 0}));
  EXPECT_EQ(table->indexPathForSelectedRow(), std::nullopt);
  controller->count = 1;
  table->reloadData();
  EXPECT_FALSE(table->tappedAt({0, 2})) << "gone since the last frame";
  EXPECT_THAT(controller->tapped, ElementsAre(2, 0));
}

TEST_F(TableTest, AHeightThatMakesNoSenseShowsNoRows) {
  for (const double bad : {0.0, -4.0, std::numeric_limits<double>::quiet_NaN()}) {
    controller->height = bad;
    table->reloadData();
    show(3);
    EXPECT_THAT(table->visibleCells(), IsEmpty()) << bad;
    EXPECT_EQ(table->contentSize().height, 0) << bad;
  }
}

}  // namespace
}  // namespace tlx
