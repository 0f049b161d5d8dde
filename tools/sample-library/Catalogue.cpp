#include "Catalogue.h"

#include <tuple>

namespace tlx::samples {
namespace {

using namespace moods;

struct Camera {
  std::string make, model;
  std::string prefix;           ///< of file names; with "IMG_" the moment follows, else a running number
  std::optional<int> offset{};  ///< minutes; a camera that knows its time zone
  bool thumbnail = true;
};

const Camera kPhone{"Halden", "Halden 5 Pro", "IMG_", 120};
const Camera kOldPhone{"Pirol", "P3", "IMG_", std::nullopt};
const Camera kSystem{"Lumenor", "LX-40", "DSC_", std::nullopt};
const Camera kTravel{"Okari", "Voyager 2", "OKV", 540};

enum class Shape { Wide32, Wide43, Tall34, Tall916, Square, Cinema, Panorama };

std::pair<int, int> sizeOf(Shape shape, int index) {
  const bool large = index % 14 == 4;
  switch (shape) {
    case Shape::Wide32:
      return large ? std::pair(3600, 2400) : std::pair(2048, 1365);
    case Shape::Wide43:
      return large ? std::pair(3264, 2448) : std::pair(2000, 1500);
    case Shape::Tall34:
      return large ? std::pair(2448, 3264) : std::pair(1500, 2000);
    case Shape::Tall916:
      return {1296, 2304};
    case Shape::Square:
      return {1600, 1600};
    case Shape::Cinema:
      return {2560, 1440};
    case Shape::Panorama:
      return {3600, 1120};
  }
  return {2304, 1728};
}

struct Extra {
  PhotoKind kind = PhotoKind::Jpeg;
  PixelKind pixels = PixelKind::Colour;
  int stars = 0;
  int orientation = 1;
  bool panorama = false, cutShort = false, silent = false, soft = false;
  std::string name{};
  int seed = 0;  ///< 0: the running number
  int quality = 86;
};

/// Fills one folder after the other, and lets time pass from shot to shot.
class Album {
 public:
  Album(Catalogue& to, std::string folder, Camera camera, Moment start, int minutesBetween, int longSide)
      : to_(to),
        folder_(std::move(folder)),
        camera_(std::move(camera)),
        now_(start),
        step_(minutesBetween),
        longSide_(longSide),
        random_(start.year * 372U + start.month * 31U + start.day) {
    now_.offsetMinutes = camera_.offset;
  }

  Album& add(const Scene& scene, Shape shape = Shape::Wide43, const Extra& extra = {}) {
    const int index = static_cast<int>(to_.photos.size());
    PlannedPhoto photo;
    std::tie(photo.width, photo.height) = sizeOf(shape, index);
    const int side = std::max(photo.width, photo.height);
    if (longSide_ > 0 && side > longSide_) {
      photo.width = photo.width * longSide_ / side;
      photo.height = photo.height * longSide_ / side;
    }
    photo.scene = scene;
    photo.seed = extra.seed > 0 ? extra.seed : index + 1;
    photo.format = {extra.kind, extra.pixels, extra.quality, camera_.thumbnail};
    photo.taken = now_;
    photo.cutShort = extra.cutShort;
    photo.soft = extra.soft;
    if (!extra.silent) photo.metadata.taken = now_;
    photo.metadata.make = extra.silent ? "" : camera_.make;
    photo.metadata.model = extra.silent ? "" : camera_.model;
    photo.metadata.stars = extra.stars;
    photo.metadata.orientation = extra.orientation;
    photo.metadata.panorama = extra.panorama;
    std::string name = extra.name;
    if (name.empty() && camera_.prefix == "IMG_")
      name = "IMG_" + now_.compact();
    else if (name.empty())
      name = camera_.prefix + std::to_string(4100 + index * 7);
    photo.path = folder_ + "/" + name + extensionOf(extra.kind);
    to_.photos.push_back(std::move(photo));
    pass();
    return *this;
  }

