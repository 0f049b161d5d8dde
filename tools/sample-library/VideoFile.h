#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Canvas.h"
#include "Metadata.h"

namespace tlx::samples {

/// Paints the frame at `seconds`; whatever stands still in it must come out the same each time.
using MovingScene = std::function<void(Canvas&, float seconds)>;

struct VideoFormat {
  std::string container;  ///< a muxer's name: mp4, mov, matroska, webm
  std::vector<std::string>
      pictureCodecs;  ///< encoders by name, the first that this machine has is taken; none: no track
  std::vector<std::string> soundCodecs;
  int width = 640, height = 360, framesPerSecond = 18;
  double seconds = 5;
  Moment taken{};
  int rotation = 0;  ///< degrees clockwise that a player must turn the picture by
  int key = 0;       ///< which chords and waves one hears
};

/// Writes a whole file. False, with the reason in `why`, when an encoder is missing or anything fails; then no file is
/// left. Any thread.
bool writeVideo(const std::string& path, const VideoFormat& format, const MovingScene& scene, std::string& why);

}  // namespace tlx::samples
