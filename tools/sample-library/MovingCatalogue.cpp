#include "Catalogue.h"

namespace tlx::samples {
namespace {

using namespace moods;

MovingScene moving(std::function<Scene(float seconds)> at, int seed) {
  return [at = std::move(at), seed](Canvas& c, float seconds) {
    Random random(static_cast<std::uint64_t>(seed));
    at(seconds)(c, random);
  };
}

}  // namespace

std::vector<PlannedVideo> planVideos(int longSide) {
  std::vector<PlannedVideo> videos;
  const std::vector<std::string> h264{"libx264", "libopenh264", "mpeg4"}, aac{"aac"}, opus{"libopus", "opus"},
      vp8{"libvpx"}, vp9{"libvpx-vp9", "libvpx"};
  const auto add = [&](std::string path, VideoFormat format, MovingScene scene) {
    format.key = static_cast<int>(videos.size());
    if (longSide > 0) {
      const int side = std::max(format.width, format.height);
      format.width = format.width * std::min(side, 320) / side / 2 * 2;
      format.height = format.height * std::min(side, 320) / side / 2 * 2;
      format.framesPerSecond = 10;
      format.seconds = std::min(format.seconds, 3.0);
    }
    videos.push_back({std::move(path), std::move(scene), format});
  };
  add("Family Trips/Coast/VID_20220714_204110.mp4",
      {.container = "mp4",
       .pictureCodecs = h264,
       .soundCodecs = aac,
       .width = 640,
       .height = 360,
       .seconds = 6,
       .taken = {2022, 7, 14, 20, 41, 10, 120}},
      moving(
          [](float t) {
            return sea(ember(), {.sunX = 0.35F + 0.05F * t, .sunY = 0.36F + 0.028F * t, .phase = t * 1.4F});
          },
          11));
  add("Iceland 2023/Northern lights.mov",
      {.container = "mov",
       .pictureCodecs = h264,
       .soundCodecs = aac,
       .width = 640,
       .height = 360,
       .seconds = 6,
       .taken = {2023, 9, 3, 23, 12, 44, 0}},
      moving([](float t) { return aurora(night(), 0x3df59a, 0x7a4df0, 0.74F, t * 0.8F); }, 21));
  add("City Nights/Harbour.mkv",
      {.container = "matroska",
       .pictureCodecs = h264,
       .soundCodecs = opus,
       .width = 640,
       .height = 360,
       .seconds = 5,
       .taken = {2024, 2, 9, 21, 5, 0, 60}},
      moving([](float t) { return skyline(violetDusk(), {.phase = t * 1.2F}); }, 31));
  add("Garden/Cosmos in the wind.webm",
      {.container = "webm",
       .pictureCodecs = vp8,
       .soundCodecs = opus,
       .width = 640,
       .height = 360,
       .seconds = 4,
       .taken = {2021, 6, 6, 14, 30, 5, 120}},
      moving(
          [](float t) {
            return meadow(spring(), {0x6a7fe0, 0xf2f0ff, 0xe88fc0}, t * 2.2F);
          },
          41));
  add("Provence 2026/Evening on the coast.webm",
      {.container = "webm",
       .pictureCodecs = vp9,
       .soundCodecs = opus,
       .width = 640,
       .height = 360,
       .seconds = 4,
       .taken = {2026, 6, 27, 20, 50, 0, 120}},
      moving(
          [](float t) {
            return sea(peach(), {.sunX = 0.6F, .sunY = 0.40F + 0.03F * t, .sail = true, .phase = t * 1.3F});
          },
          51));
  add("Family Trips/Coast/VID_20220715_221530.mp4",
      {.container = "mp4",
       .pictureCodecs = h264,
       .soundCodecs = aac,
       .width = 640,
       .height = 360,
       .seconds = 4,
       .taken = {2022, 7, 15, 22, 15, 30, 120},
       .rotation = 90},
      [scene = moving(
           [](float t) { return sea(night(), {.sunY = 0.26F, .sunSize = 0.055F, .moon = true, .phase = t * 1.2F}); },
           61)](Canvas& c, float seconds) {
        // Held upright: the sensor stores the picture lying on its side.
        Canvas upright(c.height(), c.width());
        scene(upright, seconds);
        for (int y = 0; y < c.height(); ++y)
          for (int x = 0; x < c.width(); ++x) c.row(y)[x] = upright.row(x)[upright.width() - 1 - y];
      });
  add("Odds and Ends/Only sound.mp4",
      {.container = "mp4", .pictureCodecs = {}, .soundCodecs = aac, .seconds = 5, .taken = {2022, 11, 5, 18, 0, 0, 60}},
      {});
  return videos;
}

}  // namespace tlx::samples
