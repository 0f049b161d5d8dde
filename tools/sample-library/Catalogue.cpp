#include "Files.h"

namespace tlx::samples {
namespace {

struct Size {
  int width, height;
};
constexpr Size kWide{1350, 900}, kUsual{1280, 960}, kTall{960, 1280}, kSquare{1024, 1024}, kGreat{2560, 1920},
    kPanorama{2400, 800}, kPage{720, 1560};

struct Camera {
  std::string make, model, prefix;  ///< of names that are numbered; none: names say the time
  int offset = 0;                   ///< minutes; none of a camera that does not know its time zone
};
const Camera kPhone{"Halden", "Halden 5 Pro", "", 120}, kOldPhone{"Pirol", "P3", ""},
    kSystem{"Lumenor", "LX-40", "DSC_"}, kTravel{"Okari", "Voyager 2", "OKV", 540}, kNone{};

const Gradient kSherbet{0xf7e1c3, 0xf2a65a, 0xb8405e, 0x2e1f47}, kLagoon{0xd9f0ee, 0x5fb7b8, 0x1d6a8c, 0x0b2545},
    kClay{0x1b1b3a, 0x693668, 0xe07a5f, 0xf6e7cb}, kGlacier{0x0b3954, 0x087e8b, 0x7fb8c9, 0xe9d8c4},
    kOrchard{0xf4f1de, 0xb7c68b, 0x4f7f5a, 0x1c3a34};

const FlowerStyle kDahlia{0xb01f4f, 0xf59ab5, 0xd9a03a, 0x1f3a24, 0x7fa35a, 22, 8, 0.3, 0},
    kSunflower{0xd9780f, 0xffc928, 0x6a4020, 0x2f5a2a, 0x9fc4dd, 26, 2, 0.26, 0.42},
    kDaisy{0xe9e6dc, 0xffffff, 0xf2b61f, 0x2c5a34, 0x8fc26a, 24, 2, 0.22, 0.24},
    kCosmos{0x8a2f8f, 0xe7a0dc, 0xf2c23a, 0x274a3f, 0xa9c7a0, 8, 1, 0.8, 0.17},
    kRusset{0x8a1f12, 0xf08a3c, 0x6a2a12, 0x2a2a1c, 0xb39a5a, 20, 6, 0.3, 0.12},
    kAster{0x4a3fa8, 0xa9a0f0, 0xf4c94a, 0x24403a, 0x9fb8b0, 30, 2, 0.15, 0.2},
    kPoppy{0xb8140c, 0xff5a3c, 0x1c1418, 0x3a5a24, 0xc8cf8f, 7, 2, 0.95, 0.2},
    kWhiteDahlia{0xf1dcc0, 0xfff8ee, 0xe0c080, 0x24352f, 0x6f8f86, 22, 8, 0.3, 0};

const std::vector<unsigned> kAutumn{0xd9502a, 0xe88a2a, 0xf0b43a, 0xb83a2a}, kBlossom{0xf6b8cf, 0xf9d3e0, 0xee94b6},
    kLeaves{0x5f9a3a, 0x86b24a, 0x3f7a34}, kLavender{0x7a55b8, 0x8f63c9},
    kTulips{0xe0405a, 0xf6c23c, 0xf08ab0, 0xf2efe6, 0xd8602f}, kBalls{0xe07a5f, 0xf2cc8f, 0x81b29a, 0x3d5a80},
    kYellow{0xe8b43a, 0xf3d05a, 0xd98a2a}, kGems{0x5fb7b8, 0xf2a65a, 0xf4ead5, 0x1d6a8c};

/// Adds one folder, and lets time pass from shot to shot; the sizes and names are taken in turn. Returns the first
/// photo.
Photo* album(std::vector<Photo>& to, const std::string& folder, const Camera& camera, QDateTime now, int step,
             const std::vector<Scene>& scenes,
             const std::vector<Size>& sizes = {kUsual, kTall, kWide, kSquare, kUsual, kWide, kTall, kUsual, kGreat},
             const std::vector<std::string>& names = {}) {
  const QDate first = now.date();
  Random random(static_cast<std::uint64_t>(first.year() * 372 + first.month() * 31 + first.day()));
  if (camera.offset != 0) now.setOffsetFromUtc(camera.offset * 60);
  for (std::size_t i = 0; i < scenes.size(); ++i) {
    Photo photo{.scene = scenes[i],
                .seed = to.size() + 1,
                .stars = i % 6 == 0 ? 5 : 0,
                .taken = now,
                .make = camera.make,
                .model = camera.model};
    photo.width = sizes[i % sizes.size()].width, photo.height = sizes[i % sizes.size()].height;
    const std::string name = !camera.prefix.empty() ? camera.prefix + std::to_string(4100 + to.size() * 7)
                                                    : now.toString("'IMG_'yyyyMMdd_HHmmss").toStdString();
    photo.path = folder + "/" + (names.empty() ? name + ".jpg" : names[i]);
    to.push_back(photo);
    int minute = now.time().msecsSinceStartOfDay() / 60'000 + step / 2 + random.below(step + 1);
    const int second = random.below(60);
    if (minute >= 21 * 60) now = now.addDays(1), minute = 8 * 60 + random.below(120);
    now.setTime({minute / 60, minute % 60, second});
  }
  return &to[to.size() - scenes.size()];
}

void as(Photo& photo, const char* extension, Pixels pixels = Pixels::Plain) {
  photo.path.replace(photo.path.rfind('.'), std::string::npos, extension);
  photo.pixels = pixels;
}

std::vector<Photo> planPhotos() {
  std::vector<Photo> all;
  Photo* alps = album(
      all, "Alps 2019", kSystem, {{2019, 7, 12}, {9, 14, 5}}, 130,
      {ridges(kNoon, 0.6, 0.64), ridges(kDawn), ridges(kGolden, 0.4), loneTree(kSpring, kLeaves),
       ridges(kDawn, 0.3, 0.66), ridges(kTeal, 0.6, 0.64), ridges(kTeal, 0.3), ridges(kOvercast), ridges(kEmber, 0.4)});
  as(alps[7], ".jpg", Pixels::Grey);
  album(all, "Autumn Walks", kSystem, {{2020, 10, 11}, {10, 3, 41}}, 170,
        {loneTree(kGolden, kAutumn), ridges(kGolden, 0.6, 0.62), ridges(kOvercast), flower(kRusset),
         loneTree(kPeach, kYellow), ridges(kStorm)});
  Photo* garden = album(all, "Garden", kPhone, {{2021, 4, 18}, {11, 20, 9}}, 800,
                        {loneTree(kSpring, kBlossom), fields(kSpring, kTulips), flower(kDaisy), flower(kCosmos),
                         flower(kSunflower), flower(kDahlia), flower(kAster), flower(kPoppy), flower(kWhiteDahlia),
                         flower(kRusset), loneTree(kPeach, kBlossom)});
  as(garden[4], ".heic"), as(garden[6], ".avif");
  Photo* coast = album(all, "Family Trips/Coast", kPhone, {{2022, 7, 14}, {10, 8, 52}}, 110,
                       {sea(kTeal, 0.3), sea(kNoon, 0.7, 0.16, 1), sea(kGolden), sea(kDusk, 0.3), sea(kEmber, 0.65),
                        sea(kStorm, 0.4, 0.4, 1), sea(kPeach, 0.45, 0.48, 0.4), sea(kNight, 0.5, 0.24)});
  as(coast[2], ".jpg", Pixels::Wide);
  album(all, "Family Trips/Desert", kTravel, {{2023, 3, 4}, {8, 40, 0}}, 140,
        {ridges(kGolden, 0.6, 0, false), ridges(kPeach, 0.3, 0, false), ridges(kDusk, 0.3, 0, false), starry(kNight)});
  Photo* iceland = album(all, "Iceland 2023", kSystem, {{2023, 9, 2}, {7, 55, 30}}, 150,
                         {aurora(kNight, 0x3df59a, 0x7a4df0), sea(kArctic), sea(kStorm, 0.35, 0.46, 1),
                          aurora(kBlueHour, 0x5ff0c0, 0xf06fb0), ridges(kArctic, 0.6, 0.66),
                          ridges(kBlueHour, 0.4, 0.7), aurora(kNight, 0x4fe0f0, 0x5f6ff0)});
  as(iceland[3], ".tif", Pixels::Deep), as(iceland[5], ".webp");
  Photo* city = album(all, "City Nights", kPhone, {{2024, 2, 9}, {17, 48, 12}}, 95,
                      {skyline(kDusk), skyline(kNight), skyline(kEmber, 0.3), skyline(kStorm), skyline(kNight, 0.3),
                       skyline(kBlueHour, 0.55), skyline(kDusk, 0.6)});
  as(city[5], ".heic"), as(city[6], ".webp");
  album(all, "Winter", kOldPhone, {{2024, 12, 21}, {9, 30, 4}}, 160,
        {ridges(kArctic), ridges(kNight, 0.7, 0.66), ridges(kBlueHour, 0.4, 0.66), sea(kArctic, 0.3),
         ridges(kDawn, 0.5, 0.7)});
  Photo* shapes =
      album(all, "Shapes and Light", kSystem, {{2025, 5, 3}, {13, 5, 10}}, 300,
            {paperWaves(kSherbet), marble(kClay), orbs(kSherbet, kBalls), orbs(kClay, kBalls), paperWaves(kClay),
             marble(kLagoon), paperWaves(kLagoon), orbs(kGlacier, kGems), marble(kGlacier), paperWaves(kOrchard)});
  as(shapes[4], ".png"), as(shapes[7], ".jxl"), as(shapes[9], ".gif");
  album(all, "Night Sky", kSystem, {{2025, 8, 12}, {20, 15, 0}}, 30,
        {starry(kNight), starry(kBlueHour), aurora(kNight, 0x7af0a0, 0x4fa0f0), fullMoon()},
        {kWide, kUsual, kWide, kSquare});
  Photo* wide = album(all, "Panoramas", kPhone, {{2025, 6, 20}, {15, 0, 0}}, 500, {ridges(kNoon), skyline(kDusk)},
                      {kPanorama}, {"PANO_20250620_150000.jpg", "PANO_20250620_213112.jpg"});
  wide[0].panorama = wide[1].panorama = true;
  album(all, "Provence 2026", kPhone, {{2026, 6, 25}, {8, 31, 20}}, 120,
        {fields(kGolden, kLavender), flower(kSunflower), loneTree(kSpring, kLeaves), ridges(kGolden, 0.3),
         fields(kDusk, kLavender), loneTree(kSpring, kBlossom), sea(kTeal, 0.4)});
  std::vector<Scene> pages;
  std::vector<std::string> turned;
  for (int i = 0; i < 8; ++i) pages.push_back(screen(i)), turned.push_back("Turned_" + std::to_string(i + 1) + ".jpg");
  Photo* screens = album(all, "Screenshots", kNone, {{2024, 3, 12}, {14, 5, 12}}, 24 * 60, pages, {kPage});
  Photo* lying = album(all, "Turned", kOldPhone, {{2021, 8, 8}, {16, 20, 0}}, 3,
                       {sea(kEmber, 0.3), ridges(kPeach), sea(kGolden, 0.7), loneTree(kGolden, kAutumn),
                        fields(kGolden, kLavender), skyline(kNight), ridges(kBlueHour, 0.7), skyline(kDusk)},
                       {kUsual, kTall}, turned);
  for (int i = 0; i < 8; ++i) {
    screens[i].path = screens[i].taken.toString("'Screenshots/Screenshot_'yyyyMMdd-HHmmss'.png'").toStdString();
    screens[i].stars = 0, lying[i].orientation = i + 1;
  }
  Photo* odd =
      album(all, "Odds and Ends", kTravel, {{2022, 11, 5}, {12, 30, 30}}, 45,
            {marble(kSherbet), aurora(kNight, 0x8ff05f, 0x3f8ff0), flower(kSunflower), ridges(kOvercast),
             orbs(kLagoon, kBalls), sea(kGolden)},
            {kUsual, kUsual, kSquare},
            {"Print proof.jpg", "Sixteen bits.png", "Sticker.png", "Grey morning.jpg", "No date.jpg", "Cut short.jpg"});
  odd[0].pixels = Pixels::Cmyk, odd[1].pixels = Pixels::Deep, odd[2].pixels = Pixels::Sticker,
  odd[3].pixels = Pixels::Grey;
  odd[4].dated = false, odd[5].cutShort = true;
  return all;
}

}  // namespace

Plan planLibrary(int longSide) {
  Plan plan{planPhotos(), {}};
  for (Photo& photo : plan.photos)
    if (const int side = std::max(photo.width, photo.height); longSide > 0)
      photo.width = photo.width * longSide / side, photo.height = photo.height * longSide / side;
  const auto light = [](double t) { return sea(kEmber, 0.35 + 0.05 * t, 0.36 + 0.028 * t, 0.8, t * 1.4); };
  const auto north = [](double t) { return aurora(kNight, 0x3df59a, 0x7a4df0, t * 0.8); };
  const auto harbour = [](double t) { return skyline(kDusk, 0.45, t * 1.2); };
  const auto pond = [](double t) { return sea(kSpring, 0.7, 0.2, 0.5, t); };
  const auto evening = [](double t) { return sea(kPeach, 0.6, 0.4 + 0.03 * t, 0.8, t * 1.3); };
  const auto moonlight = [](double t) { return sea(kNight, 0.5, 0.26, 0.8, t * 1.2); };
  plan.videos = {
      {"Family Trips/Coast/VID_20220714_204110.mp4", "libx264", "aac", light, {{2022, 7, 14}, {18, 41, 10}, Qt::UTC}},
      {"Iceland 2023/Northern lights.mov", "libx264", "aac", north, {{2023, 9, 3}, {23, 12, 44}, Qt::UTC}},
      {"City Nights/Harbour.mkv", "libx264", "libvorbis", harbour, {{2024, 2, 9}, {20, 5, 0}, Qt::UTC}},
      {"Garden/Pond in the wind.webm", "libvpx", "libvorbis", pond, {{2021, 6, 6}, {12, 30, 5}, Qt::UTC}},
      {"Provence 2026/Evening on the coast.webm",
       "libvpx-vp9",
       "libvorbis",
       evening,
       {{2026, 6, 25}, {15, 30, 0}, Qt::UTC}},
      {"Family Trips/Coast/VID_20220715_221530.mp4",
       "libx264",
       "aac",
       moonlight,
       {{2022, 7, 15}, {20, 15, 30}, Qt::UTC},
       true},
      {"Odds and Ends/Only sound.mp4", "", "aac", {}, {{2022, 11, 5}, {17, 0, 0}, Qt::UTC}}};
  for (Video& video : plan.videos)
    if (longSide > 0) video.width = 320, video.height = 180, video.framesPerSecond = 10, video.seconds = 3;
  return plan;
}

}  // namespace tlx::samples
