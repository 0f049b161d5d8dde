#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UIPopoverPresentationController.h"
#include "tlx/platform/uikit/UIWindow.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using testing::ElementsAre;

class ScreensTest : public testing::Test {
 protected:
  memory::MemoryPlatform platform;
  std::shared_ptr<UIViewController> below = std::make_shared<UIViewController>(),
                                    screen = std::make_shared<UIViewController>(),
                                    above = std::make_shared<UIViewController>();
};

TEST_F(ScreensTest, AreDismissedAlsoWhileWhatTheyPresentedIsOnItsWayOut) {
  below->presentViewController_animated_completion(screen, false, nullptr);
  screen->presentViewController_animated_completion(above, false, nullptr);
  std::vector<std::string> ended;
  const auto dismiss = [&](const std::string& name) {
    screen->dismissViewControllerAnimated_completion(true, [&ended, name] { ended.push_back(name); });
  };
  dismiss("above");
  platform.advance(0.1);
  dismiss("screen");
  dismiss("nothing");
  EXPECT_TRUE(screen->isBeingDismissed());
  platform.advance(1);
  EXPECT_THAT(ended, ElementsAre("above", "screen"));
  EXPECT_EQ(above->presentingViewController(), nullptr);
  EXPECT_EQ(screen->presentingViewController(), nullptr);
  EXPECT_EQ(below->presentedViewController(), nullptr);
  EXPECT_EQ(screen->view()->superview(), nullptr);
}

TEST_F(ScreensTest, APopoverHangsBelowItsSourceWithinTheMarginsAndGoesOnce) {
  screen->setModalPresentationStyle(UIModalPresentationPopover);
  screen->setPreferredContentSize({300, 400});
  const auto popover = screen->popoverPresentationController();
  const struct {
    CGRect source;
    CGSize window;
    CGRect frame;
    const char* why;
  } rows[] = {
      {CGRectMake(250, 20, 100, 40), {600, 800}, CGRectMake(150, 73, 300, 400), "centred below the arrow"},
      {CGRectMake(0, 20, 100, 40), {600, 800}, CGRectMake(10, 73, 300, 400), "at the left margin"},
      {CGRectMake(0, 20, 100, 40), {280, 300}, CGRectMake(10, 73, 260, 217), "no larger than the room"},
      {CGRectMake(0, 0, 9, 900), {280, 300}, CGRectMake(10, 290, 260, 0), "no room below"},
  };
  for (const auto& row : rows) {
    popover->setSourceRect(row.source);
    EXPECT_EQ(popover->frameInWindow(row.window), row.frame) << row.why;
  }
  EXPECT_FALSE(popover->requestDismissal()) << "it is not shown";
  below->presentViewController_animated_completion(screen, false, nullptr);
  EXPECT_TRUE(popover->requestDismissal());
  EXPECT_FALSE(popover->requestDismissal()) << "it is on its way";
}

TEST_F(ScreensTest, LeaveTheWindowWithWhoeverPresentedThem) {
  below->presentViewController_animated_completion(screen, false, nullptr);
  EXPECT_EQ(screen->view()->superview(), platform.application.window());
  EXPECT_EQ(platform.presentation.top(), screen);
  below.reset();
  EXPECT_EQ(screen->view()->superview(), nullptr);
  EXPECT_EQ(platform.presentation.top(), nullptr);
}

}  // namespace
}  // namespace tlx
