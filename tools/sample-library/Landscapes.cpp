#include "Scenes.h"

namespace tlx::samples {

const Mood kDawn{{0x5b6fa8, 0xa99ac4, 0xf0b7b5, 0xffdcb8}, 0xffe6c4, 0xf3c6bd, 0x8f7f8f, 0x1f2440};
const Mood kGolden{{0x3d6ea5, 0x8fb0c2, 0xf6d492, 0xffb65c}, 0xffdf9a, 0xf7c47c, 0x9a8438, 0x2a1d17};
const Mood kEmber{{0x1d1b3f, 0x5b2a63, 0xc8434f, 0xff8a3c, 0xffd070}, 0xffc46a, 0xd9604c, 0x6a3a3a, 0x140d1c};
const Mood kDusk{{0x171a45, 0x4b3f8c, 0xa85fa8, 0xffa9a0}, 0xffcfc0, 0xb777ad, 0x57467a, 0x100f2a};
const Mood kBlueHour{{0x081632, 0x1c4272, 0x5f8fb4, 0xd9b79a}, 0xffe4c4, 0x6f94b5, 0x31506a, 0x07101f, true};
const Mood kNight{{0x03060f, 0x0a1730, 0x17305a, 0x2c4f7c}, 0xe6eeff, 0x22406a, 0x22354a, 0x02050c, true};
const Mood kNoon{{0x1f63b5, 0x5aa2dd, 0xb4dcf0, 0xe6f4f7}, 0xfff8e6, 0xbfdcea, 0x5f8a3c, 0x17301f};
const Mood kTeal{{0x2c6f86, 0x74b3ad, 0xcfe5c8, 0xfdf0c8}, 0xfff3cc, 0xc6e0cb, 0x4f8a6c, 0x0d2a30};
const Mood kOvercast{{0x7b8b99, 0xaeb9c0, 0xe2e4e0}, 0xf5f2ea, 0xc9d1d3, 0x6d7d63, 0x232c30};
const Mood kArctic{{0x274d78, 0x6d9cc0, 0xc8dbe6, 0xf8e5dc}, 0xffeadc, 0xc8dae6, 0x667a86, 0x17283a};
const Mood kPeach{{0x8fa9cf, 0xd9c2d4, 0xffcdb0, 0xffe9c9}, 0xffedc8, 0xffd9c0, 0xd09a76, 0x4d3446};
const Mood kStorm{{0x1d2733, 0x3f5363, 0x7d929b, 0xd8cdb0}, 0xfff3d6, 0x8d9fa5, 0x4d6458, 0x10181d};
const Mood kSpring{{0x3f86cf, 0x86bfe8, 0xd3ebf3, 0xfff3dc}, 0xfff6dc, 0xd3e8df, 0x86b24a, 0x1d3b22};

namespace {

void stars(Canvas& c, Random& r, double bottom, int perUnit) {
  c.draw([&](QPainter& painter) {
    for (int i = 0; i < perUnit * c.aspect(); ++i) {
      const double x = r.in(0, c.aspect()), y = r.in(0, bottom), m = std::pow(r.unit(), 6);
      const Rgb tint = mix(Rgb(0xbcd2ff), Rgb(0xffe9d0), r.unit());
      painter.setBrush(tint.color((0.25 + 0.75 * m) * smoothstep(bottom, bottom * 0.4, y)));
      const double size = std::max(c.pixel() * 0.55, 0.0007 + 0.0014 * m);
      painter.drawEllipse(QPointF(x, y), size, size);
    }
  });
}

/// Clouds on a ceiling that recedes to the horizon, lit from (sunX, sunY).
void clouds(Canvas& c, Random& r, const Mood& mood, double horizon, double cover, double sunX, double sunY,
            double drift) {
  const double ox = r.in(0, 200) + drift, oy = r.in(0, 200), threshold = 0.36 - cover * 0.6;
  const auto density = [=](double x, double y) {
    const double away = 0.42 / (horizon - y + 0.16), u = (x - 0.7) * away * 2.2 + ox, v = away * 3.4 + oy;
    const double warp = noise(u * 0.7 + 11, v * 0.7) * 0.35;
    return fbm(u + warp, v * 1.25 - warp, 5);
  };
  const Rgb dark = mix(mood.haze, mood.sky.at(0.3), 0.5) * (mood.night ? 0.8 : 0.95);
  const Rgb lit = mix(mood.haze, mood.sun, mood.night ? 0.2 : 0.85);
  c.veil(0, horizon, [&](double x, double y) {
    const double here = density(x, y), amount = smoothstep(threshold, threshold + 0.45, here);
    if (amount <= 0) return std::pair(lit, 0.0);
    const double dx = sunX - x, dy = sunY - y, length = std::hypot(dx, dy) + 0.05;
    const double there = density(x + dx / length * 0.02, y + dy / length * 0.02);
    const Rgb body = mix(dark, lit, clamp01(0.62 + (here - there) * 3 - amount * 0.25));
    return std::pair(body, amount * 0.9 * (0.4 + 0.6 * smoothstep(horizon, horizon - 0.14, y)));
  });
}

/// A full moon with its seas and craters.
void moon(Canvas& c, Random& r, double x, double y, double radius) {
  const Rgb light = 0xfff1da;
  c.glow(x, y, radius * 6, light, std::min(0.35, 0.02 / radius));
  const double ox = r.in(0, 200);
  c.shade(y - radius, y + radius, [&](double px, double py, Rgb old) {
    const double u = (px - x) / radius, v = (py - y) / radius, d = std::hypot(u, v);
    const double cover = clamp01((1 - d) * radius / c.pixel());
    if (cover <= 0) return old;
    const double tone =
        0.92 + 0.2 * fbm(u * 5 + ox, v * 5, 5) - 0.26 * smoothstep(0.02, 0.3, fbm(u * 1.5, v * 1.5 + ox, 3));
    return mix(old, light * (tone * (0.72 + 0.28 * std::sqrt(std::max(0.0, 1 - d * d)))), cover);
  });
}

/// Fog that lies at one height, thicker where noise says so.
void mist(Canvas& c, Random& r, double y, double thickness, Rgb colour, double strength) {
  const double ox = r.in(0, 200), oy = r.in(0, 200);
  c.veil(y - thickness, y + thickness, [&](double px, double py) {
    const double d = (py - y) / thickness, band = std::max(0.0, (1 - d * d) * (1 - d * d));
    return std::pair(colour, clamp01(strength * band * (0.6 + 0.8 * fbm(px * 2.2 + ox, py * 7 + oy, 3))));
  });
}

/// The upper edge of a wood of conifers that stand along base(x).
std::vector<double> treeline(const Canvas& c, Random& r, const std::function<double(double)>& base, double low,
                             double high) {
  std::vector<double> line = c.heights(base);
  for (double x = -high; x < c.aspect() + high; x += high * r.in(0.08, 0.35)) {
    const double size = std::lerp(low, high, r.unit() * r.unit() * 0.7 + 0.3 * clamp01(0.5 + noise(x * 5, low * 99)));
    const double half = size * r.in(0.17, 0.24), foot = base(x) + size * 0.06, steps = r.in(6, 10), lean = r.in(0, 0.5);
    for (int i = std::max(0, static_cast<int>((x - half) / c.pixel()));
         i < std::min<double>((x + half) / c.pixel(), c.image.width()); ++i) {
      const double side = (i * c.pixel() - x) / half, t = std::min(1.0, std::fabs(side)),
                   shelf = t * steps + (side > 0 ? lean : 0);
      double& top = line[static_cast<std::size_t>(i)];
      top = std::min(top, foot - size * (std::pow(1 - t, 1.12) + (shelf - std::floor(shelf)) * 0.085 * (0.35 + t)));
    }
  }
  return line;
}

struct Twig {
  QPointF foot;
  double angle, length, width;
  int depth;
};

/// Draws a bare tree and tells where its leaves sit.
std::vector<QPointF> branches(Canvas& c, Random& r, Twig root, Rgb bark) {
  std::vector<QPointF> tips;
  std::vector<Twig> open{root};
  c.draw([&](QPainter& painter) {
    while (!open.empty()) {
      const Twig t = open.back();
      open.pop_back();
      const QPointF end = t.foot + QPointF(std::cos(t.angle), std::sin(t.angle)) * t.length;
      painter.setPen(QPen(bark.color(), t.width, Qt::SolidLine, Qt::RoundCap));
      painter.drawLine(t.foot, end);
      painter.setPen(QPen(QColor(255, 235, 200, 28), t.width * 0.35));
      painter.drawLine(t.foot - QPointF(t.width * 0.25, 0), end - QPointF(t.width * 0.2, 0));
      if (t.depth <= 4) tips.push_back(end);
      const int forks = t.depth == 0 ? 0 : t.depth > 5 ? 2 : 2 + r.below(2);
      for (int i = 0; i < forks; ++i) {
        const double spread = (i - (forks - 1) / 2.0) * r.in(0.5, 0.85) + r.in(-0.16, 0.16);
        open.push_back({end, t.angle + spread, t.length * r.in(0.68, 0.86), t.width * 0.68, t.depth - 1});
      }
    }
  });
  return tips;
}

void leavesOn(Canvas& c, Random& r, const std::vector<QPointF>& tips, const std::vector<unsigned>& colours, double size,
              int count) {
  c.draw([&](QPainter& painter) {
    for (int i = 0; i < count; ++i) {
      const double turn = r.in(0, 6.2832), reach = size * 8 * std::sqrt(r.unit());
      const QPointF at = r.oneOf(tips) + QPointF(std::cos(turn), std::sin(turn)) * reach;
      const double light = clamp01(0.6 + ((tips[0].x() - at.x()) + (tips[0].y() - at.y())) * 1.4);
      const Rgb tone = Rgb(r.oneOf(colours)) * ((0.5 + 0.65 * light) * (0.55 + 0.5 * i / count));
      painter.fillPath(petal(at.x(), at.y(), r.in(0, 6.28), size * 2.6, size * r.in(1.2, 2)), tone.color());
    }
  });
}

}  // namespace

void heaven(Canvas& c, Random& r, const Mood& mood, double horizon, double sunX, double sunY, double size, double cover,
            double drift) {
  c.shade(0, 1, [&](double, double y, Rgb) { return mood.sky.at(y / horizon); });
  if (mood.night) stars(c, r, horizon, 900);
  if (!mood.night && size > 0) {
    c.glow(sunX, sunY, 0.9, mood.sun, 0.55);
    c.glow(sunX, sunY, size * 5, mood.sun, 0.8);
    c.disc(sunX, sunY, size, mix(mood.sun, {1, 1, 1}, 0.55));
  }
  clouds(c, r, mood, horizon, cover, sunX, sunY, drift);
  if (mood.night && size > 0) moon(c, r, sunX, sunY, size * 1.3);
}

void water(Canvas& c, Random& r, const Mood& mood, double horizon, double rough, double sunX, double phase) {
  const double ox = r.in(0, 200), oy = r.in(0, 200), middle = c.aspect() / 2;
  const Canvas above = c;
  const Rgb deep = mix(mood.ink, mood.sky.at(0.25), 0.45);
  c.shade(horizon, 1, [&](double x, double y, Rgb) {
    const double d = y - horizon, away = 1 / (d + 0.015), calm = smoothstep(0, 0.05, d);
    const double u = (x - middle) * away * 0.55 + ox, v = away * 1.5 + oy;
    const double wave =
        noise(u * 2 + phase * 0.7, v * 2.6 + phase) + 0.5 * noise(u * 5.3 - phase, v * 6.1 + phase * 1.7);
    const double fine = noise(u * 11, v * 15 - phase * 2), swing = (wave + fine * 0.35) * rough * calm;
    const double mirrored =
        std::min(horizon - d * (1 - 0.25 * rough) - 0.004 + swing * (0.03 + 0.16 * d), horizon - 0.003);
    Rgb seen = mix(deep, above.sample(x + swing * 0.012, mirrored),
                   clamp01(0.94 - 0.5 * smoothstep(0, 0.75, d) - rough * 0.14 * wave * calm));
    const double path = (x - sunX) / (0.035 + 0.2 * d);
    if (sunX >= 0 && path * path < 9) {
      const double glint = noise(u * 3 + phase, v * 4 + phase * 2) + 0.6 * noise(u * 8 - phase, v * 9);
      seen = mix(seen, mood.sun, 0.85 * smoothstep(0.1, 0.8, glint) * std::exp(-path * path) * calm);
    }
    return seen * (0.96 + 0.05 * rough * fine);
  });
}

Scene ridges(const Mood& mood, double side, double lake, bool pines) {
  return [&mood, side, lake, pines](Canvas& c, Random& r) {
    const double horizon = lake > 0 ? lake : 0.8, sunX = side * c.aspect();
    heaven(c, r, mood, horizon, sunX, mood.night ? 0.25 : 0.42, 0.035, mood.night ? 0.2 : 0.4);
    constexpr int kLayers = 6;
    for (int i = 0; i < kLayers; ++i) {
      const double near = i / (kLayers - 1.0),
                   top = std::lerp(horizon - 0.3, lake > 0 ? horizon - 0.03 : 0.84, std::pow(near, 1.15));
      const double swing = std::lerp(0.15, lake > 0 ? 0.035 : 0.085, near), scale = std::lerp(1.05, 1.5, near),
                   ox = r.in(0, 200);
      const auto crest = [=](double x) { return top - swing * (ridged(x * scale + ox, i * 9.7, 6) - 0.42) * 2.1; };
      const bool wooded = pines && near > 0.55;
      const double high = std::lerp(0.018, lake > 0 ? 0.05 : 0.12, (near - 0.55) / 0.45);
      const Rgb base = mix(mix(mood.haze, mood.body, 0.3), mood.ink, std::pow(near, 0.85)),
                air = mix(mood.haze, mood.sun, 0.15);
      c.ground(wooded ? treeline(c, r, crest, high * 0.45, high) : c.heights(crest),
               [&](double x, double y, double depth) {
                 // Under a wood's jagged edge the depth would draw a stripe below each tree.
                 const double below = wooded ? std::max(0.0, y - top + swing) : depth;
                 const double rough = wooded ? 1 : 0.92 + 0.2 * noise(x * 9 + ox, below * 14) * (1 - near);
                 const double warm = std::exp(-std::fabs(x - sunX) * 3.2) * (1 - near) * 0.25;
                 return mix(mix(base * rough, mood.sun, warm), air,
                            smoothstep(0, 0.27, below) * (1 - near * 0.75) * (wooded ? 0.6 : 0.85));
               });
      if (i + 1 < kLayers) mist(c, r, top + swing * 1.1, 0.08, air, 0.4 * (1 - near));
    }
    if (lake > 0) {
      water(c, r, mood, lake, 0.15, mood.night ? sunX : -1, 0);
      mist(c, r, lake, 0.025, mood.haze, 0.35);
    }
    c.finish(0.35, 0.28);
  };
}

Scene sea(const Mood& mood, double side, double sunY, double rough, double phase) {
  return [&mood, side, sunY, rough, phase](Canvas& c, Random& r) {
    constexpr double h = 0.6;
    const double a = c.aspect(), sunX = side * a;
    heaven(c, r, mood, h, sunX, sunY, 0.04, mood.night ? 0.25 : 0.45, phase * 0.02);
    for (int i = 0; i < 3; ++i) {
      const double ox = r.in(0, 200), left = r.in(-0.2, 0.9) * a, wide = r.in(0.3, 0.7), tall = r.in(0.03, 0.09);
      const Rgb tone = mix(mood.haze, mood.ink, 0.25 + 0.2 * i);
      const auto island = [=](double x) {
        const double t = clamp01((x - left) / wide);
        return t <= 0 || t >= 1
                   ? 2
                   : h - tall * std::pow(std::sin(t * 3.14159), 0.7) * (0.55 + 0.6 * ridged(x * 3 + ox, 4, 5));
      };
      c.ground(c.heights(island),
               [&](double, double y, double) { return mix(tone, mood.haze, smoothstep(h - 0.06, h, y) * 0.55); });
    }
    water(c, r, mood, h, rough, sunX, phase);
    c.finish(0.35, 0.28);
  };
}

Scene fields(const Mood& mood, const std::vector<unsigned>& rows) {
  return [&mood, rows](Canvas& c, Random& r) {
    constexpr double h = 0.46;
    const double a = c.aspect(), vanish = a * r.in(0.35, 0.65), ox = r.in(0, 200);
    heaven(c, r, mood, h, a * 0.78, h - 0.13, 0.03, 0.45);
    const Rgb soil = mix(mix(mood.ink, mood.body, 0.55), Rgb(0x3d6b2e), 0.35);
    c.shade(h, 1, [&](double x, double y, Rgb) {
      const double away = 1 / (y - h + 0.004), lane = (x - vanish) * away * 0.62 + 200 + 0.12 * noise(away * 0.7, ox),
                   index = std::floor(lane), inside = lane - index - 0.5;
      const double far = clamp01(0.006 * away), u = x * away, v = away * 3,
                   tufts = noise(u * 9 + ox, v * 4) + 0.6 * noise(u * 24, v * 11) * (1 - far);
      const double cover = std::lerp(smoothstep(0.47, 0.24, std::fabs(inside) + 0.07 * tufts * (1 - far)), 0.72, far);
      const Rgb flowers = Rgb(rows[static_cast<std::size_t>(index) % rows.size()]) *
                          (0.8 + 0.4 * clamp01(0.5 + inside) + 0.22 * tufts * (1 - far * 0.8) +
                           0.2 * noise(u * 60, v * 34) * (1 - far));
      return mix(mix(soil * (0.9 + 0.25 * noise(u * 30, v * 30)), flowers, cover), mood.haze,
                 0.5 * std::exp(-(y - h) * 9));
    });
    const double x = a * 0.28;
    leavesOn(c, r, branches(c, r, {{x, h + 0.02}, -1.57, 0.055, 0.012, 6}, mood.ink), {0x4f6a34, 0x6f8a44, 0x3f5a2c},
             0.002, 3600);
    c.finish(0.35, 0.28);
  };
}

Scene loneTree(const Mood& mood, const std::vector<unsigned>& leaves) {
  return [&mood, leaves](Canvas& c, Random& r) {
    const double a = c.aspect(), x = a * r.in(0.42, 0.58), foot = 0.83;
    heaven(c, r, mood, 0.8, a * 0.16, 0.5, 0.03, 0.35);
    for (int i = 0; i < 4; ++i) {
      const double near = i / 3.0, ox = r.in(0, 200), top = std::lerp(0.66, 0.86, near);
      const Rgb tone = mix(mood.haze, mix(mood.body, mood.ink, 0.1), 0.3 + 0.65 * near);
      const auto hill = [=](double px) {
        return top - 0.06 * noise(px * 1.1 + ox, near * 3) - (i == 3 ? 0.05 * std::exp(-(px - x) * (px - x) * 6) : 0);
      };
      c.ground(c.heights(hill), [&](double px, double py, double below) {
        const double grass = 0.95 + 0.16 * fbm(px * 12 + ox, py * 26, 4) + near * 0.12 * noise(px * 150, py * 46);
        return mix(tone * grass, mood.sun, 0.3 * smoothstep(0.12, 0, below)) *
               (1 - 0.35 * near * smoothstep(0.03, 0.3, below));
      });
      if (i < 3) mist(c, r, top + 0.03, 0.07, mood.haze, 0.45);
    }
    leavesOn(c, r, branches(c, r, {{x, foot + 0.03}, -1.57 + r.in(-0.08, 0.08), 0.17, 0.046, 8}, mood.ink), leaves,
             0.004, 15000);
    c.finish(0.35, 0.28);
  };
}

Scene aurora(const Mood& mood, unsigned low, unsigned high, double phase) {
  return [&mood, low, high, phase](Canvas& c, Random& r) {
    constexpr double shore = 0.72;
    heaven(c, r, mood, shore, 0, 0, 0, 0);
    const double ox = r.in(0, 200), oy = r.in(0, 200);
    for (int fold = 0; fold < 3; ++fold)
      c.veil(0, shore, [&](double x, double y) {
        const double foot = 0.5 + 0.15 * noise(x * 1.1 + ox + phase * 0.25, fold * 3.3 + phase * 0.12) +
                            0.05 * noise(x * 3.1 + oy, fold + phase * 0.4) - 0.05 * fold;
        const double rays = std::max(0.12, 0.6 + 0.45 * noise(x * 22 + ox, fold * 7 + phase * 1.3) +
                                               0.25 * noise(x * 60 + oy, fold + phase * 2));
        const double up = (foot - y) / (0.44 * (0.75 + 0.35 * noise(x * 2.3, fold + ox)));
        const double body = smoothstep(-0.07, 0.04, up) * std::pow(std::max(0.0, 1 - up), 1.6) *
                            smoothstep(-0.4, 0.4, noise(x * 1.6 + oy, fold * 5 + 1 + phase * 0.3));
        return std::pair(mix(Rgb(low), Rgb(high), clamp01(up * 1.5)), clamp01(1.1 * rays * body));
      });
    for (int i = 0; i < 2; ++i) {
      const double mx = r.in(0, 200);
      const Rgb tone = mix(mood.ink, mix(mood.haze, Rgb(low), 0.2), 0.3 - 0.22 * i);
      const auto crest = [=](double x) {
        return shore - 0.015 - (0.2 - 0.13 * i) * ridged(x * (0.8 + i) + mx, 3 + i, 7);
      };
      c.ground(c.heights(crest), [&](double x, double y, double below) {
        const double snow = smoothstep(0.05, 0.45, noise(x * 19 + mx, y * 26) + 0.5 * noise(x * 47, y * 60)) *
                            smoothstep(0.16, 0, below) * (1 - i);
        return mix(tone, mix(mood.haze, Rgb(low), 0.4), 0.6 * snow);
      });
    }
    water(c, r, mood, shore, 0.13, -1, phase * 0.5);
    c.finish(0.3, 0.3);
  };
}

Scene starry(const Mood& mood) {
  return [&mood](Canvas& c, Random& r) {
    const double a = c.aspect(), ox = r.in(0, 200);
    c.shade(0, 1, [&](double, double y, Rgb) { return mood.sky.at(y * 0.9); });
    stars(c, r, 1, 1900);
    c.veil(0, 1, [&](double x, double y) {
      const double along = (x - a * 0.5) * 0.55 - (y - 0.45) * 0.83,
                   across = (x - a * 0.5) * 0.83 + (y - 0.45) * 0.55 + 0.05 * noise(along * 2 + ox, 1);
      const double band = std::exp(-across * across * 22) *
                          (0.55 + 0.45 * std::exp(-(along + 0.15) * (along + 0.15) * 3.5)),
                   cloud = fbm(along * 4 + ox, across * 7, 5);
      const double dust =
          smoothstep(0.02, 0.4, fbm(along * 3.2 + 40 + ox, across * 9, 5) + 0.18 - std::fabs(across) * 3.2);
      return std::pair(mix(mix(Rgb(0x8fa6ea), Rgb(0xf9dcc2), band), Rgb(0xc06a9a), clamp01(cloud * 0.7)),
                       clamp01(band * (0.6 + 0.6 * cloud) * (1 - 0.85 * dust)));
    });
    c.glow(a * 0.5, 1, 0.75, mood.haze, 0.6);
    c.ground(
        treeline(
            c, r, [=](double x) { return 0.9 - 0.055 * noise(x * 1.1 + ox, 2) - 0.02 * noise(x * 4, ox); }, 0.03, 0.16),
        [&](double, double, double) { return mood.ink; });
    c.finish(0.25, 0.3);
  };
}

Scene fullMoon() {
  return [](Canvas& c, Random& r) {
    c.shade(0, 1, [](double, double y, Rgb) { return kNight.sky.at(y * 0.8); });
    stars(c, r, 1.3, 500);
    moon(c, r, c.aspect() / 2, 0.5, 0.36);
    c.finish(0.25, 0.3);
  };
}

}  // namespace tlx::samples
