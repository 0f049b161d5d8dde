#include "tlx/platform/avfoundation/AVAsset.h"

#include <algorithm>
#include <iterator>

namespace tlx {

std::vector<AVAssetTrack> AVURLAsset::tracksWithMediaType(const std::string& mediaType) const {
  std::vector<AVAssetTrack> tracks;
  std::copy_if(tracks_.begin(), tracks_.end(), std::back_inserter(tracks),
               [&](const AVAssetTrack& track) { return track.mediaType == mediaType; });
  return tracks;
}

}  // namespace tlx
