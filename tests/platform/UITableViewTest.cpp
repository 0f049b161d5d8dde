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

/// Says what it was asked.
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

  std::int64_t count = 0;
  double height = 50;
  int heightsAsked = 0;
  std::vector<std::int64_t> asked;
};

TEST(UITableView, AsksForOneHeightAndForWhatIsVisible) {
  memory::MemoryPlatform platform;
  const auto controller = std::make_shared<ListController>();
  const auto table = controller->tableView();
  table->setFrame(CGRectMake(0, 0, 300, 200));
  table->registerPrototype("row", [](const CGRect&) { return std::make_shared<UITableViewCell>(); });
  platform.application.window()->addSubview(table);
  const auto asked = [&] {
    platform.runUntilIdle();
    return std::exchange(controller->asked, {});
  };
  const auto show = [&](std::int64_t count) {
    controller->count = count;
    table->reloadData();
    return asked();
  };
  const auto footer = std::make_shared<UIView>(CGRectMake(0, 0, 10, 30));
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
  controller->count = 1;
  table->reloadData();
  EXPECT_FALSE(table->tappedAt({0, 2})) << "gone since the last frame";
}

}  // namespace
}  // namespace tlx
