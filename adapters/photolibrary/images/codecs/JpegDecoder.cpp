#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/codecs/ImageDecoder.h"
#include "adapters/photolibrary/images/codecs/JpegReader.h"

namespace tlx::photolibrary {
namespace {

/// The part of a decoded picture that is used, in its own pixels.
struct Crop {
  std::int32_t left = 0, top = 0;
  PixelSize size;
};

NSError damaged(const JpegReader& reader) {
  return libraryError(PhotoLibraryErrorDamaged, reader.error().empty() ? "truncated or damaged" : reader.error());
}

/// Room for a row of pixels, off the boundaries of vectors: where a row begins on one, the decoding library stores it
/// past the cache, and whoever reads it next waits for the memory.
class RowBuffer {
 public:
  explicit RowBuffer(std::size_t bytes) : room_(bytes + alignment + offset) {
    const auto start = reinterpret_cast<std::uintptr_t>(room_.data());
    row_ = room_.data() + (alignment - start % alignment) % alignment + offset;
  }
  std::uint8_t* data() { return row_; }

 private:
  static constexpr std::size_t alignment = 64, offset = 16;
  std::vector<std::uint8_t> room_;
  std::uint8_t* row_;
};

Failure readRows(JpegReader& reader, const Crop& crop, PictureBuilder& builder, const DecodeContext& context) {
  const PixelSize scaled = reader.scaledSize();
  RowBuffer row(static_cast<std::size_t>(scaled.width) * 4);
  for (std::int32_t y = 0; y < crop.top + crop.size.height; ++y) {
    if (context.isCancelled()) return libraryError(PhotoLibraryErrorCancelled, "cancelled");
    if (!reader.readRow(row.data())) return damaged(reader);
    if (y >= crop.top) builder.add(row.data() + static_cast<std::size_t>(crop.left) * 4);
  }
  if (context.strict && reader.isDamaged()) return damaged(reader);
  return std::nullopt;
}

/// The middle of `size` that has the shape of `shape`; all of it when the two differ by no more than rounding does.
Crop middleOfShape(PixelSize size, PixelSize shape) {
  Crop crop{0, 0, size};
  const double wanted = static_cast<double>(shape.width) / shape.height;
  const double width = std::min<double>(size.width, size.height * wanted);
  const double height = std::min<double>(size.height, size.width / wanted);
  if (size.width - width > 1.5) crop.size.width = std::max(1, static_cast<std::int32_t>(width));
  if (size.height - height > 1.5) crop.size.height = std::max(1, static_cast<std::int32_t>(height));
  crop.left = (size.width - crop.size.width + 1) / 2;
  crop.top = (size.height - crop.size.height + 1) / 2;
  return crop;
}

}  // namespace

Failure decodeJpeg(FileBytes& file, const PhotoHeader& header, Bytes profile, PixelSize result,
                   const DecodeContext& context) {
  JpegReader reader(file, context.strict, context.stop);
  if (!reader.readHeader()) return damaged(reader);
  // Print colours, and profiles for other than RGB, are converted by the library that knows them all.
  if (!reader.isRgbOrGrey() || (!profile.empty() && reader.isGrey())) {
    return decodeWithVips(file, header, result, context);
  }
  if (context.strict && !reader.canHoldItsSize(file.size())) return damaged(reader);

  const PixelSize stored = header.swapsSides() ? result.turned() : result;
  if (!reader.start(stored)) {
    return context.isCancelled() ? libraryError(PhotoLibraryErrorCancelled, "cancelled") : damaged(reader);
  }
  const PixelSize scaled = reader.scaledSize();
  auto builder =
      PictureBuilder::start(context.sink, {scaled, stored, header.turn, true, context.transforms.fromProfile(profile)});
  if (const NSError* error = std::get_if<NSError>(&builder)) return *error;
  return readRows(reader, {0, 0, scaled}, *std::get<0>(builder), context);
}

Failure decodeEmbeddedJpeg(Bytes jpeg, PixelSize shape, std::int32_t turn, const PictureRequest& request,
                           const DecodeContext& context) {
  static constexpr std::int64_t maxPixels = 4'000'000;  // it is there to be quick
  JpegReader reader(jpeg);
  if (!reader.readHeader()) return damaged(reader);
  if (!reader.isRgbOrGrey() || reader.size().pixels() > maxPixels) {
    return libraryError(PhotoLibraryErrorUnsupported, "no usable embedded picture");
  }
  const auto upright = [turn](PixelSize size) { return turn >= 5 ? size.turned() : size; };
  const PixelSize useful = middleOfShape(reader.size(), shape).size;
  const PixelSize needed = upright(fittedSize(upright(useful), request.target, request.mode));
  // The bars scale with the picture.
  const double bars = std::max(static_cast<double>(reader.size().width) / useful.width,
                               static_cast<double>(reader.size().height) / useful.height);
  if (!reader.start({static_cast<std::int32_t>(std::ceil(needed.width * bars)),
                     static_cast<std::int32_t>(std::ceil(needed.height * bars))})) {
    return damaged(reader);
  }
  const Crop crop = middleOfShape(reader.scaledSize(), shape);
  const PixelSize stored{std::min(needed.width, crop.size.width), std::min(needed.height, crop.size.height)};
  auto builder = PictureBuilder::start(context.sink, {crop.size, stored, turn, true, nullptr});
  if (const NSError* error = std::get_if<NSError>(&builder)) return *error;
  return readRows(reader, crop, *std::get<0>(builder), context);
}

}  // namespace tlx::photolibrary
