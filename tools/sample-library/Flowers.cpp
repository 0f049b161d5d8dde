#include "Scenes.h"

namespace tlx::samples {
namespace {

constexpr float kTurn = 6.2831853F;

/// A garden far out of focus.
void softGarden(Canvas& c, Random& r, Colour low, Colour high, Colour accent) {
  const float a = c.aspect(), ox = r.in(0, 200);
  c.shade(0, 1, [&](float x, float y, Colour) {
    return mix(
        high, low,
        clamp01(0.35F + (y - 0.3F) * 0.8F + 0.5F * noise(x * 1.7F + ox, y * 1.7F) + 0.25F * noise(x * 4, y * 4 + ox)));
  });
  for (int i = 0; i < static_cast<int>(26 * a); ++i) {
    const float s = r.in(0.02F, 0.085F);
    c.disc(r.in(0, a), r.in(0, 1), s,
           mix(mix(high, accent, r.unit() * 0.55F), Colour{1, 1, 0.9F}, 0.2F * r.unit()) * r.in(0.7F, 1.25F),
           r.in(0.10F, 0.36F));
  }
  c.blur(0.022F);
}

/// One petal, lit along and across, with fine veins.
void paintPetal(Canvas& c, float x, float y, float angle, float length, float width, Colour inner, Colour outer,
                float light, float tip, float vein) {
  const float ca = std::cos(angle), sa = std::sin(angle);
  c.fill(Path().petal(x, y, angle, length, width, 0.62F, tip), [&](float px, float py) {
    const float along = ((px - x) * ca + (py - y) * sa) / length,
                across = ((py - y) * ca - (px - x) * sa) / (width * 0.5F);
    const float fold = 0.86F + 0.16F * std::cos(across * 2.6F) - 0.10F * std::exp(-across * across * 60);
    const float lines =
        1 + 0.07F * noise(across * 9 + vein, along * 1.6F + vein) + 0.04F * std::sin(across * 22 + vein) * (1 - along);
    const float deep = 0.42F + 0.62F * smoothstep(0.05F, 0.75F, along);
    const float rim = 1 + 0.22F * smoothstep(0.72F, 1, std::fabs(across)) + 0.16F * smoothstep(0.8F, 1, along);
    return Rgba{mix(inner, outer, smoothstep(0.15F, 0.95F, along)) * (fold * lines * deep * rim * light)};
  });
}

void seedHead(Canvas& c, Random& r, float x, float y, float radius, Colour heart) {
  const Path round = Path().ellipse(x, y, radius, radius);
  c.shadow(round, 0, radius * 0.08F, radius * 0.16F, 0.55F);
  c.fill(round, [&](float px, float py) {
    const float d = std::sqrt((px - x) * (px - x) + (py - y) * (py - y)) / radius;
    return Rgba{heart * (0.30F + 0.5F * (1 - d * d) - 0.2F * (py - y) / radius)};
  });
  const int seeds = 520;
  for (int i = 0; i < seeds; ++i) {
    const float t = static_cast<float>(i) / seeds, angle = static_cast<float>(i) * 2.39996F,
                d = radius * 0.97F * std::sqrt(t), s = radius * (0.022F + 0.026F * t);
    const float sx = x + std::cos(angle) * d, sy = y + std::sin(angle) * d;
    const float light = 0.55F + 0.75F * clamp01(0.5F - (sx - x + sy - y) / radius * 0.4F) * (0.6F + 0.4F * r.unit());
    c.fill(Path().ellipse(sx, sy, s * 1.25F, s, angle), heart * (light * (0.75F + 0.9F * smoothstep(0.3F, 0.9F, t))),
           0.96F);
    c.disc(sx - s * 0.25F, sy - s * 0.3F, s * 0.34F, mix(heart, Colour{1, 0.95F, 0.8F}, 0.5F) * light, 0.8F);
  }
}

void bloomHead(Canvas& c, Random& r, const FlowerStyle& f, float x, float y, float radius) {
  const float start = r.in(0, kTurn);
  for (int ring = 0; ring < f.rings; ++ring) {
    const float inward = f.rings > 1 ? static_cast<float>(ring) / static_cast<float>(f.rings - 1) : 0;
    const float reach = radius * lerp(1, f.rings > 4 ? 0.20F : 0.66F, inward);
    const int petals =
        std::max(5, static_cast<int>(static_cast<float>(f.petals) * lerp(1, f.rings > 4 ? 0.5F : 0.85F, inward)));
    if (ring > 0)
      c.shadow(Path().ellipse(x, y, reach * 0.86F, reach * 0.86F), 0, radius * 0.03F, radius * 0.09F, 0.28F);
    for (int i = 0; i < petals; ++i) {
      const float angle =
          start + kTurn * (static_cast<float>(i) + 0.5F * static_cast<float>(ring % 2)) / static_cast<float>(petals) +
          r.in(-0.05F, 0.05F);
      const float length = reach * r.in(0.93F, 1.05F),
                  light = (0.86F + 0.22F * std::cos(angle + 2.2F)) * lerp(0.94F, 1.08F, inward) * r.in(0.94F, 1.06F);
      const float wide = f.width * (f.rings > 4 ? radius * lerp(1, 0.42F, inward) : reach);
      c.shadow(Path().petal(x, y, angle, length, wide, 0.62F, f.tip), radius * 0.012F, radius * 0.016F, radius * 0.022F,
               0.22F);
      paintPetal(c, x, y, angle, length, wide, hex(f.inner), hex(f.outer), light, f.tip, r.in(0, 90));
    }
  }
  if (f.seeds) {
    seedHead(c, r, x, y, radius * f.heartSize, hex(f.heart));
  } else if (f.heartSize > 0) {
    const float s = radius * f.heartSize;
    c.shadow(Path().ellipse(x, y, s, s), 0, s * 0.12F, s * 0.3F, 0.45F);
    c.fill(Path().ellipse(x, y, s, s), [&](float px, float py) {
      const float u = (px - x) / s, v = (py - y) / s;
      return Rgba{hex(f.heart) * (0.85F - 0.35F * (u + v) * 0.7F)};
    });
    for (int i = 0; i < 150; ++i) {
      const float angle = static_cast<float>(i) * 2.39996F, d = s * std::sqrt(static_cast<float>(i) / 150),
                  p = s * 0.06F;
      c.disc(x + std::cos(angle) * d, y + std::sin(angle) * d, p, hex(f.heart) * r.in(0.7F, 1.5F), 0.9F);
    }
  }
}

void stem(Canvas& c, float x, float y, float toX, float toY, float width, Colour green) {
  Path::Point p{x, y};
  for (int i = 1; i <= 24; ++i) {
    const float t = static_cast<float>(i) / 24;
    const Path::Point q{lerp(x, toX, t * t), lerp(y, toY, t)};
    c.fill(Path().stroke(p, q, width, width),
           [&](float px, float) { return Rgba{green * (0.75F - (px - lerp(p.x, q.x, 0.5F)) / width * 0.6F)}; });
    p = q;
  }
}

}  // namespace

Scene flower(FlowerStyle f) {
  return [f](Canvas& c, Random& r) {
    const float a = c.aspect(), x = a * r.in(0.44F, 0.56F) + f.sway * 0.02F, y = a < 0.9F ? 0.42F : 0.48F;
    softGarden(c, r, hex(f.backdropLow), hex(f.backdropHigh), hex(f.outer));
    const float radius = std::min(f.radius, a * 0.46F);
    for (int i = 0; i < 2; ++i) {
      const float bx = a * (i == 0 ? r.in(0.06F, 0.16F) : r.in(0.86F, 0.96F)), by = r.in(0.2F, 0.75F);
      stem(c, bx, by, bx + 0.04F, 1.05F, 0.014F, hex(f.backdropLow) * 1.2F);
      bloomHead(c, r, f, bx, by, radius * 0.52F);
    }
    c.blur(0.017F);
    stem(c, x, y, x + r.in(-0.08F, 0.08F), 1.05F, 0.022F, hex(0x4f7f36));
    for (int side = -1; side <= 1; side += 2) {
      const float angle = kTurn / 4 + static_cast<float>(side) * 0.95F;
      paintPetal(c, x, y + 0.42F, angle - kTurn / 4 * static_cast<float>(side) * 0.9F, 0.30F, 0.12F, hex(0x2f5a28),
                 hex(0x6da34a), 0.9F, 0, r.in(0, 90));
    }
    bloomHead(c, r, f, x, y, radius);
    c.bloom(0.95F, 0.05F, 0.25F);
    c.vignette(0.26F);
  };
}

Scene meadow(const Mood& mood, const std::vector<std::uint32_t>& petals, float sway) {
  return [&mood, petals, sway](Canvas& c, Random& r) {
    const float a = c.aspect();
    sky(c, mood, 0.75F);
    sun(c, mood, a * 0.72F, 0.28F, 0.045F);
    c.blur(0.02F);
    const Colour grass = mix(mood.body, hex(0x4f8f3a), 0.5F);
    for (int layer = 0; layer < 5; ++layer) {
      const float near = static_cast<float>(layer) / 4, base = lerp(0.62F, 1.12F, near),
                  tall = lerp(0.07F, 0.42F, near);
      const Colour green = mix(mix(grass, mood.haze, 0.62F * (1 - near)), mood.ink, 0.25F * near);
      const float ox = r.in(0, 99);
      c.ground([&](float x) { return base - tall * 0.42F - 0.02F * noise(x * 2 + ox, near); },
               [&](float x, float y, float below) {
                 return green * (0.72F + 0.35F * noise(x * 26 + ox, y * 7) - below * 0.8F + 0.1F * near);
               });
      const int blades = static_cast<int>(lerp(420, 130, near) * a);
      for (int i = 0; i < blades; ++i) {
        const float x = r.in(-0.02F, a + 0.02F), y = base + r.in(-0.02F, 0.05F), size = tall * r.in(0.5F, 1.0F),
                    bend = r.in(-0.3F, 0.3F) + 0.10F * std::sin(sway + x * 3), w = lerp(0.003F, 0.009F, near);
        c.fill(Path()
                   .moveTo(x - w, y)
                   .quadTo(x, y - size * 0.6F, x + bend * size, y - size)
                   .quadTo(x + w * 1.5F, y - size * 0.5F, x + w, y),
               mix(green, mood.sun * green, 0.25F * r.unit()) * r.in(0.7F, 1.35F), 0.9F);
      }
      const int heads = static_cast<int>(lerp(52, 9, near) * a);
      for (int i = 0; i < heads; ++i) {
        const float x0 = a * (static_cast<float>(i) + r.unit()) / static_cast<float>(heads),
                    size = tall * r.in(0.75F, 1.15F), s = lerp(0.009F, 0.058F, near) * r.in(0.8F, 1.2F);
        const float x = x0 + 0.05F * size * std::sin(sway + x0 * 3) + r.in(-0.02F, 0.02F), y = base - size;
        c.fill(Path().stroke({x0, base}, {x, y}, s * 0.12F, s * 0.09F), green * 0.9F);
        const Colour tone = mix(hex(petals[static_cast<std::size_t>(r.below(static_cast<int>(petals.size())))]),
                                mood.haze, 0.5F * (1 - near));
        const float from = r.in(0, kTurn);
        // A cup of four wide petals seen a little from above, the far ones darker, the near ones catching the sun.
        for (int k = 0; k < 7; ++k) {
          const float angle = from + kTurn * static_cast<float>(k) / 7, px = std::cos(angle),
                      py = std::sin(angle) * 0.62F;
          const float light = 0.62F + 0.34F * clamp01(0.5F - py) + 0.25F * clamp01(px);
          c.fill(Path().ellipse(x + px * s * 0.52F, y + py * s * 0.52F, s * 0.58F, s * 0.44F, angle),
                 [&](float qx, float qy) {
                   const float d = std::sqrt((qx - x) * (qx - x) + (qy - y) * (qy - y)) / s;
                   return Rgba{tone * (light * (0.6F + 0.55F * d)), 0.96F};
                 });
        }
        c.disc(x, y - s * 0.05F, s * 0.20F, mix(mood.ink, hex(0xf0c24a), 0.55F), 0.95F);
      }
      if (layer < 4) c.blur(lerp(0.012F, 0.003F, near));
    }
    c.glow(a * 0.72F, 0.28F, 0.9F, mood.sun * 0.13F);
    c.bloom(0.95F, 0.07F, 0.3F);
    c.vignette(0.2F);
  };
}

Scene blossom(std::uint32_t petal, std::uint32_t low, std::uint32_t high) {
  return [=](Canvas& c, Random& r) {
    const float a = c.aspect();
    const Colour bark = hex(0x4a3430), tone = hex(petal);
    softGarden(c, r, hex(low), hex(high), tone);
    struct Flower {
      float x, y, s;
    };
    for (int depth = 0; depth < 2; ++depth) {
      std::vector<Flower> flowers;
      for (int branch = 0; branch < 3; ++branch) {
        float x = -0.05F, y = lerp(0.25F, 1.0F, (static_cast<float>(branch) + r.in(0.1F, 0.9F)) / 3),
              angle = r.in(-0.45F, -0.05F), w = depth == 0 ? 0.014F : 0.023F;
        for (int i = 0; i < 46 && x < a + 0.05F; ++i) {
          const float nx = x + std::cos(angle) * 0.045F, ny = y + std::sin(angle) * 0.045F;
          c.fill(Path().stroke({x, y}, {nx, ny}, w, w * 0.97F), [&](float px, float py) {
            return Rgba{bark * (0.75F + 0.35F * noise(px * 60, py * 60) - (py - y) / w * 0.4F)};
          });
          x = nx, y = ny, w *= 0.966F, angle += r.in(-0.16F, 0.16F) - angle * 0.04F;
          if (i > 5 && r.chance(0.62F))
            for (int k = 0; k < 1 + r.below(3); ++k)
              flowers.push_back(
                  {x + r.in(-0.06F, 0.06F), y + r.in(-0.06F, 0.06F), r.in(0.03F, 0.052F) * (depth == 0 ? 1.25F : 1)});
        }
      }
      for (const Flower& f : flowers) {
        const float turn = r.in(0, kTurn), squash = r.in(0.75F, 1.0F);
        for (int k = 0; k < 5; ++k) {
          const float angle = turn + kTurn * static_cast<float>(k) / 5;
          const float length = f.s * (0.9F + 0.1F * squash);
          paintPetal(c, f.x, f.y, angle, length, f.s * 0.92F, tone * Colour{0.9F, 0.55F, 0.62F},
                     mix(tone, Colour{1, 1, 1}, 0.35F), 0.98F + 0.14F * std::cos(angle + 2.2F), 0.32F, r.in(0, 90));
        }
        for (int k = 0; k < 9; ++k) {
          const float angle = r.in(0, kTurn), reach = f.s * r.in(0.2F, 0.42F);
          c.fill(Path().stroke({f.x, f.y}, {f.x + std::cos(angle) * reach, f.y + std::sin(angle) * reach}, 0.0016F,
                               0.001F),
                 hex(0xf7dfe0));
          c.disc(f.x + std::cos(angle) * reach, f.y + std::sin(angle) * reach, 0.0022F, hex(0xe9b64a));
        }
      }
      if (depth == 0) c.blur(0.015F);
    }
    c.bloom(0.95F, 0.05F, 0.25F);
    c.vignette(0.16F);
  };
}

Scene waterLilies(std::uint32_t petal, std::uint32_t pond) {
  return [=](Canvas& c, Random& r) {
    const float a = c.aspect(), ox = r.in(0, 200);
    const Colour deep = hex(pond);
    c.shade(0, 1, [&](float x, float y, Colour) {
      const float cloud = smoothstep(-0.25F, 0.55F, fbm(x * 1.6F + ox, y * 2.6F, 4));
      return mix(deep, mix(deep, hex(0xbfdcec), 0.55F), cloud * 0.6F) * (1 + 0.12F * noise(x * 7 + ox, y * 26));
    });
    struct Pad {
      float x, y, s;
    };
    std::vector<Pad> pads;
    for (int i = 0; i < 600 && pads.size() < static_cast<std::size_t>(26 * a); ++i) {
      const Pad p{r.in(0, a), r.in(0, 1), r.in(0.045F, 0.13F)};
      bool free = true;
      for (const Pad& q : pads) free = free && std::hypot(p.x - q.x, p.y - q.y) > (p.s + q.s) * 0.86F;
      if (free && noise(p.x * 1.5F + ox, p.y * 1.5F) > -0.25F) pads.push_back(p);
    }
    for (const Pad& p : pads) {
      const float cut = r.in(0, kTurn), hue = r.unit();
      Path leaf;
      for (int k = 0; k <= 70; ++k) {
        const float t = cut + 0.16F + (kTurn - 0.32F) * static_cast<float>(k) / 70,
                    edge = p.s * (1 + 0.012F * std::sin(t * 9));
        if (k == 0) leaf.moveTo(p.x + std::cos(cut) * p.s * 0.12F, p.y + std::sin(cut) * p.s * 0.12F);
        leaf.lineTo(p.x + std::cos(t) * edge, p.y + std::sin(t) * edge);
      }
      c.shadow(leaf, 0.008F, 0.012F, 0.014F, 0.5F);
      c.fill(leaf, [&](float px, float py) {
        const float dx = px - p.x, dy = py - p.y, d = std::sqrt(dx * dx + dy * dy) / p.s, angle = std::atan2(dy, dx);
        const float veins = std::pow(std::fabs(std::cos((angle - cut) * 8)), 24.0F) * (1 - d * 0.6F);
        const Colour green =
            mix(hex(0x2f6a3a), hex(0x7fa84a), hue * 0.6F + 0.35F * clamp01(0.4F - (dx + dy) / p.s * 0.5F));
        return Rgba{mix(green * (0.8F + 0.25F * noise(px * 24, py * 24)), hex(0xb5c878), veins * 0.3F) *
                    (1 - 0.25F * smoothstep(0.9F, 1, d))};
      });
    }
    const int blooms = std::max(3, static_cast<int>(3.6F * a));
    for (int i = 0; i < blooms; ++i) {
      const Pad& p = pads[static_cast<std::size_t>(r.below(static_cast<int>(pads.size())))];
      const FlowerStyle f{.inner = 0xf9e3a0,
                          .outer = petal,
                          .heart = 0xf0b93a,
                          .backdropLow = 0,
                          .backdropHigh = 0,
                          .petals = 13,
                          .rings = 4,
                          .width = 0.36F,
                          .heartSize = 0.17F};
      const float s = r.in(0.085F, 0.13F), x = std::clamp(p.x, 0.12F, a - 0.12F), y = std::clamp(p.y, 0.12F, 0.88F);
      c.shadow(Path().ellipse(x, y, s * 0.8F, s * 0.8F), 0.015F, 0.02F, 0.03F, 0.5F);
      bloomHead(c, r, f, x, y, s);
    }
    c.bloom(0.95F, 0.04F, 0.25F);
    c.vignette(0.24F);
  };
}

Scene succulent(std::uint32_t low, std::uint32_t high, std::uint32_t tip) {
  return [=](Canvas& c, Random& r) {
    const float a = c.aspect(), x = a * 0.5F, y = 0.5F;
    c.shade(0, 1, [&](float px, float py, Colour) { return hex(low) * (0.22F + 0.10F * noise(px * 8, py * 8)); });
    const int leaves = 92;
    const float start = r.in(0, kTurn), reachAll = std::max(0.62F, a * 0.62F);
    for (int i = leaves; i > 0; --i) {
      const float t = static_cast<float>(i) / leaves, angle = start + static_cast<float>(i) * 2.39996F,
                  length = reachAll * std::pow(t, 0.62F), wide = length * 0.46F + 0.02F;
      const float bx = x + std::cos(angle) * length * 0.12F, by = y + std::sin(angle) * length * 0.12F;
      const Path leaf = Path().petal(bx, by, angle, length, wide, 0.7F, 0.1F);
      c.shadow(leaf, 0.004F, 0.008F, 0.014F + 0.01F * t, 0.5F);
      const float light = 0.82F + 0.26F * std::cos(angle + 2.2F);
      const float ca = std::cos(angle), sa = std::sin(angle);
      c.fill(leaf, [&](float px, float py) {
        const float along = ((px - bx) * ca + (py - by) * sa) / length,
                    across = ((py - by) * ca - (px - bx) * sa) / (wide * 0.5F);
        const float body = 0.42F + 0.58F * smoothstep(0.2F, 0.95F, along);
        const Colour skin = mix(mix(hex(low), hex(high), smoothstep(0.1F, 0.85F, along)), hex(tip),
                                smoothstep(0.80F, 0.99F, along + 0.10F * across * across));
        return Rgba{skin *
                    (body * light * (0.92F + 0.14F * (1 - across * across)) * (1 + 0.04F * noise(px * 90, py * 90)))};
      });
    }
    c.bloom(0.95F, 0.04F, 0.2F);
    c.vignette(0.3F);
  };
}

}  // namespace tlx::samples
