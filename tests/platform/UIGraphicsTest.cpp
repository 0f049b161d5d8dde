#include <cmath>

#include <gmock/gmock.h>

#include "tlx/platform/uikit/UIGraphics.h"

#include "tests/support/LetterPictures.h"

namespace tlx {
namespace {

using test::letterPicture;
using test::lettersOf;
using ::testing::ElementsAre;

using Rows = std::vector<std::string>;

const std::uint8_t* pixelAt(const CGImage& image, std::size_t x, std::size_t y) {
  return image.row(y) + x * 4;
}

/// A picture of one premultiplied colour.
std::shared_ptr<const CGImage> solid(std::size_t width, std::size_t height, const std::vector<std::uint8_t>& colour) {
  std::vector<std::uint8_t> pixels;
  for (std::size_t i = 0; i < width * height; ++i) pixels.insert(pixels.end(), colour.begin(), colour.end());
  return CGImage::create(width, height, std::move(pixels));
}

TEST(BitmapContext, HandednessShowsInPicturesWhoseCornersDiffer) {
  const auto picture = letterPicture({"ABC", "DEF"});
  struct Row {
    const char* reason;
    CGAffineTransform transform;
    CGSize size;
    Rows expected;
  };
  const Row rows[] = {
      {"without a transform a picture lies upside down, mirrored and not turned", {}, {3, 2}, {"DEF", "ABC"}},
      {"flipping the context first makes it upright", {1, 0, 0, -1, 0, 2}, {3, 2}, {"ABC", "DEF"}},
      {"a scale of -1 along x mirrors left to right", {-1, 0, 0, 1, 3, 0}, {3, 2}, {"FED", "CBA"}},
      {"x and y exchanged: the left column comes on top", {0, 1, 1, 0, 0, 0}, {2, 3}, {"DA", "EB", "FC"}},
      {"growing y is downward", {1, 0, 0, 1, 0, 1}, {3, 3}, {"...", "DEF", "ABC"}},
      {"what falls beyond the edges is cut off", {1, 0, 0, 1, -1, -1}, {3, 2}, {"BC.", "..."}},
      {"a mirrored picture is cut at its other end", {-1, 0, 0, -1, 2, 3}, {3, 2}, {"...", "BA."}},
      {"a turned one too", {0, 1, 1, 0, -1, -1}, {2, 3}, {"B.", "C.", ".."}},
      {"beyond the edges altogether nothing is drawn", {1, 0, 0, 1, 3, 0}, {3, 2}, {"...", "..."}},
  };
  for (const Row& row : rows) {
    CGBitmapContext context(row.size);
    context.concatCTM(row.transform);
    context.drawImage(CGRectMake(0, 0, 3, 2), picture);
    EXPECT_EQ(lettersOf(*context.makeImage()), row.expected) << row.reason;
  }
}

TEST(BitmapContext, TheLastStepIsTheFirstThatAPointGoesThrough) {
  CGBitmapContext context({4, 4});
  context.scaleCTM(2, 2);
  context.translateCTM(1, 0);
  context.concatCTM(CGAffineTransformMakeScale(-1, 1));
  EXPECT_EQ(CGPointApplyAffineTransform({1, 1}, context.ctm()), (CGPoint{0, 2}));
}

TEST(BitmapContext, AngleConstantsOfQuarterTurnsStillMoveWholePixels) {
  const double pi = 3.141592653589793;
  CGBitmapContext context({2, 3});
  context.translateCTM(2, 0);
  context.concatCTM(CGAffineTransformMakeRotation(pi / 2));
  context.drawImage(CGRectMake(0, 0, 3, 2), letterPicture({"ABC", "DEF"}));
  EXPECT_THAT(lettersOf(*context.makeImage()), ElementsAre("AD", "BE", "CF"));
}

TEST(BitmapContext, DrawsOverWhatIsThereAndLeavesEarlierImagesAlone) {
  CGBitmapContext context({2, 1});
  context.drawImage(CGRectMake(0, 0, 2, 1), letterPicture({"AB"}));
  const auto before = context.makeImage();
  context.drawImage(CGRectMake(0, 0, 2, 1), letterPicture({".C"}));
  EXPECT_THAT(lettersOf(*before), ElementsAre("AB"));
  EXPECT_THAT(lettersOf(*context.makeImage()), ElementsAre("AC"));

  CGBitmapContext mixing({1, 1});
  mixing.drawImage(CGRectMake(0, 0, 1, 1), solid(1, 1, {200, 0, 0, 255}));
  mixing.drawImage(CGRectMake(0, 0, 1, 1), solid(1, 1, {0, 128, 0, 128}));
  const auto mixed = mixing.makeImage();
  EXPECT_THAT(std::vector<int>(mixed->row(0), mixed->row(0) + 4), ElementsAre(100, 128, 0, 255));
}

TEST(BitmapContext, ShrinkingAveragesTheAreaThatAPixelCovers) {
  // 6 × 2 to 2 × 1, upside down as it comes: each pixel is the mean of 3 × 2.
  std::vector<std::uint8_t> pixels;
  for (const int value : {0, 30, 60, 90, 120, 150, 6, 36, 66, 96, 126, 156}) {
    pixels.insert(pixels.end(), {static_cast<std::uint8_t>(value), 0, 0, 255});
  }
  CGBitmapContext context({2, 1});
  context.drawImage(CGRectMake(0, 0, 2, 1), CGImage::create(6, 2, std::move(pixels)));
  const auto image = context.makeImage();
  EXPECT_EQ(pixelAt(*image, 0, 0)[0], 33);
  EXPECT_EQ(pixelAt(*image, 1, 0)[0], 123);
  EXPECT_EQ(pixelAt(*image, 1, 0)[3], 255);
}

TEST(BitmapContext, EveryWayOfResamplingKeepsAnEvenColour) {
  // A table of scales and turns under which the middle of a large even picture must not change by a single step.
  for (const double scale : {0.03, 0.33, 0.5, 0.97, 1.0, 1.5, 7.3}) {
    for (const double angle : {0.0, 0.3, M_PI / 2, 2.0, M_PI, -M_PI / 2}) {
      CGBitmapContext context({20, 20});
      context.translateCTM(10.25, 9.6);
      context.concatCTM(CGAffineTransformMakeRotation(angle));
      context.scaleCTM(scale, scale);
      context.drawImage(CGRectMake(-100, -100, 200, 200), solid(200, 200, {10, 100, 200, 255}));
      const auto image = context.makeImage();
      EXPECT_THAT(std::vector<int>(pixelAt(*image, 10, 9), pixelAt(*image, 10, 9) + 4), ElementsAre(10, 100, 200, 255))
          << "scale " << scale << " angle " << angle;
    }
  }
}

TEST(BitmapContext, PartlyCoveredPixelsAreClearForTheRest) {
  for (const bool turned : {false, true}) {
    CGBitmapContext context({4, 4});
    context.concatCTM(turned ? CGAffineTransform{0, 1, 1, 0, 0, 0} : CGAffineTransform{});
    context.drawImage(CGRectMake(0.5, 1, 2.25, 2), solid(9, 8, {0, 0, 200, 200}));
    const auto image = context.makeImage();
    const auto alpha = [&](std::size_t along, std::size_t other) {
      return int{turned ? pixelAt(*image, other, along)[3] : pixelAt(*image, along, other)[3]};
    };
    EXPECT_EQ(alpha(0, 1), 100) << turned;
    EXPECT_EQ(alpha(1, 1), 200) << turned;
    EXPECT_EQ(alpha(2, 2), 150) << turned;
    EXPECT_EQ(alpha(3, 1), 0) << turned;
    EXPECT_EQ(alpha(1, 0), 0) << turned;
    EXPECT_EQ(alpha(1, 3), 0) << turned;
  }
}

TEST(BitmapContext, EnlargingInterpolatesBetweenPixelCentres) {
  CGBitmapContext context({4, 1});
  context.drawImage(CGRectMake(0, 0, 4, 1), CGImage::create(2, 1, {0, 0, 0, 255, 200, 0, 0, 255}));
  const auto image = context.makeImage();
  EXPECT_EQ(pixelAt(*image, 0, 0)[0], 0);
  EXPECT_EQ(pixelAt(*image, 1, 0)[0], 50);
  EXPECT_EQ(pixelAt(*image, 2, 0)[0], 150);
  EXPECT_EQ(pixelAt(*image, 3, 0)[0], 200);
}

TEST(BitmapContext, AnObliqueTurnCutsTheCornersAndKeepsTheMiddle) {
  CGBitmapContext context({20, 20});
  context.translateCTM(10, 10);
  context.concatCTM(CGAffineTransformMakeRotation(M_PI / 4));
  context.drawImage(CGRectMake(-5, -5, 10, 10), solid(10, 10, {255, 255, 255, 255}));
  const auto image = context.makeImage();
  EXPECT_EQ(pixelAt(*image, 10, 10)[3], 255);
  EXPECT_EQ(pixelAt(*image, 10, 4)[3], 255) << "a corner of the square points up";
  EXPECT_EQ(pixelAt(*image, 5, 5)[3], 0) << "and none lies where it was before the turn";
  double area = 0;
  for (std::size_t y = 0; y < 20; ++y) {
    for (std::size_t x = 0; x < 20; ++x) area += pixelAt(*image, x, y)[3] / 255.0;
  }
  EXPECT_NEAR(area, 100, 1);
}

TEST(BitmapContext, NothingToDrawOrNothingToDrawOnIsHarmless) {
  const auto picture = letterPicture({"A"});
  for (const CGSize size : {CGSize{0, 0}, CGSize{0, 5}, CGSize{-1, 5}, CGSize{NAN, 5}, CGSize{1e18, 1e18}}) {
    CGBitmapContext context(size);
    context.drawImage(CGRectMake(0, 0, 1, 1), picture);
    EXPECT_EQ(context.makeImage(), nullptr) << size.width;
  }
  CGBitmapContext context({1, 1});
  context.drawImage(CGRectMake(0, 0, 1, 1), nullptr);
  context.drawImage(CGRectMake(0, 0, 0, 1), picture);
  context.drawImage(CGRectMake(0, 0, 1, INFINITY), picture);
  context.drawImage(CGRectMake(1e300, -1e300, 1e300, 1e300), picture);
  context.drawImage(CGRectMake(1e18, 0, 1, 1), picture);
  context.scaleCTM(0, 1);
  context.drawImage(CGRectMake(0, 0, 1, 1), picture);
  EXPECT_THAT(lettersOf(*context.makeImage()), ElementsAre("."));
}

TEST(Graphics, ContextsNestAndHandOutImagesAtScaleOneUpright) {
  EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
  EXPECT_EQ(UIGraphicsGetImageFromCurrentImageContext(), nullptr);
  UIGraphicsBeginImageContext({2.2, 1});
  CGBitmapContext* outer = UIGraphicsGetCurrentContext();
  UIGraphicsBeginImageContext({1, 1});
  EXPECT_NE(UIGraphicsGetCurrentContext(), outer);
  UIGraphicsEndImageContext();
  EXPECT_EQ(UIGraphicsGetCurrentContext(), outer);
  const auto image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
  EXPECT_EQ(image->size(), (CGSize{3, 1})) << "rounded up to whole pixels";
  EXPECT_EQ(image->scale(), 1);
  EXPECT_EQ(image->imageOrientation(), UIImageOrientationUp);
}

}  // namespace
}  // namespace tlx
