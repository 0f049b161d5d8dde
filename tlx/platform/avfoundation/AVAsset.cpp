#include "tlx/platform/avfoundation/AVAsset.h"

#include <algorithm>
#include <iterator>

namespace tlx {

std::shared_ptr<const AVURLAsset> AVURLAsset::URLAssetWithURL_options(const std::optional<AVRecording>& url) {
  return url ? std::make_shared<const AVURLAsset>(url->path, url->tracks, url->duration, url->owner) : nullptr;
}

std::vector<AVAssetTrack> AVURLAsset::tracksWithMediaType(const std::string& mediaType) const {
  std::vector<AVAssetTrack> tracks;
  std::copy_if(tracks_.begin(), tracks_.end(), std::back_inserter(tracks),
               [&](const AVAssetTrack& track) { return track.mediaType == mediaType; });
  return tracks;
}

}  // namespace tlx
