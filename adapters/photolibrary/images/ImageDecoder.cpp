#include "adapters/photolibrary/images/ImageDecoder.h"

#include "adapters/photolibrary/images/LibraryError.h"

namespace tlx::photolibrary {
namespace {

constexpr std::int64_t largePixels = 64'000'000;

Picture named(Picture picture, const std::string& path) {
  if (NSError* error = std::get_if<NSError>(&picture)) {
    error->localizedDescription = path + ": " + error->localizedDescription;
  }
  return picture;
}

/// Calls `use` with the file's bytes and format.
template <class Use>
Picture withFile(const std::string& path, Use use) {
  const auto opened = OpenFile::open(path);
  if (const NSError* error = std::get_if<NSError>(&opened)) return *error;
  FileBytes file(std::get<0>(opened)->fd());
  if (file.error() != 0) return fileError(file.error(), path);
  if (file.size() == 0) return libraryError(PhotoLibraryErrorDamaged, path + ": the file is empty");
  return named(use(file, sniffFormat(file.window().data(), file.window().size())), path);
}

}  // namespace

ImageDecoder::ImageDecoder(PixelStore& store) : store_(store) {}

Picture ImageDecoder::decode(const std::string& path, const Request& request) {
  return withFile(path, [&](FileBytes& file, MediaFormat format) -> Picture {
    if (format == MediaFormat::Unknown) return libraryError(PhotoLibraryErrorUnsupported, "no photo or video");
    if (!isVideo(format)) return decodePhoto(file, format, request);
    return decodePoster(file, format, request, {store_, transforms_, request.cancelled});
  });
}

Picture ImageDecoder::decodePhoto(FileBytes& file, MediaFormat format, const Request& request) {
  HeaderExtras extras;
  const auto read = readPhotoHeader(file, format, &extras);
  if (const NSError* error = std::get_if<NSError>(&read)) return *error;
  const PhotoHeader& header = std::get<PhotoHeader>(read);
  const PixelSize upright{header.uprightWidth(), header.uprightHeight()};
  if (upright.pixels() > (header.streams ? maxStreamedPixels : maxHeldPixels)) {
    return libraryError(PhotoLibraryErrorTooLarge, std::to_string(upright.width) + " x " +
                                                       std::to_string(upright.height) + " pixels are too many");
  }
  std::unique_lock<std::mutex> alone;
  if (!header.streams && upright.pixels() > largePixels) alone = std::unique_lock(large_);

  const PixelSize result = fittedSize(upright, request.target, request.mode);
  const DecodeContext context{store_, transforms_, request.cancelled};
  switch (format) {
    case MediaFormat::Jpeg:
      return decodeJpeg(file, header, extras.profile, result, context);
    case MediaFormat::Heic:
    case MediaFormat::Avif:
      return decodeHeif(file, result, context);
    default:
      return decodeWithVips(file, header, result, context);
  }
}

Picture ImageDecoder::decodeEmbedded(const std::string& path, const Request& request) {
  return withFile(path, [&](FileBytes& file, MediaFormat format) -> Picture {
    const DecodeContext context{store_, transforms_, request.cancelled, false};
    if (format == MediaFormat::Heic || format == MediaFormat::Avif) return decodeHeifThumbnail(file, request, context);
    if (format != MediaFormat::Jpeg && format != MediaFormat::Png && format != MediaFormat::WebP) {
      return libraryError(PhotoLibraryErrorNotFound, "no embedded picture");
    }
    HeaderExtras extras;
    const auto read = readPhotoHeader(file, format, &extras);
    if (const NSError* error = std::get_if<NSError>(&read)) return *error;
    if (extras.thumbnail.empty()) return libraryError(PhotoLibraryErrorNotFound, "no embedded picture");
    const PhotoHeader& header = std::get<PhotoHeader>(read);
    return decodeEmbeddedJpeg(extras.thumbnail, {header.width, header.height}, header.turn, request, context);
  });
}

}  // namespace tlx::photolibrary
