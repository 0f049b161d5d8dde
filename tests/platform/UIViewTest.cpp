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

}  // namespace
}  // namespace tlx
