#include "Scenes.h"

namespace tlx::samples {
namespace {

struct Twig {
  float x, y, angle, length, width;
  int depth;
};

/// Draws a bare tree and tells where its leaves would sit.
std::vector<Path::Point> branches(Canvas& c, Random& r, Twig root, Colour bark, Colour lit) {
  std::vector<Path::Point> tips;
  std::vector<Twig> open{root};
  while (!open.empty()) {
    const Twig t = open.back();
    open.pop_back();
    const float x = t.x + std::cos(t.angle) * t.length, y = t.y + std::sin(t.angle) * t.length;
    const Path limb = Path().stroke({t.x, t.y}, {x, y}, t.width, t.width * 0.74F);
    const float ca = std::cos(t.angle), sa = std::sin(t.angle);
    c.fill(limb, [&](float px, float py) {
      const float across = ((py - t.y) * ca - (px - t.x) * sa) / t.width;
      return Rgba{mix(bark, lit, clamp01(0.45F - across * 0.9F) * 0.7F)};
    });
    if (t.depth <= 4) tips.push_back({x, y});
    if (t.depth == 0) continue;
    const int forks = t.depth > 5 ? 2 : 2 + r.below(2);
    for (int i = 0; i < forks; ++i) {
      const float spread =
          (static_cast<float>(i) - static_cast<float>(forks - 1) / 2) * r.in(0.5F, 0.85F) + r.in(-0.16F, 0.16F);
      open.push_back({x, y, t.angle + spread, t.length * r.in(0.68F, 0.86F), t.width * 0.66F, t.depth - 1});
    }
  }
  return tips;
}

}  // namespace

Scene forest(const Mood& mood, std::uint32_t leaves, std::uint32_t fog, bool beams) {
  return [&mood, leaves, fog, beams](Canvas& c, Random& r) {
    const float a = c.aspect(), lightX = a * r.in(0.3F, 0.7F);
    const Colour air = hex(fog), leaf = hex(leaves);
    c.shade(0, 1, [&](float x, float y, Colour) {
      const float dx = x - lightX, dy = y - 0.36F;
      return mix(air * 0.62F, air + mood.sun * 0.16F, std::exp(-(dx * dx * 2.2F + dy * dy * 3)));
    });
    for (int layer = 0; layer < 6; ++layer) {
      const float near = static_cast<float>(layer) / 5, foot = lerp(0.66F, 1.0F, near * near);
      const float ox = r.in(0, 200);
      const Colour bark = mix(mix(air, mood.ink, 0.22F), mood.ink, near);
      const float canopy = lerp(0.50F, 0.16F, near);
      c.shade(0, canopy + 0.2F, [&](float x, float y, Colour old) {
        const float scale = lerp(9, 3.2F, near);
        const float n =
            fbm(x * scale + ox, y * scale + near * 30, 5) + 0.30F * noise(x * scale * 9, y * scale * 9 + ox);
        const float thick = smoothstep(-0.02F, 0.16F, n - 0.20F + (canopy - y) * 1.5F);
        const float dx = x - lightX, dy = y - 0.36F, lit = std::exp(-(dx * dx * 3 + dy * dy * 5));
        const Colour tone =
            mix(mix(leaf * (0.5F + 0.8F * clamp01(0.5F + n)), air, 0.75F * (1 - near)), mood.ink, near * 0.55F);
        return mix(old, tone + mood.sun * leaf * (0.42F * lit), thick * 0.85F);
      });
      c.ground([&](float x) { return foot - 0.025F * noise(x * 2.2F + ox, near * 7) - 0.008F * noise(x * 11, ox); },
               [&](float x, float y, float below) {
                 const float moss = 0.6F + 0.7F * fbm(x * 14 + ox, y * 30, 4);
                 return mix(mix(leaf * 0.55F * moss, mood.ink, 0.45F * near + 0.1F), air,
                            0.7F * (1 - near) * smoothstep(0.3F, 0, below) + 0.05F);
               });
      const int trunks = static_cast<int>(lerp(22, 3.4F, std::pow(near, 0.6F)) * a);
      for (int i = 0; i < trunks; ++i) {
        float x = a * (static_cast<float>(i) + r.in(0.15F, 0.85F)) / static_cast<float>(trunks);
        if (near > 0.7F && std::fabs(x - lightX) < 0.2F) x += x > lightX ? 0.2F : -0.2F;
        const float w = lerp(0.007F, 0.055F, near * near) * r.in(0.7F, 1.35F), lean = r.in(-0.03F, 0.03F),
                    base = foot + 0.02F;
        Path trunk;
        trunk.moveTo(x - w * 0.9F, base)
            .cubicTo(x - w * 0.5F, base - 0.08F, x - w * 0.5F + lean * 0.4F, 0.4F, x - w * 0.36F + lean, -0.02F)
            .lineTo(x + w * 0.36F + lean, -0.02F)
            .cubicTo(x + w * 0.5F + lean * 0.4F, 0.4F, x + w * 0.5F, base - 0.08F, x + w * 0.9F, base);
        const float towards = x < lightX ? 1.0F : -1.0F;
        c.fill(trunk, [&](float px, float py) {
          const float across = (px - x - lean * (1 - py)) / w, rim = smoothstep(0.1F, 0.5F, across * towards);
          const float rough =
              near > 0.3F ? 0.75F + 0.6F * noise(px * 70, py * 9 + ox) + 0.25F * noise(px * 160, py * 30) : 1;
          const float dy = py - 0.36F, lit = std::exp(-std::fabs(x - lightX) * 2 - dy * dy * 4);
          return Rgba{mix(bark * rough, air, 0.14F * (1 - near)) + mood.sun * leaf * (rim * lit * 0.30F)};
        });
      }
      if (layer < 5) mist(c, r, foot - 0.06F, 0.26F, mix(air, mood.sun, 0.12F), 0.42F * (1 - near * 0.6F));
    }
    if (beams) {
      Canvas light(std::max(2, c.width() / 4), std::max(2, c.height() / 4));
      for (int i = 0; i < 11; ++i) {
        const float top = lightX + r.in(-0.25F, 0.25F), spread = (top - lightX) * 2.2F + r.in(-0.08F, 0.08F),
                    w = r.in(0.012F, 0.05F), s = r.in(0.10F, 0.26F);
        Path ray;
        ray.moveTo(top - w * 0.5F, -0.05F)
            .lineTo(top + w * 0.5F, -0.05F)
            .lineTo(top + spread + w * 1.6F, 1)
            .lineTo(top + spread - w * 1.6F, 1);
        light.fill(ray, [&](float, float y) { return Rgba{mood.sun * (s * smoothstep(1, 0.1F, y)), 0.6F}; });
      }
      light.blur(0.02F);
      const float sx = light.aspect() / c.aspect(), ox = r.in(0, 99);
      c.shade(0, 1, [&](float x, float y, Colour old) {
        return old + light.sample(x * sx, y) * (0.75F + 0.4F * noise(x * 3 + ox, y * 3));
      });
    }
    c.bloom(0.85F, 0.08F, 0.35F);
    c.vignette(0.3F);
  };
}

Scene loneTree(const Mood& mood, const std::vector<std::uint32_t>& leaves, bool falling) {
  return [&mood, leaves, falling](Canvas& c, Random& r) {
    const float a = c.aspect(), x = a * r.in(0.42F, 0.58F);
    sky(c, mood, 0.8F);
    sun(c, mood, a * 0.16F, 0.5F, 0.03F);
    clouds(c, r, mood, 0.8F, 0.3F, a * 0.16F, 0.5F);
    for (int i = 0; i < 4; ++i) {
      const float near = static_cast<float>(i) / 3, ox = r.in(0, 200), top = lerp(0.66F, 0.86F, near);
      const auto hill = [=](float px) {
        return top - 0.06F * noise(px * 1.1F + ox, near * 3) -
               (i == 3 ? 0.05F * std::exp(-(px - x) * (px - x) * 6) : 0);
      };
      const Colour tone = mix(mood.haze, mix(mood.body, mood.ink, 0.15F), 0.25F + 0.65F * near);
      c.ground(hill, [&](float px, float py, float below) {
        const float grass = 0.78F + 0.30F * fbm(px * 12 + ox, py * 26, 4) + near * 0.18F * noise(px * 150, py * 46);
        return mix(tone * grass, mood.sun * tone, 0.32F * smoothstep(0.12F, 0, below)) *
               (1 - 0.35F * near * smoothstep(0.03F, 0.3F, below));
      });
      if (i < 3) mist(c, r, top + 0.03F, 0.07F, mood.haze, 0.45F);
    }
    const float foot = 0.83F;
    const auto tips = branches(c, r, {x, foot + 0.03F, -1.57F + r.in(-0.08F, 0.08F), 0.17F, 0.046F, 8}, mood.ink,
                               mix(mood.ink, mood.sun, 0.2F));
    float left = x, right = x, top = foot, bottom = 0;
    for (const auto& t : tips)
      left = std::min(left, t.x), right = std::max(right, t.x), top = std::min(top, t.y),
      bottom = std::max(bottom, t.y);
    std::vector<Colour> tones;
    tones.reserve(leaves.size());
    for (const auto leaf : leaves) tones.push_back(hex(leaf));
    const int count = 15000;
    for (int i = 0; i < count; ++i) {
      const auto& t = tips[static_cast<std::size_t>(r.below(static_cast<int>(tips.size())))];
      const float s = r.in(0.0025F, 0.0055F), reach = 0.032F * std::sqrt(r.unit()), turn = r.in(0, 6.2832F);
      const float lx = t.x + std::cos(turn) * reach, ly = t.y + std::sin(turn) * reach;
      const float light =
          0.30F + 0.95F * clamp01(0.9F - (lx - left) / (right - left) * 0.55F - (ly - top) / (bottom - top) * 0.55F);
      const float late = static_cast<float>(i) / count;
      const Colour tone =
          tones[static_cast<std::size_t>(r.below(static_cast<int>(tones.size())))] * (light * (0.45F + 0.75F * late));
      c.fill(Path().petal(lx, ly, r.in(0, 6.28F), s * 2.4F, s * 1.3F), tone, 0.95F);
    }
    if (falling)
      for (int i = 0; i < 700; ++i) {
        const float lx = x + (r.unit() + r.unit() - 1) * 0.62F,
                    ly = foot + 0.03F + r.unit() * 0.13F * (1 - std::fabs(lx - x)), s = r.in(0.002F, 0.006F);
        c.fill(Path().ellipse(lx, ly, s, s * 0.45F, r.in(-0.4F, 0.4F)),
               tones[static_cast<std::size_t>(r.below(static_cast<int>(tones.size())))] * 0.85F, 0.9F);
      }
    c.bloom(0.95F, 0.07F, 0.3F);
    c.vignette(0.2F);
  };
}

Scene fieldRows(const Mood& mood, const std::vector<std::uint32_t>& rows, bool tree) {
  return [&mood, rows, tree](Canvas& c, Random& r) {
    const float a = c.aspect(), h = 0.46F, vanish = a * r.in(0.35F, 0.65F), ox = r.in(0, 200);
    sky(c, mood, h);
    sun(c, mood, a * 0.78F, h - 0.13F, 0.03F);
    clouds(c, r, mood, h, 0.4F, a * 0.78F, h - 0.1F);
    for (int i = 0; i < 2; ++i) {
      const float oy = r.in(0, 200), f = static_cast<float>(i);
      c.ground([&](float x) { return h - 0.055F + 0.04F * f - 0.035F * noise(x * 1.3F + oy, f); },
               [&](float, float, float below) {
                 return mix(mix(mood.haze, mood.body, 0.35F + 0.3F * f), mood.haze, 0.6F * smoothstep(0, 0.06F, below));
               });
    }
    std::vector<Colour> tones;
    tones.reserve(rows.size());
    for (const auto row : rows) tones.push_back(hex(row));
    const Colour soil = mix(mood.ink, mood.body, 0.55F);
    c.shade(h, 1, [&](float x, float y, Colour) {
      const float d = y - h + 0.004F, away = 1 / d,
                  lane = (x - vanish) * away * 0.62F + 200 + 0.12F * noise(away * 0.7F, ox);
      const float index = std::floor(lane), inside = lane - index - 0.5F;
      const auto& tone = tones[static_cast<std::size_t>(index) % tones.size()];
      const float blur = clamp01(0.006F * away);
      const float u = x * away, v = away * 3;
      const float tufts = noise(u * 9 + ox, v * 4) + 0.6F * noise(u * 24, v * 11 + ox) * (1 - blur);
      const float ridge = smoothstep(0.47F, 0.24F, std::fabs(inside) + 0.07F * tufts * (1 - blur));
      const float cover = lerp(ridge, 0.72F, blur);
      const float side = 0.78F + 0.5F * clamp01(0.5F + inside) + 0.38F * tufts * (1 - blur * 0.8F);
      const float speckle = 0.9F + 0.35F * noise(u * 60, v * 34) * (1 - blur);
      const Colour bloom = tone * (side * speckle * 0.9F), under = soil * (0.75F + 0.3F * noise(u * 30, v * 30));
      return mix(mix(mix(under, hex(0x3d6b2e), 0.35F), bloom, cover), mood.haze, 0.55F * std::exp(-d * 9));
    });
    if (tree) {
      const float x = a * 0.28F, foot = h + 0.02F;
      const auto tips = branches(c, r, {x, foot, -1.57F, 0.055F, 0.012F, 6}, mood.ink, mood.body);
      for (int i = 0; i < 3600; ++i) {
        const auto& t = tips[static_cast<std::size_t>(r.below(static_cast<int>(tips.size())))];
        const float lx = t.x + r.in(-0.015F, 0.015F), ly = t.y + r.in(-0.015F, 0.015F);
        c.disc(lx, ly, r.in(0.0012F, 0.0028F),
               mood.body * (0.25F + 0.8F * clamp01(0.5F + (lx - x) * 6 - (ly - foot + 0.15F) * 3)), 0.95F);
      }
    }
    c.bloom(0.95F, 0.06F, 0.28F);
    c.vignette(0.18F);
  };
}

Scene snowfall(const Mood& mood) {
  return [&mood](Canvas& c, Random& r) {
    const float a = c.aspect();
    sky(c, mood, 0.75F);
    if (mood.night) stars(c, r, 0.5F, 700);
    c.glow(a * 0.6F, 0.6F, 0.9F, mood.night ? mood.haze * 0.3F : mood.sun * 0.16F);
    for (int i = 0; i < 5; ++i) {
      const float near = static_cast<float>(i) / 4, ox = r.in(0, 200), top = lerp(0.60F, 0.90F, near),
                  high = lerp(0.06F, 0.34F, near * near);
      const auto base = [=](float x) { return top - 0.035F * noise(x * 1.5F + ox, near * 5); };
      const Treeline trees(r, a, base, high * 0.26F, high * 0.4F, high);
      const Colour wood = mix(mix(mood.haze, mood.ink, 0.25F), mood.ink, near * 0.9F),
                   snow = mix(mood.haze, Colour{0.92F, 0.95F, 1}, 0.62F) * (mood.night ? 0.62F : 1);
      c.ground(trees, [&](float x, float y, float below) {
        const float onTree =
            smoothstep(0.05F, 0.4F, noise(x * lerp(90, 34, near) + ox, y * lerp(120, 60, near)) + 0.25F) *
            smoothstep(0.6F * high, 0, below) * 0.75F;
        return mix(mix(wood, snow, onTree), mood.haze, 0.25F * (1 - near));
      });
      c.ground([&](float x) { return base(x) + 0.004F + 0.03F * near; },
               [&](float x, float y, float below) {
                 const float drift = noise(x * 3 + ox, y * 12 + near * 9) + 0.4F * noise(x * 9, y * 30 + ox);
                 const Colour blue = mix(snow, mood.sky.at(0.3F), 0.42F);
                 return mix(blue, snow + mood.sun * 0.05F, clamp01(0.55F + 0.5F * drift - below * 0.4F));
               });
    }
    if (mood.night) {
      const float x = a * 0.36F, y = 0.80F, s = 0.085F;
      c.glow(x, y, 0.42F, hex(0xffb45e) * 0.45F);
      c.fill(Path().rectangle(x - s, y - s * 0.75F, s * 2, s * 1.1F), hex(0x3a2418));
      c.fill(Path().moveTo(x - s * 1.3F, y - s * 0.66F).lineTo(x, y - s * 1.75F).lineTo(x + s * 1.3F, y - s * 0.66F),
             hex(0xaebfd8));
      for (int i = 0; i < 2; ++i)
        c.fill(Path().rectangle(x - s * 0.68F + s * 0.85F * static_cast<float>(i), y - s * 0.42F, s * 0.5F, s * 0.48F,
                                s * 0.05F),
               hex(0xffcf7a) * 1.7F);
      c.fill(Path().rectangle(x - s * 1.25F, y + s * 0.33F, s * 2.5F, s * 0.18F, s * 0.09F), hex(0xb9c8e0));
    }
    for (int i = 0; i < static_cast<int>(420 * a); ++i) {
      const float m = r.unit(), s = 0.0012F + 0.006F * m * m * m;
      c.glow(r.in(0, a), r.in(0, 1), s * 1.4F, Colour{0.9F, 0.94F, 1} * ((mood.night ? 0.35F : 0.5F) * (1 - 0.6F * m)));
    }
    c.bloom(0.95F, 0.06F, 0.28F);
    c.vignette(0.16F);
  };
}

}  // namespace tlx::samples
