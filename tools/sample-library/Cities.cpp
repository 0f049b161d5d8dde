#include "Scenes.h"

namespace tlx::samples {
namespace {

constexpr float kTurn = 6.2832F;

/// One cell's own number, the same at every pixel of the cell.
float cellNumber(int x, int y, std::uint32_t seed) {
  std::uint32_t n =
      static_cast<std::uint32_t>(x) * 374761393U + static_cast<std::uint32_t>(y) * 668265263U + seed * 2246822519U;
  n = (n ^ (n >> 13U)) * 1274126177U;
  return static_cast<float>((n ^ (n >> 16U)) >> 8U) / 16777216.0F;
}

void tower(Canvas& c, Random& r, float x, float wide, float top, float foot, Colour wall, Colour haze, float lights,
           float near) {
  const std::uint32_t seed = r.bits();
  const float cell = lerp(0.0065F, 0.0125F, near), storey = cell * r.in(1.1F, 1.5F), lit = lights * r.in(0.25F, 0.62F);
  static const std::uint32_t kLamps[] = {0xffc873, 0xffdf9e, 0xffb457, 0xcfe4ff, 0xfff1cf, 0xff9e5e};
  const Colour lamp = hex(kLamps[r.below(6)]), other = hex(kLamps[r.below(6)]);
  const bool bands = r.chance(0.25F);
  c.fill(Path().rectangle(x, top, wide, foot - top), [&](float px, float py) {
    const float u = (px - x) / cell, v = (py - top) / storey;
    const int cx = static_cast<int>(u), cy = static_cast<int>(v);
    const float fx = u - static_cast<float>(cx), fy = v - static_cast<float>(cy);
    Colour colour =
        mix(wall * (1.15F - 0.4F * (px - x) / wide), haze, 0.34F * smoothstep(top, foot, py) * (1 - near * 0.6F));
    const float n = bands ? cellNumber(cx / 4, cy, seed) : cellNumber(cx, cy, seed);
    const bool margin = px - x < cell * 0.6F || x + wide - px < cell * 0.6F || cy < 1;
    if (!margin && n < lit) {
      const float pane = smoothstep(0.14F, 0.26F, fx) * smoothstep(0.9F, 0.78F, fx) * smoothstep(0.2F, 0.34F, fy) *
                         smoothstep(0.84F, 0.72F, fy);
      const float strength = 0.35F + 1.25F * cellNumber(cx + 77, cy, seed);
      colour += mix(lamp, other, cellNumber(cx, cy + 31, seed)) * (pane * strength);
    }
    return Rgba{colour};
  });
}

void drop(Canvas& c, const Canvas& behind, float x, float y, float s) {
  Path bead;
  bead.moveTo(x, y - s * 1.12F)
      .cubicTo(x + s * 0.7F, y - s * 1.0F, x + s, y - s * 0.2F, x + s * 0.96F, y + s * 0.25F)
      .cubicTo(x + s * 0.8F, y + s * 1.1F, x - s * 0.8F, y + s * 1.1F, x - s * 0.96F, y + s * 0.25F)
      .cubicTo(x - s, y - s * 0.2F, x - s * 0.7F, y - s * 1.0F, x, y - s * 1.12F);
  c.fill(bead, [&](float px, float py) {
    const float u = (px - x) / s, v = (py - y) / s, d = clamp01(u * u + v * v);
    const Colour through = behind.sample(x - u * 0.32F, 1 - (y + v * 0.42F));
    const float rim = smoothstep(0.55F, 1.0F, d);
    return Rgba{through * (1.15F - 0.75F * rim) +
                Colour{0.55F, 0.6F, 0.7F} *
                    (0.5F * smoothstep(0.16F, 0.02F, (u + 0.38F) * (u + 0.38F) + (v + 0.45F) * (v + 0.45F)))};
  });
}

}  // namespace

Scene skyline(const Mood& mood, SkylineStyle style) {
  return [&mood, style](Canvas& c, Random& r) {
    const float a = c.aspect(), h = style.shore;
    sky(c, mood, h);
    stars(c, r, h * 0.6F, mood.night ? 700.0F : 120.0F);
    if (style.moon) moon(c, r, a * 0.7F, 0.2F, 0.055F, 1, hex(0xfff0d8) * 1.2F);
    clouds(c, r, mood, h, 0.32F, a * 0.5F, h, style.phase * 0.03F);
    c.glow(a * 0.5F, h, 0.75F, hex(0xff9e5e) * 0.12F);
    c.glow(a * 0.3F, h, 0.5F, hex(0xff6fa0) * 0.06F);
    const float centre = a * r.in(0.35F, 0.65F);
    for (int layer = 0; layer < 3; ++layer) {
      const float near = static_cast<float>(layer) / 2;
      const Colour wall = mix(mix(mood.haze, mood.ink, 0.45F), mood.ink * 1.3F, near);
      for (float x = -0.05F; x < a;) {
        const float wide = r.in(0.035F, 0.085F) * (0.75F + 0.35F * near),
                    towards = std::exp(-(x - centre) * (x - centre) * 3.2F);
        const float tall =
            style.height * lerp(1, 0.42F, near) * (0.18F + 0.55F * towards * r.in(0.45F, 1.25F) + r.in(0, 0.26F));
        const float top = h - tall;
        tower(c, r, x, wide, top, h, wall, mood.haze, 1, near);
        if (r.chance(0.35F))
          tower(c, r, x + wide * 0.2F, wide * 0.6F, top - tall * 0.09F, top, wall, mood.haze, 0.8F, near);
        if (r.chance(0.2F) && tall > style.height * 0.5F) {
          const float tip = top - tall * 0.26F;
          c.fill(Path().stroke({x + wide / 2, top}, {x + wide / 2, tip}, 0.004F, 0.0012F), wall);
          c.glow(x + wide / 2, tip, 0.012F, hex(0xff4a3a) * 1.6F);
        }
        x += wide * r.in(0.8F, 1.12F);
      }
    }
    if (style.bridge) {
      const float deck = h - 0.055F;
      const Colour steel = mix(mood.ink, hex(0xb0503a), 0.25F);
      for (const float at : {0.24F, 0.76F}) {
        c.fill(Path()
                   .rectangle(a * at - 0.013F, h - 0.34F, 0.009F, 0.36F)
                   .rectangle(a * at + 0.006F, h - 0.34F, 0.009F, 0.36F),
               steel);
        for (int i = 0; i < 5; ++i)
          c.fill(Path().rectangle(a * at - 0.013F, h - 0.335F + 0.062F * static_cast<float>(i), 0.028F, 0.007F), steel);
        c.glow(a * at, h - 0.35F, 0.02F, hex(0xff5040) * 1.3F);
      }
      const auto cable = [&](float x) {
        const float t = x / a, span = t < 0.24F   ? (0.24F - t) / 0.5F
                                      : t > 0.76F ? (t - 0.76F) / 0.5F
                                                  : std::fabs(t - 0.5F) / 0.26F;
        return t < 0.24F || t > 0.76F ? h - 0.335F + std::min(0.27F, span * 0.60F) : h - 0.075F - 0.26F * span * span;
      };
      for (int i = 0; i < 200; ++i) {
        const float x0 = a * static_cast<float>(i) / 200, x1 = a * static_cast<float>(i + 1) / 200;
        c.fill(Path().stroke({x0, cable(x0)}, {x1, cable(x1)}, 0.0035F, 0.0035F), steel);
        if (i % 3 == 0) c.fill(Path().stroke({x0, cable(x0)}, {x0, deck}, 0.0011F, 0.0011F), steel);
        if (i % 5 == 0) c.glow(x0, cable(x0), 0.009F, hex(0xffdf9e) * 0.9F);
        if (i % 4 == 0) c.glow(x0, deck - 0.008F, 0.011F, hex(0xffc46a) * 1.2F);
      }
      c.fill(Path().rectangle(0, deck, a, 0.012F), steel * 0.8F);
    }
    for (float x = 0; x < a; x += r.in(0.018F, 0.04F))
      c.glow(x, h - 0.006F, r.in(0.008F, 0.016F), mix(hex(0xffb45e), hex(0xffe6b8), r.unit()) * 1.5F);
    c.bloom(0.55F, 0.035F, 0.45F);
    water(c, r, h, 0.55F, mood.ink * 1.2F, 0.4F, style.phase);
    c.vignette(0.22F);
  };
}

Scene bokeh(std::uint32_t backdrop, const std::vector<std::uint32_t>& lights, bool rain) {
  return [=](Canvas& c, Random& r) {
    const float a = c.aspect();
    const Colour base = hex(backdrop);
    c.shade(0, 1,
            [&](float, float y, Colour) { return base * (0.55F + 0.75F * std::exp(-(y - 0.55F) * (y - 0.55F) * 7)); });
    for (int layer = 0; layer < 3; ++layer) {
      const float near = static_cast<float>(layer) / 2;
      const int count = static_cast<int>(lerp(75, 13, near) * a);
      for (int i = 0; i < count; ++i) {
        const float s = lerp(0.018F, 0.10F, near) * r.in(0.75F, 1.2F), x = r.in(-0.05F, a + 0.05F);
        const float y = 0.55F + (r.unit() + r.unit() - 1) * lerp(0.28F, 0.5F, near);
        const Colour light = hex(lights[static_cast<std::size_t>(r.below(static_cast<int>(lights.size())))]);
        const float strength = r.in(0.25F, 0.9F) * lerp(1.1F, 0.42F, near);
        c.fill(Path().ellipse(x, y, s, s), [&](float px, float py) {
          const float d = ((px - x) * (px - x) + (py - y) * (py - y)) / (s * s);
          return Rgba{mix(light, Colour{1, 1, 1}, 0.12F * d) * (strength * (0.75F + 0.6F * d * d)), 0.55F + 0.15F * d};
        });
      }
      if (layer < 2) c.blur(lerp(0.010F, 0.006F, near));
    }
    if (rain) {
      c.blur(0.02F);
      const Canvas behind = c;
      for (int i = 0; i < static_cast<int>(900 * a); ++i)
        drop(c, behind, r.in(0, a), r.in(0, 1), r.in(0.0012F, 0.0045F));
      for (int i = 0; i < static_cast<int>(120 * a); ++i) {
        const float m = r.unit(), s = 0.006F + 0.026F * m * m * m, x = r.in(0, a), y = r.in(0, 1);
        if (m > 0.9F) {
          float px = x, py = y;
          for (int k = 1; k < 22; ++k) {
            px += r.in(-0.0015F, 0.0015F), py -= s * 0.55F;
            if (r.chance(0.6F)) drop(c, behind, px, py, s * 0.24F * (1 - static_cast<float>(k) / 30));
          }
        }
        drop(c, behind, x, y, s);
      }
    }
    c.bloom(0.8F, 0.05F, 0.3F);
    c.vignette(0.28F);
  };
}

Scene lightTrails(const Mood& mood) {
  return [&mood](Canvas& c, Random& r) {
    const float a = c.aspect(), h = 0.50F, vanish = a * r.in(0.42F, 0.58F);
    sky(c, mood, h + 0.06F);
    stars(c, r, 0.3F, 300);
    clouds(c, r, mood, h, 0.3F, vanish, h);
    c.glow(vanish, h, 0.6F, hex(0xff9e5e) * 0.25F);
    const float street = r.in(-1, 1);
    for (int layer = 0; layer < 3; ++layer) {
      const float near = static_cast<float>(layer) / 2;
      for (int side = -1; side <= 1; side += 2)
        for (int i = 0; i < 7; ++i) {
          const float away = lerp(0.06F, 0.34F, near) + 0.11F * static_cast<float>(i) * (0.6F + near),
                      wide = lerp(0.07F, 0.16F, near) * r.in(0.8F, 1.2F);
          const float x = side < 0 ? vanish - away - wide : vanish + away;
          tower(c, r, x, wide, h - (0.07F + 0.5F * away) * r.in(0.65F, 1.25F), h + 0.02F + 0.05F * near,
                mix(mix(mood.haze, mood.ink, 0.5F), mood.ink, near), mood.haze, 1, near);
        }
    }
    c.shade(h + 0.01F, 1, [&](float x, float y, Colour old) {
      const float d = y - h, side = std::fabs(x - vanish) - 0.02F - d * 1.25F;
      const float gloss = 0.06F * noise(x * 8, y * 40) + 0.03F;
      const Colour road = mix(mood.ink * 1.6F, mood.haze, 0.14F + gloss) + hex(0xff9e5e) * (0.045F * std::exp(-d * 5));
      return mix(road, mix(mix(mood.ink * 1.3F, mood.haze, 0.10F * std::exp(-d * 6)), old, smoothstep(0.03F, 0.0F, d)),
                 smoothstep(0, 0.02F, side));
    });
    for (int i = 0; i < 46; ++i) {
      const bool coming = i % 2 == 0;
      const float lane = (coming ? -1.0F : 1.0F) * r.in(0.15F, 1.12F), lift = r.in(0.0F, 0.055F);
      const Colour light =
          coming ? mix(hex(0xfff0d0), hex(0xffc98a), r.unit()) : mix(hex(0xff2a1e), hex(0xff7a3c), r.unit());
      float px = 0, py = 0, pw = 0;
      const float bend = street * 0.035F, strength = r.in(0.45F, 1.1F), wobble = r.in(-0.004F, 0.004F);
      for (int k = 0; k <= 40; ++k) {
        const float t = std::pow(static_cast<float>(k) / 40, 2.2F), d = 0.006F + t * 0.56F;
        const float x = vanish + lane * d * 1.05F + bend * std::sin(t * 3.1F) + wobble * t,
                    y = h + d - lift * (0.06F + t * 2.1F), w = 0.0008F + 0.0085F * t;
        if (k > 0) c.fill(Path().stroke({px, py}, {x, y}, pw, w), light * (1.6F * strength), 0.75F);
        px = x, py = y, pw = w;
      }
    }
    for (int side = -1; side <= 1; side += 2)
      for (int i = 0; i < 7; ++i) {
        const float t = std::pow(static_cast<float>(i + 1) / 7, 2.0F), d = 0.012F + 0.46F * t,
                    x = vanish + static_cast<float>(side) * d * 1.42F, y = h + d * 0.9F, tall = d * 1.1F;
        c.fill(Path().stroke({x, y}, {x, y - tall}, 0.009F * t + 0.001F, 0.006F * t + 0.001F), mood.ink);
        c.fill(Path().stroke({x, y - tall}, {x - static_cast<float>(side) * tall * 0.22F, y - tall * 1.03F},
                             0.006F * t + 0.001F, 0.006F * t + 0.001F),
               mood.ink);
        c.glow(x - static_cast<float>(side) * tall * 0.22F, y - tall * 1.01F, 0.01F + 0.10F * t, hex(0xffc46a) * 0.9F,
               4);
      }
    c.bloom(0.7F, 0.05F, 0.5F);
    c.vignette(0.3F);
  };
}

Scene galaxy(std::uint32_t core, std::uint32_t arms, std::uint32_t dust) {
  return [=](Canvas& c, Random& r) {
    const float a = c.aspect(), cx = a * 0.5F, cy = 0.5F, tilt = r.in(-0.6F, 0.6F), ox = r.in(0, 200);
    const Colour heart = hex(core), arm = hex(arms), lane = hex(dust);
    const float cosT = std::cos(tilt), sinT = std::sin(tilt);
    c.shade(0, 1, [&](float x, float y, Colour) {
      const float u = ((x - cx) * cosT + (y - cy) * sinT), v = ((y - cy) * cosT - (x - cx) * sinT) * 1.7F;
      const float d = std::sqrt(u * u + v * v) + 1e-4F, angle = std::atan2(v, u),
                  wind = angle * 2 - std::log(d + 0.02F) * 5.2F;
      const float cloud = fbm(u * 7 + ox, v * 7, 5), spiral = 0.5F + 0.5F * std::cos(wind + cloud * 1.8F);
      const float fade = std::exp(-d * 4.6F);
      Colour light = arm * (fade * (0.10F + 1.7F * spiral * spiral) * (0.75F + 0.9F * cloud)) +
                     heart * (2.2F * std::exp(-d * d * 150) + 0.75F * std::exp(-d * 11));
      const float dark = smoothstep(0.1F, 0.5F, fbm(u * 12 + 9, v * 12 + ox, 5) + 0.28F * std::cos(wind + 1.4F)) *
                         smoothstep(0.03F, 0.12F, d);
      light = light * (1 - 0.55F * dark) + lane * (0.16F * dark * fade);
      return Colour{0.0015F, 0.002F, 0.006F} + light;
    });
    for (int i = 0; i < static_cast<int>(3000 * a); ++i) {
      const float d = 0.04F + 0.5F * r.unit(),
                  on = std::log(d + 0.02F) * 2.6F + (r.chance(0.5F) ? 3.1416F : 0) + r.in(-0.5F, 0.5F), m = r.unit();
      const float u = std::cos(on) * d, v = std::sin(on) * d / 1.7F;
      c.glow(cx + u * cosT - v * sinT, cy + u * sinT + v * cosT, std::max(0.0011F, c.pixel()),
             mix(arm, Colour{1, 0.95F, 0.9F}, r.unit()) * (0.1F + 0.8F * m * m * m));
    }
    stars(c, r, 1, 900);
    c.bloom(0.8F, kTurn * 0.01F, 0.4F);
  };
}

}  // namespace tlx::samples
