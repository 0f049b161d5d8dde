#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/quartzcore/CALayer.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

/// Draws a line whose length is its value, and writes back into itself as it does.
class BarLayer : public CALayer {
 public:
  std::shared_ptr<CALayer> makeCopy() const override {
    auto copy = std::make_shared<BarLayer>();
    copy->initWithLayer(*this);
    return copy;
  }
  void drawInContext(CGContext& context) override {
    context.moveToPoint({0, 0});
    context.addLineToPoint({value, bounds().size.height});
    context.strokePath();
    setNeedsDisplay();
  }
  bool needsDisplayForKey(const std::string& key) const override { return key == "value"; }
  void setValueForKey(const std::string& key, float newValue) override {
    if (key == "value") value = newValue;
  }
  float value = 0;
};

class LayerTest : public testing::Test {
 protected:
  LayerTest() {
    layer->setBounds(CGRectMake(0, 0, 10, 5));
    layer->setDisplayHandler([this] { ++displays; });
  }
  ~LayerTest() override { EXPECT_EQ(platform.loop.listenerCount(), 0u) << "who does not move hears no beat"; }
  /// The length of the line on the screen.
  double shown() {
    const auto& stroke = std::get<CGContext::Stroke>(layer->displayedContents().operations().at(0));
    const auto& line = std::get<CGContext::LineTo>(stroke.path.at(1));
    EXPECT_EQ(line.point.y, layer->bounds().size.height);
    return line.point.x;
  }
  void animate(float from, float to, double seconds, const std::string& keyPath = "value") {
    auto animation = CABasicAnimation::animationWithKeyPath(keyPath);
    animation.duration = seconds;
    animation.fromValue = from;
    animation.toValue = to;
    layer->addAnimation_forKey(animation, "move");
    if (keyPath == "value") layer->value = to;
  }

  memory::MemoryPlatform platform;
  std::shared_ptr<BarLayer> layer = std::make_shared<BarLayer>();
  int displays = 0;
};

TEST_F(LayerTest, IsDrawnAgainOnlyWhenSomethingChanged) {
  const CGContext* contents = &layer->displayedContents();
  layer->value = 3;
  EXPECT_EQ(&layer->displayedContents(), contents);
  EXPECT_EQ(shown(), 0) << "nobody asked for a new drawing, and the drawing's own wish is none";
  layer->setBounds(CGRectMake(0, 0, 10, 8));
  EXPECT_EQ(shown(), 3);
  animate(0, 4, 0.5, "other");
  platform.advance(1);
  EXPECT_EQ(displays, 1) << "a key that is not drawn";
  EXPECT_FALSE(layer->hasAnimationForKey("move"));
}

TEST_F(LayerTest, MovesEvenlyEndsOnTheModelsValueAndGivesWayToALaterAnimation) {
  animate(0, 10, 1);
  platform.advance(0.5);
  animate(2, 6, 0.75);
  EXPECT_EQ(shown(), 2);
  const double start = platform.loop.now();
  for (double before = 2; platform.loop.now() < start + 0.7; before = shown()) {
    platform.advance(1.0 / memory::MainLoop::beatsPerSecond);
    EXPECT_GT(shown(), before);
    EXPECT_NEAR(shown(), 2 + 4 * (platform.loop.now() - start) / 0.75, 4 * 0.0167 / 0.75);
  }
  EXPECT_TRUE(layer->hasAnimationForKey("move")) << "the first would have ended";
  layer->value = 7;
  platform.advance(0.1);
  EXPECT_EQ(shown(), 7) << "the model held the end from the start";
  EXPECT_FALSE(layer->hasAnimationForKey("move"));
  const int atTheEnd = displays;
  platform.advance(1);
  EXPECT_EQ(displays, atTheEnd);
}

TEST_F(LayerTest, JumpsWhereMotionIsReducedOrThereIsNoTime) {
  for (const double duration : {0.5, 0.0, -1.0, std::nan("")}) {
    platform.application.setReduceMotion(false);
    animate(9, 8, 10);  // what was under way is taken over
    platform.application.setReduceMotion(duration == 0.5);
    animate(0, 4, duration);
    EXPECT_EQ(shown(), 4) << duration;
    EXPECT_FALSE(layer->hasAnimationForKey("move")) << duration;
    EXPECT_EQ(platform.loop.listenerCount(), 0u) << duration;
  }
}

TEST_F(LayerTest, MayGoInTheMiddleOfAnAnimation) {
  animate(0, 4, 0.5);
  layer->setDisplayHandler([this] { layer.reset(); });
  platform.advance(1);
  EXPECT_EQ(layer, nullptr);
}

}  // namespace
}  // namespace tlx
