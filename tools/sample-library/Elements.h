#pragma once

#include <vector>

#include "Canvas.h"

namespace tlx::samples {

/// The light of one hour at one place. `sky` runs from the zenith (0) to the horizon (1).
struct Mood {
  Gradient sky;
  Colour sun;   ///< what the sun or moon shines with
  Colour haze;  ///< what the distance fades into
  Colour body;  ///< ground in full light
  Colour ink;   ///< the nearest silhouettes
  bool night = false;
};

namespace moods {
const Mood& roseDawn();
const Mood& golden();
const Mood& ember();
const Mood& violetDusk();
const Mood& blueHour();
const Mood& night();
const Mood& clearNoon();
const Mood& tealMorning();
const Mood& overcast();
const Mood& desert();
const Mood& arctic();
const Mood& peach();
const Mood& storm();
const Mood& spring();
}  // namespace moods

void sky(Canvas& c, const Mood& mood, float horizon);
/// Clouds on a ceiling that recedes to the horizon, lit from (sunX, sunY); `cover` 0…1, `drift` moves them.
void clouds(Canvas& c, Random& r, const Mood& mood, float horizon, float cover, float sunX, float sunY,
            float drift = 0);
void stars(Canvas& c, Random& r, float bottom, float perUnit);
/// A sun's disc with its halo over the whole sky.
void sun(Canvas& c, const Mood& mood, float x, float y, float radius);
/// A full or partly lit moon with seas and craters; `phase` 1 is full.
void moon(Canvas& c, Random& r, float x, float y, float radius, float phase, Colour light);
/// Everything below `horizon` becomes water that mirrors what stands above it. `rough` 0 is a still lake, 1 an open
/// sea; `phase` moves the waves.
void water(Canvas& c, Random& r, float horizon, float rough, Colour deep, float murk = 0.55F, float phase = 0);
/// Small birds, far away.
void birds(Canvas& c, Random& r, float x, float y, int count, Colour ink);
/// Mist that lies at one height, thicker where noise says so.
void mist(Canvas& c, Random& r, float y, float thickness, Colour colour, float strength);

/// The upper edge of a wood of conifers along base(x), kept as samples.
class Treeline {
 public:
  Treeline(Random& r, float aspect, const std::function<float(float)>& base, float spacing, float low, float high);
  float operator()(float x) const {
    const float at = std::clamp(x * kPerUnit, 0.0F, static_cast<float>(line_.size() - 2));
    const auto i = static_cast<std::size_t>(at);
    return lerp(line_[i], line_[i + 1], at - static_cast<float>(i));
  }

 private:
  static constexpr float kPerUnit = 4000;
  std::vector<float> line_;
};

}  // namespace tlx::samples
