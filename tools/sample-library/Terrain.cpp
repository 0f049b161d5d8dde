#include "Scenes.h"

namespace tlx::samples {
namespace {

/// A square of land with its light, looked up by place; it repeats nowhere that is seen.
class Relief {
 public:
  Relief(Random& r, float lightSlope) : height_(kSide * kSide), light_(kSide * kSide), slope_(kSide * kSide) {
    const float ox = r.in(0, 120), oy = r.in(0, 120);
    for (int y = 0; y < kSide; ++y)
      for (int x = 0; x < kSide; ++x) {
        const float u = static_cast<float>(x) / kSide * 7, v = static_cast<float>(y) / kSide * 7;
        const float warp = 0.25F * noise(u * 1.3F + oy, v * 1.3F + ox);
        const float crest = ridged(u * 0.62F + ox + warp, v * 0.62F + oy - warp, 8);
        const float broad = smoothstep(-0.5F, 0.55F, noise(u * 0.42F + oy + 31, v * 0.42F + ox));
        height_[index(x, y)] = crest * (0.22F + 0.78F * broad) + 0.012F * fbm(u * 9, v * 9, 3);
      }
    constexpr float kCell = 7.0F / kSide;
    std::vector<float> horizon(kSide), next(kSide);
    for (int x = 0; x < kSide; ++x) {
      for (int y = 0; y < kSide; ++y) {
        const float h = height_[index(x, y)];
        const float shade = 0.55F * horizon[static_cast<std::size_t>(y)] +
                            0.45F * horizon[static_cast<std::size_t>((y + kSide - 1) % kSide)] - lightSlope * kCell;
        next[static_cast<std::size_t>(y)] = std::max(h, shade);
        const float dx = (height_[index(x + 1, y)] - height_[index(x - 1, y)]) / (2 * kCell);
        const float dy = (height_[index(x, y + 1)] - height_[index(x, y - 1)]) / (2 * kCell);
        const float steep = std::sqrt(dx * dx + dy * dy), length = std::sqrt(1 + steep * steep);
        const float facing = (dx * 0.78F + dy * 0.42F + 0.46F) / length;
        light_[index(x, y)] = clamp01(facing * 1.05F) * smoothstep(0.05F, 0.0F, shade - h);
        slope_[index(x, y)] = steep;
      }
      horizon.swap(next);
    }
  }
  struct Place {
    float height, light, slope;
  };
  Place at(float x, float y) const {
    const float u = x * (kSide / 7.0F), v = y * (kSide / 7.0F);
    const int xi = static_cast<int>(std::floor(u)), yi = static_cast<int>(std::floor(v));
    const float fx = u - static_cast<float>(xi), fy = v - static_cast<float>(yi);
    const std::size_t i = index(xi, yi), j = index(xi + 1, yi), k = index(xi, yi + 1), l = index(xi + 1, yi + 1);
    const auto blend = [&](const std::vector<float>& f) {
      return lerp(lerp(f[i], f[j], fx), lerp(f[k], f[l], fx), fy);
    };
    return {blend(height_), blend(light_), blend(slope_)};
  }

