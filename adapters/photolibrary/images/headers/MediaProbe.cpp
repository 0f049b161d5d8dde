#include "adapters/photolibrary/source/MediaProbe.h"

#include <algorithm>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/headers/FileBytes.h"
#include "adapters/photolibrary/images/headers/PhotoHeader.h"
#include "adapters/photolibrary/images/headers/VideoFile.h"

namespace tlx::photolibrary {
namespace {

MediaInfo infoOf(const PhotoHeader& header) {
  MediaInfo info;
  info.format = header.format;
  info.mediaType = PHAssetMediaTypeImage;
  info.width = header.uprightWidth();
  info.height = header.uprightHeight();
  const PhotoFacts& facts = header.facts;
  info.captureDate = facts.captureDate ? facts.captureDate : facts.packetDate;
  if (info.captureDate) info.dateOrigin = facts.captureDate ? DateOrigin::Metadata : DateOrigin::Packet;
  info.orientation = header.turn;
  info.favorite = facts.favorite();
  info.screenshot = facts.screenshot;
  info.panorama = facts.panorama || (facts.hasMake && info.width / 2 >= info.height);
  return info;
}

std::variant<MediaInfo, NSError> infoOf(VideoFile&& video, MediaFormat format, const std::string& path) {
  if (!video.context()) return libraryError(PhotoLibraryErrorDamaged, path + ": the container cannot be read");
  if (!video.videoStream()) return libraryError(PhotoLibraryErrorUnsupported, path + " has no video track");
  if (!video.hasFrames()) return libraryError(PhotoLibraryErrorDamaged, path + " has no frame");
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

}  // namespace

std::variant<MediaInfo, NSError> probeMedia(int fd, const std::string& path) {
  FileBytes file(fd);
  if (file.error() != 0) return fileError(file.error(), path);
  if (file.size() == 0) return libraryError(PhotoLibraryErrorDamaged, path + " is empty");
  const MediaFormat format = sniffFormat(file.window().data(), file.window().size());
  if (format == MediaFormat::Unknown) {
    return libraryError(PhotoLibraryErrorUnsupported, path + " is no photo or video");
  }
  if (isVideo(format)) return infoOf(VideoFile(file, format), format, path);

  const auto header = readPhotoHeader(file, format);
  if (const NSError* error = std::get_if<NSError>(&header)) {
    return libraryError(static_cast<PhotoLibraryErrorCode>(error->code), path + ": " + error->localizedDescription);
  }
  return infoOf(std::get<PhotoHeader>(header));
}

std::optional<double> probeSidecar(int fd) {
  FileBytes file(fd);
  const Bytes bytes = file.at(0, std::size_t{1} << 20);
  PhotoFacts facts;
  readXmp({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, facts);
  return facts.packetDate;
}

std::variant<VideoInfo, NSError> probeVideo(const std::string& path) {
  const auto opened = OpenFile::open(path);
  if (const NSError* error = std::get_if<NSError>(&opened)) return *error;
  FileBytes file(std::get<0>(opened)->fd());
  if (file.error() != 0) return fileError(file.error(), path);
  const MediaFormat format = sniffFormat(file.window().data(), file.window().size());
  if (!isVideo(format)) return libraryError(PhotoLibraryErrorUnsupported, path + " is no video");
  const VideoFile video(file, format);
  if (!video.context()) return libraryError(PhotoLibraryErrorDamaged, path + ": the container cannot be read");
  return video.info();
}

}  // namespace tlx::photolibrary
