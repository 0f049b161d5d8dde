#include "Scenes.h"

namespace tlx::samples {
namespace {

constexpr double kTurn = 6.2831853, kGoldenAngle = 2.39996;

/// A house of lit windows; near 0 is far away.
void tower(QPainter& painter, Random& r, QRectF body, Rgb wall, Rgb haze, double near) {
  static const std::vector<unsigned> kLamps{0xffc873, 0xffdf9e, 0xffb457, 0xcfe4ff, 0xfff1cf, 0xff9e5e};
  painter.fillRect(body, mix(wall, haze, 0.15 * (1 - near)).color());
  const double cell = std::lerp(0.0065, 0.0125, near), storey = cell * r.in(1.1, 1.5), lit = r.in(0.25, 0.62);
  const Rgb lamp = Rgb(r.oneOf(kLamps));
  for (double y = body.top() + storey; y < body.bottom() - storey; y += storey)
    for (double x = body.left() + cell * 0.7; x < body.right() - cell; x += cell)
      if (r.unit() < lit) painter.fillRect(QRectF(x, y, cell * 0.62, storey * 0.5), lamp.color(r.in(0.35, 1)));
}

void bloomHead(Canvas& c, Random& r, const FlowerStyle& f, double x, double y, double radius) {
  const bool full = f.rings > 4;
  const double start = r.in(0, kTurn);
  c.shadow(ellipse(x, y, radius * 0.75, radius * 0.75), radius * 0.05, radius * 0.3, 0.3);
  c.draw([&](QPainter& painter) {
    for (int ring = 0; ring < f.rings; ++ring) {
      const double inward = f.rings > 1 ? ring / (f.rings - 1.0) : 0,
                   reach = radius * std::lerp(1, full ? 0.2 : 0.66, inward);
      const int petals = std::max(5, static_cast<int>(f.petals * std::lerp(1, full ? 0.5 : 0.85, inward)));
      for (int i = 0; i < petals; ++i) {
        const double angle = start + kTurn * (i + 0.5 * (ring % 2)) / petals + r.in(-0.05, 0.05),
                     length = reach * r.in(0.93, 1.05);
        const double light = (0.9 + 0.16 * std::cos(angle + 2.2)) * std::lerp(0.92, 1.06, inward) * r.in(0.94, 1.04);
        const double wide = f.width * (full ? radius * std::lerp(1, 0.42, inward) : reach);
        const QPainterPath leaf = petal(x, y, angle, length, wide);
        painter.fillPath(leaf.translated(radius * 0.015, radius * 0.02), QColor(0, 0, 0, 60));
        QLinearGradient along(QPointF(x, y), QPointF(x + std::cos(angle) * length, y + std::sin(angle) * length));
        along.setColorAt(0, (Rgb(f.inner) * 0.55 * light).color());
        along.setColorAt(0.55, (mix(Rgb(f.inner), Rgb(f.outer), 0.6) * light).color());
        along.setColorAt(1, (Rgb(f.outer) * light).color());
        painter.fillPath(leaf, along);
      }
    }
    const double s = radius * f.heartSize;
    if (s <= 0) return;
    painter.fillPath(ellipse(x + s * 0.05, y + s * 0.1, s * 1.08, s * 1.08), QColor(0, 0, 0, 80));
    painter.fillPath(ellipse(x, y, s, s), (Rgb(f.heart) * 0.6).color());
    for (int i = 0; i < 420; ++i) {
      const double t = i / 420.0, angle = i * kGoldenAngle, d = s * 0.97 * std::sqrt(t), p = s * (0.026 + 0.03 * t);
      const double sx = x + std::cos(angle) * d, sy = y + std::sin(angle) * d,
                   light = clamp01(0.6 - (sx - x + sy - y) / s * 0.3);
      painter.fillPath(ellipse(sx, sy, p, p), (Rgb(f.heart) * (0.6 + 0.9 * light * (0.6 + 0.4 * t))).color());
    }
  });
}

void bar(QPainter& painter, QRectF place, Rgb colour) {
  painter.setBrush(colour.color());
  const double corner = std::min(0.018, place.height() / 2);
  painter.drawRoundedRect(place, corner, corner);
}

}  // namespace

Scene skyline(const Mood& mood, double height, double phase) {
  return [&mood, height, phase](Canvas& c, Random& r) {
    const double a = c.aspect(), shore = 0.7;
    heaven(c, r, mood, shore, a * 0.7, 0.2, mood.night ? 0.045 : 0, 0.35, phase * 0.03);
    c.glow(a * 0.5, shore, 0.75, Rgb(0xff9e5e), 0.35);
    const double centre = a * r.in(0.35, 0.65);
    c.draw([&](QPainter& painter) {
      for (int layer = 0; layer < 3; ++layer) {
        const double near = layer / 2.0;
        const Rgb wall = mix(mix(mood.haze, mood.ink, 0.5), mix(mood.ink, mood.haze, 0.08), near);
        for (double x = -0.05; x < a;) {
          const double wide = r.in(0.035, 0.085) * (0.75 + 0.35 * near),
                       towards = std::exp(-(x - centre) * (x - centre) * 3.2);
          const double tall = height * std::lerp(1, 0.42, near) *
                              (0.18 + 0.55 * towards * r.in(0.45, 1.25) + r.in(0, 0.26)),
                       top = shore - tall;
          tower(painter, r, {x, top, wide, tall}, wall, mood.haze, near);
          if (r.unit() < 0.35)
            tower(painter, r, {x + wide * 0.2, top - tall * 0.09, wide * 0.6, tall * 0.09}, wall, mood.haze, near);
          if (r.unit() < 0.2)
            painter.fillRect(QRectF(x + wide / 2, top - tall * 0.26, 0.003, tall * 0.26), wall.color());
          x += wide * r.in(0.8, 1.12);
        }
      }
    });
    for (double x = 0; x < a; x += r.in(0.018, 0.04)) c.glow(x, shore - 0.006, r.in(0.012, 0.028), Rgb(0xffd9a0), 1);
    water(c, r, mood, shore, 0.55, -1, phase);
    c.finish(0.45, 0.35);
  };
}

Scene flower(FlowerStyle f) {
  return [f](Canvas& c, Random& r) {
    const double a = c.aspect(), ox = r.in(0, 200), radius = std::min(0.36, a * 0.44);
    c.veil(0, 1, [&](double x, double y) {
      return std::pair(
          mix(Rgb(f.high), Rgb(f.low), clamp01(0.35 + (y - 0.3) * 0.8 + 0.6 * noise(x * 1.7 + ox, y * 1.7))), 1.0);
    });
    for (int i = 0; i < 26 * a; ++i)
      c.disc(r.in(0, a), r.in(0, 1), r.in(0.02, 0.085),
             mix(mix(Rgb(f.high), Rgb(f.outer), r.unit() * 0.6), {1, 1, 0.9}, 0.2), r.in(0.1, 0.35));
    c.blur(0.022);
    const auto stand = [&](double x, double y, double size) {
      QPainterPath curve({x, y});
      curve.quadTo(x + 0.01, (y + 1) / 2, x + 0.05, 1.05);
      c.draw(
          [&](QPainter& painter) { painter.strokePath(curve, QPen(mix(f.low, 0x7fa84a, 0.4).color(), size * 0.06)); });
      bloomHead(c, r, f, x, y, size);
    };
    stand(a * r.in(0.06, 0.16), r.in(0.2, 0.7), radius * 0.5);
    stand(a * r.in(0.86, 0.96), r.in(0.3, 0.75), radius * 0.55);
    c.blur(0.012);
    stand(a * r.in(0.45, 0.55), 0.46, radius);
    c.finish(0.35, 0.3);
  };
}

Scene paperWaves(const Gradient& colours) {
  return [colours](Canvas& c, Random& r) {
    const double a = c.aspect(), ox = r.in(0, 200), turn = r.in(-0.25, 0.25);
    c.image.fill(colours.at(0).color());
    c.disc(a * 0.7, 0.26, 0.13, mix(colours.at(0.1), {1, 0.97, 0.9}, 0.7));
    for (int i = 1; i <= 8; ++i) {
      const double t = i / 8.0;
      const auto edge = c.heights([=](double x) {
        return std::lerp(0.1, 0.93, t) + turn * (x - a / 2) * (1 - t) + 0.1 * noise(x * 1.15 + ox + t * 2.2, t * 4.4) +
               0.02 * noise(x * 3 + ox, t * 9);
      });
      // The sheet above throws its shadow on the one behind it.
      c.shade(0, 1, [&](double x, double y, Rgb old) {
        const double gap = edge[static_cast<std::size_t>(x * c.image.height())] - y;
        return gap <= 0 || gap > 0.12 ? old : old * (1 - 0.3 * std::exp(-gap * 34));
      });
      c.ground(edge, [&](double x, double y, double below) {
        return mix(colours.at(t) * (1.04 - 0.16 * smoothstep(0, 0.3, below) + 0.015 * noise(x * 240, y * 240)),
                   {1, 1, 1}, 0.25 * std::exp(-below * 320));
      });
    }
    c.finish(0.2, 0.2);
  };
}

Scene marble(const Gradient& colours) {
  return [colours](Canvas& c, Random& r) {
    const double ox = r.in(0, 200), oy = r.in(0, 200);
    c.veil(0, 1, [&](double x, double y) {
      const double u = x * 1.2, v = y * 1.2, qx = fbm(u + ox, v + oy, 4), qy = fbm(u + oy, v + ox, 4),
                   rx = fbm(u + 2.6 * qx + ox, v + 2.6 * qy, 4), f = fbm(u + 2.4 * rx + oy, v + 2.4 * qx, 5);
      const Rgb base = colours.at(0.5 + f * 1.05 + qx * 0.42) * (0.97 + 0.2 * rx);
      return std::pair(mix(base, Rgb(0xffe9b8), 0.6 * std::exp(-std::fabs(f + 0.12 * rx) * 34) * clamp01(0.4 + qy)),
                       1.0);
    });
    c.finish(0.35, 0.25);
  };
}

Scene orbs(const Gradient& backdrop, const std::vector<unsigned>& colours) {
  return [=](Canvas& c, Random& r) {
    const double a = c.aspect(), ox = r.in(0, 200);
    c.veil(0, 1, [&](double x, double y) {
      return std::pair(backdrop.at(0.15 + 0.7 * y + 0.25 * noise(x * 1.2 + ox, y * 1.2)), 1.0);
    });
    for (int i = 0; i < 11; ++i) {
      const double s = 0.03 + 0.23 * (1 - i / 11.0) * r.in(0.7, 1.1), x = r.in(0.08, 0.92) * a, y = r.in(0.12, 0.88);
      c.shadow(ellipse(x, y, s * 0.9, s * 0.9), s * 0.22, s * 0.4, 0.4);
      c.fill(ellipse(x, y, s, s), round(x, y, s, Rgb(r.oneOf(colours))));
    }
    c.finish(0.35, 0.25);
  };
}

Scene screen(int page) {
  return [page](Canvas& c, Random& r) {
    static const std::vector<unsigned> kTints{0x3ec1c7, 0xf2784b, 0xf6b93b, 0x6a89cc, 0xb0559f, 0x4cae6e, 0xe55039};
    const double a = c.aspect(), edge = a * 0.07, tall = page % 2 == 0 ? 0.07 : 0.165;
    const Rgb accent = r.oneOf(kTints);
    const bool dark = page % 3 == 1;
    const Rgb paper = dark ? 0x15191c : 0xf1f3f4, card = dark ? 0x262d32 : 0xffffff, ink = dark ? 0xdfe6e9 : 0x2d3436;
    c.image.fill(paper.color());
    if (page == 7) ridges(kDusk, 0.6, 0, false)(c, r);
    c.draw([&](QPainter& painter) {
      painter.fillRect(QRectF(0, 0, a, 0.115), accent.color());
      bar(painter, {edge, 0.07, a * 0.4, 0.02}, {1, 1, 1});
      for (double y = 0.14; y < 0.9; y += tall + 0.015) {
        bar(painter, {edge, y, a - 2 * edge, tall}, card);
        bar(painter, {edge + 0.012, y + 0.012, tall - 0.024, tall - 0.024}, r.oneOf(kTints));
        for (double line = y + 0.018; line < y + tall - 0.02; line += 0.024)
          bar(painter, {edge + tall, line, r.in(0.15, 0.36 - tall), 0.011},
              mix(card, ink, line < y + 0.02 ? 0.9 : 0.35));
      }
    });
  };
}

}  // namespace tlx::samples