 private:
  static constexpr int kSide = 1024;
  static std::size_t index(int x, int y) {
    return static_cast<std::size_t>(y & (kSide - 1)) * kSide + static_cast<std::size_t>(x & (kSide - 1));
  }
  std::vector<float> height_, light_, slope_;
};

/// Walks outwards along each column's ray and lays down what rises above all that is nearer: exact cover vertically,
/// two rays a pixel horizontally.
void raise(Canvas& c, const Relief& land, const Mood& mood, const AlpineStyle& style, float eye, float ahead,
           float side) {
  const float a = c.aspect(), bottom = style.lake > 0 ? style.lake : 1.0F, scale = static_cast<float>(c.height());
  const Colour rock = mix(mood.ink, mood.haze, 0.30F), grass = mood.body * 0.72F,
               snow = mix(hex(0xf2f6fb), mood.sun, 0.08F);
  const Colour skyLight = mix(mood.sky.at(0.3F), Colour{1, 1, 1}, 0.15F);
  std::vector<Colour> column(static_cast<std::size_t>(c.height()));
  for (int px = 0; px < c.width(); ++px) {
    std::fill(column.begin(), column.end(), Colour{});
    std::vector<float> clear{};
    float open[2] = {};
    for (int tap = 0; tap < 2; ++tap) {
      const float x = (static_cast<float>(px) + 0.25F + 0.5F * static_cast<float>(tap)) * c.pixel() - a / 2;
      float edge = bottom * scale;
      for (float z = 0.35F; z < 5.2F; z *= 1.0045F) {
        const float wx = side + x * z * 0.85F, wy = ahead + z;
        const auto place = land.at(wx, wy);
        const float rise = smoothstep(0.5F, 1.9F, z);
        const float y = (style.pitch - (place.height * rise - eye) / z * 0.92F) * scale;
        if (y >= edge) continue;
        const float snowAmount = smoothstep(style.snow, style.snow + 0.10F,
                                            place.height + 0.09F * noise(wx * 9, wy * 9) - 0.035F * place.slope) *
                                 smoothstep(2.5F, 1.2F, place.slope);
        const float green =
            smoothstep(style.snow * 0.95F, style.snow * 0.35F, place.height) * smoothstep(1.3F, 0.4F, place.slope);
        const float rough = noise(wx * 42, wy * 42) + 0.6F * noise(wx * 97, wy * 97);
        const float tone = 0.88F + 0.22F * rough;
        const Colour ground = mix(mix(rock, grass, green) * tone, snow, snowAmount);
        const float light = clamp01(place.light * (1 + 0.28F * rough));
        Colour lit = ground * (mood.sun * (0.50F * light) + skyLight * 0.28F);
        const float away = 1 - std::exp(-z * 0.17F), low = std::exp(-place.height * 4.5F) * smoothstep(0.9F, 3, z);
        lit = mix(lit, mood.haze, clamp01(away * 0.55F + low * 0.55F));
        const float from = std::max(0.0F, y);
        for (int row = static_cast<int>(from); static_cast<float>(row) < edge && row < c.height(); ++row) {
          const float cover = std::min(edge, static_cast<float>(row + 1)) - std::max(from, static_cast<float>(row));
          column[static_cast<std::size_t>(row)] += lit * (cover * 0.5F);
        }
        edge = from;
        if (edge <= 0) break;
      }
      open[tap] = edge;
    }
    const int last = std::min(c.height(), static_cast<int>(bottom * scale));
    for (int y = std::max(0, static_cast<int>(std::min(open[0], open[1]))); y < last; ++y) {
      const float through =
          0.5F * (clamp01(open[0] - static_cast<float>(y)) + clamp01(open[1] - static_cast<float>(y)));
      Colour& old = c.row(y)[px];
      old = old * through + column[static_cast<std::size_t>(y)];
    }
  }
}

void curtain(Canvas& c, Random& r, Colour low, Colour high, float base, float reach, float strength, float phase) {
  const float ox = r.in(0, 200), oy = r.in(0, 200);
  const int factor = c.height() >= 700 ? 3 : 1;
  Canvas light(std::max(2, c.width() / factor), std::max(2, c.height() / factor));
  for (int px = 0; px < light.width(); ++px) {
    const float x = (static_cast<float>(px) + 0.5F) * light.pixel();
    for (int fold = 0; fold < 3; ++fold) {
      const float f = static_cast<float>(fold);
      const float foot = base + 0.15F * noise(x * 1.1F + ox + phase * 0.25F, f * 3.3F + phase * 0.12F) +
                         0.05F * noise(x * 3.1F + oy, f + phase * 0.4F) - 0.05F * f;
      const float rays =
          0.55F + 0.45F * noise(x * 22 + ox, f * 7 + phase * 1.3F) + 0.25F * noise(x * 60 + oy, f + phase * 2);
      const float here =
          smoothstep(-0.35F, 0.4F, noise(x * 1.6F + oy, f * 5 + 1 + phase * 0.3F)) * std::max(0.12F, rays);
      const float tall = reach * (0.75F + 0.35F * noise(x * 2.3F, f + ox));
      for (int py = 0; py < light.height(); ++py) {
        const float up = (foot - (static_cast<float>(py) + 0.5F) * light.pixel()) / tall;
        if (up < -0.07F || up > 1) continue;
        const float body = smoothstep(-0.07F, 0.04F, up) * (1 - up) * (1 - up);
        light.row(py)[px] += mix(low, high, clamp01(up * 1.5F)) * (strength * here * body);
      }
    }
  }
  const float sx = light.aspect() / c.aspect();
  c.shade(0, 1, [&](float x, float y, Colour old) { return old + light.sample(x * sx, y); });
}

}  // namespace

Scene alpine(const Mood& mood, AlpineStyle style) {
  return [&mood, style](Canvas& c, Random& r) {
    const float a = c.aspect(), shore = style.lake > 0 ? style.lake : 1;
    sky(c, mood, style.pitch + 0.1F);
    if (mood.night) stars(c, r, style.pitch, 1600);
    clouds(c, r, mood, style.pitch + 0.08F, style.cover, a * 0.15F, 0.1F);
    const Relief land(r, 0.42F);
    // The place to stand is the one of a few with the grandest view: something high ahead, and low ground before it.
    float bestX = 0, bestY = 0, best = -1;
    for (int i = 0; i < 60; ++i) {
      const float x = r.in(0, 7), y = r.in(0, 7);
      float high = 0, low = 0;
      for (int k = -2; k <= 2; ++k) {
        const float across = x + static_cast<float>(k) * 0.42F * a;
        for (int z = 0; z < 4; ++z)
          high = std::max(high, land.at(across, y + 1.9F + 0.3F * static_cast<float>(z)).height -
                                    0.05F * std::fabs(static_cast<float>(k)));
        low += land.at(across * 0.5F + x * 0.5F, y + 0.9F).height * 0.2F;
      }
      if (high - low * 0.9F > best) best = high - low * 0.9F, bestX = x, bestY = y;
    }
    raise(c, land, mood, style, 0.20F, bestY, bestX);
    if (style.pines) {
      const float ox = r.in(0, 200);
      for (int i = 0; i < 2; ++i) {
        const float f = static_cast<float>(i);
        const auto base = [=](float x) { return shore - 0.028F + 0.024F * f + 0.03F * noise(x * 1.6F + ox, f * 4); };
        const Treeline trees(r, a, base, 0.010F + 0.006F * f, 0.018F + 0.012F * f, 0.05F + 0.035F * f);
        const Colour tone = mix(mood.ink, mood.haze, 0.14F - 0.1F * f);
        c.ground(trees, [&](float, float y, float) {
          return mix(tone, mood.haze, (0.2F - 0.12F * f) * smoothstep(shore - 0.09F, shore, y));
        });
      }
    }
    if (style.lake > 0) {
      const Colour deep = mix(mood.ink, mood.sky.at(0.3F), 0.35F);
      water(c, r, shore, 0.10F, deep, 0.42F);
      mist(c, r, shore - 0.01F, 0.035F, mood.haze, 0.35F);
    }
    c.bloom(1, 0.05F, 0.2F);
    c.vignette(0.16F);
  };
}

Scene aurora(const Mood& mood, std::uint32_t low, std::uint32_t high, float lake, float phase) {
  return [&mood, low, high, lake, phase](Canvas& c, Random& r) {
    const float a = c.aspect(), shore = lake > 0 ? lake : 0.86F;
    sky(c, mood, shore);
    stars(c, r, shore, 1500);
    c.glow(a * 0.5F, shore, 0.8F, hex(low) * 0.10F);
    curtain(c, r, hex(low) * 1.15F, hex(high) * 0.8F, 0.50F, 0.44F, 1.0F, phase);
    for (int i = 0; i < 2; ++i) {
      const float ox = r.in(0, 200), f = static_cast<float>(i);
      const Colour tone = mix(mood.ink, mix(mood.haze, hex(low), 0.2F), 0.24F - 0.2F * f);
      const auto crest = [=](float x) {
        return shore - 0.015F - (0.20F - 0.13F * f) * ridged(x * (0.8F + f) + ox, 3 + f, 7);
      };
      c.ground(crest, [&](float x, float y, float below) {
        const float snow = smoothstep(0.05F, 0.45F, noise(x * 19 + ox, y * 26) + 0.5F * noise(x * 47, y * 60)) *
                           smoothstep(0.16F, 0, below) * (1 - f);
        return tone + mix(mood.haze, hex(low), 0.35F) * (0.30F * snow);
      });
    }
    if (lake > 0) water(c, r, lake, 0.13F, mood.ink, 0.3F, phase * 0.5F);
    c.bloom(0.6F, 0.10F, 0.30F);
    c.vignette(0.2F);
  };
}

Scene milkyWay(const Mood& mood, bool trails) {
  return [&mood, trails](Canvas& c, Random& r) {
    const float a = c.aspect();
    sky(c, mood, 0.92F);
    if (trails) {
      const float cx = a * 0.42F, cy = 0.52F;
      for (int i = 0; i < 900; ++i) {
        const float d = 0.01F + 1.25F * std::sqrt(r.unit()), from = r.in(0, 6.2832F), sweep = 1.15F, m = r.unit();
        const Colour tint = mix(hex(0x9fc0ff), hex(0xffcf9a), r.unit()) * (0.16F + 0.75F * m * m);
        const int pieces = std::max(5, static_cast<int>(d * 46));
        Path line;
        for (int k = 0; k <= pieces * 2 + 1; ++k) {
          const bool outer = k <= pieces;
          const float t =
              from + sweep * static_cast<float>(outer ? k : 2 * pieces + 1 - k) / static_cast<float>(pieces);
          const float at = d + (outer ? 0.0008F + 0.0009F * m : 0);
          if (k == 0)
            line.moveTo(cx + std::cos(t) * at, cy + std::sin(t) * at);
          else
            line.lineTo(cx + std::cos(t) * at, cy + std::sin(t) * at);
        }
        c.fill(line, tint, 0.85F);
      }
    } else {
      const float ox = r.in(0, 200);
      const Colour warm = hex(0xf3c9a2), cool = hex(0x8fa6ea), rose = hex(0xc06a9a);
      c.shade(0, 1, [&](float x, float y, Colour old) {
        const float along = (x - a * 0.5F) * 0.55F - (y - 0.45F) * 0.83F,
                    across = (x - a * 0.5F) * 0.83F + (y - 0.45F) * 0.55F;
        const float bend = across + 0.05F * noise(along * 2 + ox, 1);
        const float band =
            std::exp(-bend * bend * 22) * (0.55F + 0.45F * std::exp(-(along + 0.15F) * (along + 0.15F) * 3.5F));
        if (band < 0.01F) return old;
        const float cloud = fbm(along * 4 + ox, across * 7, 6),
                    dust = smoothstep(0.02F, 0.40F,
                                      fbm(along * 3.2F + 40 + ox, bend * 9 + 9, 6) + 0.18F - std::fabs(bend) * 3.2F);
        const Colour light = mix(mix(cool, warm, band), rose, clamp01(cloud * 0.8F)) * (band * (0.34F + 0.5F * cloud));
        return old + light * (1 - 0.86F * dust) + Colour{0.01F, 0.01F, 0.014F} * band;
      });
      for (int i = 0; i < static_cast<int>(5200 * a); ++i) {
        const float along = r.in(-1, 1), across = (r.unit() + r.unit() + r.unit() - 1.5F) * 0.24F;
        const float x = a * 0.5F + along * 0.55F + across * 0.83F, y = 0.45F - along * 0.83F + across * 0.55F,
                    m = r.unit();
        c.glow(x, y, std::max(0.0010F, c.pixel()), mix(cool, warm, r.unit()) * (0.10F + 0.8F * m * m * m * m));
      }
      stars(c, r, 1, 1800);
    }
    c.glow(a * 0.5F, 1.0F, 0.75F, mood.haze * 0.55F);
    const float ox = r.in(0, 200);
    const auto hill = [=](float x) { return 0.90F - 0.055F * noise(x * 1.1F + ox, 2) - 0.02F * noise(x * 4, ox); };
    const Treeline trees(r, a, hill, 0.026F, 0.03F, 0.16F);
    c.ground(trees, [&](float, float, float) { return mood.ink; });
    c.bloom(0.7F, 0.03F, 0.25F);
    c.vignette(0.2F);
  };
}

Scene shore(std::uint32_t sand, std::uint32_t shallow, std::uint32_t deep) {
  return [=](Canvas& c, Random& r) {
    const float a = c.aspect(), ox = r.in(0, 200), oy = r.in(0, 200), tilt = r.in(-0.35F, 0.35F);
    const Colour dry = hex(sand), wet = hex(sand) * Colour{0.58F, 0.55F, 0.5F}, thin = hex(shallow), far = hex(deep);
    const auto reach = [&](float x, float y) {
      return (y - 0.52F) + tilt * (x - a / 2) * 0.6F + 0.10F * noise(x * 1.3F + ox, y * 0.6F + oy) +
             0.035F * noise(x * 3.4F + oy, y * 2 + ox);
    };
    c.shade(0, 1, [&](float x, float y, Colour) {
      const float d = -reach(x, y), scallop = 0.020F * std::fabs(noise(x * 6 + ox, 3)) + 0.006F * noise(x * 19, oy);
      const float e = d + scallop;
      const float grain = 1 + 0.05F * noise(x * 190, y * 190) + 0.06F * fbm(x * 11 + ox, y * 11, 3);
      Colour ground = mix(dry, wet, smoothstep(-0.10F, -0.02F, e + 0.02F * noise(x * 5, y * 5 + oy))) * grain;
      if (e < -0.004F) return ground;
      const float depth = smoothstep(0, 0.55F, e);
      const float net = 1 - std::fabs(noise(x * 17 + 0.6F * noise(x * 9, y * 9), y * 17 + ox)),
                  light = net * net * net * net;
      Colour sea = mix(mix(ground * Colour{0.55F, 0.95F, 0.92F}, thin, smoothstep(0, 0.13F, e)), far, depth);
      sea = sea * (0.94F + 0.12F * fbm(x * 4 + oy, y * 8, 4)) +
            Colour{0.10F, 0.14F, 0.13F} * (light * (1 - depth) * 0.55F);
      float foam = 0;
      for (int k = 0; k < 3; ++k) {
        const float line = e - static_cast<float>(k) * (0.085F + 0.03F * noise(x * 1.1F, static_cast<float>(k) + ox)) -
                           0.008F + (k > 0 ? 0.012F * noise(x * 7 + oy, static_cast<float>(k)) : 0);
        const float trail =
            std::exp(-std::max(0.0F, line) * (k == 0 ? 26.0F : 34.0F)) * smoothstep(-0.003F, 0.0015F, line);
        const float lace =
            1 - std::fabs(noise(x * 34 + static_cast<float>(k) * 9 + 0.8F * noise(x * 15, y * 15), y * 34)) * 1.6F;
        const float here = k == 0 ? 1 : smoothstep(-0.25F, 0.3F, noise(x * 2.1F + oy, static_cast<float>(k) * 7));
        foam +=
            here * (trail * smoothstep(0.25F, 0.85F, lace) * 0.75F + std::exp(-std::fabs(line - 0.003F) * 230) * 0.8F);
      }
      return mix(sea, Colour{0.93F, 0.96F, 0.95F}, clamp01(foam));
    });
    static const std::uint32_t kCloth[][2] = {
        {0xe4572e, 0xfff4e6}, {0xf3a712, 0xfff4e6}, {0x2e86ab, 0xf8f1e5}, {0xd8315b, 0xffe5d9}};
    for (int i = 0; i < 7; ++i) {
      float x = 0, y = 0;
      for (int k = 0; k < 80; ++k) {
        x = r.in(0.06F, 0.94F) * a, y = r.in(0.6F, 0.95F);
        if (reach(x, y) > 0.15F) break;
      }
      if (reach(x, y) < 0.13F) continue;
      const float s = r.in(0.028F, 0.036F), turn = r.in(0, 1);
      const auto& cloth = kCloth[r.below(4)];
      const Path round = Path().ellipse(x, y, s, s);
      c.shadow(round, 0.018F, 0.02F, 0.008F, 0.45F);
      c.fill(Path().rectangle(x + s * 0.5F, y + s * 1.1F, s * 0.55F, s * 1.25F, s * 0.08F), hex(cloth[0]) * 0.8F);
      c.fill(round, [&](float px, float py) {
        const float angle = std::atan2(py - y, px - x) + turn, part = angle * 8 / 6.2832F,
                    d = std::sqrt((px - x) * (px - x) + (py - y) * (py - y)) / s;
        const float saw = part - std::floor(part);
        const float stripe = smoothstep(-0.04F / (d + 0.1F), 0.04F / (d + 0.1F), std::fabs(saw - 0.5F) - 0.25F);
        return Rgba{mix(hex(cloth[0]), hex(cloth[1]), stripe) *
                    (0.86F + 0.18F * std::cos(part * 6.2832F) - 0.12F * (px - x + py - y) / s)};
      });
    }
    c.vignette(0.1F);
  };
}

}  // namespace tlx::samples
