#include <bit>
#include <cstdint>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/progress/CERoundProgressView.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using memory::MemoryPlatform;

constexpr double kPi = 3.141592653589793;

std::shared_ptr<CERoundProgressView> makeView(const CGRect& frame = CGRectMake(0, 0, 50, 30)) {
  return CERoundProgressView::initWithFrame(frame);
}

/// What a picture of the indicator consists of.
struct Drawing {
  CGContext::Stroke ring;
  CGContext::Ellipse ellipse;
  CGContext::Fill pie;
  CGContext::Arc arc;

  explicit Drawing(const CGContext& context) {
    if (context.operations().size() != 2) throw std::runtime_error("a ring and a pie, no more");
    ring = std::get<CGContext::Stroke>(context.operations()[0]);
    ellipse = std::get<CGContext::Ellipse>(ring.path.at(0));
    pie = std::get<CGContext::Fill>(context.operations()[1]);
    arc = std::get<CGContext::Arc>(pie.path.at(0));
  }
  /// The part of the whole that the pie leaves free.
  double progress() const { return (arc.startAngle - arc.endAngle) / (2 * kPi); }
};

TEST(CERoundProgress, DrawsARingAndThePieThatIsLeft) {
  MemoryPlatform platform;
  const auto view = makeView();
  view->setTintColor({0.1, 0.2, 0.3, 0.4});
  view->setTrackColor(UIColor::redColor());
  view->setProgress_animated(0.25f, false);
  const Drawing drawing(view->layer()->displayedContents());

  EXPECT_EQ(drawing.ring.path.size(), 1u);
  EXPECT_EQ(drawing.ellipse.rect, CGRectMake(15, 5, 20, 20));
  EXPECT_DOUBLE_EQ(drawing.ring.lineWidth, 1.0);
  EXPECT_EQ(drawing.ring.color, view->tintColor());

  EXPECT_EQ(drawing.arc.center, (CGPoint{25, 15}));
  EXPECT_DOUBLE_EQ(drawing.arc.radius, 7.8);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(static_cast<float>(drawing.arc.endAngle)), 0x4096CBE4u) << "straight up";
  EXPECT_DOUBLE_EQ(drawing.arc.startAngle, drawing.arc.endAngle + 0.25 * 2 * kPi);
  EXPECT_FALSE(drawing.arc.clockwise);
  ASSERT_EQ(drawing.pie.path.size(), 3u);
  EXPECT_EQ(std::get<CGContext::LineTo>(drawing.pie.path[1]).point, drawing.arc.center);
  EXPECT_TRUE(std::holds_alternative<CGContext::Close>(drawing.pie.path[2]));
  EXPECT_EQ(drawing.pie.color, view->tintColor()) << "the track colour is never drawn";
}

TEST(CERoundProgress, DrawsInsideBoundsTooSmallForIt) {
  MemoryPlatform platform;
  const Drawing drawing(makeView(CGRectMake(3, 4, 20, 8))->layer()->displayedContents());
  EXPECT_DOUBLE_EQ(drawing.arc.radius, -0.78);
  EXPECT_EQ(drawing.arc.center, (CGPoint{10, 4}));
}

TEST(CERoundProgress, DrawingWritesBackIntoTheLayer) {
  MemoryPlatform platform;
  const auto view = makeView();
  view->setStartAngle(1.0f);
  EXPECT_EQ(view->startAngle(), 1.0f);
  EXPECT_EQ(view->progress(), 0.0f);
  view->layer()->displayedContents();
  EXPECT_EQ(std::bit_cast<std::uint32_t>(view->progress()), 0x358637BDu);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(view->startAngle()), 0x4096CBE4u);
  view->setProgress(0.0f);
  EXPECT_EQ(view->progress(), 0.0f);
  EXPECT_NEAR(Drawing(view->layer()->displayedContents()).progress(), 0.000001, 1e-9) << "nearly a full disc, not none";
}

TEST(CERoundProgress, AnimatesOnlyWhatRisesAndClampsAll) {
  struct Row {
    float from, to;
    bool animated;
    float result;
    const char* reason;
  };
  const Row rows[] = {
      {0.3f, 0.6f, true, 0.6f, "rising"},
      {0.6f, 0.3f, false, 0.3f, "falling jumps"},
      {0.5f, 0.5f, false, 0.5f, "the same jumps"},
      {0.5f, 1.7f, true, 1.0f, "rising beyond the whole"},
      {1.0f, 1.7f, true, 1.0f, "what counts is the value given, not the clamped one"},
      {0.5f, -0.5f, false, 0.0f, "falling below none"},
  };
  for (const Row& row : rows) {
    MemoryPlatform platform;
    const auto view = makeView();
    view->setProgress_animated(row.from, false);
    view->setProgress(row.to);
    EXPECT_EQ(view->layer()->hasAnimationForKey("progressAnimation"), row.animated) << row.reason;
    EXPECT_EQ(view->progress(), row.result) << row.reason;
  }
}

TEST(CERoundProgress, ShowsTheWayWhileItRises) {
  MemoryPlatform platform;
  const auto view = makeView();
  view->setTintColor(UIColor::redColor());
  view->setProgress_animated(0.2f, false);
  int redrawn = 0;
  view->layer()->setDisplayHandler([&] { ++redrawn; });
  view->setProgress(0.6f);
  EXPECT_EQ(view->progress(), 0.6f) << "the model is there at once";
  EXPECT_NEAR(Drawing(view->layer()->displayedContents()).progress(), 0.2, 1e-6);
  platform.advance(0.125);
  const Drawing halfway(view->layer()->displayedContents());
  EXPECT_NEAR(halfway.progress(), 0.4, 0.4 / 0.25 / 60) << "to within one beat of the display";
  EXPECT_EQ(halfway.pie.color, UIColor::redColor()) << "the copies in flight are coloured too";
  EXPECT_GE(redrawn, 7);
  platform.advance(0.25);
  EXPECT_NEAR(Drawing(view->layer()->displayedContents()).progress(), 0.6, 1e-6);
  EXPECT_EQ(platform.loop.listenerCount(), 0u);
}

TEST(CERoundProgress, TakesItsAnimationDurationAtEachRise) {
  MemoryPlatform platform;
  const auto view = makeView();
  EXPECT_EQ(view->animationDuration(), CERoundProgressLayerDefaultAnimationDuration);
  EXPECT_EQ(CERoundProgressLayerDefaultAnimationDuration, 0.25);
  view->setAnimationDuration(2.0);
  view->setProgress(1.0f);
  platform.advance(1.0);
  EXPECT_NEAR(Drawing(view->layer()->displayedContents()).progress(), 0.5, 0.5 / 60);
}

TEST(CERoundProgress, StartsAlikeFromCodeAndFromAnInterfaceFile) {
  MemoryPlatform platform;
  const auto loaded = std::dynamic_pointer_cast<CERoundProgressView>(CERoundProgressView::classObject().alloc());
  loaded->setBackgroundColor(UIColor::redColor());
  loaded->initWithCoder();
  for (const auto& view : {makeView(), loaded}) {
    EXPECT_EQ(view->tintColor(), (UIColor{0.2, 0.45, 0.8, 1.0}));
    EXPECT_EQ(view->trackColor(), UIColor::whiteColor());
    EXPECT_EQ(view->backgroundColor(), UIColor::clearColor());
    EXPECT_FALSE(view->isOpaque());
    EXPECT_EQ(view->animationDuration(), 0.25);
    EXPECT_EQ(view->progress(), 0.0f);
    EXPECT_EQ(view->layer()->contentsScale(), platform.application.screenScale());
  }
}

}  // namespace
}  // namespace tlx
