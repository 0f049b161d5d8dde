#include "adapters/photolibrary/images/headers/MediaProbe.h"

#include <cstring>
#include <utility>

#include "adapters/photolibrary/base/FileBytes.h"
#include "adapters/photolibrary/base/LibraryError.h"
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

}  // namespace

std::variant<MediaInfo, NSError> probeMedia(int fd) {
  FileBytes file(fd);
  if (file.error() != 0) return libraryError(PhotoLibraryErrorUnreadable, std::strerror(file.error()));
  if (file.size() == 0) return libraryError(PhotoLibraryErrorDamaged, "the file is empty");
  const MediaFormat format = sniffFormat(file.window().data(), file.window().size());
  if (format == MediaFormat::Unknown) return libraryError(PhotoLibraryErrorUnsupported, "no photo or video");
  if (isVideo(format)) return probeVideoHeader(file, format);

  const auto header = readPhotoHeader(file, format);
  if (const NSError* error = std::get_if<NSError>(&header)) return *error;
  return infoOf(std::get<PhotoHeader>(header));
}

std::optional<double> probeSidecar(int fd) {
  FileBytes file(fd);
  const Bytes bytes = file.at(0, std::size_t{1} << 20);
  PhotoFacts facts;
  readXmp({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, facts);
  return facts.packetDate;
}

}  // namespace tlx::photolibrary
