#include "adapters/photolibrary/images/codecs/ImageDecoder.h"

#include <fstream>

#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {
namespace {

constexpr std::int64_t muchMemory = std::int64_t{512} << 20;

/// Memory that the machine has to give, without making it swap; a great deal where it does not say.
std::int64_t availableMemory() {
  std::ifstream stream("/proc/meminfo");
  std::string word;
  std::int64_t kilobytes = 0;
  while (stream >> word) {
    if (word == "MemAvailable:" && stream >> kilobytes) return kilobytes * 1024;
  }
  return std::int64_t{1} << 40;
}

Picture named(Picture picture, const std::string& path) {
  if (NSError* error = std::get_if<NSError>(&picture)) {
    error->localizedDescription = path + ": " + error->localizedDescription;
  }
  return picture;
}

std::int64_t memoryFor(const PhotoHeader& header) {
  const std::int64_t pixels = PixelSize{header.width, header.height}.pixels();
  return header.pieceBytes * 2 + (header.streams ? 0 : pixels * traitsOf(header.format).heldBytesAPixel);
}

bool needsMuchMemory(const PhotoHeader& header) {
  return memoryFor(header) > muchMemory;
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
    return decodePoster(file, format, request, {store_, transforms_, request.stop});
  });
}

Picture ImageDecoder::decodePhoto(FileBytes& file, MediaFormat format, const Request& request) {
  HeaderExtras extras;
  const auto read = readPhotoHeader(file, format, &extras);
  if (const NSError* error = std::get_if<NSError>(&read)) return *error;
  const PhotoHeader& header = std::get<PhotoHeader>(read);
  if (auto refused = refusal(header, file.size())) return std::move(*refused);
  const PixelSize upright{header.uprightWidth(), header.uprightHeight()};
  std::unique_lock<std::mutex> alone;
  if (needsMuchMemory(header)) {
    alone = std::unique_lock(large_);
    if (memoryFor(header) > availableMemory() / 4 * 3) {
      return libraryError(PhotoLibraryErrorNoSpace, "there is not enough memory for its pixels");
    }
  }

  const PixelSize result = fittedSize(upright, request.target, request.mode);
  const DecodeContext context{store_, transforms_, request.stop};
  switch (traitsOf(format).decoder) {
    case PixelDecoder::Jpeg:
      return decodeJpeg(file, header, extras.profile, result, context);
    case PixelDecoder::Heif:
      return decodeHeif(file, result, context);
    case PixelDecoder::Vips:
      return decodeWithVips(file, header, result, context);
    case PixelDecoder::None:
    case PixelDecoder::Video:
      break;
  }
  return libraryError(PhotoLibraryErrorUnsupported, "no photo");
}

std::optional<NSError> ImageDecoder::refusal(const PhotoHeader& header, std::int64_t fileBytes) {
  const PixelSize size{header.width, header.height};
  const auto tooLarge = [](const std::string& text) { return libraryError(PhotoLibraryErrorTooLarge, text); };
  const std::string sides = std::to_string(size.width) + " x " + std::to_string(size.height) + " pixels";
  if (size.pixels() > (header.streams ? maxStreamedPixels : maxHeldPixels) || size.width > maxSide ||
      size.height > maxSide) {
    return tooLarge(sides + " are too many");
  }
  if (!header.streams && size.pixels() > largePixels && size.pixels() / maxPixelsOfAByte > fileBytes) {
    return tooLarge(sides + " are too many for a file of " + std::to_string(fileBytes) + " bytes");
  }
  if (header.pieceBytes > maxPieceBytes) {
    return tooLarge("pieces of " + std::to_string(header.pieceBytes) + " bytes are too large");
  }
  if (fileBytes > traitsOf(header.format).maxFileBytes) {
    return tooLarge("a file of " + std::to_string(fileBytes) + " bytes is too large");
  }
  return std::nullopt;
}

Picture ImageDecoder::decodeEmbedded(const std::string& path, const Request& request) {
  return withFile(path, [&](FileBytes& file, MediaFormat format) -> Picture {
    const DecodeContext context{store_, transforms_, request.stop, false};
    switch (traitsOf(format).embedded) {
      case EmbeddedPicture::InContainer:
        return decodeHeifThumbnail(file, request, context);
      case EmbeddedPicture::None:
        return libraryError(PhotoLibraryErrorNotFound, "no embedded picture");
      case EmbeddedPicture::InExif:
        break;
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
