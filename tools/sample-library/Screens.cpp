#include "Scenes.h"

namespace tlx::samples {
namespace {

constexpr float kTurn = 6.2831853F;
constexpr float kMargin = 0.026F;

void card(Canvas& c, float x, float y, float w, float h, Colour colour, float radius = 0.018F) {
  const Path box = Path().rectangle(x, y, w, h, radius);
  c.shadow(box, 0, 0.004F, 0.010F, 0.10F);
  c.fill(box, colour);
}

/// A line of words too small to read: rounded bars with gaps.
void words(Canvas& c, Random& r, float x, float y, float width, float size, Colour ink, float alpha = 0.75F) {
  for (float at = x; at < x + width - size;) {
    const float w = std::min(r.in(size * 1.5F, size * 5), x + width - at);
    c.fill(Path().rectangle(at, y, w, size, size / 2), ink, alpha);
    at += w + size * 0.7F;
  }
}

void statusBar(Canvas& c, Colour ink) {
  const float a = c.aspect(), y = 0.018F;
  c.fill(Path().rectangle(kMargin, y, 0.042F, 0.009F, 0.0045F), ink, 0.85F);
  for (int i = 0; i < 4; ++i) {
    const float f = static_cast<float>(i), h = 0.003F + 0.0022F * f;
    c.fill(Path().rectangle(a - 0.085F + 0.0055F * f, y + 0.0095F - h, 0.004F, h, 0.001F), ink, 0.85F);
  }
  c.fill(Path().rectangle(a - 0.052F, y, 0.024F, 0.0105F, 0.003F), ink, 0.30F);
  c.fill(Path().rectangle(a - 0.0505F, y + 0.0015F, 0.016F, 0.0075F, 0.002F), ink, 0.9F);
  c.fill(Path().rectangle(a / 2 - 0.07F, 0.985F, 0.14F, 0.0028F, 0.0014F), ink, 0.6F);
}

void arc(Canvas& c, float x, float y, float radius, float width, float share, Colour from, Colour to) {
  const int pieces = std::max(2, static_cast<int>(share * 120));
  for (int i = 0; i < pieces; ++i) {
    const float t0 = share * kTurn * static_cast<float>(i) / static_cast<float>(pieces) - kTurn / 4,
                t1 = share * kTurn * static_cast<float>(i + 1) / static_cast<float>(pieces) - kTurn / 4;
    c.fill(Path().stroke({x + std::cos(t0) * radius, y + std::sin(t0) * radius},
                         {x + std::cos(t1) * radius, y + std::sin(t1) * radius}, width, width),
           mix(from, to, static_cast<float>(i) / static_cast<float>(pieces)));
  }
}

void picture(Canvas& c, Random& r, const Scene& scene, float x, float y, float w, float h, float radius) {
  const int height = std::max(8, static_cast<int>(h * static_cast<float>(c.height())));
  Canvas small(std::max(8, static_cast<int>(w * static_cast<float>(c.height()))), height);
  scene(small, r);
  c.fill(Path().rectangle(x, y, w, h, radius),
         [&](float px, float py) { return Rgba{small.sample((px - x) / h, (py - y) / h)}; });
}

void weather(Canvas& c, Random& r) {
  const float a = c.aspect();
  const Gradient day({{0, 0x2f6fc4}, {0.6F, 0x7db4e6}, {1, 0xf3d9b5}});
  c.shade(0, 1, [&](float, float y, Colour) { return day.at(y); });
  c.glow(a * 0.72F, 0.16F, 0.30F, hex(0xffe0a0) * 0.7F);
  c.disc(a * 0.72F, 0.16F, 0.055F, hex(0xffe9b8) * 1.15F);
  for (int i = 0; i < 4; ++i)
    c.disc(a * 0.56F + 0.045F * static_cast<float>(i), 0.205F - (i == 1 || i == 2 ? 0.018F : 0),
           0.036F + (i == 1 ? 0.01F : 0), Colour{1, 1, 1}, 0.93F);
  c.fill(Path().rectangle(a * 0.53F, 0.205F, 0.19F, 0.037F, 0.018F), Colour{1, 1, 1}, 0.93F);
  const Colour white{1, 1, 1};
  words(c, r, kMargin, 0.09F, 0.13F, 0.012F, white);
  for (int i = 0; i < 2; ++i)
    c.fill(Path().rectangle(kMargin + 0.055F * static_cast<float>(i), 0.125F, 0.042F, 0.075F, 0.02F), white, 0.95F);
  c.fill(Path().rectangle(kMargin + 0.067F, 0.139F, 0.018F, 0.047F, 0.009F), day.at(0.16F));
  c.fill(Path().rectangle(kMargin, 0.141F, 0.028F, 0.012F, 0.003F).rectangle(kMargin, 0.172F, 0.028F, 0.012F, 0.003F),
         day.at(0.16F));
  c.disc(kMargin + 0.113F, 0.131F, 0.008F, white);
  c.disc(kMargin + 0.113F, 0.131F, 0.0045F, day.at(0.14F));
  c.fill(Path().rectangle(kMargin, 0.29F, a - 2 * kMargin, 0.16F, 0.022F), white, 0.20F);
  for (int i = 0; i < 6; ++i) {
    const float x = kMargin + (a - 2 * kMargin) * (static_cast<float>(i) + 0.5F) / 6;
    c.fill(Path().rectangle(x - 0.014F, 0.310F, 0.028F, 0.007F, 0.0035F), white, 0.8F);
    c.disc(x, 0.362F, 0.015F, i % 3 == 1 ? white : hex(0xffe08a));
    c.fill(Path().rectangle(x - 0.011F, 0.412F, 0.022F, 0.010F, 0.005F), white, 0.95F);
  }
  c.fill(Path().rectangle(kMargin, 0.475F, a - 2 * kMargin, 0.47F, 0.022F), white, 0.20F);
  for (int i = 0; i < 8; ++i) {
    const float y = 0.505F + 0.055F * static_cast<float>(i), from = r.in(0.0F, 0.35F), to = r.in(0.6F, 1.0F),
                wide = a * 0.36F;
    words(c, r, kMargin * 2, y, 0.08F, 0.009F, white);
    c.disc(a * 0.36F, y + 0.005F, 0.012F, i % 3 == 0 ? white : hex(0xffe08a));
    c.fill(Path().rectangle(a * 0.50F, y + 0.002F, wide, 0.007F, 0.0035F), white, 0.28F);
    c.fill(Path().rectangle(a * 0.50F + wide * from, y + 0.002F, wide * (to - from), 0.007F, 0.0035F),
           [&](float px, float) { return Rgba{mix(hex(0x9fe0c0), hex(0xffb45e), (px - a * 0.5F) / wide)}; });
  }
  statusBar(c, white);
}

void chat(Canvas& c, Random& r) {
  const float a = c.aspect();
  c.shade(0, 1, [&](float, float y, Colour) { return mix(hex(0xf5f1ea), hex(0xe7e2f2), y); });
  c.fill(Path().rectangle(0, 0, a, 0.095F), hex(0xffffff));
  c.disc(kMargin + 0.045F, 0.066F, 0.020F, hex(0x8f7fd0));
  c.disc(kMargin + 0.045F, 0.060F, 0.008F, hex(0xffe2c8));
  words(c, r, kMargin + 0.08F, 0.056F, 0.14F, 0.009F, hex(0x2a2540), 0.9F);
  words(c, r, kMargin + 0.08F, 0.073F, 0.08F, 0.006F, hex(0x8a86a0));
  float y = 0.12F;
  const Colour mine = hex(0x6a5be0), theirs = hex(0xffffff);
  for (int i = 0; y < 0.86F; ++i) {
    const bool own = r.chance(0.45F);
    if (i == 3) {
      card(c, kMargin, y, 0.27F, 0.20F, theirs);
      picture(c, r, sea(moods::golden(), {.sail = true}), kMargin + 0.004F, y + 0.004F, 0.262F, 0.192F, 0.016F);
      y += 0.215F;
      continue;
    }
    const int lines = 1 + r.below(3);
    const float w = lines == 1 ? r.in(0.10F, 0.24F) : r.in(0.24F, 0.32F),
                h = 0.022F + 0.019F * static_cast<float>(lines), x = own ? a - kMargin - w : kMargin;
    card(c, x, y, w, h, own ? mine : theirs, 0.019F);
    for (int k = 0; k < lines; ++k)
      words(c, r, x + 0.014F, y + 0.016F + 0.019F * static_cast<float>(k),
            (w - 0.028F) * (k == lines - 1 && lines > 1 ? 0.6F : 1), 0.0075F, own ? Colour{1, 1, 1} : hex(0x3a3650),
            0.7F);
    y += h + (r.chance(0.5F) ? 0.008F : 0.022F);
  }
  c.fill(Path().rectangle(0, 0.905F, a, 0.095F), hex(0xffffff));
  c.fill(Path().rectangle(kMargin, 0.922F, a - 2 * kMargin - 0.055F, 0.042F, 0.021F), hex(0xefecf4));
  c.disc(a - kMargin - 0.021F, 0.943F, 0.021F, mine);
  c.fill(Path()
             .moveTo(a - kMargin - 0.028F, 0.934F)
             .lineTo(a - kMargin - 0.010F, 0.943F)
             .lineTo(a - kMargin - 0.028F, 0.952F),
         Colour{1, 1, 1});
  statusBar(c, hex(0x2a2540));
}

void calendar(Canvas& c, Random& r) {
  const float a = c.aspect();
  c.shade(0, 1, [&](float, float, Colour) { return hex(0xfbfaf7); });
  const Colour ink = hex(0x2b2f3a);
  words(c, r, kMargin, 0.07F, 0.17F, 0.018F, ink, 0.95F);
  c.disc(a - kMargin - 0.018F, 0.078F, 0.018F, hex(0xef6f53));
  c.fill(Path()
             .rectangle(a - kMargin - 0.026F, 0.0765F, 0.016F, 0.003F)
             .rectangle(a - kMargin - 0.0195F, 0.070F, 0.003F, 0.016F),
         Colour{1, 1, 1});
  const float step = (a - 2 * kMargin) / 7;
  static const std::uint32_t kEvents[] = {0xef6f53, 0xf2b84b, 0x4fa59a, 0x5b7fd6, 0xb06fc4};
  for (int row = 0; row < 5; ++row)
    for (int col = 0; col < 7; ++col) {
      const float x = kMargin + step * (static_cast<float>(col) + 0.5F), y = 0.15F + 0.066F * static_cast<float>(row);
      const bool today = row == 2 && col == 3, outside = (row == 0 && col < 2) || (row == 4 && col > 4);
      if (today) c.disc(x, y, 0.021F, hex(0xef6f53));
      c.fill(Path().rectangle(x - 0.009F, y - 0.005F, 0.018F, 0.010F, 0.004F), today ? Colour{1, 1, 1} : ink,
             outside ? 0.2F : 0.8F);
      const int events = outside ? 0 : r.below(4);
      for (int i = 0; i < events; ++i)
        c.disc(x + (static_cast<float>(i) - static_cast<float>(events - 1) / 2) * 0.009F, y + 0.026F, 0.003F,
               hex(kEvents[r.below(5)]));
    }
  float y = 0.50F;
  for (int i = 0; i < 5; ++i) {
    const Colour tone = hex(kEvents[i]);
    card(c, kMargin, y, a - 2 * kMargin, 0.075F, mix(tone, Colour{1, 1, 1}, 0.86F), 0.014F);
    c.fill(Path().rectangle(kMargin, y, 0.007F, 0.075F, 0.003F), tone);
    words(c, r, kMargin + 0.024F, y + 0.021F, r.in(0.16F, 0.27F), 0.010F, ink, 0.85F);
    words(c, r, kMargin + 0.024F, y + 0.046F, r.in(0.08F, 0.16F), 0.007F, ink, 0.4F);
    y += 0.088F;
  }
  statusBar(c, ink);
}

void music(Canvas& c, Random& r) {
  const float a = c.aspect(), w = a - 4 * kMargin;
  const Gradient dusk({{0, 0x4a2a55}, {0.5F, 0x2c1e3f}, {1, 0x120e1e}});
  c.shade(0, 1, [&](float, float y, Colour) { return dusk.at(y); });
  const Path cover = Path().rectangle(2 * kMargin, 0.13F, w, w, 0.022F);
  c.shadow(cover, 0, 0.018F, 0.03F, 0.6F);
  picture(c, r, silk(Gradient({{0, 0xf7c59f}, {0.4F, 0xe0607e}, {1, 0x2f1b4f}})), 2 * kMargin, 0.13F, w, w, 0.022F);
  const Colour white{1, 1, 1};
  const float y = 0.13F + w + 0.05F;
  words(c, r, 2 * kMargin, y, 0.20F, 0.014F, white, 0.95F);
  words(c, r, 2 * kMargin, y + 0.030F, 0.13F, 0.009F, white, 0.5F);
  for (int i = 0; i < 64; ++i) {
    const float h = 0.006F + 0.040F * std::fabs(noise(static_cast<float>(i) * 0.37F, 3.3F)) + 0.012F * r.unit(),
                x = 2 * kMargin + w * static_cast<float>(i) / 64;
    c.fill(Path().rectangle(x, y + 0.105F - h / 2, w / 64 * 0.55F, h, 0.002F), i < 26 ? hex(0xff9e7a) : white,
           i < 26 ? 1.0F : 0.28F);
  }
  c.disc(a / 2, y + 0.215F, 0.042F, white);
  c.fill(Path()
             .rectangle(a / 2 - 0.014F, y + 0.199F, 0.009F, 0.032F, 0.002F)
             .rectangle(a / 2 + 0.005F, y + 0.199F, 0.009F, 0.032F, 0.002F),
         hex(0x2c1e3f));
  for (int side = -1; side <= 1; side += 2) {
    const float s = static_cast<float>(side), x = a / 2 + s * 0.10F, yy = y + 0.215F;
    for (int k = 0; k < 2; ++k)
      c.fill(Path()
                 .moveTo(x + s * (0.016F * static_cast<float>(k) - 0.014F), yy - 0.014F)
                 .lineTo(x + s * (0.016F * static_cast<float>(k) + 0.004F), yy)
                 .lineTo(x + s * (0.016F * static_cast<float>(k) - 0.014F), yy + 0.014F),
             white, 0.9F);
  }
  c.fill(Path().rectangle(2 * kMargin, y + 0.32F, w, 0.005F, 0.0025F), white, 0.2F);
  c.fill(Path().rectangle(2 * kMargin, y + 0.32F, w * 0.62F, 0.005F, 0.0025F), white, 0.8F);
  c.disc(2 * kMargin + w * 0.62F, y + 0.3225F, 0.008F, white);
  statusBar(c, white);
}

void map(Canvas& c, Random& r) {
  const float a = c.aspect(), ox = r.in(0, 200);
  c.shade(0, 1, [&](float x, float y, Colour) {
    const float coast = noise(x * 2.2F + ox, y * 1.9F) + 0.25F * noise(x * 6, y * 6 + ox),
                park = noise(x * 4.5F + ox + 40, y * 4.5F);
    const Colour land = mix(hex(0xf2ede2), hex(0xc9e3bd), smoothstep(0.20F, 0.22F, park));
    return mix(land, hex(0x9fd3e8), smoothstep(0.30F, 0.306F, coast));
  });
  for (int i = 0; i < 30; ++i) {
    const bool big = i < 5, across = i % 2 == 0;
    const float at = r.in(0, 1), w = big ? 0.014F : 0.006F, skew = r.in(-0.12F, 0.12F);
    Path::Point p = across ? Path::Point{-0.02F, at} : Path::Point{at * a, -0.02F};
    for (int k = 1; k <= 26; ++k) {
      const float t = static_cast<float>(k) / 25, bend = 0.03F * noise(t * 3 + static_cast<float>(i), ox);
      const Path::Point q = across ? Path::Point{t * (a + 0.04F), at + skew * t + bend}
                                   : Path::Point{at * a + skew * t + bend, t * 1.04F};
      if (big) c.fill(Path().stroke(p, q, w + 0.004F, w + 0.004F), hex(0xe2b45e));
      c.fill(Path().stroke(p, q, w, w), big ? hex(0xffd98a) : Colour{1, 1, 1});
      p = q;
    }
  }
  Path::Point p{a * 0.2F, 0.74F};
  for (int k = 1; k <= 60; ++k) {
    const float t = static_cast<float>(k) / 60;
    const Path::Point q{a * lerp(0.2F, 0.72F, t) + 0.03F * std::sin(t * 9),
                        lerp(0.74F, 0.3F, t) + 0.02F * std::sin(t * 13)};
    c.fill(Path().stroke(p, q, 0.012F, 0.012F), hex(0x2f7ff2));
    p = q;
  }
  c.disc(a * 0.2F, 0.74F, 0.020F, Colour{1, 1, 1});
  c.disc(a * 0.2F, 0.74F, 0.014F, hex(0x2f7ff2));
  const Path pin = Path()
                       .moveTo(p.x, p.y + 0.01F)
                       .cubicTo(p.x - 0.012F, p.y - 0.02F, p.x - 0.032F, p.y - 0.03F, p.x - 0.032F, p.y - 0.055F)
                       .cubicTo(p.x - 0.032F, p.y - 0.098F, p.x + 0.032F, p.y - 0.098F, p.x + 0.032F, p.y - 0.055F)
                       .cubicTo(p.x + 0.032F, p.y - 0.03F, p.x + 0.012F, p.y - 0.02F, p.x, p.y + 0.01F);
  c.shadow(pin, 0.004F, 0.006F, 0.008F, 0.4F);
  c.fill(pin, hex(0xe8503a));
  c.disc(p.x, p.y - 0.055F, 0.012F, Colour{1, 1, 1});
  card(c, kMargin, 0.055F, a - 2 * kMargin, 0.052F, Colour{1, 1, 1}, 0.026F);
  words(c, r, kMargin + 0.06F, 0.076F, 0.2F, 0.010F, hex(0x555b66));
  arc(c, kMargin + 0.030F, 0.079F, 0.009F, 0.004F, 1, hex(0x2f7ff2), hex(0x2f7ff2));
  card(c, 0, 0.83F, a, 0.2F, Colour{1, 1, 1}, 0.028F);
  words(c, r, kMargin, 0.855F, 0.22F, 0.013F, hex(0x2b2f3a), 0.9F);
  words(c, r, kMargin, 0.884F, 0.16F, 0.008F, hex(0x2b2f3a), 0.4F);
  c.fill(Path().rectangle(kMargin, 0.915F, a - 2 * kMargin, 0.045F, 0.0225F), hex(0x2f7ff2));
  words(c, r, a / 2 - 0.045F, 0.933F, 0.09F, 0.010F, Colour{1, 1, 1}, 0.95F);
  statusBar(c, hex(0x2b2f3a));
}

void gallery(Canvas& c, Random& r) {
  const float a = c.aspect(), cell = (a - 0.008F) / 3;
  c.shade(0, 1, [&](float, float, Colour) { return hex(0xffffff); });
  words(c, r, kMargin, 0.062F, 0.15F, 0.017F, hex(0x22262e), 0.95F);
  const Scene scenes[] = {ridges(moods::roseDawn()),
                          sea(moods::ember()),
                          dunes(moods::desert()),
                          skyline(moods::violetDusk()),
                          ridges(moods::golden(), {.lake = 0.62F}),
                          shore(0xead2a4, 0x4fc3c0, 0x0d6f9c),
                          fieldRows(moods::spring(), {0xe0405a, 0xf6c23c, 0xf08ab0}, false),
                          aurora(moods::night(), 0x3df59a, 0x7a4df0, 0.72F),
                          sea(moods::night(), {.sunY = 0.25F, .moon = true}),
                          orbs(Gradient({{0, 0xf6e7cb}, {1, 0xe07a5f}}), {0x81b29a, 0xf2cc8f})};
  for (int i = 0; i < 18; ++i) {
    const int row = i / 3, column = i % 3;
    const float x = (cell + 0.004F) * static_cast<float>(column),
                y = 0.105F + (cell + 0.004F) * static_cast<float>(row);
    picture(c, r, scenes[(i * 7 + i / 9) % 10], x, y, cell, cell, 0);
  }
  c.fill(Path().rectangle(0, 0.925F, a, 0.075F), hex(0xfcfcfc), 0.97F);
  for (int i = 0; i < 4; ++i) {
    const float x = a * (static_cast<float>(i) + 0.5F) / 4;
    c.fill(Path().rectangle(x - 0.012F, 0.938F, 0.024F, 0.024F, i == 1 ? 0.012F : 0.006F),
           i == 0 ? hex(0x2f7ff2) : hex(0xb4b9c2));
  }
  statusBar(c, hex(0x22262e));
}

void rings(Canvas& c, Random& r) {
  const float a = c.aspect();
  c.shade(0, 1, [&](float, float y, Colour) { return mix(hex(0x15171c), hex(0x0a0b0e), y); });
  words(c, r, kMargin, 0.065F, 0.16F, 0.016F, Colour{1, 1, 1}, 0.95F);
  card(c, kMargin, 0.11F, a - 2 * kMargin, 0.36F, hex(0x1f2229), 0.024F);
  static const std::uint32_t kPairs[][2] = {{0xff4f6f, 0xff9a6a}, {0x8fe04a, 0xd8f25a}, {0x35c9e8, 0x5f8fff}};
  static const float kShares[] = {0.82F, 0.64F, 0.91F};
  for (int i = 0; i < 3; ++i) {
    const float radius = 0.135F - 0.034F * static_cast<float>(i);
    arc(c, a / 2, 0.29F, radius, 0.026F, 1, hex(kPairs[i][0]) * 0.14F, hex(kPairs[i][0]) * 0.14F);
    arc(c, a / 2, 0.29F, radius, 0.026F, kShares[i], hex(kPairs[i][0]), hex(kPairs[i][1]));
  }
  for (int k = 0; k < 3; ++k) {
    const float y = 0.495F + 0.15F * static_cast<float>(k), w = a - 2 * kMargin;
    card(c, kMargin, y, w, 0.135F, hex(0x1f2229), 0.020F);
    words(c, r, kMargin + 0.02F, y + 0.02F, 0.11F, 0.009F, hex(kPairs[k][0]), 0.95F);
    for (int i = 0; i < 24; ++i) {
      const float h = 0.006F + 0.065F *
                                   clamp01(0.35F + noise(static_cast<float>(i) * 0.31F, static_cast<float>(k) * 5)) *
                                   r.in(0.6F, 1),
                  x = kMargin + 0.02F + (w - 0.04F) * static_cast<float>(i) / 24;
      c.fill(Path().rectangle(x, y + 0.118F - h, 0.010F, h, 0.004F), [&](float, float py) {
        return Rgba{mix(hex(kPairs[k][0]), hex(kPairs[k][1]), clamp01((y + 0.118F - py) / 0.07F))};
      });
    }
  }
  statusBar(c, Colour{1, 1, 1});
}

void home(Canvas& c, Random& r) {
  const float a = c.aspect();
  ridges(moods::violetDusk(), {.sunX = 0.5F, .sunY = 0.38F, .sunSize = 0.03F})(c, r);
  static const std::uint32_t kTiles[][2] = {{0xff8f6b, 0xf2557a}, {0x6fd0ff, 0x3f7ff0}, {0xffe08a, 0xf7a63a},
                                            {0x8fe0a0, 0x2fa57a}, {0xc9a0ff, 0x7a5be8}, {0xffffff, 0xdfe3ea},
                                            {0x4a4f5c, 0x23262e}, {0xff7a7a, 0xd83a4a}};
  const float step = a / 4;
  for (int i = 0; i < 16; ++i) {
    const bool dock = i >= 12;
    const int row = i / 4;
    if (i == 12)
      c.fill(Path().rectangle(kMargin * 0.7F, 0.862F, a - kMargin * 1.4F, 0.105F, 0.034F), Colour{1, 1, 1}, 0.22F);
    const float x = step * (static_cast<float>(i % 4) + 0.5F),
                y = dock ? 0.914F : 0.52F + 0.105F * static_cast<float>(row), s = 0.032F;
    const auto& tile = kTiles[r.below(8)];
    c.fill(Path().rectangle(x - s, y - s, s * 2, s * 2, s * 0.5F),
           [&](float, float py) { return Rgba{mix(hex(tile[0]), hex(tile[1]), clamp01((py - y) / s * 0.5F + 0.5F))}; });
    const Colour mark = tile[0] == 0xffffff ? hex(0x4a7ff0) : Colour{1, 1, 1};
    switch (r.below(4)) {
      case 0:
        c.disc(x, y, s * 0.46F, mark, 0.92F);
        break;
      case 1:
        c.fill(Path().moveTo(x - s * 0.3F, y - s * 0.5F).lineTo(x + s * 0.52F, y).lineTo(x - s * 0.3F, y + s * 0.5F),
               mark, 0.92F);
        break;
      case 2:
        arc(c, x, y, s * 0.42F, s * 0.2F, 0.78F, mark, mark);
        break;
      default:
        c.fill(Path().rectangle(x - s * 0.5F, y - s * 0.34F, s, s * 0.68F, s * 0.16F), mark, 0.92F);
    }
    if (!dock) c.fill(Path().rectangle(x - 0.018F, y + s + 0.011F, 0.036F, 0.006F, 0.003F), Colour{1, 1, 1}, 0.85F);
  }
  for (int i = 0; i < 4; ++i)
    c.fill(Path().rectangle(a / 2 - 0.098F + 0.052F * static_cast<float>(i) + (i > 1 ? 0.012F : -0.006F), 0.10F, 0.036F,
                            0.075F, 0.017F),
           Colour{1, 1, 1}, 0.92F);
  c.disc(a / 2, 0.122F, 0.005F, Colour{1, 1, 1});
  c.disc(a / 2, 0.152F, 0.005F, Colour{1, 1, 1});
  words(c, r, a / 2 - 0.075F, 0.196F, 0.15F, 0.009F, Colour{1, 1, 1});
  statusBar(c, Colour{1, 1, 1});
}

}  // namespace

Scene screen(int page) {
  constexpr void (*kPages[])(Canvas&, Random&) = {weather, chat, calendar, music, map, gallery, rings, home};
  return kPages[page % 8];
}

}  // namespace tlx::samples
