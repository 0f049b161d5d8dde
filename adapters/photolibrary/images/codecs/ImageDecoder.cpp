#include "adapters/photolibrary/images/codecs/ImageDecoder.h"

#include <cstring>
#include <utility>

#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {
namespace {

constexpr std::int64_t muchMemory = std::int64_t{512} << 20;

std::int64_t memoryFor(const PhotoHeader& header) {
  const std::int64_t pixels = PixelSize{header.width, header.height}.pixels();
  return header.pieceBytes * 2 + (header.streams ? 0 : pixels * traitsOf(header.format).heldBytesAPixel);
}

/// Calls `use` with the file's bytes and format.
template <class Use>
Failure withFile(int descriptor, Use use) {
  FileBytes file(descriptor);
  if (file.error() != 0) return libraryError(PhotoLibraryErrorUnreadable, std::strerror(file.error()));
  if (file.size() == 0) return libraryError(PhotoLibraryErrorDamaged, "the file is empty");
  return use(file, sniffFormat(file.window().data(), file.window().size()));
}

}  // namespace

ImageDecoder::ImageDecoder(LargeGate gate) : gate_(std::move(gate)) {}

Failure ImageDecoder::decode(int file, const PictureRequest& request, RowSink& sink) {
  return withFile(file, [&](FileBytes& bytes, MediaFormat format) -> Failure {
    if (format == MediaFormat::Unknown) return libraryError(PhotoLibraryErrorUnsupported, "no photo or video");
    if (!isVideo(format)) return decodePhoto(bytes, format, request, sink);
    return decodePoster(bytes, format, request, {sink, transforms_, request.stop});
  });
}

Failure ImageDecoder::decodePhoto(FileBytes& file, MediaFormat format, const PictureRequest& request, RowSink& sink) {
  HeaderExtras extras;
  const auto read = readPhotoHeader(file, format, &extras);
  if (const NSError* error = std::get_if<NSError>(&read)) return *error;
  const PhotoHeader& header = std::get<PhotoHeader>(read);
  if (auto refused = refusal(header, file.size())) return refused;
  std::shared_ptr<void> alone;
  if (memoryFor(header) > muchMemory) {
    auto opened = gate_(memoryFor(header));
    if (NSError* error = std::get_if<NSError>(&opened)) return std::move(*error);
    alone = std::get<0>(std::move(opened));
  }

  const PixelSize upright{header.uprightWidth(), header.uprightHeight()};
  const PixelSize result = fittedSize(upright, request.target, request.mode);
  const DecodeContext context{sink, transforms_, request.stop};
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

Failure ImageDecoder::refusal(const PhotoHeader& header, std::int64_t fileBytes) {
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

Failure ImageDecoder::decodeEmbedded(int descriptor, const PictureRequest& request, RowSink& sink) {
  return withFile(descriptor, [&](FileBytes& file, MediaFormat format) -> Failure {
    const DecodeContext context{sink, transforms_, request.stop, false};
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
