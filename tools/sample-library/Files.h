#pragma once

#include <QDateTime>
#include <filesystem>
#include <string>

#include "Scenes.h"

namespace tlx::samples {

/// What a file holds besides 8 bits of sRGB.
enum class Pixels { Plain, Deep, Grey, Sticker, Cmyk, Wide };

struct Photo {
  std::string path{};  ///< below the library's folder, with the extension that also names the format
  Scene scene{};
  std::uint64_t seed = 0;     ///< 0: without grain
  int width = 0, height = 0;  ///< upright
  Pixels pixels = Pixels::Plain;
  int quality = 86, orientation = 1, stars = 0;
  QDateTime taken{};  ///< by the wall clock there; with its offset against UTC where the camera knew that
  std::string make{}, model{};
  bool panorama = false, dated = true;
  bool cutShort = false;  ///< the file ends in the middle
};

struct Video {
  std::string path{};
  std::string picture{}, sound{};  ///< FFmpeg's encoders; no picture: sound alone
  std::function<Scene(double seconds)> scene{};
  QDateTime taken{};
  bool turned = false;  ///< stored lying on its side, with the word that it stands
  int width = 640, height = 360, framesPerSecond = 15;
  double seconds = 4;
};

/// The whole file. Throws std::runtime_error when the libraries of this machine cannot write it. Any thread, once
/// libvips is started.
std::string encoded(const Photo& photo);
std::string encoded(const Video& video);

/// What the library consists of; with `longSide`, no picture is larger than that.
struct Plan {
  std::vector<Photo> photos;
  std::vector<Video> videos;
};
Plan planLibrary(int longSide);

/// Makes the library in `folder`, newest first. Each file appears whole, by a rename, and those that are there are
/// kept, so that a run that was broken off is completed by the next. A folder that holds anything else is refused. What
/// this machine cannot write is told on standard error and left out. Returns the number of files made, 0 when all were
/// there. Throws std::runtime_error. `made` hears of each file, on any thread.
int writeSampleLibrary(const std::filesystem::path& folder, bool small,
                       const std::function<void(const std::string&)>& made = {});
/// `count` JPEGs of 640 x 480 with dates and embedded thumbnails in folders of a few hundred; the pixels repeat.
int writeManyPhotos(const std::filesystem::path& folder, int count);

}  // namespace tlx::samples
