#pragma once

#include <algorithm>
#include <functional>
#include <vector>

#include "Colour.h"

namespace tlx::samples {

/// An outline in canvas units, filled non-zero. Curves are flattened when they are added.
class Path {
 public:
  struct Point {
    float x, y;
  };
  Path& moveTo(float x, float y);
  Path& lineTo(float x, float y);
  Path& quadTo(float cx, float cy, float x, float y);
  Path& cubicTo(float ax, float ay, float bx, float by, float x, float y);
  /// Turned by `angle` around its centre.
  Path& ellipse(float cx, float cy, float rx, float ry, float angle = 0);
  Path& rectangle(float x, float y, float width, float height, float radius = 0);
  /// A line with a thickness that may change from one end to the other, round ends.
  Path& stroke(Point from, Point to, float thicknessFrom, float thicknessTo);
  /// A petal or leaf from its base, `length` along `angle`, widest at `belly` (0…1) of it.
  Path& petal(float x, float y, float angle, float length, float width, float belly = 0.55F, float tip = 0.0F);

  const std::vector<std::vector<Point>>& outlines() const { return outlines_; }

 private:
  std::vector<std::vector<Point>> outlines_;
};

/// A picture in the making: linear float pixels, drawn to in units of its height (x from 0 to `aspect`, y from 0 at the
/// top to 1), so that a scene looks the same at any size. One thread at a time.
class Canvas {
 public:
  Canvas(int width, int height);

  int width() const { return width_; }
  int height() const { return height_; }
  float aspect() const { return static_cast<float>(width_) / static_cast<float>(height_); }
  float pixel() const { return 1.0F / static_cast<float>(height_); }
  Colour* row(int y) { return &pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_)]; }
  const Colour* row(int y) const { return &pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_)]; }
  /// Bilinear, clamped to the edge.
  Colour sample(float x, float y) const;

  /// Replaces every pixel between two heights by paint(x, y, old).
  template <class Paint>
  void shade(float top, float bottom, Paint paint) {
    const int to = std::min(height_, static_cast<int>(std::ceil(bottom * static_cast<float>(height_))));
    for (int y = std::max(0, static_cast<int>(top * static_cast<float>(height_))); y < to; ++y) {
      Colour* line = row(y);
      const float v = (static_cast<float>(y) + 0.5F) * pixel();
      for (int x = 0; x < width_; ++x) line[x] = paint((static_cast<float>(x) + 0.5F) * pixel(), v, line[x]);
    }
  }

  /// Everything below the line edge(x), anti-aliased also where it is steep; paint(x, y, depth below the edge).
  template <class Edge, class Paint>
  void ground(Edge edge, Paint paint) {
    constexpr int kTaps = 4;
    std::vector<float> line(static_cast<std::size_t>(width_) * kTaps);
    for (std::size_t i = 0; i < line.size(); ++i)
      line[i] = edge((static_cast<float>(i) + 0.5F) * pixel() / kTaps) * static_cast<float>(height_);
    for (int x = 0; x < width_; ++x) {
      const float* taps = &line[static_cast<std::size_t>(x) * kTaps];
      const float highest = std::min(std::min(taps[0], taps[1]), std::min(taps[2], taps[3]));
      const float lowest = std::max(std::max(taps[0], taps[1]), std::max(taps[2], taps[3]));
      const float u = (static_cast<float>(x) + 0.5F) * pixel();
      for (int y = std::max(0, static_cast<int>(highest)); y < height_; ++y) {
        const float v = static_cast<float>(y);
        float cover = 1;
        if (v < lowest) {
          cover = 0;
          for (int i = 0; i < kTaps; ++i) cover += clamp01(v + 1 - taps[i]) / kTaps;
        }
        if (cover <= 0) continue;
        const Colour colour = paint(u, (v + 0.5F) * pixel(), std::max(0.0F, (v + 0.5F - taps[1]) * pixel()));
        Colour& old = row(y)[x];
        old = mix(old, colour, cover);
      }
    }
  }

  /// paint(x, y) for every pixel that the outline touches.
  template <class Paint>
  void fill(const Path& path, Paint paint) {
    const Coverage cover = coverageOf(path);
    for (int y = 0; y < cover.height; ++y) {
      Colour* line = row(cover.top + y) + cover.left;
      const float* amounts = &cover.amounts[static_cast<std::size_t>(y) * static_cast<std::size_t>(cover.width)];
      const float v = (static_cast<float>(cover.top + y) + 0.5F) * pixel();
      for (int x = 0; x < cover.width; ++x) {
        if (amounts[x] <= 0.001F) continue;
        const Rgba colour = paint((static_cast<float>(cover.left + x) + 0.5F) * pixel(), v);
        line[x] = mix(line[x], colour.colour, amounts[x] * colour.alpha);
      }
    }
  }
  void fill(const Path& path, Colour colour, float alpha = 1) {
    fill(path, [&](float, float) { return Rgba{colour, alpha}; });
  }
  /// Adds light that falls off softly and ends at `radius`.
  void glow(float x, float y, float radius, Colour light, float falloff = 2);
  void disc(float x, float y, float radius, Colour colour, float alpha = 1) {
    fill(Path().ellipse(x, y, radius, radius), colour, alpha);
  }

  /// A soft, round lens blur, the same everywhere.
  void blur(float radius);
  /// The bright parts bleed into their surroundings.
  void bloom(float threshold, float radius, float strength);
  void vignette(float strength);
  /// Only the ground's own shadow of `path`: darkens softly around it.
  void shadow(const Path& path, float dx, float dy, float softness, float strength);

 private:
  struct Coverage {
    int left = 0, top = 0, width = 0, height = 0;
    std::vector<float> amounts;
  };
  Coverage coverageOf(const Path& path, int margin = 0) const;

  int width_, height_;
  std::vector<Colour> pixels_;
};

/// What draws a picture: everything random in it comes from the numbers it is handed.
using Scene = std::function<void(Canvas&, Random&)>;

}  // namespace tlx::samples
