#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UIViewController.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

TEST(UIViewController, IsDismissedAlsoWhileWhatItPresentedIsOnItsWayOut) {
  memory::MemoryPlatform platform;
  const auto below = std::make_shared<UIViewController>(), screen = std::make_shared<UIViewController>(),
             above = std::make_shared<UIViewController>();
  below->presentViewController_animated_completion(screen, false, nullptr);
  screen->presentViewController_animated_completion(above, false, nullptr);
  platform.runUntilIdle();
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
  EXPECT_THAT(ended, testing::ElementsAre("above", "screen"));
  EXPECT_EQ(above->presentingViewController(), nullptr);
  EXPECT_EQ(screen->presentingViewController(), nullptr);
  EXPECT_EQ(below->presentedViewController(), nullptr);
}

}  // namespace
}  // namespace tlx
