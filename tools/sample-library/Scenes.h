#pragma once

#include "Elements.h"

namespace tlx::samples {

// Land and water.
struct RidgeStyle {
  float sunX = 0.62F;  ///< share of the width
  float sunY = 0.42F;
  float sunSize = 0.035F;  ///< 0: hidden behind the haze
  float lake = 0;          ///< height of a lake's shore, 0: none
  int layers = 6;
  bool pines = true, moon = false, balloons = false;
  float cover = 0.35F;  ///< clouds
};
Scene ridges(const Mood& mood, RidgeStyle style = {});

struct AlpineStyle {
  float snow = 0.35F;  ///< share of the height above which snow lies
  float lake = 0.72F;  ///< 0: none
  float cover = 0.3F;
  float pitch = 0.52F;  ///< where the horizon stands
  bool pines = true;
};
Scene alpine(const Mood& mood, AlpineStyle style = {});

struct SeaStyle {
  float sunX = 0.5F, sunY = 0.5F, sunSize = 0.045F, horizon = 0.6F, rough = 0.8F, cover = 0.4F;
  bool sail = false, lighthouse = false, islands = true, palms = false, moon = false, icebergs = false;
  float phase = 0;  ///< moves waves and clouds, for moving pictures
};
Scene sea(const Mood& mood, SeaStyle style = {});

Scene dunes(const Mood& mood, bool caravanMoon = false);
/// A shore seen from straight above.
Scene shore(std::uint32_t sand, std::uint32_t shallow, std::uint32_t deep);
/// Rows of colour running to the horizon: lavender, tulips, vines.
Scene fieldRows(const Mood& mood, const std::vector<std::uint32_t>& rows, bool tree);
Scene forest(const Mood& mood, std::uint32_t leaves, std::uint32_t fog, bool beams);
Scene loneTree(const Mood& mood, const std::vector<std::uint32_t>& leaves, bool falling);
Scene aurora(const Mood& mood, std::uint32_t low, std::uint32_t high, float lake, float phase = 0);
Scene milkyWay(const Mood& mood, bool trails);
Scene snowfall(const Mood& mood);

// Cities at night.
struct SkylineStyle {
  float shore = 0.68F;
  bool moon = false, bridge = false;
  float height = 0.42F;
  float phase = 0;
};
Scene skyline(const Mood& mood, SkylineStyle style = {});
Scene bokeh(std::uint32_t backdrop, const std::vector<std::uint32_t>& lights, bool rain);
Scene lightTrails(const Mood& mood);

// Flowers and the table.
struct FlowerStyle {
  std::uint32_t inner, outer, heart, backdropLow, backdropHigh;
  int petals = 21, rings = 3;
  float width = 0.34F, tip = 0, radius = 0.36F, heartSize = 0.24F;
  bool seeds = false;
  float sway = 0;
};
Scene flower(FlowerStyle style);
Scene meadow(const Mood& mood, const std::vector<std::uint32_t>& petals, float sway = 0);
Scene blossom(std::uint32_t petal, std::uint32_t low, std::uint32_t high);
Scene waterLilies(std::uint32_t petal, std::uint32_t pond);
Scene citrus(std::uint32_t table, const std::vector<std::uint32_t>& fruits);
Scene latte(std::uint32_t table, std::uint32_t cup);
Scene succulent(std::uint32_t low, std::uint32_t high, std::uint32_t tip);

// Shapes and light.
Scene paperWaves(const Gradient& colours, int layers);
Scene marble(const Gradient& colours, float scale);
Scene silk(const Gradient& colours);
Scene orbs(const Gradient& backdrop, const std::vector<std::uint32_t>& colours);
Scene arches(const std::vector<std::uint32_t>& colours, std::uint32_t backdrop);
Scene caustics(std::uint32_t shallow, std::uint32_t deep);
Scene galaxy(std::uint32_t core, std::uint32_t arms, std::uint32_t dust);

// A phone's screen, `page` 0…7.
Scene screen(int page);

}  // namespace tlx::samples
