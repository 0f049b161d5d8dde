#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <utility>

namespace tlx::samples {

/// Linear light, sRGB primaries; 1 is paper white, more is allowed and rolled off when the picture is developed.
struct Colour {
  float r = 0, g = 0, b = 0;
  constexpr Colour operator+(Colour o) const { return {r + o.r, g + o.g, b + o.b}; }
  constexpr Colour operator*(float k) const { return {r * k, g * k, b * k}; }
  constexpr Colour operator*(Colour o) const { return {r * o.r, g * o.g, b * o.b}; }
  constexpr Colour& operator+=(Colour o) { return *this = *this + o; }
  constexpr float luma() const { return 0.2126F * r + 0.7152F * g + 0.0722F * b; }
};

struct Rgba {
  Colour colour;
  float alpha = 1;
};

constexpr float clamp01(float x) {
  return x < 0 ? 0 : x > 1 ? 1 : x;
}
constexpr float lerp(float a, float b, float t) {
  return a + (b - a) * t;
}
constexpr Colour mix(Colour a, Colour b, float t) {
  return a * (1 - t) + b * t;
}
constexpr float smoothstep(float from, float to, float x) {
  const float t = clamp01((x - from) / (to - from));
  return t * t * (3 - 2 * t);
}

/// 0xRRGGBB as a designer writes it.
Colour hex(std::uint32_t rgb);

/// Stops mixed in a perceptual space (OKLab), so that a blue to orange sky does not turn grey in between. `at` outside
/// 0…1 gives the end colours.
class Gradient {
 public:
  Gradient(std::initializer_list<std::pair<float, std::uint32_t>> stops);
  Colour at(float t) const {
    const float x = clamp01(t) * (kSteps - 1);
    const int i = x >= kSteps - 2 ? kSteps - 2 : static_cast<int>(x);
    return mix(table_[i], table_[i + 1], x - static_cast<float>(i));
  }

 private:
  static constexpr int kSteps = 256;
  std::array<Colour, kSteps> table_;
};

/// The same numbers on every machine, so that a library made twice is the same library.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ULL + 0x1234567) {}
  std::uint32_t bits() {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    const auto shifted = static_cast<std::uint32_t>(((state_ >> 18U) ^ state_) >> 27U);
    const auto turn = static_cast<std::uint32_t>(state_ >> 59U);
    return (shifted >> turn) | (shifted << ((32U - turn) & 31U));
  }
  float unit() { return static_cast<float>(bits() >> 8U) * (1.0F / 16777216.0F); }
  float in(float low, float high) { return low + (high - low) * unit(); }
  int below(int n) { return static_cast<int>(bits() % static_cast<std::uint32_t>(n)); }
  bool chance(float p) { return unit() < p; }

 private:
  std::uint64_t state_;
};

/// Gradient noise in about -1…1; it repeats every 256.
float noise(float x, float y);
/// Octaves of it, each turned against the last so that no grid shows; about -1…1.
float fbm(float x, float y, int octaves);
/// Sharp crests at 1 over broad valleys at 0.
float ridged(float x, float y, int octaves);

}  // namespace tlx::samples
