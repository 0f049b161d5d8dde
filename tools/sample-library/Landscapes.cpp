#include "Scenes.h"

namespace tlx::samples {
namespace {

void balloon(Canvas& c, Random& r, float x, float y, float size) {
  static const std::uint32_t kStripes[][2] = {
      {0xe8553d, 0xf6c667}, {0x2f6f8f, 0xf2e3c9}, {0xf29f3d, 0xfbe7c6}, {0xb63a5b, 0xf3b6a4}, {0x3f8f7d, 0xf4d58d}};
  const auto& colours = kStripes[r.below(5)];
  const Colour one = hex(colours[0]), two = hex(colours[1]);
  Path skin;
  skin.moveTo(x - size * 0.16F, y + size * 1.12F)
      .cubicTo(x - size * 0.5F, y + size * 0.7F, x - size, y + size * 0.4F, x - size, y)
      .cubicTo(x - size, y - size * 0.56F, x - size * 0.55F, y - size, x, y - size)
      .cubicTo(x + size * 0.55F, y - size, x + size, y - size * 0.56F, x + size, y)
      .cubicTo(x + size, y + size * 0.4F, x + size * 0.5F, y + size * 0.7F, x + size * 0.16F, y + size * 1.12F);
  c.fill(skin, [&](float px, float py) {
    const float v = (py - y) / size,
                bulge = v < 0 ? std::sqrt(std::max(0.02F, 1 - v * v)) : lerp(1, 0.16F, clamp01(v / 1.12F));
    const float u = std::clamp((px - x) / (size * bulge), -1.0F, 1.0F), angle = std::asin(u) * 3.2F;
    const float stripe = smoothstep(-0.15F, 0.15F, std::sin(angle * 2.5F));
    return Rgba{mix(one, two, stripe) * (0.62F + 0.5F * clamp01(0.5F - u * 0.5F - v * 0.25F))};
  });
  c.fill(Path()
             .stroke({x - size * 0.14F, y + size * 1.12F}, {x - size * 0.09F, y + size * 1.45F}, size * 0.02F,
                     size * 0.02F)
             .stroke({x + size * 0.14F, y + size * 1.12F}, {x + size * 0.09F, y + size * 1.45F}, size * 0.02F,
                     size * 0.02F),
         hex(0x3a2a22));
  c.fill(Path().rectangle(x - size * 0.12F, y + size * 1.43F, size * 0.24F, size * 0.2F, size * 0.04F), hex(0x5a3a22));
}

}  // namespace

Scene ridges(const Mood& mood, RidgeStyle style) {
  return [&mood, style](Canvas& c, Random& r) {
    const float a = c.aspect(), horizon = style.lake > 0 ? style.lake : 0.8F, sunX = style.sunX * a;
    sky(c, mood, horizon);
    if (mood.night) stars(c, r, horizon * 0.8F, 900);
    clouds(c, r, mood, horizon, style.cover, sunX, style.sunY);
    if (style.moon)
      moon(c, r, sunX, style.sunY, style.sunSize, 1, mood.sun);
    else if (style.sunSize > 0)
      sun(c, mood, sunX, style.sunY, style.sunSize);
    for (int i = 0; i < style.layers; ++i) {
      const float near = static_cast<float>(i) / static_cast<float>(style.layers - 1);
      const float top = lerp(horizon - 0.30F, style.lake > 0 ? horizon - 0.03F : 0.84F, std::pow(near, 1.15F));
      const float swing = lerp(0.15F, style.lake > 0 ? 0.035F : 0.085F, near), scale = lerp(1.9F, 2.7F, near);
      const float ox = r.in(0, 200);
      const auto crest = [=](float x) {
        return top - swing * (ridged(x * scale * 0.55F + ox, static_cast<float>(i) * 9.7F, 6) - 0.42F) * 2.1F;
      };
      const Colour base = mix(mix(mood.haze, mood.body, 0.25F), mood.ink, std::pow(near, 0.85F));
      const Colour veil = mix(mood.haze, mood.sun, 0.07F);
      const bool wooded = style.pines && near > 0.55F;
      const auto paint = [&](float x, float y, float belowEdge) {
        // Under a wood's jagged edge the depth would draw a stripe below each tree.
        const float below = wooded ? std::max(0.0F, y - top + swing) : belowEdge;
        const float fade = smoothstep(0, lerp(0.30F, 0.24F, near), below) * (1 - near * 0.75F);
        const float side = 0.9F + 0.22F * noise(x * 9 + ox, below * 14) * (1 - near);
        const float warm = std::exp(-std::fabs(x - sunX) * 3.2F) * (1 - near) * 0.16F;
        return mix(base * side + mood.sun * warm * 0.5F, veil, fade * (wooded ? 0.62F : 0.86F));
      };
      if (wooded) {
        const float high = lerp(0.018F, style.lake > 0 ? 0.05F : 0.12F, (near - 0.55F) / 0.45F);
        const Treeline trees(r, a, crest, high * 0.22F, high * 0.45F, high);
        c.ground(trees, paint);
      } else {
        c.ground(crest, paint);
      }
      if (i + 1 < style.layers) mist(c, r, top + swing * 1.1F, 0.08F, veil, 0.38F * (1 - near));
      if (style.balloons && i == style.layers / 2)
        for (int k = 0; k < 6; ++k) balloon(c, r, r.in(0.08F, 0.92F) * a, r.in(0.12F, 0.55F), r.in(0.012F, 0.03F));
    }
    if (style.balloons) balloon(c, r, a * r.in(0.22F, 0.36F), 0.27F, 0.085F);
    if (style.lake > 0) {
      water(c, r, style.lake, mood.night ? 0.10F : 0.16F, mood.ink * 0.9F, 0.4F);
      mist(c, r, style.lake, 0.025F, mood.haze, 0.35F);
    } else if (!mood.night && !style.balloons) {
      birds(c, r, a * r.in(0.3F, 0.7F), 0.25F, 7, mix(mood.ink, mood.haze, 0.35F));
    }
    c.bloom(1, 0.06F, 0.30F);
    c.vignette(0.16F);
  };
}

Scene sea(const Mood& mood, SeaStyle style) {
  return [&mood, style](Canvas& c, Random& r) {
    const float a = c.aspect(), h = style.horizon, sunX = style.sunX * a;
    sky(c, mood, h);
    if (mood.night) stars(c, r, h, 1100);
    if (style.moon)
      moon(c, r, sunX, style.sunY, style.sunSize, 1, mood.sun * 1.3F);
    else
      sun(c, mood, sunX, style.sunY, style.sunSize);
    clouds(c, r, mood, h, style.cover, sunX, style.sunY, style.phase * 0.02F);
    if (style.islands)
      for (int i = 0; i < 3; ++i) {
        const float ox = r.in(0, 200), left = r.in(-0.2F, 0.9F) * a, wide = r.in(0.3F, 0.7F);
        const Colour tone = mix(mood.haze, mood.ink, 0.25F + 0.2F * static_cast<float>(i));
        const float tall = r.in(0.03F, 0.09F);
        c.ground(
            [&](float x) {
              const float t = (x - left) / wide;
              if (t <= 0 || t >= 1) return 2.0F;
              return h - tall * std::pow(std::sin(t * 3.14159F), 0.7F) * (0.55F + 0.6F * ridged(x * 3 + ox, 4, 5));
            },
            [&](float, float y, float) { return mix(tone, mood.haze, smoothstep(h - 0.06F, h, y) * 0.55F); });
      }
    if (style.icebergs)
      for (int i = 0; i < 6; ++i) {
        const bool great = i == 4;
        const float x = a * (great ? 0.66F : r.in(0.04F, 0.96F)), wide = great ? 0.52F : r.in(0.08F, 0.2F),
                    tall = great ? 0.25F : r.in(0.02F, 0.07F);
        const float ox = r.in(0, 200), lean = r.in(-0.3F, 0.3F);
        const auto crest = [=](float px) {
          const float t = (px - x) / wide + 0.5F;
          if (t <= 0 || t >= 1) return 2.0F;
          const float bump = 0.30F + 0.55F * (1 - std::fabs(2 * t - 1 + lean)) +
                             0.5F * (std::fabs(noise(px * 4.5F + ox, 1)) - 0.2F) + 0.10F * noise(px * 19 + ox, 5);
          return h - tall * std::min(1.0F, std::max(0.04F, bump)) * smoothstep(0, 0.06F, t) * smoothstep(1, 0.94F, t);
        };
        c.ground(crest, [&](float px, float py, float below) {
          const float u = px * 7 + ox + py * 3, v = py * 9 - px * 2,
                      plane =
                          noise(std::floor(u * 1.6F + noise(u, v)) * 7.3F, std::floor(v * 1.3F + noise(v, u)) * 3.1F);
          const float crack = smoothstep(0.05F, 0, std::fabs(noise(u * 1.4F, v * 1.4F)));
          const float lit =
              clamp01(0.66F + 0.30F * plane + 0.22F * noise(u * 3, v * 5) - below * 1.1F - (px - x) / wide * 0.35F);
          const Colour ice = mix(hex(0x4f9fc0), hex(0xf2f8fb), lit) * (1 - 0.22F * crack);
          return mix(mix(ice, ice * mood.sun, 0.2F), mood.haze, great ? 0.06F : 0.3F) *
                 (1 - 0.25F * smoothstep(h - 0.012F, h, py));
        });
      }
    water(c, r, h, style.rough, mix(mood.ink, mood.sky.at(0.2F), 0.4F), 0.62F, style.phase);
    const float ox = r.in(0, 200);
    c.shade(h, 1, [&](float x, float y, Colour old) {
      const float d = y - h, away = 1 / (d + 0.02F), u = (x - a / 2) * away * 2.1F, v = away * 5.2F;
      const float glint = noise(u * 1.3F + ox + style.phase, v * 1.4F + style.phase * 2) +
                          0.6F * noise(u * 3.7F - style.phase, v * 3.1F + ox);
      const float path = (x - sunX) / (0.035F + 0.22F * d);
      const float lit = smoothstep(0.16F, 0.75F, glint) * std::exp(-path * path) * smoothstep(0, 0.03F, d);
      return old + mood.sun * (lit * (style.moon ? 0.5F : 0.6F) * (0.35F + style.rough * 0.65F));
    });
    if (style.sail) {
      const float x = a * (style.sunX < 0.5F ? style.sunX + 0.24F : style.sunX - 0.24F) + style.phase * 0.004F,
                  y = h + 0.035F, s = 0.16F;
      const Colour cloth = mix(mood.ink, mood.haze, 0.72F);
      c.fill(Path()
                 .moveTo(x, y - s)
                 .quadTo(x + s * 0.30F, y - s * 0.42F, x + s * 0.42F, y - s * 0.09F)
                 .lineTo(x, y - s * 0.09F),
             cloth);
      c.fill(Path()
                 .moveTo(x - s * 0.02F, y - s * 0.9F)
                 .quadTo(x - s * 0.08F, y - s * 0.4F, x - s * 0.27F, y - s * 0.09F)
                 .lineTo(x - s * 0.02F, y - s * 0.09F),
             cloth * 0.8F);
      c.fill(Path()
                 .moveTo(x - s * 0.32F, y - s * 0.06F)
                 .lineTo(x + s * 0.46F, y - s * 0.06F)
                 .quadTo(x + s * 0.36F, y + s * 0.03F, x + s * 0.2F, y + s * 0.03F)
                 .lineTo(x - s * 0.2F, y + s * 0.03F),
             mood.ink);
      for (int i = 1; i < 12; ++i) {
        const float yy = y + 0.008F * static_cast<float>(i) + 0.003F, w = s * (0.34F - 0.022F * static_cast<float>(i));
        c.fill(Path().ellipse(x + 0.05F * s + 0.006F * std::sin(static_cast<float>(i) * 1.9F + style.phase), yy, w,
                              0.0022F),
               mix(mood.ink, mood.haze, 0.3F), 0.5F);
      }
    }
    if (style.lighthouse) {
      const float ground = r.in(0, 200), x = a * 0.80F;
      c.ground(
          [&](float px) {
            return h + 0.13F - 0.22F * smoothstep(a * 0.52F, a * 0.86F, px) + 0.035F * fbm(px * 5 + ground, 1, 5);
          },
          [&](float px, float py, float below) {
            const float rock = 0.75F + 0.6F * fbm(px * 16, py * 22, 4);
            return mix(mix(mood.ink, mood.body, 0.5F * smoothstep(0.05F, 0, below)) * rock, mood.haze, 0.05F);
          });
      const float top = h - 0.36F, foot = h - 0.04F;
      c.glow(x, top, 0.42F, mood.sun * 0.2F, 4);
      Path beam;
      beam.moveTo(x, top).lineTo(x - 0.9F, top - 0.17F).lineTo(x - 0.9F, top + 0.02F);
      c.fill(beam, [&](float px, float) { return Rgba{mood.sun, 0.15F * smoothstep(0.9F, 0, x - px)}; });
      c.fill(Path()
                 .moveTo(x - 0.022F, top + 0.03F)
                 .lineTo(x + 0.022F, top + 0.03F)
                 .lineTo(x + 0.036F, foot + 0.05F)
                 .lineTo(x - 0.036F, foot + 0.05F),
             [&](float px, float py) {
               const float band = std::fmod((py - top) * 11, 2.0F);
               const Colour paint =
                   mix(hex(0xf4eee4), hex(0xb8433a), smoothstep(0.96F, 1.04F, band) - smoothstep(1.94F, 2, band));
               return Rgba{paint * (0.72F - 9 * (px - x)) * (mood.night ? 0.25F : 0.8F)};
             });
      c.fill(Path().rectangle(x - 0.028F, top + 0.022F, 0.056F, 0.010F, 0.003F), mood.ink);
      c.fill(Path().rectangle(x - 0.016F, top - 0.016F, 0.032F, 0.04F, 0.004F), mood.sun * 1.4F);
      c.fill(Path().moveTo(x - 0.022F, top - 0.014F).lineTo(x, top - 0.05F).lineTo(x + 0.022F, top - 0.014F), mood.ink);
    }
    if (style.palms)
      for (int i = 0; i < 3; ++i) {
        const float x = a * (0.06F + 0.09F * static_cast<float>(i)), lean = r.in(0.04F, 0.12F),
                    tall = r.in(0.42F, 0.66F), foot = 1.05F;
        Path::Point p{x, foot};
        for (int k = 1; k <= 14; ++k) {
          const float t = static_cast<float>(k) / 14;
          const Path::Point q{x + lean * t * t, foot - tall * t};
          c.fill(Path().stroke(p, q, 0.020F - 0.009F * t, 0.0195F - 0.009F * t), mood.ink);
          p = q;
        }
        for (int k = 0; k < 13; ++k) {
          const float angle = -3.3F + 0.52F * static_cast<float>(k) + r.in(-0.15F, 0.15F), reach = r.in(0.14F, 0.22F);
          const float tx = p.x + std::cos(angle) * reach, ty = p.y + std::sin(angle) * reach * 0.55F + 0.07F;
          const float mx = p.x + std::cos(angle) * reach * 0.55F, my = p.y + std::sin(angle) * reach * 0.6F - 0.03F;
          for (int leaf = 1; leaf < 26; ++leaf) {
            const float t = static_cast<float>(leaf) / 26, s = 1 - t;
            const float lx = s * s * p.x + 2 * s * t * mx + t * t * tx, ly = s * s * p.y + 2 * s * t * my + t * t * ty;
            const float drop = 0.052F * std::sqrt(s) * (0.5F + t);
            c.fill(Path().stroke({lx, ly}, {lx + (tx - p.x) * 0.13F, ly + drop}, 0.0045F, 0.001F), mood.ink);
          }
        }
      }
    if (!mood.night && !style.palms) birds(c, r, a * r.in(0.25F, 0.75F), h * 0.45F, 6, mix(mood.ink, mood.haze, 0.3F));
    c.bloom(1.05F, 0.05F, 0.28F);
    c.vignette(0.16F);
  };
}

Scene dunes(const Mood& mood, bool caravanMoon) {
  return [&mood, caravanMoon](Canvas& c, Random& r) {
    const float a = c.aspect(), sunX = a * 0.22F;
    sky(c, mood, 0.5F);
    if (mood.night) stars(c, r, 0.45F, 1500);
    if (caravanMoon)
      moon(c, r, a * 0.68F, 0.2F, 0.06F, mood.night ? 0.8F : 1, hex(0xfff4e0));
    else
      sun(c, mood, sunX, 0.26F, 0.03F);
    for (int i = 0; i < 6; ++i) {
      const float near = static_cast<float>(i) / 5, top = lerp(0.42F, 0.86F, near), swing = lerp(0.05F, 0.17F, near);
      const float scale = lerp(1.7F, 0.72F, near), ox = r.in(0, 200);
      const auto crest = [=](float x) {
        const float n = noise(x * scale + ox, static_cast<float>(i) * 5.1F),
                    swell = 0.65F + 0.6F * noise(x * 0.8F, ox + near * 4);
        return top - swing * swell * (1 - std::sqrt(n * n + 0.0004F) * 1.9F) + 0.008F * noise(x * 4 + ox, 8);
      };
      const Colour lit = mix(mood.body * 1.15F, mood.haze, 0.62F * (1 - near)),
                   dark = mix(mood.ink, mood.haze, 0.58F * (1 - near));
      c.ground(crest, [&](float x, float y, float below) {
        // Where a face meets the next, the edge runs down the slope aslant and in curves.
        const float sway = 0.05F * noise(x * 3 + ox, below * 6 + 2) + 0.02F * noise(x * 9, below * 18 + ox);
        const float from = x - below * lerp(2.6F, 1.5F, near) - sway * smoothstep(0, 0.05F, below) * 1.6F;
        const float slope = (crest(from + 0.010F) - crest(from - 0.010F)) / 0.020F;
        const float soft = lerp(0.05F, 0.07F, near) + below * 0.9F;
        const float light = smoothstep(-soft, soft, 0.02F - slope * 0.8F - below * 0.12F);
        const float ripple =
            std::sin((y * 1.35F + below * 0.8F + sway * 1.3F + 0.02F * noise(x * 14, y * 20)) * lerp(700, 260, near) +
                     noise(x * 5, y * 9) * 5);
        const float grain = 1 + ripple * 0.05F * near * smoothstep(0.01F, 0.08F, below);
        const Colour base = mix(dark, lit, 0.12F + 0.88F * light);
        return base * grain + mood.sun * (0.035F * light * std::exp(-std::fabs(x - sunX) * 1.6F));
      });
    }
    c.bloom(1, 0.07F, 0.25F);
    c.vignette(0.18F);
  };
}

}  // namespace tlx::samples
