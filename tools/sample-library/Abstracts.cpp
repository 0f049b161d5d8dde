#include "Scenes.h"

namespace tlx::samples {
namespace {
constexpr float kTurn = 6.2831853F;
}

Scene paperWaves(const Gradient& colours, int layers) {
  return [colours, layers](Canvas& c, Random& r) {
    const float a = c.aspect(), ox = r.in(0, 200), turn = r.in(-0.25F, 0.25F);
    c.shade(0, 1, [&](float, float, Colour) { return colours.at(0); });
    c.disc(a * 0.7F, 0.26F, 0.13F, mix(colours.at(0.1F), Colour{1, 0.96F, 0.86F}, 0.8F));
    for (int i = 1; i <= layers; ++i) {
      const float t = static_cast<float>(i) / static_cast<float>(layers);
      const auto edge = [=](float x) {
        return lerp(0.10F, 0.93F, t) + turn * (x - a / 2) * (1 - t) +
               0.10F * noise(x * 1.15F + ox + t * 2.2F, t * 4.4F) + 0.02F * noise(x * 3 + ox, t * 9);
      };
      const Colour tone = colours.at(t);
      std::vector<float> line(static_cast<std::size_t>(c.width()));
      for (std::size_t x = 0; x < line.size(); ++x) line[x] = edge((static_cast<float>(x) + 0.5F) * c.pixel());
      // The sheet above throws its shadow on the sheet behind it.
      c.shade(0, 1, [&](float x, float y, Colour old) {
        const float gap =
            line[std::min(line.size() - 1, static_cast<std::size_t>(x * static_cast<float>(c.height())))] - y;
        return gap <= 0 || gap > 0.12F ? old : old * (1 - 0.42F * std::exp(-gap * 34));
      });
      c.ground(edge, [&](float x, float y, float below) {
        const float grain = 1 + 0.022F * noise(x * 240, y * 240) + 0.015F * noise(x * 70 + ox, y * 70);
        return (tone * (1.08F - 0.30F * smoothstep(0, 0.3F, below)) +
                Colour{1, 1, 1} * (0.10F * std::exp(-below * 320))) *
               grain;
      });
    }
    c.vignette(0.14F);
  };
}

Scene marble(const Gradient& colours, float scale) {
  return [colours, scale](Canvas& c, Random& r) {
    const float ox = r.in(0, 200), oy = r.in(0, 200);
    c.shade(0, 1, [&](float x, float y, Colour) {
      const float u = x * scale, v = y * scale;
      const float qx = fbm(u + ox, v + oy, 4), qy = fbm(u + oy + 5.2F, v + ox + 1.3F, 4);
      const float rx = fbm(u + 2.6F * qx + ox + 1.7F, v + 2.6F * qy + 9.2F, 4);
      const float f = fbm(u + 2.4F * rx + oy, v + 2.4F * qx + ox, 5);
      const float vein = std::exp(-std::fabs(f + 0.12F * rx) * 34);
      const Colour base = colours.at(clamp01(0.5F + f * 1.05F + qx * 0.42F));
      return base * (0.92F + 0.32F * rx) + Colour{1, 0.86F, 0.58F} * (0.5F * vein * clamp01(0.4F + qy));
    });
    c.bloom(0.9F, 0.03F, 0.25F);
    c.vignette(0.15F);
  };
}

Scene silk(const Gradient& colours) {
  return [colours](Canvas& c, Random& r) {
    const float ox = r.in(0, 200), angle = r.in(-0.7F, 0.7F), ca = std::cos(angle), sa = std::sin(angle);
    c.shade(0, 1, [&](float x, float y, Colour) {
      const float u = x * ca + y * sa, v = y * ca - x * sa;
      const auto cloth = [&](float p, float q) {
        const float bend = 0.55F * noise(p * 0.9F + ox, q * 0.9F) + 0.24F * noise(p * 2.1F, q * 1.4F + ox);
        return std::sin((q + bend) * 9 + 1.6F * noise(p * 0.7F + 9, q * 0.5F + ox)) * 0.5F +
               0.28F * std::sin((q + bend * 1.3F) * 21 + p * 2);
      };
      constexpr float kStep = 0.004F;
      const float h = cloth(u, v), dx = (cloth(u + kStep, v) - h) / kStep, dy = (cloth(u, v + kStep) - h) / kStep;
      const float length = std::sqrt(dx * dx + dy * dy + 24), facing = (-dx * 0.35F - dy * 0.72F + 24 * 0.16F) / length;
      const float shine = std::pow(clamp01(0.5F + facing * 0.62F), 9.0F);
      const Colour base = colours.at(clamp01(0.5F + 0.30F * h + 0.35F * noise(u * 0.8F + ox, v * 0.8F + 4)));
      return base * (0.42F + 0.62F * clamp01(0.5F + facing * 0.8F)) +
             mix(base, Colour{1, 1, 1}, 0.55F) * (shine * 0.75F);
    });
    c.bloom(0.9F, 0.05F, 0.25F);
    c.vignette(0.2F);
  };
}

Scene orbs(const Gradient& backdrop, const std::vector<std::uint32_t>& colours) {
  return [backdrop, colours](Canvas& c, Random& r) {
    const float a = c.aspect(), ox = r.in(0, 200);
    c.shade(0, 1, [&](float x, float y, Colour) {
      return backdrop.at(clamp01(0.15F + 0.7F * y + 0.25F * noise(x * 1.2F + ox, y * 1.2F)));
    });
    for (int i = 0; i < 11; ++i) {
      const float big = 1 - static_cast<float>(i) / 11, s = 0.03F + 0.23F * big * big * r.in(0.7F, 1.1F),
                  x = r.in(0.08F, 0.92F) * a, y = r.in(0.12F, 0.88F);
      const Colour tone = hex(colours[static_cast<std::size_t>(r.below(static_cast<int>(colours.size())))]);
      const Path ball = Path().ellipse(x, y, s, s);
      c.shadow(ball, s * 0.18F, s * 0.34F, s * 0.35F, 0.42F);
      const Canvas behind = i % 3 == 2 ? c : Canvas(1, 1);
      c.fill(ball, [&](float px, float py) {
        const float u = (px - x) / s, v = (py - y) / s, d2 = std::min(1.0F, u * u + v * v), z = std::sqrt(1 - d2);
        const float light = clamp01(-u * 0.48F - v * 0.62F + z * 0.62F),
                    shine = std::pow(clamp01(-u * 0.36F - v * 0.48F + z * 0.80F), 42.0F);
        const float rim = std::pow(1 - z, 3.0F);
        Colour skin = tone * (0.16F + 0.92F * light) + mix(tone, backdrop.at(0.2F), 0.6F) * (rim * 0.55F);
        if (i % 3 == 2)
          skin = mix(behind.sample(x - u * s * 0.8F, y - v * s * 0.8F) * mix(Colour{1, 1, 1}, tone, 0.5F), skin,
                     0.25F + 0.6F * rim);
        return Rgba{skin + Colour{1, 1, 1} * (shine * 1.1F)};
      });
    }
    c.bloom(0.95F, 0.05F, 0.3F);
    c.vignette(0.15F);
  };
}

Scene arches(const std::vector<std::uint32_t>& colours, std::uint32_t backdrop) {
  return [colours, backdrop](Canvas& c, Random& r) {
    const float a = c.aspect(), ox = r.in(0, 200);
    c.shade(0, 1, [&](float x, float y, Colour) {
      return hex(backdrop) * (1.04F - 0.16F * y + 0.02F * noise(x * 150, y * 150) + 0.03F * noise(x * 2 + ox, y * 2));
    });
    const float ground = 0.82F;
    c.disc(a * 0.76F, 0.27F, 0.105F, hex(colours[0]) * 1.05F);
    struct Arch {
      float x, wide, tall;
    };
    const Arch row[] = {{0.20F, 0.17F, 0.34F}, {0.52F, 0.26F, 0.54F}, {0.83F, 0.14F, 0.26F}};
    for (const Arch& arch : row) {
      const float x = arch.x * a;
      for (std::size_t i = 0; i < colours.size(); ++i) {
        const float k = 1 - static_cast<float>(i) / static_cast<float>(colours.size()),
                    w = arch.wide * k * std::min(1.0F, a), top = ground - (arch.tall - arch.wide) - w;
        Path shape;
        shape.moveTo(x - w, ground)
            .lineTo(x - w, top + w)
            .cubicTo(x - w, top + w * 0.4477F, x - w * 0.5523F, top, x, top)
            .cubicTo(x + w * 0.5523F, top, x + w, top + w * 0.4477F, x + w, top + w)
            .lineTo(x + w, ground);
        c.shadow(shape, 0.006F, 0.007F, 0.012F, 0.30F);
        const Colour tone = hex(colours[i]);
        c.fill(shape, [&](float px, float py) {
          return Rgba{tone * (1.02F - 0.16F * (px - x) / w + 0.025F * noise(px * 190, py * 190))};
        });
      }
    }
    c.shade(ground, 1, [&](float x, float y, Colour) {
      return hex(backdrop) * (0.78F - 0.22F * (y - ground) + 0.02F * noise(x * 150, y * 150));
    });
    for (const Arch& arch : row)
      c.shadow(Path().ellipse(arch.x * a + 0.05F, ground + 0.018F, arch.wide * 1.05F, 0.012F), 0.02F, 0, 0.018F, 0.35F);
    c.vignette(0.12F);
  };
}

Scene caustics(std::uint32_t shallow, std::uint32_t deep) {
  return [=](Canvas& c, Random& r) {
    const float ox = r.in(0, 200), oy = r.in(0, 200), a = c.aspect();
    c.shade(0, 1, [&](float x, float y, Colour) {
      const float wx = x + 0.10F * noise(x * 3 + ox, y * 3), wy = y + 0.10F * noise(x * 3, y * 3 + oy);
      float net = 0;
      for (int i = 0; i < 3; ++i) {
        const float s = 3.6F + 2.1F * static_cast<float>(i),
                    line = 1 - std::fabs(noise(wx * s + ox * static_cast<float>(i + 1), wy * s + oy)) * 1.7F;
        net += std::pow(clamp01(line), 7.0F) / static_cast<float>(i + 1);
      }
      const float rays = 0.6F + 0.4F * noise((x - y * 0.5F) * 5 + ox, 2);
      const float down = clamp01(y * 0.85F + 0.15F * noise(x * 1.4F + ox, y * 2));
      return mix(hex(shallow), hex(deep), down) * (0.72F + 0.3F * rays * (1 - y)) +
             Colour{0.72F, 0.95F, 0.92F} * (net * 0.5F * (0.35F + 0.65F * (1 - y)));
    });
    for (int i = 0; i < static_cast<int>(60 * a); ++i) {
      const float m = r.unit(), s = 0.002F + 0.012F * m * m * m, x = r.in(0, a), y = r.in(0, 1);
      c.fill(Path().ellipse(x, y, s, s), [&](float px, float py) {
        const float u = (px - x) / s, v = (py - y) / s, d = u * u + v * v;
        return Rgba{Colour{0.9F, 1, 1},
                    0.10F + 0.55F * smoothstep(0.5F, 1, d) * 0.6F +
                        0.6F * smoothstep(0.12F, 0, (u + 0.35F) * (u + 0.35F) + (v + 0.4F) * (v + 0.4F))};
      });
    }
    c.bloom(0.8F, 0.04F, 0.35F);
    c.vignette(0.22F);
  };
}

Scene citrus(std::uint32_t table, const std::vector<std::uint32_t>& fruits) {
  return [=](Canvas& c, Random& r) {
    const float a = c.aspect(), ox = r.in(0, 200);
    c.shade(0, 1, [&](float x, float y, Colour) {
      return hex(table) * (1.05F - 0.14F * (x / a + y) * 0.5F + 0.012F * noise(x * 120 + ox, y * 120));
    });
    struct Slice {
      float x, y, s;
    };
    std::vector<Slice> slices;
    for (int i = 0; i < 4000 && slices.size() < 15; ++i) {
      const Slice p{r.in(-0.02F, a + 0.02F), r.in(-0.02F, 1.02F), r.in(0.10F, 0.19F)};
      bool free = true;
      for (const Slice& q : slices) free = free && std::hypot(p.x - q.x, p.y - q.y) > p.s + q.s + 0.015F;
      if (free) slices.push_back(p);
    }
    for (const Slice& p : slices) {
      const Colour flesh = hex(fruits[static_cast<std::size_t>(r.below(static_cast<int>(fruits.size())))]);
      const Path round = Path().ellipse(p.x, p.y, p.s, p.s);
      c.shadow(round, 0.020F, 0.026F, 0.022F, 0.36F);
      c.shadow(round, 0.004F, 0.005F, 0.005F, 0.3F);
      const float turn = r.in(0, kTurn);
      const int parts = 9 + r.below(3);
      c.fill(round, [&](float px, float py) {
        const float dx = px - p.x, dy = py - p.y, d = std::sqrt(dx * dx + dy * dy) / p.s,
                    angle = std::atan2(dy, dx) + turn;
        const float part = angle / kTurn * static_cast<float>(parts),
                    nearest = std::fabs(part - std::round(part)) / static_cast<float>(parts) * kTurn * d;
        const Colour pith = mix(Colour{0.98F, 0.95F, 0.86F}, flesh, 0.14F), rind = flesh * Colour{1.02F, 0.86F, 0.7F};
        const float inside = smoothstep(0.010F, 0.030F, nearest) * smoothstep(0.08F, 0.12F, d) *
                             smoothstep(0.865F, 0.84F, d - 0.02F * std::cos(part * kTurn));
        const float fibre =
            0.80F + 0.36F * noise(part * 9 + p.x * 40, d * 5) + 0.22F * noise(part * 24, d * 9 + p.y * 40);
        const float glint = smoothstep(0.42F, 0.75F, noise(part * 16 + p.y * 30, d * 12));
        Colour skin = mix(pith, flesh * (fibre * (0.78F + 0.34F * d)) + Colour{1, 1, 0.9F} * (0.22F * glint), inside);
        skin = mix(skin, rind * (0.92F + 0.1F * noise(px * 160, py * 160)), smoothstep(0.925F, 0.95F, d));
        return Rgba{skin * (1.04F - 0.16F * (dx + dy) / p.s)};
      });
    }
    for (int i = 0; i < 9; ++i) {
      const float x = r.in(0, a), y = r.in(0, 1), angle = r.in(0, kTurn), s = r.in(0.09F, 0.14F);
      const Path leaf = Path().petal(x, y, angle, s, s * 0.48F, 0.5F);
      c.shadow(leaf, 0.010F, 0.013F, 0.010F, 0.35F);
      const float ca = std::cos(angle), sa = std::sin(angle);
      c.fill(leaf, [&](float px, float py) {
        const float along = ((px - x) * ca + (py - y) * sa) / s, across = ((py - y) * ca - (px - x) * sa) / (s * 0.24F);
        const float vein = std::exp(-std::fabs(across) * 26) +
                           0.35F * std::pow(std::fabs(std::sin((along - std::fabs(across) * 0.22F) * 22)), 18.0F);
        return Rgba{mix(hex(0x3f7f3a), hex(0x8fbf5a), 0.4F + 0.35F * across) * (0.9F + 0.2F * along) +
                    Colour{0.12F, 0.16F, 0.06F} * vein};
      });
    }
    c.vignette(0.14F);
  };
}

Scene latte(std::uint32_t table, std::uint32_t cup) {
  return [=](Canvas& c, Random& r) {
    const float a = c.aspect(), x = a * 0.5F, y = 0.5F, ox = r.in(0, 200);
    c.shade(0, 1, [&](float px, float py, Colour) {
      const float plank = std::floor(py * 5.2F), seam = std::fabs(py * 5.2F - plank - 0.5F);
      const float rings = noise(px * 1.2F + plank * 17 + ox, py * 26) + 0.5F * noise(px * 4 + plank * 31, py * 90) +
                          0.35F * std::sin((py * 60 + 3 * noise(px * 0.9F + plank * 9, py * 6)) * 2.4F);
      const float light = 1.16F - 0.42F * (px / a) * 0.6F - 0.28F * py;
      return hex(table) * ((0.92F + 0.13F * rings + 0.10F * noise(plank * 7.3F, ox)) * light *
                           (1 - 0.75F * smoothstep(0.485F, 0.5F, seam)));
    });
    const Colour china = hex(cup);
    const auto ceramic = [&](float s, float from, float to) {
      c.fill(Path().ellipse(x, y, s, s), [=](float px, float py) {
        const float u = (px - x) / s, v = (py - y) / s, d = std::sqrt(u * u + v * v),
                    towards = (-u * 0.62F - v * 0.78F) / (d + 0.01F);
        return Rgba{china * lerp(from, to, clamp01(0.5F + 0.5F * towards * d))};
      });
    };
    c.shadow(Path().ellipse(x, y, 0.43F, 0.43F), 0.045F, 0.055F, 0.05F, 0.6F);
    ceramic(0.43F, 0.72F, 1.0F);
    ceramic(0.405F, 0.98F, 0.80F);
    ceramic(0.33F, 0.80F, 0.95F);
    c.shadow(Path().ellipse(x, y, 0.285F, 0.285F), 0.035F, 0.042F, 0.035F, 0.5F);
    const Path handle = Path().stroke({x + 0.24F, y - 0.10F}, {x + 0.39F, y - 0.175F}, 0.062F, 0.05F);
    c.shadow(handle, 0.02F, 0.028F, 0.014F, 0.4F);
    c.fill(handle, [&](float px, float py) {
      return Rgba{china * (0.94F - 2.4F * (py - y + 0.14F - (x + 0.31F - px) * 0.4F))};
    });
    ceramic(0.285F, 0.80F, 1.02F);
    ceramic(0.262F, 0.92F, 0.42F);
    const float s = 0.250F;
    c.fill(Path().ellipse(x, y, s, s), [&](float px, float py) {
      const float u = (px - x) / s, v = (py - y) / s, d = std::sqrt(u * u + v * v), side = std::fabs(u);
      // A rosetta: nested leaves that bend down the middle line, pulled together by a stem.
      const float flow = v + 0.62F * side + 0.05F * noise(u * 5 + ox, v * 5), leaf = std::sin(flow * 17 + 0.4F);
      const float body = smoothstep(0.66F, 0.52F, side / (0.95F - 0.55F * smoothstep(-0.6F, 0.75F, v)) * 0.8F) *
                         smoothstep(0.86F, 0.70F, std::fabs(v - 0.02F));
      const float heart =
          smoothstep(0.030F, 0.0F, (u * u * 1.1F + (v + 0.55F - 0.5F * side) * (v + 0.55F - 0.5F * side)) - 0.020F);
      const float line = smoothstep(0.022F, 0.006F, side) * smoothstep(-0.6F, -0.4F, v) * smoothstep(0.84F, 0.7F, v);
      const float milk = clamp01(std::max(body * smoothstep(-0.25F, 0.35F, leaf), std::max(heart, line * body)));
      const Colour crema = mix(hex(0x8a4f22), hex(0x5a2d12), smoothstep(0.55F, 1, d)) *
                           (1 + 0.10F * noise(u * 14 + ox, v * 14) + 0.05F * noise(u * 50, v * 50));
      const Colour foam = hex(0xf6e6cc) * (0.97F + 0.05F * noise(u * 40, v * 40 + ox));
      return Rgba{mix(crema, foam, milk * 0.96F) * (1 - 0.28F * smoothstep(0.86F, 1, d))};
    });
    c.bloom(0.95F, 0.04F, 0.15F);
    c.vignette(0.3F);
  };
}

}  // namespace tlx::samples
