// In the place of the decoders of videos, in workers that do not load FFmpeg.

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/codecs/ImageDecoder.h"
#include "adapters/photolibrary/images/headers/VideoFile.h"

namespace tlx::photolibrary {
namespace {

NSError noVideos() {
  return libraryError(PhotoLibraryErrorUnsupported, "this kind of worker knows no videos");
}

}  // namespace

Failure decodePoster(FileBytes&, MediaFormat, const PictureRequest&, const DecodeContext&) {
  return noVideos();
}
std::variant<MediaInfo, NSError> probeVideoHeader(FileBytes&, MediaFormat) {
  return noVideos();
}
std::variant<VideoInfo, NSError> probeVideo(int) {
  return noVideos();
}

}  // namespace tlx::photolibrary
