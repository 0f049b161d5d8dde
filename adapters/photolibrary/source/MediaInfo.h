#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tlx/platform/avfoundation/AVAsset.h"
#include "tlx/platform/photos/PHAsset.h"

#include "adapters/photolibrary/source/MediaFormat.h"

namespace tlx::photolibrary {

/// Where an item's date comes from. The numbers stand in indexes on disk.
enum class DateOrigin : std::uint8_t {
  FileTime = 0,  ///< when the file was last written: nothing else tells
  Name = 1,      ///< its name
  Metadata = 2,  ///< EXIF, or a video's container
  Packet = 3,    ///< an XMP packet in the file
  Sidecar = 4,   ///< an XMP file beside it
};

/// Whether that is when the picture was taken, as far as its makers know, rather than a guess.
constexpr bool isCaptureDate(DateOrigin origin) {
  return origin == DateOrigin::Metadata || origin == DateOrigin::Packet || origin == DateOrigin::Sidecar;
}

/// What the header of a photo or video tells, without decoding a pixel.
struct MediaInfo {
  MediaFormat format = MediaFormat::Unknown;
  PHAssetMediaType mediaType = PHAssetMediaTypeUnknown;
  std::int32_t width = 0, height = 0;  ///< pixels, as the picture stands upright; 0 when the header does not say
  double duration = 0;                 ///< seconds; videos only
  /// Seconds since 1970 UTC. From the capture date and its offset where there is one; a capture date without an offset
  /// is taken as local time of this machine. Nothing when the file carries no date.
  std::optional<double> captureDate;
  DateOrigin dateOrigin = DateOrigin::FileTime;  ///< of the capture date, where there is one
  std::int32_t orientation = 1;  ///< EXIF numbering 1 to 8, 1 where the decoder turns the picture itself
  bool favorite = false;         ///< the rating in the metadata is at least 4 of 5 stars
  bool panorama = false;         ///< marked as one (XMP GPano), or twice as wide as high or more with a camera's make
  bool screenshot = false;       ///< says so in its metadata ("Screenshot" as user comment or software's mark)
};

/// What a video holds.
struct VideoInfo {
  std::vector<AVAssetTrack> tracks;
  double duration = 0;
};

}  // namespace tlx::photolibrary
