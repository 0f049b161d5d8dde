#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/foundation/NSTimer.h"
#include "tlx/platform/uikit/UIViewController.h"
#include "tlx/platform/uikit/UIWindow.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(UIView, AnAnimationIsToldFalseOnlyWhenALaterWriteToItsOwnPropertyTookOver) {
  std::optional<UIView> view;
  const struct {
    const char* why;
    std::function<void()> meanwhile;
    bool finished;
  } rows[] = {
      {"nothing", [] {}, true},
      {"a plain write", [&] { view->setAlpha(1); }, false},
      {"another animation", [&] { UIView::animateWithDuration_animations(1, [&] { view->setAlpha(1); }); }, false},
      {"another property", [&] { view->setFrame(CGRectMake(0, 0, 9, 9)); }, true},
      {"what cannot be animated", [&] { view->setHidden(true); }, true},
      {"another view in its place", [&] { view.emplace().setAlpha(1); }, true},
  };
  for (const auto& row : rows) {
    memory::MemoryPlatform platform;
    view.emplace();
    std::vector<bool> ended;
    const auto end = [&](bool finished) { ended.push_back(finished); };
    UIView::animateWithDuration_animations_completion(
        1, [&] { view->setAlpha(0); }, end);
    EXPECT_EQ(view->alpha(), 0) << "the model holds the new value at once";
    platform.advance(0.5);
    row.meanwhile();
    EXPECT_THAT(ended, IsEmpty()) << row.why;
    platform.advance(3);
    EXPECT_THAT(ended, ElementsAre(row.finished)) << row.why;
    UIView::setAnimationsEnabled(false);
    UIView::animateWithDuration_animations_completion(1, nullptr, end);
    EXPECT_EQ(ended.size(), 2u) << "without animations it ends before the call returns";
  }
}

TEST(UIView, TurnsTheShortestWayAndHalfATurnTowardsGrowingAngle) {
  UIView view;
  const double pi = 3.141592653589793;
  for (const auto& [to, total] : {std::pair(pi / 2, pi / 2),
                                  {-pi / 2, 3 * pi / 2},
                                  {0.0, 2 * pi},
                                  {pi, 3 * pi},
                                  {pi, 3 * pi},
                                  {0.75 * pi, 2.75 * pi}}) {
    view.setTransform(CGAffineTransformMakeRotation(to));
    EXPECT_NEAR(view.rotation(), total, 1e-6);
  }
}

TEST(UIView, WhatStretchesWithItsSuperviewDoesAndIsFoundByItsTag) {
  const auto above = std::make_shared<UIView>(CGRectMake(10, 20, 100, 100));
  const auto view = std::make_shared<UIView>(CGRectMake(5, 6, 50, 50)), other = std::make_shared<UIView>();
  above->addSubview(view);
  view->addSubview(other);
  other->setTag(7);
  view->setAutoresizingMask(UIViewAutoresizingFlexibleWidth);
  above->setFrame(CGRectMake(10, 20, 90, 130));
  EXPECT_EQ(view->frame(), CGRectMake(5, 6, 40, 50));
  view->setAutoresizingMask(UIViewAutoresizingFlexibleHeight);
  above->layoutFrame(CGRectMake(10, 20, 80, 100));
  EXPECT_EQ(view->frame(), CGRectMake(5, 6, 40, 20));
  EXPECT_EQ(above->viewWithTag(7), other);
  EXPECT_EQ(above->viewWithTag(8), nullptr);
  EXPECT_EQ(view->convertRectToWindow(CGRectMake(1, 1, 2, 2)), CGRectMake(16, 27, 2, 2));
  above->addSubview(other);
  EXPECT_THAT(above->subviews(), ElementsAre(view, other)) << "on top of the others";
  EXPECT_THAT(view->subviews(), IsEmpty());
  view->setCenter({40, 40});
  EXPECT_EQ(view->frame(), CGRectMake(20, 30, 40, 20));
}

TEST(UIView, LaysOutUntilNothingMoreIsAskedForButNotForEver) {
  class Asking : public UIView {
   public:
    void layoutSubviews() override {
      if (++passes < wanted) setNeedsLayout();
    }
    int passes = 0, wanted = 3;
  };
  Asking view;
  view.setNeedsLayout();
  view.layoutIfNeeded();
  EXPECT_EQ(view.passes, 3);
  view.layoutIfNeeded();
  EXPECT_EQ(view.passes, 3);
  view.wanted = 1'000'000'000;
  view.setNeedsLayout();
  view.layoutIfNeeded();
  EXPECT_LT(view.passes, 100);
}

TEST(NSTimer, EndsWithItsTargetOrItsLastReference) {
  class Target {
   public:
    void fire() { ++fired; }
    int fired = 0;
  };
  memory::MemoryPlatform platform;
  auto target = std::make_shared<Target>();
  const auto start = [&](bool repeats) {
    return NSTimer::scheduledTimerWithTimeInterval_target_selector_repeats(1, target, &Target::fire, repeats);
  };
  auto once = start(false), again = start(true), left = start(true);
  left.reset();
  platform.advance(2.5);
  EXPECT_EQ(target->fired, 3);
  EXPECT_FALSE(once->isValid());
  EXPECT_TRUE(again->isValid());
  target.reset();
  platform.advance(1);
  EXPECT_FALSE(again->isValid());
}

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
