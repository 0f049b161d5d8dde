#include "Canvas.h"

#include <algorithm>
#include <cmath>

namespace tlx::samples {
namespace {

constexpr float kPi = 3.14159265F;

/// Three passes of a running mean come close to a Gaussian; `stride` lets the same code go along columns.
template <class T>
void runningMean(T* data, int count, int stride, int radius, std::vector<T>& copy) {
  copy.resize(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) copy[static_cast<std::size_t>(i)] = data[static_cast<std::ptrdiff_t>(i) * stride];
  const float weight = 1.0F / static_cast<float>(2 * radius + 1);
  const auto at = [&](int i) { return copy[static_cast<std::size_t>(std::clamp(i, 0, count - 1))]; };
  T sum{};
  for (int i = -radius; i <= radius; ++i) sum = sum + at(i);
  for (int i = 0; i < count; ++i) {
    data[static_cast<std::ptrdiff_t>(i) * stride] = sum * weight;
    sum = sum + at(i + radius + 1) + at(i - radius) * -1.0F;
  }
}

template <class T>
void softly(std::vector<T>& data, int width, int height, int radius) {
  if (radius < 1) return;
  std::vector<T> copy;
  for (int pass = 0; pass < 3; ++pass) {
    for (int y = 0; y < height; ++y)
      runningMean(&data[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)], width, 1, radius, copy);
    for (int x = 0; x < width; ++x) runningMean(&data[static_cast<std::size_t>(x)], height, width, radius, copy);
  }
}

/// A smaller canvas is blurred in place of a large one: nobody sees the difference, and it is many times faster.
Canvas reduced(const Canvas& from, int factor) {
  Canvas to(std::max(1, from.width() / factor), std::max(1, from.height() / factor));
  for (int y = 0; y < to.height(); ++y) {
    Colour* line = to.row(y);
    for (int dy = 0; dy < factor; ++dy) {
      const Colour* source = from.row(std::min(y * factor + dy, from.height() - 1));
      for (int x = 0; x < to.width(); ++x)
        for (int dx = 0; dx < factor; ++dx) line[x] += source[std::min(x * factor + dx, from.width() - 1)];
    }
    for (int x = 0; x < to.width(); ++x) line[x] = line[x] * (1.0F / static_cast<float>(factor * factor));
  }
  return to;
}

}  // namespace

Path& Path::moveTo(float x, float y) {
  outlines_.push_back({{x, y}});
  return *this;
}

Path& Path::lineTo(float x, float y) {
  outlines_.back().push_back({x, y});
  return *this;
}

Path& Path::quadTo(float cx, float cy, float x, float y) {
  const Point p = outlines_.back().back();
  return cubicTo(p.x + (cx - p.x) * 2 / 3, p.y + (cy - p.y) * 2 / 3, x + (cx - x) * 2 / 3, y + (cy - y) * 2 / 3, x, y);
}

Path& Path::cubicTo(float ax, float ay, float bx, float by, float x, float y) {
  constexpr int kPieces = 20;
  const Point p = outlines_.back().back();
  for (int i = 1; i <= kPieces; ++i) {
    const float t = static_cast<float>(i) / kPieces, s = 1 - t;
    lineTo(s * s * s * p.x + 3 * s * s * t * ax + 3 * s * t * t * bx + t * t * t * x,
           s * s * s * p.y + 3 * s * s * t * ay + 3 * s * t * t * by + t * t * t * y);
  }
  return *this;
}

Path& Path::ellipse(float cx, float cy, float rx, float ry, float angle) {
  const int pieces = std::max(rx, ry) < 0.01F ? 24 : 96;
  const float c = std::cos(angle), s = std::sin(angle);
  for (int i = 0; i < pieces; ++i) {
    const float t = 2 * kPi * static_cast<float>(i) / static_cast<float>(pieces);
    const float x = std::cos(t) * rx, y = std::sin(t) * ry;
    if (i == 0)
      moveTo(cx + x * c - y * s, cy + x * s + y * c);
    else
      lineTo(cx + x * c - y * s, cy + x * s + y * c);
  }
  return *this;
}

