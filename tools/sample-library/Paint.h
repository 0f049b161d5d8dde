#pragma once

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

namespace tlx::samples {

/// sRGB, each 0…1, or 0xRRGGBB as a designer writes it; more is allowed while mixing.
struct Rgb {
  double r = 0, g = 0, b = 0;
  Rgb() = default;
  Rgb(double red, double green, double blue) : r(red), g(green), b(blue) {}
  Rgb(unsigned hex) : r((hex >> 16U) / 255.0), g((hex >> 8U & 255U) / 255.0), b((hex & 255U) / 255.0) {}
  Rgb operator+(Rgb o) const { return {r + o.r, g + o.g, b + o.b}; }
  Rgb operator*(double k) const { return {r * k, g * k, b * k}; }
  QColor color(double alpha = 1) const;
};

inline double clamp01(double x) {
  return std::clamp(x, 0.0, 1.0);
}
inline Rgb mix(Rgb a, Rgb b, double t) {
  return a * (1 - t) + b * t;
}
inline double smoothstep(double from, double to, double x) {
  const double t = clamp01((x - from) / (to - from));
  return t * t * (3 - 2 * t);
}

/// Colours at even distances from 0 to 1.
class Gradient {
 public:
  Gradient(std::initializer_list<unsigned> stops) : stops_(stops.begin(), stops.end()) {}
  Rgb at(double t) const;

 private:
  std::vector<Rgb> stops_;
};

/// The same numbers on every machine, so that a library made twice is the same library.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ULL + 0x1234567) {}
  std::uint32_t bits();
  double unit() { return (bits() >> 8U) / 16777216.0; }
  double in(double low, double high) { return low + (high - low) * unit(); }
  int below(int n) { return static_cast<int>(bits() % static_cast<std::uint32_t>(n)); }
  template <class T>
  const T& oneOf(const std::vector<T>& all) {
    return all[static_cast<std::size_t>(below(static_cast<int>(all.size())))];
  }

 private:
  std::uint64_t state_;
};

/// Gradient noise in about -1…1; it repeats every 256.
double noise(double x, double y);
/// Octaves of it, each turned against the last so that no grid shows; about -1…1.
double fbm(double x, double y, int octaves);
/// Sharp crests at 1 over broad valleys at 0.
double ridged(double x, double y, int octaves);

/// A picture in the making. Lengths count in its height: x runs from 0 to `aspect()`, y from 0 down to 1.
class Canvas {
 public:
  Canvas(int width, int height) : image(width, height, QImage::Format_RGB32) { image.fill(Qt::black); }
  double aspect() const { return static_cast<double>(image.width()) / image.height(); }
  double pixel() const { return 1.0 / image.height(); }
  /// The colour there; outside, that of the edge.
  Rgb sample(double x, double y) const;

  /// paint(x, y, colour so far) for every pixel between the two heights.
  template <class Paint>
  void shade(double top, double bottom, Paint paint) {
    const int last = std::min(image.height(), static_cast<int>(std::ceil(bottom * image.height())));
    for (int row = std::max(0, static_cast<int>(top * image.height())); row < last; ++row) {
      auto* line = reinterpret_cast<QRgb*>(image.scanLine(row));
      for (int column = 0; column < image.width(); ++column)
        line[column] = packed(paint((column + 0.5) * pixel(), (row + 0.5) * pixel(), unpacked(line[column])));
    }
  }
  /// As `shade`, painted over what is there by the returned alpha and only on every third pixel: for what is soft.
  void veil(double top, double bottom, const std::function<std::pair<Rgb, double>(double, double)>& paint);
  /// Everything below line(x), coloured by paint(x, y, depth below the line).
  template <class Paint>
  void ground(const std::vector<double>& line, Paint paint) {
    shade(*std::min_element(line.begin(), line.end()), 1, [&](double x, double y, Rgb old) {
      const double below = y - line[std::min(line.size() - 1, static_cast<std::size_t>(x * image.height()))];
      const double cover = clamp01(below * image.height() + 0.5);
      return cover <= 0 ? old : mix(old, paint(x, y, std::max(0.0, below)), cover);
    });
  }
  /// line(x) for each column.
  std::vector<double> heights(const std::function<double(double)>& line) const;

  void fill(const QPainterPath& path, const QBrush& brush);
  /// Dots and leaves by the thousand: `each` is handed a painter without an outline.
  void draw(const std::function<void(QPainter&)>& each);
  void disc(double x, double y, double radius, Rgb colour, double alpha = 1);
  /// Adds light that falls off to nothing at `radius`.
  void glow(double x, double y, double radius, Rgb light, double strength);
  /// The soft shadow of a shape, `away` to the right and below.
  void shadow(const QPainterPath& path, double away, double softness, double strength);
  void blur(double radius);
  /// The last touch: what is bright bleeds into its surroundings, and the corners darken.
  void finish(double bloom, double vignette);

  QImage image;

 private:
  static Rgb unpacked(QRgb c) { return {qRed(c) / 255.0, qGreen(c) / 255.0, qBlue(c) / 255.0}; }
  static QRgb packed(Rgb c) {
    const auto byte = [](double v) { return static_cast<int>(clamp01(v) * 255 + 0.5); };
    return qRgb(byte(c.r), byte(c.g), byte(c.b));
  }
};

QPainterPath ellipse(double x, double y, double rx, double ry);
/// A leaf from (x, y) outwards; `angle` as on a clock's face that begins at three.
QPainterPath petal(double x, double y, double angle, double length, double width);
/// Dark to light as on something round that is lit from the upper left.
QBrush round(double x, double y, double radius, Rgb colour);

/// Draws the picture; everything random in it comes from the numbers that it is handed.
using Scene = std::function<void(Canvas&, Random&)>;

}  // namespace tlx::samples
