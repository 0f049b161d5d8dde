#include <algorithm>
#include <cstring>
#include <utility>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/headers/MediaProbe.h"
#include "adapters/photolibrary/images/headers/VideoFile.h"

namespace tlx::photolibrary {

std::variant<MediaInfo, NSError> probeVideoHeader(FileBytes& file, MediaFormat format) {
  VideoFile video(file, format);
  if (!video.context()) return libraryError(PhotoLibraryErrorDamaged, "the container cannot be read");
  if (!video.videoStream()) return libraryError(PhotoLibraryErrorUnsupported, "no video track");
  if (!video.hasFrames()) return libraryError(PhotoLibraryErrorDamaged, "no frame");
  MediaInfo info;
  info.format = format;
  info.mediaType = PHAssetMediaTypeVideo;
  const VideoInfo content = video.info();
  info.duration = content.duration;
  info.captureDate = video.captureDate();
  if (info.captureDate) info.dateOrigin = DateOrigin::Metadata;
  const auto track = std::find_if(content.tracks.begin(), content.tracks.end(),
                                  [](const AVAssetTrack& each) { return each.mediaType == AVMediaTypeVideo; });
  if (track != content.tracks.end()) {
    info.width = track->width;
    info.height = track->height;
  }
  return info;
}

std::variant<VideoInfo, NSError> probeVideo(int fd) {
  FileBytes file(fd);
  if (file.error() != 0) return libraryError(PhotoLibraryErrorUnreadable, std::strerror(file.error()));
  const MediaFormat format = sniffFormat(file.window().data(), file.window().size());
  if (!isVideo(format)) return libraryError(PhotoLibraryErrorUnsupported, "no video");
  const VideoFile video(file, format);
  if (!video.context()) return libraryError(PhotoLibraryErrorDamaged, "the container cannot be read");
  return video.info();
}

}  // namespace tlx::photolibrary
