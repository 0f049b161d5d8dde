#include <cmath>

#include <gmock/gmock.h>

#include "tlx/platform/uikit/UIGraphics.h"

#include "tests/support/LetterPictures.h"

namespace tlx {
namespace {

using test::letterPicture;
using test::lettersOf;
using ::testing::ElementsAre;

using Colour = std::vector<int>;

/// A picture of one premultiplied colour.
std::shared_ptr<const CGImage> solid(std::size_t width, std::size_t height, const Colour& colour) {
  std::vector<std::uint8_t> pixels;
  for (std::size_t i = 0; i < width * height; ++i) pixels.insert(pixels.end(), colour.begin(), colour.end());
  return CGImage::create(width, height, std::move(pixels));
}

Colour colourAt(const CGImage& image, std::size_t x, std::size_t y) {
  return {image.row(y) + x * 4, image.row(y) + x * 4 + 4};
}

TEST(BitmapContext, HandednessShowsInPicturesWhoseCornersDiffer) {
  const auto picture = letterPicture({"ABC", "DEF"});
  const auto quarter = CGAffineTransformMakeRotation(3.141592653589793 / 2);
  const struct {
    const char* reason;
    CGAffineTransform transform;
    CGSize size;
    std::vector<std::string> expected;
  } rows[] = {
      {"without a transform a picture lies upside down, mirrored and not turned", {}, {3, 2}, {"DEF", "ABC"}},
      {"flipping the context first makes it upright", {1, 0, 0, -1, 0, 2}, {3, 2}, {"ABC", "DEF"}},
      {"a quarter's sine and cosine still move whole pixels",
       CGAffineTransformConcat(quarter, CGAffineTransformMakeTranslation(2, 0)),
       {2, 3},
       {"AD", "BE", "CF"}},
      {"growing y is downward", {1, 0, 0, 1, 0, 1}, {3, 3}, {"...", "DEF", "ABC"}},
      {"what falls beyond the edges is cut off", {1, 0, 0, 1, -1, -1}, {3, 2}, {"BC.", "..."}},
      {"a mirrored picture is cut at its other end", {-1, 0, 0, -1, 2, 3}, {3, 2}, {"...", "BA."}},
      {"a turned one too", {0, 1, 1, 0, -1, -1}, {2, 3}, {"B.", "C.", ".."}},
  };
  for (const auto& row : rows) {
    CGBitmapContext context(row.size);
    context.concatCTM(row.transform);
    context.drawImage(CGRectMake(0, 0, 3, 2), picture);
    EXPECT_EQ(lettersOf(*context.makeImage()), row.expected) << row.reason;
  }
}

TEST(BitmapContext, DrawsOverWhatIsThereAndLeavesEarlierImagesAlone) {
  CGBitmapContext context({2, 1});
  context.drawImage(CGRectMake(0, 0, 2, 1), letterPicture({"AB"}));
  const auto before = context.makeImage();
  context.drawImage(CGRectMake(0, 0, 2, 1), letterPicture({".C"}));
  EXPECT_THAT(lettersOf(*before), ElementsAre("AB"));
  EXPECT_THAT(lettersOf(*context.makeImage()), ElementsAre("AC"));
  context.drawImage(CGRectMake(0, 0, 2, 1), solid(2, 1, {200, 0, 0, 255}));
  context.drawImage(CGRectMake(0, 0, 2, 1), solid(2, 1, {0, 128, 0, 128}));
  EXPECT_EQ(colourAt(*context.makeImage(), 1, 0), (Colour{100, 128, 0, 255}));
  CGBitmapContext wide({4, 1});
  wide.drawImage(CGRectMake(0, 0, 4, 1), CGImage::create(2, 1, {0, 0, 0, 255, 200, 0, 0, 255}));
  EXPECT_EQ(colourAt(*wide.makeImage(), 1, 0)[0], 50) << "between two pixels' centres";
}

TEST(BitmapContext, EveryWayOfResamplingKeepsAnEvenColour) {
  for (const double scale : {0.03, 0.33, 0.5, 0.97, 1.0, 1.5, 7.3}) {
    for (const double angle : {0.0, 0.3, M_PI / 2, 2.0, M_PI, -M_PI / 2}) {
      CGBitmapContext context({20, 20});
      context.translateCTM(10.25, 9.6);
      context.concatCTM(CGAffineTransformMakeRotation(angle));
      context.scaleCTM(scale, scale);
      context.drawImage(CGRectMake(-100, -100, 200, 200), solid(200, 200, {10, 100, 200, 255}));
      EXPECT_EQ(colourAt(*context.makeImage(), 10, 9), (Colour{10, 100, 200, 255})) << scale << " turned " << angle;
    }
  }
}

TEST(BitmapContext, WhatIsCoveredInPartIsClearForTheRest) {
  for (const auto& [turned, pixels] : {std::pair(false, 9u), {true, 9u}, {false, 1u}, {true, 1u}}) {
    CGBitmapContext context({4, 4});
    context.concatCTM(turned ? CGAffineTransform{0, 1, 1, 0, 0, 0} : CGAffineTransform{});
    context.drawImage(CGRectMake(0.5, 1, 2.25, 2), solid(pixels, pixels, {0, 0, 200, 200}));
    std::vector<int> along, across;
    for (std::size_t at = 0; at < 4; ++at) {
      along.push_back(colourAt(*context.makeImage(), turned ? 1 : at, turned ? at : 1)[3]);
      across.push_back(colourAt(*context.makeImage(), turned ? at : 1, turned ? 1 : at)[3]);
    }
    EXPECT_THAT(along, ElementsAre(100, 200, 150, 0)) << turned << pixels;
    EXPECT_THAT(across, ElementsAre(0, 200, 200, 0)) << turned << pixels;
  }
  CGBitmapContext oblique({20, 20});
  oblique.translateCTM(10, 10);
  oblique.concatCTM(CGAffineTransformMakeRotation(M_PI / 4));
  oblique.drawImage(CGRectMake(-5, -5, 10, 10), solid(10, 10, {255, 255, 255, 255}));
  EXPECT_EQ(colourAt(*oblique.makeImage(), 10, 4)[3], 255) << "a corner of the square points up";
  EXPECT_EQ(colourAt(*oblique.makeImage(), 5, 5)[3], 0) << "and none lies where it was before the turn";
}

TEST(BitmapContext, NothingToDrawOrNothingToDrawOnIsHarmless) {
  const auto picture = letterPicture({"A"});
  for (const CGSize size : {CGSize{0, 0}, CGSize{-1, 5}, CGSize{NAN, 5}, CGSize{1e18, 1e18}}) {
    CGBitmapContext context(size);
    context.drawImage(CGRectMake(0, 0, 1, 1), picture);
    EXPECT_EQ(context.makeImage(), nullptr) << size.width;
  }
  CGBitmapContext context({1, 1});
  context.drawImage(CGRectMake(0, 0, 1, 1), nullptr);
  for (const double bad : {0.0, -1e300, 1e300, std::nan("")}) context.drawImage(CGRectMake(bad, 0, 1, bad), picture);
  context.scaleCTM(0, 1);
  context.drawImage(CGRectMake(0, 0, 1, 1), picture);
  EXPECT_THAT(lettersOf(*context.makeImage()), ElementsAre("."));
}

TEST(Graphics, ContextsNestAndHandOutWholePixels) {
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
  EXPECT_EQ(image->size(), (CGSize{3, 1})) << "rounded up to whole pixels";
}

}  // namespace
}  // namespace tlx
