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
  void initWithLayer(const CALayer& layer) override {
    CALayer::initWithLayer(layer);
    value = dynamic_cast<const BarLayer&>(layer).value;
  }
  void drawInContext(CGContext& context) override {
    context.moveToPoint({0, 0});
    context.addLineToPoint({value, bounds().size.height});
    context.strokePath();
    setNeedsDisplay();
  }
  bool needsDisplayForKey(const std::string& key) const override { return key == "value"; }
  std::optional<float> valueForKey(const std::string& key) const override {
    return key == "value" ? std::optional(value) : std::nullopt;
  }
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
  layer->setNeedsDisplay();
  EXPECT_EQ(displays, 1);
  EXPECT_EQ(shown(), 3);
  layer->setBounds(CGRectMake(0, 0, 10, 8));
  EXPECT_EQ(shown(), 3);
  EXPECT_EQ(displays, 2);
  EXPECT_EQ(platform.loop.listenerCount(), 0u);
}

TEST_F(LayerTest, MovesEvenlyAndEndsOnTheModelsValue) {
  animate(2, 6, 0.5);
  EXPECT_EQ(shown(), 2);
  displays = 0;
  double before = 2;
  for (int beat = 1; beat <= 29; ++beat) {
    platform.advance(1.0 / memory::MainLoop::beatsPerSecond);
    EXPECT_GT(shown(), before);
    EXPECT_NEAR(shown(), 2 + 4 * platform.loop.now() / 0.5, 4 * 0.0167 / 0.5);
    before = shown();
  }
  EXPECT_EQ(layer->value, 6) << "the model holds the end from the start";
  layer->value = 7;
  platform.advance(0.05);
  EXPECT_EQ(shown(), 7);
  EXPECT_FALSE(layer->hasAnimationForKey("move"));
  EXPECT_EQ(platform.loop.listenerCount(), 0u);
  const int atTheEnd = displays;
  platform.advance(1);
  EXPECT_EQ(displays, atTheEnd);
}

TEST_F(LayerTest, ALaterAnimationOfTheKeyTakesOver) {
  animate(0, 10, 1);
  platform.advance(0.5);
  animate(20, 30, 1);
  EXPECT_EQ(shown(), 20);
  platform.advance(0.75);
  EXPECT_TRUE(layer->hasAnimationForKey("move")) << "the first would have ended";
  EXPECT_NEAR(shown(), 27.5, 0.2);
  platform.advance(0.5);
  EXPECT_EQ(shown(), 30);
}

TEST_F(LayerTest, JumpsWhereMotionIsReducedOrThereIsNoTime) {
  for (const double duration : {0.5, 0.0, -1.0, std::nan("")}) {
    platform.application.setReduceMotion(duration == 0.5);
    layer->displayedContents();
    displays = 0;
    animate(0, 4, duration);
    EXPECT_EQ(shown(), 4) << duration;
    EXPECT_EQ(displays, 1) << duration;
    EXPECT_FALSE(layer->hasAnimationForKey("move")) << duration;
    EXPECT_EQ(platform.loop.listenerCount(), 0u) << duration;
  }
}

TEST_F(LayerTest, AKeyThatIsNotDrawnRedrawsNothing) {
  layer->displayedContents();
  displays = 0;
  animate(0, 4, 0.5, "other");
  platform.advance(1);
  EXPECT_EQ(displays, 0);
  EXPECT_FALSE(layer->hasAnimationForKey("move"));
  EXPECT_EQ(platform.loop.listenerCount(), 0u);
}

TEST_F(LayerTest, MayGoInTheMiddleOfAnAnimation) {
  animate(0, 4, 0.5);
  layer->setDisplayHandler([this] { layer.reset(); });
  platform.advance(1);
  EXPECT_EQ(layer, nullptr);
  EXPECT_EQ(platform.loop.listenerCount(), 0u);
}

}  // namespace
}  // namespace tlx
