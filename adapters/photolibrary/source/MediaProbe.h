#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tlx/platform/avfoundation/AVAsset.h"
#include "tlx/platform/foundation/NSError.h"
#include "tlx/platform/photos/PHAsset.h"

#include "adapters/photolibrary/source/MediaFormat.h"

namespace tlx::photolibrary {

/// What the header of a photo or video tells, without decoding a pixel.
struct MediaInfo {
  MediaFormat format = MediaFormat::Unknown;
  PHAssetMediaType mediaType = PHAssetMediaTypeUnknown;
  std::int32_t width = 0, height = 0;  ///< pixels, as the picture stands upright; 0 when the header does not say
  double duration = 0;                 ///< seconds; videos only
  /// Seconds since 1970 UTC. From the capture date and its offset where there is one; a capture date without an offset
  /// is taken as local time of this machine. Nothing when the file carries no date.
  std::optional<double> captureDate;
  std::int32_t orientation = 1;  ///< EXIF numbering 1 to 8, 1 where the decoder turns the picture itself
  bool favorite = false;         ///< the rating in the metadata is at least 4 of 5 stars
  bool panorama = false;         ///< marked as one (XMP GPano), or twice as wide as high or more with a camera's make
  bool screenshot = false;       ///< says so in its metadata ("Screenshot" as user comment or software's mark)
};

/// Reads the header of an open regular file. Any thread; reads at most the bytes it needs (64 KiB of most photos).
/// Answers an error for what is no photo or video, is empty, or cannot be read. A video without a video track answers
/// its format with the media type video: whether it plays is for the fetch to say.
std::variant<MediaInfo, NSError> probeMedia(int fd, const std::string& path);

/// The tracks and duration of a video file; an error when it is no video or cannot be read. Any thread.
struct VideoInfo {
  std::vector<AVAssetTrack> tracks;
  double duration = 0;
};
std::variant<VideoInfo, NSError> probeVideo(const std::string& path);

}  // namespace tlx::photolibrary
