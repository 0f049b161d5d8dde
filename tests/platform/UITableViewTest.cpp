#include <cmath>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UITableView.h"
#include "tlx/platform/uikit/UIWindow.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A list in a table 200 high; says what it was asked.
class ListController : public UITableViewController {
 public:
  std::int64_t tableView_numberOfRowsInSection(UITableView&, std::int64_t) override { return count; }
  double tableView_heightForRowAtIndexPath(UITableView&, const NSIndexPath&) override {
    ++heightsAsked;
    return height;
  }
  std::shared_ptr<UITableViewCell> tableView_cellForRowAtIndexPath(UITableView& table,
                                                                   const NSIndexPath& path) override {
    asked.push_back(path.row());
    return table.dequeueReusableCellWithIdentifier_forIndexPath("row", path);
  }
  void tableView_didSelectRowAtIndexPath(UITableView&, const NSIndexPath& path) override {
    tapped.push_back(path.row());
  }

  std::int64_t count = 0;
  double height = 50;
  int heightsAsked = 0;
  std::vector<std::int64_t> asked, tapped;
};

class TableTest : public testing::Test {
 protected:
  TableTest() {
    table->setFrame(CGRectMake(0, 0, 300, 200));
    table->registerPrototype("row", [](const CGRect&) { return std::make_shared<UITableViewCell>(); });
    platform.application.window()->addSubview(table);
  }
  std::vector<std::int64_t> asked() {
    platform.runUntilIdle();
    return std::exchange(controller->asked, {});
  }
  std::vector<std::int64_t> show(std::int64_t count) {
    controller->count = count;
    table->reloadData();
    return asked();
  }

  memory::MemoryPlatform platform;
  std::shared_ptr<ListController> controller = std::make_shared<ListController>();
  std::shared_ptr<UITableView> table = controller->tableView();
};

TEST_F(TableTest, AsksForOneHeightAndForWhatIsVisible) {
  auto footer = std::make_shared<UIView>(CGRectMake(0, 0, 10, 30));
  table->setTableFooterView(footer);
  EXPECT_THAT(show(0), IsEmpty());
  EXPECT_EQ(controller->heightsAsked, 0) << "there is no row to ask for";
  EXPECT_THAT(show(40), ElementsAre(0, 1, 2, 3));
  EXPECT_EQ(footer->frame(), CGRectMake(0, 2000, 300, 30));
  EXPECT_EQ(table->contentSize(), CGSizeMake(300, 2030));
  table->scrolledTo({0, 60});
  EXPECT_THAT(asked(), ElementsAre(4, 5));
  EXPECT_EQ(controller->heightsAsked, 1) << "a scroll does not ask";
  controller->height = 25;
  table->setFrame(CGRectMake(0, 0, 280, 100));
  EXPECT_THAT(asked(), ElementsAre(6)) << "a resize does";
  EXPECT_EQ(table->cellForRowAtIndexPath({0, 5})->frame(), CGRectMake(0, 125, 280, 25));
  for (const double bad : {0.0, -4.0, std::nan("")}) {
    controller->height = bad;
    EXPECT_THAT(show(3), IsEmpty()) << bad;
    EXPECT_EQ(table->contentSize().height, 30) << bad;
  }
}

TEST_F(TableTest, TapsAndReloadsReachOnlyRowsThatAreThere) {
  show(3);
  EXPECT_TRUE(table->tappedAt({0, 2}));
  EXPECT_EQ(table->indexPathForSelectedRow(), (NSIndexPath{0, 2}));
  table->reloadRowsAtIndexPaths_withRowAnimation({{0, 2}, {0, 7}, {0, -1}, {3, 1}}, UITableViewRowAnimationNone);
  EXPECT_THAT(asked(), ElementsAre(2));
  EXPECT_EQ(table->indexPathForSelectedRow(), std::nullopt) << "a reload selects nothing";
  controller->count = 1;
  table->reloadData();
  EXPECT_FALSE(table->tappedAt({0, 2})) << "gone since the last frame";
  EXPECT_THAT(controller->tapped, ElementsAre(2));
}

}  // namespace
}  // namespace tlx
