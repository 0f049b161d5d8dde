#include "Elements.h"

namespace tlx::samples {
namespace moods {

#define TLX_MOOD(name, ...)                 \
  const Mood& name() {                      \
    static const Mood mood = {__VA_ARGS__}; \
    return mood;                            \
  }

TLX_MOOD(roseDawn, Gradient({{0, 0x5b6fa8}, {0.45F, 0xa99ac4}, {0.75F, 0xf0b7b5}, {1, 0xffdcb8}}), hex(0xffe0b8) * 2.6F,
         hex(0xf3c6bd), hex(0x8f7f8f), hex(0x1f2440))
TLX_MOOD(golden, Gradient({{0, 0x3d6ea5}, {0.4F, 0x8fb0c2}, {0.72F, 0xf6d492}, {1, 0xffb65c}}), hex(0xffd27a) * 3.2F,
         hex(0xf7c47c), hex(0x8a7a3e), hex(0x2a1d17))
TLX_MOOD(ember, Gradient({{0, 0x1d1b3f}, {0.35F, 0x5b2a63}, {0.65F, 0xc8434f}, {0.88F, 0xff8a3c}, {1, 0xffd070}}),
         hex(0xffb04a) * 4, hex(0xd9604c), hex(0x5a3036), hex(0x140d1c))
TLX_MOOD(violetDusk, Gradient({{0, 0x171a45}, {0.4F, 0x4b3f8c}, {0.7F, 0xa85fa8}, {1, 0xffa9a0}}), hex(0xffb8b0) * 2.4F,
         hex(0xb777ad), hex(0x57467a), hex(0x100f2a))
TLX_MOOD(blueHour, Gradient({{0, 0x081632}, {0.5F, 0x1c4272}, {0.85F, 0x5f8fb4}, {1, 0xd9b79a}}), hex(0xffdcb0) * 1.6F,
         hex(0x6f94b5), hex(0x31506a), hex(0x07101f), true)
TLX_MOOD(night, Gradient({{0, 0x03060f}, {0.5F, 0x0a1730}, {0.85F, 0x17305a}, {1, 0x2c4f7c}}), hex(0xdfe8ff) * 1.4F,
         hex(0x22406a), hex(0x22354a), hex(0x02050c), true)
TLX_MOOD(clearNoon, Gradient({{0, 0x1f63b5}, {0.5F, 0x5aa2dd}, {0.85F, 0xb4dcf0}, {1, 0xe6f4f7}}), hex(0xfff6e0) * 2.4F,
         hex(0xbfdcea), hex(0x5f8a3c), hex(0x17301f))
TLX_MOOD(tealMorning, Gradient({{0, 0x2c6f86}, {0.5F, 0x74b3ad}, {0.8F, 0xcfe5c8}, {1, 0xfdf0c8}}),
         hex(0xfff0c0) * 2.6F, hex(0xc6e0cb), hex(0x4f8a6c), hex(0x0d2a30))
TLX_MOOD(overcast, Gradient({{0, 0x7b8b99}, {0.6F, 0xaeb9c0}, {1, 0xe2e4e0}}), hex(0xf5f2ea) * 1.2F, hex(0xc9d1d3),
         hex(0x6d7d63), hex(0x232c30))
TLX_MOOD(desert, Gradient({{0, 0x2f6aa8}, {0.55F, 0x84b4d0}, {0.85F, 0xf3dcb8}, {1, 0xffe9c4}}), hex(0xffe2a8) * 2.6F,
         hex(0xf0cfa2), hex(0xd98a45), hex(0x6d2f1c))
TLX_MOOD(arctic, Gradient({{0, 0x274d78}, {0.5F, 0x6d9cc0}, {0.8F, 0xc8dbe6}, {1, 0xf8e5dc}}), hex(0xffe6d0) * 2,
         hex(0xc8dae6), hex(0x667a86), hex(0x17283a))
TLX_MOOD(peach, Gradient({{0, 0x8fa9cf}, {0.45F, 0xd9c2d4}, {0.75F, 0xffcdb0}, {1, 0xffe9c9}}), hex(0xffe3b5) * 2.2F,
         hex(0xffd9c0), hex(0xc08a76), hex(0x4d3446))
TLX_MOOD(storm, Gradient({{0, 0x1d2733}, {0.5F, 0x3f5363}, {0.8F, 0x7d929b}, {1, 0xd8cdb0}}), hex(0xfff0cc) * 1.8F,
         hex(0x8d9fa5), hex(0x4d6458), hex(0x10181d))
TLX_MOOD(spring, Gradient({{0, 0x3f86cf}, {0.5F, 0x86bfe8}, {0.85F, 0xd3ebf3}, {1, 0xfff3dc}}), hex(0xfff4d6) * 2.2F,
         hex(0xd3e8df), hex(0x86b24a), hex(0x1d3b22))
#undef TLX_MOOD

}  // namespace moods

void sky(Canvas& c, const Mood& mood, float horizon) {
  c.shade(0, 1, [&](float, float y, Colour) { return mood.sky.at(y / horizon); });
}

void clouds(Canvas& c, Random& r, const Mood& mood, float horizon, float cover, float sunX, float sunY, float drift) {
  const int factor = c.height() >= 900 ? 3 : 1;
  Canvas density(std::max(2, c.width() / factor), std::max(2, c.height() / factor));
  const float ox = r.in(0, 200) + drift, oy = r.in(0, 200);
  const float threshold = 0.42F - cover * 0.62F;
  const auto at = [&](float x, float y) {
    const float distance = 0.42F / (horizon - y + 0.16F);
    const float u = (x - 0.7F) * distance * 2.2F + ox, v = distance * 3.4F + oy;
    const float warp = noise(u * 0.7F + 11, v * 0.7F) * 0.35F;
    return fbm(u + warp, v * 1.25F - warp, 6);
  };
  density.shade(0, horizon, [&](float x, float y, Colour) {
    const float here = at(x, y);
    if (here < threshold) return Colour{};
    const float dx = sunX - x, dy = sunY - y, length = std::sqrt(dx * dx + dy * dy) + 0.05F;
    const float there = at(x + dx / length * 0.018F, y + dy / length * 0.018F);
    const float amount = smoothstep(threshold, threshold + 0.38F, here);
    return Colour{amount, clamp01(0.58F + (here - there) * 3.4F - amount * 0.22F), 1 / (0.25F + length)};
  });
  const Colour dark = mix(mood.haze, mood.sky.at(0.25F), 0.55F) * (mood.night ? 0.55F : 0.8F);
  const Colour lit = mix(mood.haze, mood.sun, mood.night ? 0.16F : 0.4F) * (mood.night ? 0.7F : 0.95F);
  const float sx = density.aspect() / c.aspect();
  c.shade(0, horizon, [&](float x, float y, Colour old) {
    const Colour d = density.sample(x * sx, y);
    if (d.r <= 0.002F) return old;
    const Colour body = mix(dark, lit, d.g) + mood.sun * (0.035F * d.b * d.g * (1 - d.r));
    const float fade = smoothstep(horizon, horizon - 0.12F, y);
    return mix(old, body, d.r * 0.92F * lerp(0.35F, 1, fade));
  });
}

void stars(Canvas& c, Random& r, float bottom, float perUnit) {
  const int count = static_cast<int>(perUnit * c.aspect() * bottom);
  for (int i = 0; i < count; ++i) {
    const float x = r.in(0, c.aspect()), y = r.in(0, bottom), m = r.unit();
    const float size = 0.0009F + 0.0016F * m * m * m * m * m;
    const Colour tint = mix(hex(0xa9c4ff), hex(0xffe2c0), r.unit());
    const float fade = smoothstep(bottom, bottom * 0.4F, y);
    c.glow(x, y, std::max(size, c.pixel() * 1.1F), tint * ((0.25F + 1.6F * m * m * m) * (0.25F + 0.75F * fade)));
    if (m > 0.985F) c.glow(x, y, size * 5, tint * 0.14F, 4);
  }
}

void sun(Canvas& c, const Mood& mood, float x, float y, float radius) {
  c.shade(0, 1, [&](float px, float py, Colour old) {
    const float dx = px - x, dy = py - y, d = std::sqrt(dx * dx + dy * dy) / radius;
    return old + mood.sun * (0.16F / (1 + d * d * 0.16F) + 0.03F / (1 + d * 0.25F));
  });
  c.disc(x, y, radius, mix(mood.sun, Colour{3, 3, 2.8F}, 0.35F), 0.96F);
}

void moon(Canvas& c, Random& r, float x, float y, float radius, float phase, Colour light) {
  const float ox = r.in(0, 200), oy = r.in(0, 200);
  const float halo = std::min(1.0F, 0.07F / radius);
  c.glow(x, y, radius * 7, light * (0.10F * halo * halo), 4);
  c.glow(x, y, radius * 2.2F, light * (0.14F * halo * halo), 2);
  struct Crater {
    float x, y, size;
  };
  std::vector<Crater> craters;
  for (int i = 0; i < 110; ++i) {
    const float a = r.in(0, 6.2832F), d = std::sqrt(r.unit()), s = r.unit();
    craters.push_back({std::cos(a) * d, std::sin(a) * d, 0.012F + 0.085F * s * s * s});
  }
  c.fill(Path().ellipse(x, y, radius, radius), [&](float px, float py) {
    const float u = (px - x) / radius, v = (py - y) / radius, d2 = std::min(1.0F, u * u + v * v);
    const float z = std::sqrt(1 - d2);
    float tone = 0.86F + 0.30F * fbm(u * 5 + ox, v * 5 + oy, 5);
    tone -= 0.34F * smoothstep(0.02F, 0.28F, fbm(u * 1.5F + oy, v * 1.5F + ox, 3));
    if (radius > 0.06F)
      for (const Crater& k : craters) {
        const float dx = u - k.x, dy = v - k.y, q = (dx * dx + dy * dy) / (k.size * k.size);
        if (q > 2.2F) continue;
        tone += 0.11F * (dx + dy) / k.size * (q < 1 ? 1 : -0.4F) * smoothstep(2.2F, 0.6F, q) +
                0.04F * smoothstep(1.3F, 0.9F, q);
      }
    const float towards = lerp(u, z, phase);
    const float lit = smoothstep(-0.06F, 0.22F, towards + (phase - 0.5F) * 0.7F) * (0.7F + 0.3F * z);
    return Rgba{light * (tone * lit), phase >= 0.99F ? 1.0F : smoothstep(0.0F, 0.12F, lit)};
  });
}

void water(Canvas& c, Random& r, float horizon, float rough, Colour deep, float murk, float phase) {
  const float ox = r.in(0, 200), oy = r.in(0, 200);
  const Canvas above = c;
  c.shade(horizon, 1, [&](float x, float y, Colour) {
    const float d = y - horizon, away = 1 / (d + 0.015F);
    const float u = (x - c.aspect() / 2) * away * 0.55F + ox, v = away * 1.5F + oy;
    const float wave =
        noise(u * 2 + phase * 0.7F, v * 2.6F + phase) + 0.5F * noise(u * 5.3F - phase, v * 6.1F + 7 + phase * 1.7F);
    const float fine = noise(u * 11 + 3, v * 15 - phase * 2);
    const float calm = smoothstep(0, 0.05F, d);
    const float swing = (wave + fine * 0.35F) * rough * calm;
    const float sx = x + swing * 0.012F, sy = horizon - d * (1 - 0.25F * rough) - 0.004F + swing * (0.03F + 0.16F * d);
    Colour seen = above.sample(sx, std::min(sy, horizon - 0.003F));
    const float grazing = clamp01(0.94F - murk * smoothstep(0, 0.75F, d) - rough * 0.16F * wave * calm);
    seen = mix(deep, seen, grazing);
    return seen * (0.93F + 0.05F * rough * fine);
  });
}

void birds(Canvas& c, Random& r, float x, float y, int count, Colour ink) {
  for (int i = 0; i < count; ++i) {
    const float bx = x + r.in(-0.14F, 0.14F), by = y + r.in(-0.06F, 0.06F), s = r.in(0.007F, 0.014F),
                lift = r.in(0.25F, 0.75F);
    Path wings;
    wings.moveTo(bx, by)
        .quadTo(bx - s * 0.6F, by - s * lift * 1.5F, bx - s * 1.5F, by - s * lift)
        .quadTo(bx - s * 0.6F, by - s * lift, bx, by + s * 0.22F)
        .quadTo(bx + s * 0.6F, by - s * lift, bx + s * 1.5F, by - s * lift)
        .quadTo(bx + s * 0.6F, by - s * lift * 1.5F, bx, by);
    c.fill(wings, ink, 0.9F);
  }
}

void mist(Canvas& c, Random& r, float y, float thickness, Colour colour, float strength) {
  const float ox = r.in(0, 200), oy = r.in(0, 200);
  c.shade(y - thickness, y + thickness, [&](float px, float py, Colour old) {
    const float d = (py - y) / thickness, band = (1 - d * d) * (1 - d * d);
    const float veil = clamp01(0.6F + 0.8F * fbm(px * 2.2F + ox, py * 7 + oy, 3));
    return mix(old, colour, clamp01(strength * band * veil));
  });
}

Treeline::Treeline(Random& r, float aspect, const std::function<float(float)>& base, float spacing, float low,
                   float high)
    : line_(static_cast<std::size_t>(aspect * kPerUnit) + 8) {
  for (std::size_t i = 0; i < line_.size(); ++i) line_[i] = base(static_cast<float>(i) / kPerUnit);
  const float grove = r.in(0, 200);
  for (float x = -high; x < aspect + high; x += spacing * r.in(0.35F, 1.5F)) {
    const float size = lerp(low, high, r.unit() * r.unit() * 0.7F + 0.3F * clamp01(0.5F + noise(x * 5 + grove, 3.5F)));
    const float half = size * r.in(0.17F, 0.24F), foot = base(x) + size * 0.06F, steps = r.in(6, 10),
                lean = r.in(-0.5F, 0.5F);
    const int from = static_cast<int>((x - half) * kPerUnit), to = static_cast<int>((x + half) * kPerUnit);
    for (int i = std::max(0, from); i < std::min(to, static_cast<int>(line_.size())); ++i) {
      const float side = (static_cast<float>(i) / kPerUnit - x) / half, t = std::fabs(side);
      const float shelf = t * steps + (side > 0 ? lean : 0);
      const float jag = (shelf - std::floor(shelf)) * 0.085F * (0.35F + t);
      const float top = foot - size * (std::pow(1 - t, 1.12F) + jag * (t > 0.02F ? 1.0F : 0.0F) - 0.02F);
      auto& line = line_[static_cast<std::size_t>(i)];
      line = std::min(line, top);
    }
  }
}

}  // namespace tlx::samples
