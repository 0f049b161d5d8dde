#pragma once

#include <string>
#include <vector>

#include "PhotoFile.h"
#include "Scenes.h"
#include "VideoFile.h"

namespace tlx::samples {

/// One photo of the library before it is painted.
struct PlannedPhoto {
  std::string path;  ///< below the library's folder, with its extension
  Scene scene;
  int seed = 0;
  int width = 0, height = 0;  ///< upright
  PhotoFormat format{};
  PhotoMetadata metadata{};
  Moment taken{};         ///< what the file's time is set to, also where the metadata stays silent
  bool soft = false;      ///< nothing in it is sharp: painted at half the size, and nobody can tell
  bool cutShort = false;  ///< only the first part of the file is kept
};

struct PlannedVideo {
  std::string path;
  MovingScene scene;
  VideoFormat format{};
};

/// A file that is no picture at all.
struct PlannedOddity {
  std::string path, content;
  Moment taken{};
};

struct Catalogue {
  std::vector<PlannedPhoto> photos;
  std::vector<PlannedVideo> videos;
  std::vector<PlannedOddity> oddities;
};

/// The whole library. `longSide` limits the pictures' size (0: as the cameras took them); videos follow.
Catalogue planLibrary(int longSide);

/// The moving part of it.
std::vector<PlannedVideo> planVideos(int longSide);

/// A few dozen different scenes, for libraries that need many pictures and no story.
std::vector<Scene> assortedScenes();

}  // namespace tlx::samples
