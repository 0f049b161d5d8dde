#include <cmath>

#include <gmock/gmock.h>

#include "tlx/platform/coregraphics/CGBitmapContext.h"

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
}

TEST(BitmapContext, EveryWayOfResamplingKeepsAnEvenColour) {
  for (const double scale : {0.03, 0.33, 0.5, 0.97, 1.0, 1.5, 7.3}) {
    for (const double angle : {0.0, M_PI / 2, M_PI, -M_PI / 2}) {
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
}

}  // namespace
}  // namespace tlx