Path& Path::rectangle(float x, float y, float width, float height, float radius) {
  if (radius <= 0) return moveTo(x, y).lineTo(x + width, y).lineTo(x + width, y + height).lineTo(x, y + height);
  const float r = std::min(radius, std::min(width, height) / 2), k = r * 0.4477F;
  const float right = x + width, bottom = y + height;
  return moveTo(x + r, y)
      .lineTo(right - r, y)
      .cubicTo(right - k, y, right, y + k, right, y + r)
      .lineTo(right, bottom - r)
      .cubicTo(right, bottom - k, right - k, bottom, right - r, bottom)
      .lineTo(x + r, bottom)
      .cubicTo(x + k, bottom, x, bottom - k, x, bottom - r)
      .lineTo(x, y + r)
      .cubicTo(x, y + k, x + k, y, x + r, y);
}

Path& Path::stroke(Point from, Point to, float thicknessFrom, float thicknessTo) {
  const float along = std::atan2(to.y - from.y, to.x - from.x);
  constexpr int kRound = 8;
  bool first = true;
  const auto cap = [&](Point centre, float radius, float start) {
    for (int i = 0; i <= kRound; ++i) {
      const float t = start + kPi * static_cast<float>(i) / kRound;
      const float x = centre.x + std::cos(t) * radius, y = centre.y + std::sin(t) * radius;
      if (first)
        moveTo(x, y);
      else
        lineTo(x, y);
      first = false;
    }
  };
  cap(to, thicknessTo / 2, along - kPi / 2);
  cap(from, thicknessFrom / 2, along + kPi / 2);
  return *this;
}

Path& Path::petal(float x, float y, float angle, float length, float width, float belly, float tip) {
  const float c = std::cos(angle), s = std::sin(angle);
  const auto px = [&](float along, float across) { return x + along * c - across * s; };
  const auto py = [&](float along, float across) { return y + along * s + across * c; };
  const float w = width / 2, blunt = tip * w;
  moveTo(x, y);
  cubicTo(px(length * belly * 0.35F, w * 0.9F), py(length * belly * 0.35F, w * 0.9F), px(length * belly * 0.6F, w),
          py(length * belly * 0.6F, w), px(length * belly, w), py(length * belly, w));
  cubicTo(px(lerp(length * belly, length, 0.6F), w), py(lerp(length * belly, length, 0.6F), w),
          px(length * 0.97F, blunt + w * 0.18F), py(length * 0.97F, blunt + w * 0.18F), px(length, blunt * 0.2F),
          py(length, blunt * 0.2F));
  lineTo(px(length, -blunt * 0.2F), py(length, -blunt * 0.2F));
  cubicTo(px(length * 0.97F, -blunt - w * 0.18F), py(length * 0.97F, -blunt - w * 0.18F),
          px(lerp(length * belly, length, 0.6F), -w), py(lerp(length * belly, length, 0.6F), -w),
          px(length * belly, -w), py(length * belly, -w));
  return cubicTo(px(length * belly * 0.6F, -w), py(length * belly * 0.6F, -w), px(length * belly * 0.35F, -w * 0.9F),
                 py(length * belly * 0.35F, -w * 0.9F), x, y);
}

Canvas::Canvas(int width, int height)
    : width_(width), height_(height), pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {}

Colour Canvas::sample(float x, float y) const {
  const float px = std::clamp(x * static_cast<float>(height_) - 0.5F, 0.0F, static_cast<float>(width_ - 1));
  const float py = std::clamp(y * static_cast<float>(height_) - 0.5F, 0.0F, static_cast<float>(height_ - 1));
  const int x0 = static_cast<int>(px), y0 = static_cast<int>(py);
  const int x1 = std::min(x0 + 1, width_ - 1), y1 = std::min(y0 + 1, height_ - 1);
  const float u = px - static_cast<float>(x0), v = py - static_cast<float>(y0);
  return mix(mix(row(y0)[x0], row(y0)[x1], u), mix(row(y1)[x0], row(y1)[x1], u), v);
}

