#include <array>
#include <cmath>

#include <gmock/gmock.h>

#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/UIGraphics.h"
#include "tlx/views/UIImage+BundleInfo.h"

#include "adapters/memory/Pictures.h"
#include "tests/support/LetterPictures.h"

namespace tlx {
namespace {

using test::letterPicture;
using test::lettersOf;
using test::variedLetters;

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
      {2, high, {"BDF", "ACE"}, "left, a high picture"},
      {3, high, {"ECA", "FDB"}, "right, a high picture"},
      {6, square, {"AC", "BD"}, "left mirrored of a square exchanges rows and columns"},
      {7, square, {"DB", "CA"}, "right mirrored of a square exchanges them along the other diagonal"},
      {6,
       wide,
       {"BE", "CF", ".."},
       "left mirrored of a wide picture loses what is left of the square, and leaves as much clear below"},
      {7, wide, {"EB", "DA", ".."}, "right mirrored of a wide picture loses what is right of the square"},
      {6, high, {"...", "ACE"}, "left mirrored of a high picture slides down and loses its right side"},
      {7, high, {"...", "FDB"}, "right mirrored of a high picture slides down and loses its left side"},
  };
  for (const Row& row : rows) {
    const auto upright = scaleAndRotate(imageOf(row.picture, row.orientation));
    ASSERT_NE(upright, nullptr) << row.reason;
    EXPECT_EQ(lettersOf(*upright->bitmap()), row.expected) << row.reason;
    EXPECT_EQ(upright->imageOrientation(), UIImageOrientationUp) << row.reason;
    EXPECT_EQ(upright->scale(), 1) << row.reason;
  }
}

/// The stated arithmetic on its own: matrices on column vectors, a step to the right of a product acting first.
using Matrix = std::array<std::array<double, 3>, 3>;

Matrix operator*(const Matrix& left, const Matrix& right) {
  Matrix product{};
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t c = 0; c < 3; ++c) {
      for (std::size_t k = 0; k < 3; ++k) product[r][c] += left[r][k] * right[k][c];
    }
  }
  return product;
}
Matrix moved(double x, double y) {
  return {{{1, 0, x}, {0, 1, y}, {0, 0, 1}}};
}
Matrix scaled(double x, double y) {
  return {{{x, 0, 0}, {0, y, 0}, {0, 0, 1}}};
}
Matrix turned(double angle) {
  return {{{std::cos(angle), -std::sin(angle), 0}, {std::sin(angle), std::cos(angle), 0}, {0, 0, 1}}};
}

Rows expectedAtScaleOne(const Rows& picture, int orientation) {
  const double w = static_cast<double>(picture[0].size()), h = static_cast<double>(picture.size());
  const double pi = 3.141592653589793;
  const Matrix transforms[] = {moved(0, 0),
                               moved(w, h) * turned(pi),
                               moved(0, w) * turned(3 * pi / 2),
                               moved(h, 0) * turned(pi / 2),
                               moved(w, 0) * scaled(-1, 1),
                               moved(0, h) * scaled(1, -1),
                               moved(h, w) * scaled(-1, 1) * turned(3 * pi / 2),
                               scaled(-1, 1) * turned(pi / 2)};
  const bool sideways = orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
  const Matrix context =
      orientation == 2 || orientation == 3 ? scaled(-1, 1) * moved(-h, 0) : scaled(1, -1) * moved(0, -h);
  const Matrix all = context * transforms[orientation];
  Rows result(static_cast<std::size_t>(sideways ? w : h), std::string(static_cast<std::size_t>(sideways ? h : w), '.'));
  for (std::size_t j = 0; j < picture.size(); ++j) {
    for (std::size_t i = 0; i < picture[j].size(); ++i) {
      // The picture's top row lies along the rectangle's far edge.
      const double x = static_cast<double>(i) + 0.5, y = h - static_cast<double>(j) - 0.5;
      const auto column = static_cast<long>(std::floor(all[0][0] * x + all[0][1] * y + all[0][2]));
      const auto row = static_cast<long>(std::floor(all[1][0] * x + all[1][1] * y + all[1][2]));
      if (row < 0 || column < 0 || row >= static_cast<long>(result.size()) ||
          column >= static_cast<long>(result[0].size()))
        continue;
      result[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] = picture[j][i];
    }
  }
  return result;
}

