#include <algorithm>
#include <cstdlib>

#include <gtest/gtest.h>

#include "adapters/qtquick/views/CellPixels.h"

namespace tlx::qtquick {
namespace {

int difference(const QImage& one, const QImage& other) {
  int greatest = 0;
  for (int y = 0; y < one.height(); ++y) {
    for (int x = 0; x < one.width(); ++x) {
      const QRgb a = one.pixel(x, y), b = other.pixel(x, y);
      for (const int d : {qRed(a) - qRed(b), qGreen(a) - qGreen(b), qBlue(a) - qBlue(b), qAlpha(a) - qAlpha(b)}) {
        greatest = std::max(greatest, std::abs(d));
      }
    }
  }
  return greatest;
}

TEST(CellPixels, AreWhatQtWouldMakeOfThePicture) {
  const struct {
    QSize from, to;
    const char* reason;
  } rows[] = {
      {{130, 130}, {92, 92}, "a cell's thumbnail"},   {{260, 174}, {130, 130}, "half the width"},
      {{92, 92}, {92, 92}, "nothing to scale"},       {{40, 40}, {92, 92}, "enlarged"},
      {{400, 300}, {92, 92}, "to less than half"},    {{3, 3}, {2, 2}, "a line too short for the loops"},
      {{4, 200}, {2, 190}, "the narrowest there is"}, {{5, 5}, {1, 4}, "a single column"},
  };
  for (const auto& row : rows) {
    for (const bool opaque : {true, false}) {
      QImage picture(row.from, QImage::Format_RGBA8888_Premultiplied);
      for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
          picture.setPixelColor(x, y,
                                QColor(x * 3 % 256, y * 2 % 256, (x + y) % 256, opaque ? 255 : 255 - (x * 5 + y) % 90));
        }
      }
      const QImage made = screenImage(picture, row.to);
      ASSERT_EQ(made.size(), row.to) << row.reason;
      EXPECT_EQ(made.format(), opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied) << row.reason;
      const QImage wanted = picture.scaled(row.to, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
      EXPECT_LE(difference(made.convertToFormat(QImage::Format_ARGB32_Premultiplied),
                           wanted.convertToFormat(QImage::Format_ARGB32_Premultiplied)),
                4)
          << row.reason;
    }
  }
}

}  // namespace
}  // namespace tlx::qtquick
