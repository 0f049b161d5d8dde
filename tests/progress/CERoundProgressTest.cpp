#include <bit>
#include <cmath>
#include <cstdint>

#include <gtest/gtest.h>

#include "tlx/progress/CERoundProgressView.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

constexpr double kPi = 3.141592653589793;

std::uint32_t bits(double value) {
  return std::bit_cast<std::uint32_t>(static_cast<float>(value));
}

class RoundProgressTest : public testing::Test {
 protected:
  struct Drawing {
    CGContext::Stroke ring;
    CGContext::Fill pie;
    CGContext::Arc arc;

    /// The part of the whole that the pie leaves free.
    double progress() const { return (arc.startAngle - arc.endAngle) / (2 * kPi); }
  };
  Drawing drawing() {
    const auto& operations = view->layer()->displayedContents().operations();
    if (operations.size() != 2) throw std::runtime_error("a ring and a pie, no more");
    const auto pie = std::get<CGContext::Fill>(operations[1]);
    return {std::get<CGContext::Stroke>(operations[0]), pie, std::get<CGContext::Arc>(pie.path.at(0))};
  }

  RoundProgressTest() {
    platform.application.setScreenScale(2);
    view = CERoundProgressView::initWithFrame(CGRectMake(0, 0, 50, 30));
  }

  memory::MemoryPlatform platform;
  std::shared_ptr<CERoundProgressView> view;
};

TEST_F(RoundProgressTest, DrawsARingAndThePieThatIsLeft) {
  EXPECT_EQ(view->layer()->contentsScale(), 2) << "as sharp as the screen";
  view->setTintColor({0.1, 0.2, 0.3, 0.4});
  view->setTrackColor(UIColor::redColor());
  view->setProgress_animated(0.25f, false);
  view->setStartAngle(1.0f);
  const Drawing drawn = drawing();
  EXPECT_EQ(bits(view->startAngle()), 0x4096CBE4u) << "drawing puts it straight up";
  ASSERT_EQ(drawn.ring.path.size(), 1u);
  EXPECT_EQ(std::get<CGContext::Ellipse>(drawn.ring.path[0]).rect, CGRectMake(15, 5, 20, 20));
  EXPECT_DOUBLE_EQ(drawn.ring.lineWidth, 1.0);
  EXPECT_EQ(drawn.ring.color, view->tintColor());

  EXPECT_EQ(drawn.arc.center, (CGPoint{25, 15}));
  EXPECT_DOUBLE_EQ(drawn.arc.radius, 7.8);
  EXPECT_EQ(bits(drawn.arc.endAngle), 0x4096CBE4u);
  EXPECT_DOUBLE_EQ(drawn.arc.startAngle, drawn.arc.endAngle + 0.25 * 2 * kPi);
  EXPECT_FALSE(drawn.arc.clockwise);
  ASSERT_EQ(drawn.pie.path.size(), 3u);
  EXPECT_EQ(std::get<CGContext::LineTo>(drawn.pie.path[1]).point, drawn.arc.center);
  EXPECT_TRUE(std::holds_alternative<CGContext::Close>(drawn.pie.path[2]));
  EXPECT_EQ(drawn.pie.color, view->tintColor()) << "the track colour is never drawn";

  view->setFrame(CGRectMake(3, 4, 20, 8));
  EXPECT_DOUBLE_EQ(drawing().arc.radius, -0.78) << "too small for it, and drawn all the same";
  view->setTintColor(UIColor::redColor());
  EXPECT_EQ(drawing().ring.color, UIColor::redColor());
  view->setProgress(0.0f);
  EXPECT_NEAR(drawing().progress(), 0.000001, 1e-9) << "nearly a full disc, not none";
  EXPECT_EQ(bits(view->progress()), 0x358637BDu) << "drawing writes back into the layer";
}

TEST_F(RoundProgressTest, AnimatesOnlyWhatRisesAndClampsAll) {
  const struct {
    float from, to;
    bool animated;
    float result;
    const char* reason;
  } rows[] = {
      {0.3f, 0.6f, true, 0.6f, "rising"},
      {0.6f, 0.3f, false, 0.3f, "falling jumps"},
      {0.5f, 0.5f, false, 0.5f, "the same jumps"},
      {1.0f, 1.7f, true, 1.0f, "what counts is the value given, not the clamped one"},
      {0.5f, std::nanf(""), false, 0.0f, "what is not a number"},
  };
  for (const auto& row : rows) {
    view->setProgress_animated(row.from, false);
    view->setProgress(row.to);
    EXPECT_EQ(view->layer()->hasAnimationForKey("progressAnimation"), row.animated) << row.reason;
    EXPECT_EQ(view->progress(), row.result) << row.reason;
    platform.advance(1);
    EXPECT_NEAR(drawing().progress(), row.result, 1e-5) << row.reason;
  }
}

TEST_F(RoundProgressTest, ShowsTheWayWhileItRises) {
  view->setTintColor(UIColor::redColor());
  view->setProgress_animated(0.2f, false);
  view->setProgress(0.6f);
  EXPECT_NEAR(drawing().progress(), 0.2, 1e-6);
  platform.advance(0.125);
  EXPECT_NEAR(drawing().progress(), 0.4, 0.4 / 0.25 / 60) << "to within one beat of the display";
  EXPECT_EQ(drawing().pie.color, UIColor::redColor()) << "the copies in flight are coloured too";
  platform.advance(0.125 + 1 / 60.0);
  EXPECT_NEAR(drawing().progress(), 0.6, 1e-6) << "a quarter of a second at first";
  view->setAnimationDuration(2.0);
  view->setProgress(1.0f);
  platform.advance(1.0);
  EXPECT_NEAR(drawing().progress(), 0.8, 0.2 / 60);
  view->setAnimationDuration(4.0);
  view->setProgress_animated(1.0f, true);
  platform.advance(2.0);
  EXPECT_TRUE(view->layer()->hasAnimationForKey("progressAnimation")) << "the one before would have ended";
  view->layer()->setDisplayHandler([this] { view.reset(); });
  platform.advance(1.0);
  EXPECT_EQ(view, nullptr) << "it may go in the middle";
  EXPECT_EQ(platform.loop.listenerCount(), 0u) << "who does not move hears no beat";
}

TEST_F(RoundProgressTest, JumpsWhereMotionIsReduced) {
  platform.application.setReduceMotion(true);
  view->setProgress(0.6f);
  EXPECT_NEAR(drawing().progress(), 0.6, 1e-6);
  EXPECT_EQ(platform.loop.listenerCount(), 0u);
}

}  // namespace
}  // namespace tlx
