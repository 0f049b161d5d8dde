#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tlx::camera {

/// How movies are written: names of GStreamer elements, empty where none is wanted.
struct MovieEncoding {
  std::string videoEncoder, videoParser, audioEncoder, audioParser, muxer;
  std::string ending;  ///< of the file's name, with its dot
};

/// The best that this machine can do: MP4 with H.264, by hardware where there is some, and AAC; or WebM with VP8 and
/// Opus where one of those is missing; or one of them without the sound that cannot be encoded. Nothing when there is
/// no encoder at all. Elements that are named in `without` count as missing.
std::optional<MovieEncoding> chooseMovieEncoding(bool withSound, const std::vector<std::string>& without);

}  // namespace tlx::camera