TEST(ScaleAndRotate, EveryPixelOfEveryShapeGoesWhereTheArithmeticSays) {
  for (const auto& [width, height] :
       {std::pair{1, 1}, {37, 23}, {23, 37}, {100, 31}, {33, 97}, {64, 64}, {1, 40}, {40, 1}}) {
    const Rows picture = variedLetters(static_cast<std::size_t>(width), static_cast<std::size_t>(height));
    for (int orientation = 0; orientation < 8; ++orientation) {
      const auto upright = scaleAndRotate(imageOf(picture, orientation));
      ASSERT_NE(upright, nullptr);
      EXPECT_EQ(lettersOf(*upright->bitmap()), expectedAtScaleOne(picture, orientation))
          << width << " x " << height << " orientation " << orientation;
    }
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
      {100, 200, 2, 0, {50, 100}, "a high one as well"},
      {200, 100, 2, 3, {50, 100}, "a quarter turn exchanges the sides"},
      {200, 100, 2, 6, {50, 100}, "a mirrored one too"},
      {64, 64, 2, 4, {32, 32}, "a square takes the branch of the high ones"},
      {14, 50, 2, 0, {7, 25}, "what arithmetic leaves above a whole number is no row or column"},
      {100, 50, 3, 1, {33, 17}, "the limit is cut to 33, half a pixel of height becomes a row"},
      {50, 50, 0.5, 1, {50, 50}, "more points than pixels: nothing to shrink"},
  };
  for (const Row& row : rows) {
    const auto picture = memory::solidPicture(row.width, row.height, 0x204060,
                                              static_cast<UIImageOrientation>(row.orientation), row.scale);
    const auto upright = scaleAndRotate(picture);
    ASSERT_NE(upright, nullptr) << row.reason;
    EXPECT_EQ(upright->size(), row.expected) << row.reason;
    EXPECT_EQ(upright->scale(), 1) << row.reason;
  }
}

TEST(ScaleAndRotate, ShrunkPicturesAreTurnedLikeTheOthersAndAveraged) {
  // Every pixel of the small picture stands for 2 × 2 of the large one, so the small one's result is the expected one.
  for (const auto& [width, height] : {std::pair{20, 10}, {10, 20}, {16, 16}}) {
    const Rows small = variedLetters(static_cast<std::size_t>(width), static_cast<std::size_t>(height));
    Rows large;
    for (const std::string& row : small) {
      std::string wide;
      for (const char letter : row) wide += std::string(2, letter);
      large.insert(large.end(), 2, wide);
    }
    for (int orientation = 0; orientation < 6; ++orientation) {
      EXPECT_EQ(lettersOf(*scaleAndRotate(imageOf(large, orientation, 2))->bitmap()),
                expectedAtScaleOne(small, orientation))
          << width << " x " << height << " orientation " << orientation;
    }
  }
  const auto mixed = std::make_shared<const UIImage>(
      CGImage::create(2, 2, {10, 0, 0, 255, 20, 0, 0, 255, 30, 0, 0, 255, 40, 0, 0, 255}), 2.0, UIImageOrientationDown);
  EXPECT_EQ(scaleAndRotate(mixed)->bitmap()->pixels()[0], 25);
}

TEST(ScaleAndRotate, AHalfCoveredLastRowIsHalfClear) {
  const auto upright = scaleAndRotate(memory::solidPicture(100, 50, 0xffffff, UIImageOrientationUp, 3));
  const CGImage& bitmap = *upright->bitmap();
  EXPECT_EQ(bitmap.row(15)[3], 255);
  EXPECT_NEAR(bitmap.row(16)[3], 128, 1);
}

TEST(ScaleAndRotate, AnOrientationWithoutANameRaisesAndDrawsNothing) {
  for (const int orientation : {8, 9, -1}) {
    for (const auto& bitmap : {letterPicture({"A"}), std::shared_ptr<const CGImage>()}) {
      const auto image = std::make_shared<const UIImage>(bitmap, 1.0, static_cast<UIImageOrientation>(orientation));
      try {
        scaleAndRotate(image);
        ADD_FAILURE() << "orientation " << orientation << " did not raise";
      } catch (const NSException& exception) {
        EXPECT_EQ(exception.name(), "NSInternalInconsistencyException");
        EXPECT_EQ(exception.reason(), "Invalid image orientation");
      }
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
