#pragma once

#include "Paint.h"

namespace tlx::samples {

/// The light of one hour at one place. `sky` runs from the zenith (0) to the horizon (1).
struct Mood {
  Gradient sky;
  Rgb sun;   ///< what the sun or moon shines with
  Rgb haze;  ///< what the distance fades into
  Rgb body;  ///< ground in full light
  Rgb ink;   ///< the nearest silhouettes
  bool night = false;
};
extern const Mood kDawn, kGolden, kEmber, kDusk, kBlueHour, kNight, kNoon, kTeal, kOvercast, kArctic, kPeach, kStorm,
    kSpring;

/// The sky down to the horizon, with its sun or moon (no size: neither), stars and clouds.
void heaven(Canvas& c, Random& r, const Mood& mood, double horizon, double sunX, double sunY, double size, double cover,
            double drift = 0);
/// Everything below `horizon` becomes water that mirrors what stands above; `rough` 0 is a still lake, 1 an open sea.
/// Light glitters below `sunX`, unless that is negative.
void water(Canvas& c, Random& r, const Mood& mood, double horizon, double rough, double sunX, double phase);

// Places are shares of the width and height; `phase` moves waves and light, for moving pictures.
/// Mountains one behind the other; `lake` is the height of a shore, 0: none.
Scene ridges(const Mood& mood, double sunX = 0.62, double lake = 0, bool pines = true);
Scene sea(const Mood& mood, double sunX = 0.5, double sunY = 0.45, double rough = 0.7, double phase = 0);
/// Rows of colour running to the horizon.
Scene fields(const Mood& mood, const std::vector<unsigned>& rows);
Scene loneTree(const Mood& mood, const std::vector<unsigned>& leaves);
Scene aurora(const Mood& mood, unsigned low, unsigned high, double phase = 0);
Scene starry(const Mood& mood);
Scene fullMoon();
Scene skyline(const Mood& mood, double height = 0.45, double phase = 0);
struct FlowerStyle {
  unsigned inner, outer, heart, low, high;  ///< the last two are the garden's, out of focus
  int petals = 22, rings = 2;
  double width = 0.26, heartSize = 0.3;
};
Scene flower(FlowerStyle style);
Scene paperWaves(const Gradient& colours);
Scene marble(const Gradient& colours);
Scene orbs(const Gradient& backdrop, const std::vector<unsigned>& colours);
/// A phone's screen, `page` 0…7.
Scene screen(int page);

}  // namespace tlx::samples