/// Signed areas of each edge are accumulated per pixel and summed along the row: exact coverage in one pass.
Canvas::Coverage Canvas::coverageOf(const Path& path, int margin) const {
  float left = 1e9F, right = -1e9F, top = 1e9F, bottom = -1e9F;
  const float scale = static_cast<float>(height_);
  for (const auto& outline : path.outlines())
    for (const auto& p : outline) {
      left = std::min(left, p.x * scale), right = std::max(right, p.x * scale);
      top = std::min(top, p.y * scale), bottom = std::max(bottom, p.y * scale);
    }
  const float edge = static_cast<float>(margin);
  const auto within = [](float v, int limit) {
    return static_cast<int>(std::clamp(v, 0.0F, static_cast<float>(limit)));
  };
  Coverage c;
  c.left = within(std::floor(left - edge), width_), c.top = within(std::floor(top - edge), height_);
  c.width = within(std::ceil(right + edge) + 1, width_) - c.left;
  c.height = within(std::ceil(bottom + edge) + 1, height_) - c.top;
  if (c.width <= 0 || c.height <= 0) return {};
  const std::size_t pitch = static_cast<std::size_t>(c.width) + 2;
  std::vector<float> sums(pitch * static_cast<std::size_t>(c.height));
  const float limit = static_cast<float>(c.width), floor = static_cast<float>(c.height);
  const auto edgeFrom = [&](Path::Point p, Path::Point q) {
    if (p.y == q.y) return;
    const float sign = p.y < q.y ? 1.0F : -1.0F;
    if (p.y > q.y) std::swap(p, q);
    const float slope = (q.x - p.x) / (q.y - p.y);
    float x = p.x;
    if (p.y < 0) x -= p.y * slope;
    const int last = static_cast<int>(std::min(floor, std::ceil(q.y)));
    for (int y = std::max(0, static_cast<int>(p.y)); y < last; ++y) {
      const float dy = std::min(static_cast<float>(y + 1), q.y) - std::max(static_cast<float>(y), p.y);
      if (dy <= 0) continue;
      const float next = x + slope * dy;
      const float weight = dy * sign;
      const float x0 = std::clamp(std::min(x, next), 0.0F, limit), x1 = std::clamp(std::max(x, next), 0.0F, limit);
      float* line = &sums[static_cast<std::size_t>(y) * pitch];
      const int first = static_cast<int>(x0), end = static_cast<int>(std::ceil(x1));
      if (end <= first + 1) {
        const float middle = 0.5F * (x0 + x1) - static_cast<float>(first);
        line[first] += weight * (1 - middle);
        line[first + 1] += weight * middle;
      } else {
        const float inverse = 1 / (x1 - x0), into = 1 - (x0 - static_cast<float>(first));
        const float start = 0.5F * inverse * into * into;
        const float rest = x1 - static_cast<float>(end) + 1, tail = 0.5F * inverse * rest * rest;
        line[first] += weight * start;
        if (end == first + 2) {
          line[first + 1] += weight * (1 - start - tail);
        } else {
          const float second = inverse * (1.5F - (x0 - static_cast<float>(first)));
          line[first + 1] += weight * (second - start);
          for (int i = first + 2; i < end - 1; ++i) line[i] += weight * inverse;
          const float upTo = second + static_cast<float>(end - first - 3) * inverse;
          line[end - 1] += weight * (1 - upTo - tail);
        }
        line[end] += weight * tail;
      }
      x = next;
    }
  };
  const float ox = static_cast<float>(c.left), oy = static_cast<float>(c.top);
  for (const auto& outline : path.outlines())
    for (std::size_t i = 0; i < outline.size(); ++i) {
      const auto& p = outline[i];
      const auto& q = outline[i + 1 < outline.size() ? i + 1 : 0];
      edgeFrom({p.x * scale - ox, p.y * scale - oy}, {q.x * scale - ox, q.y * scale - oy});
    }
  c.amounts.resize(static_cast<std::size_t>(c.width) * static_cast<std::size_t>(c.height));
  for (int y = 0; y < c.height; ++y) {
    float sum = 0;
    for (int x = 0; x < c.width; ++x) {
      sum += sums[static_cast<std::size_t>(y) * pitch + static_cast<std::size_t>(x)];
      c.amounts[static_cast<std::size_t>(y) * static_cast<std::size_t>(c.width) + static_cast<std::size_t>(x)] =
          std::min(1.0F, std::fabs(sum));
    }
  }
  return c;
}

