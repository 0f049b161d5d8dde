#include "Colour.h"

#include <vector>

namespace tlx::samples {
namespace {

struct Lab {
  float l, a, b;
};

Lab toLab(Colour c) {
  const float l = std::cbrt(0.4122214708F * c.r + 0.5363325363F * c.g + 0.0514459929F * c.b);
  const float m = std::cbrt(0.2119034982F * c.r + 0.6806995451F * c.g + 0.1073969566F * c.b);
  const float s = std::cbrt(0.0883024619F * c.r + 0.2817188376F * c.g + 0.6299787005F * c.b);
  return {0.2104542553F * l + 0.7936177850F * m - 0.0040720468F * s,
          1.9779984951F * l - 2.4285922050F * m + 0.4505937099F * s,
          0.0259040371F * l + 0.7827717662F * m - 0.8086757660F * s};
}

Colour fromLab(Lab c) {
  const float l = c.l + 0.3963377774F * c.a + 0.2158037573F * c.b;
  const float m = c.l - 0.1055613458F * c.a - 0.0638541728F * c.b;
  const float s = c.l - 0.0894841775F * c.a - 1.2914855480F * c.b;
  const float l3 = l * l * l, m3 = m * m * m, s3 = s * s * s;
  return {std::fmax(0.0F, 4.0767416621F * l3 - 3.3077115913F * m3 + 0.2309699292F * s3),
          std::fmax(0.0F, -1.2684380046F * l3 + 2.6097574011F * m3 - 0.3413193965F * s3),
          std::fmax(0.0F, -0.0041960863F * l3 - 0.7034186147F * m3 + 1.7076147010F * s3)};
}

float toLinear(std::uint32_t byte) {
  const float v = static_cast<float>(byte) / 255.0F;
  return v <= 0.04045F ? v / 12.92F : std::pow((v + 0.055F) / 1.055F, 2.4F);
}

struct Lattice {
  std::array<std::uint8_t, 512> order;
  struct Slope {
    float x, y;
  };
  std::array<Slope, 256> slopes;
  Lattice() {
    Random random(2019);
    for (int i = 0; i < 256; ++i) {
      order[i] = static_cast<std::uint8_t>(i);
      const float angle = random.in(0, 6.2831853F);
      slopes[i] = {std::cos(angle) * 1.5F, std::sin(angle) * 1.5F};
    }
    for (int i = 255; i > 0; --i) std::swap(order[i], order[random.below(i + 1)]);
    for (int i = 0; i < 256; ++i) order[i + 256] = order[i];
  }
};
const Lattice kLattice;

int floorOf(float x) {
  const int i = static_cast<int>(x);
  return static_cast<float>(i) > x ? i - 1 : i;
}

}  // namespace

Colour hex(std::uint32_t rgb) {
  return {toLinear((rgb >> 16U) & 255U), toLinear((rgb >> 8U) & 255U), toLinear(rgb & 255U)};
}

Gradient::Gradient(std::initializer_list<std::pair<float, std::uint32_t>> stops) {
  std::vector<std::pair<float, Lab>> labs;
  for (const auto& [at, rgb] : stops) labs.emplace_back(at, toLab(hex(rgb)));
  std::size_t k = 0;
  for (int i = 0; i < kSteps; ++i) {
    const float t = static_cast<float>(i) / (kSteps - 1);
    while (k + 2 < labs.size() && t > labs[k + 1].first) ++k;
    const auto& [from, a] = labs[k];
    const auto& [to, b] = labs[std::min(k + 1, labs.size() - 1)];
    const float x = to > from ? clamp01((t - from) / (to - from)) : 0;
    table_[i] = fromLab({lerp(a.l, b.l, x), lerp(a.a, b.a, x), lerp(a.b, b.b, x)});
  }
}

float noise(float x, float y) {
  const int xi = floorOf(x), yi = floorOf(y);
  const float fx = x - static_cast<float>(xi), fy = y - static_cast<float>(yi);
  const auto& order = kLattice.order;
  const int left = order[xi & 255], right = order[(xi + 1) & 255];
  const int y0 = yi & 255, y1 = (yi + 1) & 255;
  const auto pull = [&](int corner, float dx, float dy) {
    const auto& slope = kLattice.slopes[order[corner]];
    return slope.x * dx + slope.y * dy;
  };
  const float u = fx * fx * fx * (fx * (fx * 6 - 15) + 10), v = fy * fy * fy * (fy * (fy * 6 - 15) + 10);
  const float na = pull(left + y0, fx, fy), nb = pull(right + y0, fx - 1, fy);
  const float nc = pull(left + y1, fx, fy - 1), nd = pull(right + y1, fx - 1, fy - 1);
  return lerp(lerp(na, nb, u), lerp(nc, nd, u), v);
}

float fbm(float x, float y, int octaves) {
  float sum = 0, weight = 0.5F;
  for (int i = 0; i < octaves; ++i) {
    sum += weight * noise(x, y);
    const float turned = 1.6F * x - 1.2F * y + 5.3F;
    y = 1.2F * x + 1.6F * y + 1.7F;
    x = turned;
    weight *= 0.5F;
  }
  return sum;
}

float ridged(float x, float y, int octaves) {
  float sum = 0, weight = 0.5F, carry = 1;
  for (int i = 0; i < octaves; ++i) {
    const float crest = 1 - std::fabs(noise(x, y));
    const float sharp = crest * crest;
    sum += weight * sharp * carry;
    carry = clamp01(sharp * 1.4F);
    const float turned = 1.6F * x - 1.2F * y + 9.1F;
    y = 1.2F * x + 1.6F * y + 3.7F;
    x = turned;
    weight *= 0.5F;
  }
  return sum;
}

}  // namespace tlx::samples