  Album& screenshot(int page) {
    add(screen(page), Shape::Tall916, {.kind = PhotoKind::Png, .seed = 40 + page});
    auto& photo = to_.photos.back();
    photo.width = 1080, photo.height = 2340;
    if (longSide_ > 0) photo.width = longSide_ * 1080 / 2340, photo.height = longSide_;
    std::string stamp = photo.taken.compact();
    stamp[8] = '-';
    photo.path = folder_ + "/Screenshot_" + stamp + ".png";
    photo.metadata.make.clear();
    photo.metadata.model.clear();
    photo.metadata.comment = "Screenshot";
    return *this;
  }

  const Moment& now() const { return now_; }

 private:
  void pass() {
    int minutes = now_.hour * 60 + now_.minute + step_ / 2 + random_.below(step_ + 1);
    now_.second = random_.below(60);
    while (minutes >= 21 * 60) {
      minutes = 8 * 60 + random_.below(120);
      if (++now_.day > 28) now_.day = 1, now_.month = now_.month % 12 + 1, now_.year += now_.month == 1 ? 1 : 0;
    }
    now_.hour = minutes / 60, now_.minute = minutes % 60;
  }

  Catalogue& to_;  // unretained: lives in planLibrary, as the albums do
  std::string folder_;
  Camera camera_;
  Moment now_;
  int step_, longSide_;
  Random random_;
};

const Gradient& sherbet() {
  static const Gradient g({{0, 0xf7e1c3}, {0.3F, 0xf2a65a}, {0.6F, 0xb8405e}, {1, 0x2e1f47}});
  return g;
}
const Gradient& lagoon() {
  static const Gradient g({{0, 0xd9f0ee}, {0.4F, 0x5fb7b8}, {0.75F, 0x1d6a8c}, {1, 0x0b2545}});
  return g;
}
const Gradient& clay() {
  static const Gradient g({{0, 0x1b1b3a}, {0.35F, 0x693668}, {0.65F, 0xe07a5f}, {1, 0xf6e7cb}});
  return g;
}
const Gradient& glacier() {
  static const Gradient g({{0, 0x0b3954}, {0.4F, 0x087e8b}, {0.7F, 0x7fb8c9}, {1, 0xe9d8c4}});
  return g;
}
const Gradient& orchard() {
  static const Gradient g({{0, 0xf4f1de}, {0.35F, 0xb7c68b}, {0.7F, 0x4f7f5a}, {1, 0x1c3a34}});
  return g;
}

const FlowerStyle kDahlia{.inner = 0xb01f4f,
                          .outer = 0xf59ab5,
                          .heart = 0xd9a03a,
                          .backdropLow = 0x1f3a24,
                          .backdropHigh = 0x7fa35a,
                          .petals = 22,
                          .rings = 8,
                          .width = 0.3F,
                          .heartSize = 0};
const FlowerStyle kSunflower{.inner = 0xd9780f,
                             .outer = 0xffc928,
                             .heart = 0x5a3418,
                             .backdropLow = 0x2f5a2a,
                             .backdropHigh = 0x9fc4dd,
                             .petals = 26,
                             .rings = 2,
                             .width = 0.26F,
                             .heartSize = 0.42F,
                             .seeds = true};
const FlowerStyle kDaisy{.inner = 0xe9e6dc,
                         .outer = 0xffffff,
                         .heart = 0xf2b61f,
                         .backdropLow = 0x2c5a34,
                         .backdropHigh = 0x8fc26a,
                         .petals = 24,
                         .rings = 2,
                         .width = 0.22F,
                         .tip = 0.3F};
const FlowerStyle kCosmos{.inner = 0x8a2f8f,
                          .outer = 0xe7a0dc,
                          .heart = 0xf2c23a,
                          .backdropLow = 0x274a3f,
                          .backdropHigh = 0xa9c7a0,
                          .petals = 8,
                          .rings = 1,
                          .width = 0.72F,
                          .tip = 0.6F,
                          .heartSize = 0.17F};
const FlowerStyle kRusset{.inner = 0x8a1f12,
                          .outer = 0xf08a3c,
                          .heart = 0x6a2a12,
                          .backdropLow = 0x2a2a1c,
                          .backdropHigh = 0xb39a5a,
                          .petals = 20,
                          .rings = 6,
                          .width = 0.3F,
                          .heartSize = 0.12F};
const FlowerStyle kAster{.inner = 0x4a3fa8,
                         .outer = 0xa9a0f0,
                         .heart = 0xf4c94a,
                         .backdropLow = 0x24403a,
                         .backdropHigh = 0x9fb8b0,
                         .petals = 30,
                         .rings = 2,
                         .width = 0.15F,
                         .heartSize = 0.2F};
const FlowerStyle kWhiteDahlia{.inner = 0xf1dcc0,
                               .outer = 0xfff8ee,
                               .heart = 0xe0c080,
                               .backdropLow = 0x24352f,
                               .backdropHigh = 0x6f8f86,
                               .petals = 22,
                               .rings = 8,
                               .width = 0.3F,
                               .heartSize = 0};

void planPhotos(Catalogue& to, int longSide) {
  const auto album = [&](const char* folder, const Camera& camera, Moment start, int minutes) {
    return Album(to, folder, camera, start, minutes, longSide);
  };

  album("Alps 2019", kSystem, {2019, 7, 12, 9, 14, 5}, 130)
      .add(alpine(clearNoon()), Shape::Wide32, {.stars = 5})
      .add(ridges(roseDawn()), Shape::Wide32)
      .add(alpine(golden(), {.snow = 0.30F}), Shape::Wide32)
      .add(meadow(spring(), {0x6a7fe0, 0xf2f0ff, 0xe88fc0}), Shape::Wide32)
      .add(alpine(roseDawn(), {.snow = 0.25F, .lake = 0.7F}), Shape::Wide32, {.stars = 4})
      .add(ridges(tealMorning(), {.lake = 0.64F}), Shape::Tall34)
      .add(forest(tealMorning(), 0x6f9a4a, 0xd5e3c0, true), Shape::Tall34)
      .add(alpine(overcast(), {.snow = 0.2F, .lake = 0, .cover = 0.7F, .pitch = 0.42F}), Shape::Wide32,
           {.pixels = PixelKind::Grey})
      .add(ridges(ember(), {.sunX = 0.4F, .sunY = 0.46F}), Shape::Wide32);

  album("Autumn Walks", kSystem, {2020, 10, 11, 10, 3, 41}, 170)
      .add(forest(golden(), 0xd9772a, 0xf3cf9a, true), Shape::Wide32, {.stars = 5})
      .add(loneTree(golden(), {0xd9502a, 0xe88a2a, 0xf0b43a, 0xb83a2a}, true), Shape::Wide32)
      .add(ridges(golden(), {.lake = 0.62F}), Shape::Wide32)
      .add(forest(overcast(), 0xc98a3a, 0xcfc9bd, false), Shape::Tall34)
      .add(flower(kRusset), Shape::Tall34)
      .add(loneTree(peach(), {0xe8b43a, 0xf3d05a, 0xd98a2a}, true), Shape::Square)
      .add(ridges(storm(), {.sunSize = 0, .cover = 0.75F}), Shape::Wide32);

  album("Garden", kPhone, {2021, 4, 18, 11, 20, 9}, 5 * 24 * 60 / 9)
      .add(blossom(0xf9c3d5, 0x7fb0d8, 0xd8ecf8), Shape::Wide43, {.stars = 5})
      .add(fieldRows(spring(), {0xe0405a, 0xf6c23c, 0xf08ab0, 0xf2efe6, 0xd8602f}, false))
      .add(flower(kDaisy), Shape::Square)
      .add(flower(kCosmos), Shape::Tall34)
      .add(flower(kSunflower), Shape::Wide43, {.kind = PhotoKind::Heic, .quality = 60})
      .add(flower(kDahlia), Shape::Tall34, {.stars = 5})
      .add(waterLilies(0xf7a6c4, 0x123a3c))
      .add(succulent(0x3f7f74, 0xa9d3bd, 0xe07a8f), Shape::Square, {.soft = true})
      .add(flower(kAster), Shape::Wide43, {.kind = PhotoKind::Avif, .quality = 62})
      .add(meadow(golden(), {0xe8402f, 0xd8302a, 0xf05a3a}))
      .add(flower(kWhiteDahlia), Shape::Tall34);

  album("Family Trips/Coast", kPhone, {2022, 7, 14, 10, 8, 52}, 110)
      .add(shore(0xead2a4, 0x4fc3c0, 0x0d6f9c), Shape::Wide43, {.stars = 5})
      .add(sea(clearNoon(), {.sunX = 0.7F, .sunY = 0.16F, .rough = 1, .sail = true}))
      .add(sea(golden(), {.sail = true}), Shape::Wide43, {.pixels = PixelKind::Wide})
      .add(sea(violetDusk(), {.sunX = 0.3F, .lighthouse = true}))
      .add(sea(ember(), {.sunX = 0.65F, .palms = true}), Shape::Wide43, {.stars = 5})
      .add(caustics(0x4fd0d0, 0x0a3f6f), Shape::Tall34, {.soft = true})
      .add(shore(0xf0dcc0, 0x6fd3b8, 0x1a5f8a), Shape::Tall34)
      .add(sea(peach(), {.sunX = 0.45F, .sunY = 0.48F, .rough = 0.4F}), Shape::Square)
      .add(sea(night(), {.sunY = 0.24F, .sunSize = 0.06F, .moon = true}), Shape::Tall34);

  album("Family Trips/Desert", kTravel, {2023, 3, 4, 8, 40, 0}, 140)
      .add(dunes(desert()), Shape::Wide32)
      .add(dunes(peach()), Shape::Wide32, {.stars = 4})
      .add(ridges(peach(), {.pines = false, .balloons = true}), Shape::Wide32, {.stars = 5})
      .add(dunes(violetDusk(), true), Shape::Tall34)
      .add(milkyWay(night(), false), Shape::Tall34, {.stars = 5});

  album("Iceland 2023", kSystem, {2023, 9, 2, 7, 55, 30}, 150)
      .add(aurora(night(), 0x3df59a, 0x7a4df0, 0.72F), Shape::Wide32, {.stars = 5})
      .add(sea(arctic(), {.rough = 0.3F, .islands = false, .icebergs = true}), Shape::Wide32)
      .add(alpine(arctic(), {.snow = 0.12F}), Shape::Wide32)
      .add(sea(storm(), {.sunX = 0.35F, .sunY = 0.46F, .rough = 1, .cover = 0.8F}), Shape::Wide32)
      .add(aurora(blueHour(), 0x5ff0c0, 0xf06fb0, 0), Shape::Tall34,
           {.kind = PhotoKind::Tiff, .pixels = PixelKind::Deep})
      .add(ridges(arctic(), {.lake = 0.66F, .pines = false}), Shape::Wide32)
      .add(alpine(blueHour(), {.snow = 0.18F}), Shape::Wide32, {.kind = PhotoKind::WebP})
      .add(aurora(night(), 0x4fe0f0, 0x5f6ff0, 0.66F), Shape::Tall34, {.stars = 4});

  album("City Nights", kPhone, {2024, 2, 9, 17, 48, 12}, 95)
      .add(skyline(violetDusk()), Shape::Wide43, {.stars = 5})
      .add(skyline(night(), {.moon = true}))
      .add(skyline(ember(), {.bridge = true, .height = 0.25F}))
      .add(bokeh(0x14182e, {0xffb45e, 0xff6f59, 0x6fb7ff, 0xffe2a8, 0xd86fff}, false), Shape::Square)
      .add(bokeh(0x101a2a, {0xffb45e, 0xff5a4e, 0x5fc8ff, 0xffe2a8}, true), Shape::Tall34, {.stars = 4})
      .add(lightTrails(blueHour()))
      .add(skyline(blueHour(), {.shore = 0.74F, .height = 0.55F}), Shape::Tall34,
           {.kind = PhotoKind::Heic, .quality = 60})
      .add(bokeh(0x2a1420, {0xff8f5e, 0xffc98a, 0xff5f7a, 0xffe8c8}, false), Shape::Wide43, {.kind = PhotoKind::WebP});

  album("Winter", kOldPhone, {2024, 12, 21, 9, 30, 4}, 160)
      .add(snowfall(night()), Shape::Wide43, {.stars = 5})
      .add(snowfall(arctic()))
      .add(ridges(blueHour(), {.sunY = 0.25F, .sunSize = 0.06F, .lake = 0.66F, .moon = true}))
      .add(snowfall(roseDawn()), Shape::Tall34)
      .add(alpine(ember(), {.snow = 0.05F}));

  album("Kitchen Table", kPhone, {2025, 1, 11, 9, 12, 33}, 400)
      .add(citrus(0xf7d9c4, {0xff9f1c, 0xffd23f, 0xf25f5c, 0xb5d33d}), Shape::Square)
      .add(latte(0x8a5a3a, 0xf6f1e8), Shape::Wide43, {.stars = 4})
      .add(citrus(0xbfdcd6, {0xff9f1c, 0xffb830, 0xf2786c}), Shape::Tall34)
      .add(latte(0x5a6a72, 0xf2c9b0), Shape::Square);

  album("Shapes and Light", kSystem, {2025, 5, 3, 13, 5, 10}, 300)
      .add(paperWaves(sherbet(), 8), Shape::Wide32)
      .add(marble(clay(), 1.4F), Shape::Square, {.soft = true})
      .add(silk(sherbet()), Shape::Wide32, {.stars = 5, .soft = true})
      .add(orbs(clay(), {0xe07a5f, 0xf2cc8f, 0x81b29a, 0x3d405b}), Shape::Wide32)
      .add(arches({0xe07a5f, 0xf2cc8f, 0x81b29a, 0x3d5a80}, 0xf4ead5), Shape::Wide32, {.kind = PhotoKind::Png})
      .add(silk(lagoon()), Shape::Tall34, {.soft = true})
      .add(paperWaves(lagoon(), 9), Shape::Tall34)
      .add(orbs(glacier(), {0x5fb7b8, 0xf2a65a, 0xf4ead5, 0x1d6a8c}), Shape::Square, {.kind = PhotoKind::JpegXl})
      .add(marble(glacier(), 1.1F), Shape::Wide32, {.soft = true})
      .add(paperWaves(orchard(), 7), Shape::Square, {.kind = PhotoKind::Gif});

  album("Night Sky", kSystem, {2025, 8, 12, 20, 15, 0}, 30)
      .add(milkyWay(night(), false), Shape::Wide32, {.stars = 5})
      .add(milkyWay(blueHour(), true), Shape::Wide32)
      .add(galaxy(0xffe0b0, 0x6f8fff, 0x8a3a2a), Shape::Wide32)
      .add(
          [](Canvas& c, Random& r) {
            sky(c, night(), 1.1F);
            stars(c, r, 1, 500);
            moon(c, r, c.aspect() / 2, 0.5F, 0.36F, 1, hex(0xfff3df) * 0.95F);
          },
          Shape::Square);

  album("Panoramas", kPhone, {2025, 6, 20, 15, 0, 0}, 500)
      .add(alpine(clearNoon(), {.snow = 0.32F}), Shape::Panorama, {.panorama = true, .name = "PANO_20250620_150000"})
      .add(skyline(violetDusk(), {.shore = 0.72F}), Shape::Panorama,
           {.panorama = true, .name = "PANO_20250620_213112"});

  album("Provence 2026", kPhone, {2026, 6, 25, 8, 31, 20}, 120)
      .add(fieldRows(golden(), {0x7a55b8, 0x8f63c9}, true), Shape::Wide43, {.stars = 5})
      .add(flower(kSunflower), Shape::Tall34)
      .add(loneTree(spring(), {0x5f9a3a, 0x86b24a, 0x3f7a34}, false))
      .add(ridges(golden(), {.sunX = 0.3F, .pines = false, .cover = 0.5F}))
      .add(fieldRows(violetDusk(), {0x6a4fb0, 0x8a5fc4}, false), Shape::Tall34)
      .add(loneTree(spring(), {0xf6b8cf, 0xf9d3e0, 0xee94b6}, true))
      .add(sea(tealMorning(), {.sunX = 0.4F, .sunY = 0.44F, .rough = 0.5F}));

  album("Screenshots", kOldPhone, {2024, 3, 12, 14, 5, 12}, 60 * 24 * 3)
      .screenshot(0)
      .screenshot(1)
      .screenshot(2)
      .screenshot(3)
      .screenshot(4)
      .screenshot(5)
      .screenshot(6)
      .screenshot(7);

  Album turned = album("Turned", kOldPhone, {2021, 8, 8, 16, 20, 0}, 3);
  const Scene views[] = {sea(ember(), {.sunX = 0.3F, .lighthouse = true}),
                         ridges(peach(), {.balloons = true}),
                         sea(golden(), {.sunX = 0.7F, .palms = true}),
                         loneTree(golden(), {0xd9502a, 0xe88a2a, 0xf0b43a}, true),
                         fieldRows(golden(), {0x7a55b8, 0x8f63c9}, true),
                         sea(tealMorning(), {.sail = true}),
                         snowfall(night()),
                         sea(violetDusk(), {.sunX = 0.3F, .lighthouse = true})};
  for (int i = 0; i < 8; ++i)
    turned.add(views[i], i % 2 == 0 ? Shape::Wide43 : Shape::Tall34,
               {.orientation = i + 1, .name = "Turned_" + std::to_string(i + 1), .seed = 300 + i});

  album("Odds and Ends", kTravel, {2022, 11, 5, 12, 30, 30}, 45)
      .add(marble(sherbet(), 1.2F), Shape::Wide43, {.pixels = PixelKind::Cmyk, .soft = true, .name = "Print proof"})
      .add(aurora(night(), 0x8ff05f, 0x3f8ff0, 0.7F), Shape::Wide43,
           {.kind = PhotoKind::Png, .pixels = PixelKind::Deep, .name = "Sixteen bits"})
      .add(flower(kSunflower), Shape::Square, {.kind = PhotoKind::Png, .pixels = PixelKind::Palette, .name = "Sticker"})
      .add(ridges(overcast(), {.sunSize = 0}), Shape::Wide43, {.pixels = PixelKind::Grey, .name = "Grey morning"})
      .add(orbs(lagoon(), {0xf2a65a, 0xb8405e, 0xf7e1c3}), Shape::Wide43, {.silent = true, .name = "No date"})
      .add(dunes(golden()), Shape::Wide43, {.cutShort = true, .name = "Cut short"});
  for (auto& photo : to.photos)
    if (photo.format.pixels == PixelKind::Deep || photo.format.pixels == PixelKind::Palette) {
      photo.width = photo.width * 5 / 8;
      photo.height = photo.height * 5 / 8;
    }
}

}  // namespace

Catalogue planLibrary(int longSide) {
  Catalogue catalogue;
  planPhotos(catalogue, longSide);
  catalogue.videos = planVideos(longSide);
  catalogue.oddities = {
      {"Odds and Ends/Empty.jpg", "", {2022, 11, 5, 18, 10, 0}},
      {"Odds and Ends/Shopping list.jpg", "Bread, oranges, coffee, a dozen eggs.\n", {2022, 11, 5, 18, 20, 0}}};
  return catalogue;
}

std::vector<Scene> assortedScenes() {
  std::vector<Scene> scenes;
  for (const auto& photo : planLibrary(640).photos)
    if (photo.width >= photo.height && photo.format.kind == PhotoKind::Jpeg && photo.metadata.orientation == 1)
      scenes.push_back(photo.scene);
  return scenes;
}

}  // namespace tlx::samples