void Canvas::glow(float x, float y, float radius, Colour light, float falloff) {
  const float scale = static_cast<float>(height_);
  const int left = std::max(0, static_cast<int>((x - radius) * scale));
  const int right = std::min(width_, static_cast<int>((x + radius) * scale) + 1);
  const int top = std::max(0, static_cast<int>((y - radius) * scale));
  const int bottom = std::min(height_, static_cast<int>((y + radius) * scale) + 1);
  const float inverse = 1 / (radius * radius);
  for (int py = top; py < bottom; ++py) {
    const float dy = (static_cast<float>(py) + 0.5F) * pixel() - y;
    for (int px = left; px < right; ++px) {
      const float dx = (static_cast<float>(px) + 0.5F) * pixel() - x;
      const float away = 1 - (dx * dx + dy * dy) * inverse;
      if (away <= 0) continue;
      const float amount = falloff == 2   ? away * away
                           : falloff == 4 ? away * away * away * away
                                          : std::pow(away, falloff);
      row(py)[px] += light * amount;
    }
  }
}

void Canvas::blur(float radius) {
  const float inPixels = radius * static_cast<float>(height_) * 0.6F;
  const int factor = std::max(1, static_cast<int>(inPixels / 5));
  if (factor == 1) {
    softly(pixels_, width_, height_, static_cast<int>(std::lround(inPixels)));
    return;
  }
  Canvas small = reduced(*this, factor);
  softly(small.pixels_, small.width_, small.height_,
         static_cast<int>(std::lround(inPixels / static_cast<float>(factor))));
  const float sx = small.aspect() / aspect();
  shade(0, 1, [&](float x, float y, Colour) { return small.sample(x * sx, y); });
}

void Canvas::bloom(float threshold, float radius, float strength) {
  const int factor = std::max(1, height_ / 400);
  Canvas bright = reduced(*this, factor);
  for (Colour& c : bright.pixels_) {
    const float l = std::max(c.r, std::max(c.g, c.b));
    c = l > threshold ? c * std::min((l - threshold) / l, 4 / l) : Colour{};
  }
  softly(bright.pixels_, bright.width_, bright.height_,
         std::max(1, static_cast<int>(radius * 0.6F * static_cast<float>(bright.height_))));
  const float sx = bright.aspect() / aspect();
  shade(0, 1, [&](float x, float y, Colour old) { return old + bright.sample(x * sx, y) * strength; });
}

void Canvas::vignette(float strength) {
  const float a = aspect();
  shade(0, 1, [&](float x, float y, Colour old) {
    const float dx = (x / a - 0.5F) * 2, dy = (y - 0.5F) * 2;
    return old * (1 - strength * smoothstep(0.35F, 1.9F, dx * dx + dy * dy));
  });
}

void Canvas::shadow(const Path& path, float dx, float dy, float softness, float strength) {
  const int radius = std::max(1, static_cast<int>(softness * 0.6F * static_cast<float>(height_)));
  Path moved;
  for (const auto& outline : path.outlines())
    for (std::size_t i = 0; i < outline.size(); ++i) {
      if (i == 0)
        moved.moveTo(outline[i].x + dx, outline[i].y + dy);
      else
        moved.lineTo(outline[i].x + dx, outline[i].y + dy);
    }
  Coverage cover = coverageOf(moved, radius * 3);
  softly(cover.amounts, cover.width, cover.height, radius);
  for (int y = 0; y < cover.height; ++y)
    for (int x = 0; x < cover.width; ++x) {
      Colour& old = row(cover.top + y)[cover.left + x];
      old = old * (1 - strength * cover.amounts[static_cast<std::size_t>(y) * static_cast<std::size_t>(cover.width) +
                                                static_cast<std::size_t>(x)]);
    }
}

}  // namespace tlx::samples
