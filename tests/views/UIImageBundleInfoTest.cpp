#include <cmath>

#include <gmock/gmock.h>

#include "tlx/platform/NSException.h"
#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/UIGraphics.h"
#include "tlx/views/UIImage+BundleInfo.h"

#include "adapters/memory/MemoryPlatform.h"
#include "adapters/memory/Pictures.h"
#include "tests/support/LetterPictures.h"

namespace tlx {
namespace {

using test::letterPicture;
using test::lettersOf;

using Rows = std::vector<std::string>;

std::shared_ptr<const UIImage> imageOf(const Rows& rows, int orientation, double scale = 1) {
  return std::make_shared<const UIImage>(letterPicture(rows), scale, static_cast<UIImageOrientation>(orientation));
}

TEST(ScaleAndRotate, SmallPicturesWorkedOutByHand) {
  const Rows wide = {"ABC", "DEF"}, high = {"AB", "CD", "EF"}, square = {"AB", "CD"};
  struct Row {
    int orientation;
    Rows picture, expected;
    const char* reason;
  };
  const Row rows[] = {
      {0, wide, {"ABC", "DEF"}, "up stays"},
      {1, wide, {"FED", "CBA"}, "down is half a turn"},
      {2, wide, {"CF", "BE", "AD"}, "left turns counter-clockwise"},
      {3, wide, {"DA", "EB", "FC"}, "right turns clockwise"},
      {4, wide, {"CBA", "FED"}, "up mirrored is mirrored left to right"},
      {5, wide, {"DEF", "ABC"}, "down mirrored is mirrored top to bottom"},
      {6, square, {"AC", "BD"}, "left mirrored of a square exchanges rows and columns"},
      {7, square, {"DB", "CA"}, "right mirrored of a square exchanges them along the other diagonal"},
      {6, wide, {"BE", "CF", ".."}, "of a wide one it loses what is left of the square, with as much clear below"},
      {7, wide, {"EB", "DA", ".."}, "right mirrored of a wide picture loses what is right of the square"},
      {6, high, {"...", "ACE"}, "left mirrored of a high picture slides down and loses its right side"},
      {7, high, {"...", "FDB"}, "right mirrored of a high picture slides down and loses its left side"},
  };
  for (const Row& row : rows) {
    const auto upright = scaleAndRotate(imageOf(row.picture, row.orientation));
    EXPECT_EQ(lettersOf(*upright->bitmap()), row.expected) << row.reason;
    EXPECT_EQ(upright->imageOrientation(), UIImageOrientationUp) << row.reason;
    EXPECT_EQ(upright->scale(), 1) << row.reason;
  }
}

TEST(ScaleAndRotate, ComesOutAtItsPointSize) {
  struct Row {
    std::size_t width, height;
    double scale;
    int orientation;
    CGSize expected;
    const char* reason;
  };
  const Row rows[] = {
      {300, 200, 1, 3, {200, 300}, "scale 1 is never shrunk"},
      {200, 100, 2, 1, {100, 50}, "scale 2 comes out at its point size"},
      {100, 50, 3, 3, {17, 33}, "a quarter turn exchanges the sides"},
      {14, 50, 2, 0, {7, 25}, "what arithmetic leaves above a whole number is no row or column"},
      {100, 50, 3, 1, {33, 17}, "the limit is cut to 33, half a pixel of height becomes a row"},
      {50, 50, 0.5, 1, {50, 50}, "more points than pixels: nothing to shrink"},
  };
  for (const Row& row : rows) {
    const auto upright = scaleAndRotate(memory::solidPicture(
        row.width, row.height, 0x204060, static_cast<UIImageOrientation>(row.orientation), row.scale));
    EXPECT_EQ(upright->size(), row.expected) << row.reason;
    EXPECT_EQ(upright->scale(), 1) << row.reason;
  }
}

TEST(ScaleAndRotate, ShrunkPicturesAreAveraged) {
  const auto mixed = std::make_shared<const UIImage>(
      CGImage::create(2, 2, {10, 0, 0, 255, 20, 0, 0, 255, 30, 0, 0, 255, 40, 0, 0, 255}), 2.0, UIImageOrientationDown);
  EXPECT_EQ(scaleAndRotate(mixed)->bitmap()->pixels()[0], 25);
  const auto cut = scaleAndRotate(memory::solidPicture(100, 50, 0xffffff, UIImageOrientationUp, 3));
  EXPECT_EQ(cut->bitmap()->row(15)[3], 255);
  EXPECT_NEAR(cut->bitmap()->row(16)[3], 128, 1) << "a half covered last row is half clear";
}

TEST(ScaleAndRotate, AnOrientationWithoutANameRaisesAndDrawsNothing) {
  for (const int orientation : {8, 9, -1}) {
    for (const auto& bitmap : {letterPicture({"A"}), std::shared_ptr<const CGImage>()}) {
      const auto image = std::make_shared<const UIImage>(bitmap, 1.0, static_cast<UIImageOrientation>(orientation));
      EXPECT_THAT([&] { scaleAndRotate(image); }, testing::ThrowsMessage<NSException>("Invalid image orientation"));
      EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr) << "a context was left open";
    }
  }
}

TEST(ScaleAndRotate, WithoutPixelsThereIsNoPicture) {
  EXPECT_EQ(scaleAndRotate(nullptr), nullptr);
  EXPECT_EQ(scaleAndRotate(std::make_shared<const UIImage>(nullptr, 1.0, UIImageOrientationRight)), nullptr);
  for (const double scale : {0.0, -1.0, 1e9, std::nan("")}) {
    EXPECT_EQ(scaleAndRotate(std::make_shared<const UIImage>(letterPicture({"AB"}), scale, UIImageOrientationDown)),
              nullptr)
        << "scale " << scale;
  }
  EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
}

}  // namespace
}  // namespace tlx
