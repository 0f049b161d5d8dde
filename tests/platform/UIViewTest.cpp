#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UIView.h"

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
  for (const auto& [to, total] : {std::pair(pi / 2, pi / 2), {-pi / 2, 3 * pi / 2}, {0.0, 2 * pi}, {pi, 3 * pi}}) {
    view.setTransform(CGAffineTransformMakeRotation(to));
    EXPECT_NEAR(view.rotation(), total, 1e-6);
  }
}

TEST(UIView, StretchesWithItsSuperviewInTheWayItsMaskSays) {
  const auto above = std::make_shared<UIView>(CGRectMake(10, 20, 100, 100));
  const auto view = std::make_shared<UIView>(CGRectMake(5, 6, 50, 50));
  above->addSubview(view);
  view->setAutoresizingMask(UIViewAutoresizingFlexibleWidth);
  above->setFrame(CGRectMake(10, 20, 90, 130));
  EXPECT_EQ(view->frame(), CGRectMake(5, 6, 40, 50));
  view->setAutoresizingMask(UIViewAutoresizingFlexibleHeight);
  above->layoutFrame(CGRectMake(10, 20, 80, 100));
  EXPECT_EQ(view->frame(), CGRectMake(5, 6, 40, 20));
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

}  // namespace
}  // namespace tlx
