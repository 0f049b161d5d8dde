#include "adapters/photolibrary/images/PictureLayers.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/pixels/PictureBuilder.h"
#include "adapters/photolibrary/images/pixels/UprightSink.h"

namespace tlx::photolibrary {
namespace {

PixelSize sizeOf(const CGImage& image) {
  return {static_cast<std::int32_t>(image.width()), static_cast<std::int32_t>(image.height())};
}

bool covers(PixelSize size, PixelSize wanted) {
  return size.width >= wanted.width && size.height >= wanted.height;
}

bool haveTheSameShape(PixelSize a, PixelSize b) {
  static constexpr double tolerance = 0.03;  // sides of a few hundred pixels are rounded
  return std::abs(static_cast<double>(a.width) / a.height * b.height / b.width - 1) < tolerance;
}

/// The same picture with fewer pixels.
Picture shrunk(const std::shared_ptr<const CGImage>& image, PixelSize size, PixelStore& store) {
  if (sizeOf(*image) == size) return image;
  // Its colour is premultiplied already, which is what `opaque` leaves alone.
  UprightSink sink(store);
  auto builder = PictureBuilder::start(sink, {sizeOf(*image), size, 1, true, nullptr});
  if (const NSError* error = std::get_if<NSError>(&builder)) return *error;
  std::vector<std::uint8_t> row(image->width() * CGImage::bytesPerPixel);
  for (std::size_t y = 0; y < image->height(); ++y) {
    std::memcpy(row.data(), image->row(y), row.size());
    std::get<0>(builder)->add(row.data());
  }
  return sink.finish();
}

}  // namespace

PictureLayers::PictureLayers(ItemStore& items, DecodersPort& decoders, PixelStore& pixels, std::size_t memory,
                             std::size_t largestInMemory, SharedThumbnails::Settings shared)
    : items_(items), pixels_(pixels), files_(decoders), memory_(memory, largestInMemory), shared_(std::move(shared)) {}

std::shared_ptr<const UIImage> PictureLayers::inMemory(const ThumbnailKey& key) {
  const auto located = items_.locate(key.identifier);
  const ItemLocation* item = std::get_if<ItemLocation>(&located);
  return item ? memory_.find(key, {item->modified, item->bytes}) : nullptr;
}

PictureLayers::Found PictureLayers::keep(const Wanted& wanted, const ItemLocation& item,
                                         std::shared_ptr<const CGImage> bitmap) {
  Found found{std::make_shared<const UIImage>(std::move(bitmap)), std::nullopt};
  memory_.insert(wanted.key, {item.modified, item.bytes}, found.image);
  return found;
}

PictureLayers::Found PictureLayers::atHand(const Wanted& wanted, bool onlyFinal) {
  const auto located = items_.locate(wanted.key.identifier);
  const ItemLocation* item = std::get_if<ItemLocation>(&located);
  if (!item || !wanted.thumbnail) return {};
  if (auto image = memory_.find(wanted.key, {item->modified, item->bytes})) return {std::move(image), std::nullopt};
  if (const auto subject = shared_.subjectOf(*item)) {
    auto bitmap = shared_.find(*subject, wanted.key.target, wanted.key.mode, pixels_);
    if (bitmap) return keep(wanted, *item, std::move(bitmap));
    if (auto error = shared_.failure(*subject)) return {nullptr, std::move(error)};
  }
  return item->path.empty() ? Found{} : embedded(wanted, *item, onlyFinal);
}

PictureLayers::Found PictureLayers::embedded(const Wanted& wanted, const ItemLocation& item, bool onlyFinal) {
  // Only these containers' embedded pictures are made with the photo and kept with it, and decoding the photo itself
  // takes a hundred times as long.
  const bool isTrue = traitsOf(item.format).embedded == EmbeddedPicture::InContainer;
  if (onlyFinal && !isTrue) return {};
  // A JPEG's embedded picture fits into a segment of 64 KiB; others may be of any size.
  if (wanted.atOnce && item.format != MediaFormat::Jpeg) return {};
  Picture picture = files_.decodeEmbedded(item.path, {wanted.key.target, wanted.key.mode, wanted.stop}, wanted.atOnce);
  auto* bitmap = std::get_if<0>(&picture);
  if (!bitmap) return {};
  const PixelSize enough = fittedSize({item.width, item.height}, wanted.key.target, wanted.key.mode);
  if (isTrue && sizeOf(**bitmap) == enough) return keep(wanted, item, std::move(*bitmap));
  if (onlyFinal) return {};
  return {std::make_shared<const UIImage>(std::move(*bitmap)), std::nullopt, false};
}

PictureLayers::Found PictureLayers::fromPreview(const Wanted& wanted, const Preview& preview) {
  const auto located = items_.locate(wanted.key.identifier);
  const ItemLocation* item = std::get_if<ItemLocation>(&located);
  if (!item) return {};
  const PictureRequest request{wanted.key.target, wanted.key.mode, wanted.stop};
  const std::string& path = preview.file.path;
  Picture picture = preview.head ? files_.decodeEmbedded(path, request) : files_.decode(path, request);
  if (std::holds_alternative<NSError>(picture)) return {};
  return keep(wanted, *item, std::get<0>(std::move(picture)));
}

PictureLayers::Found PictureLayers::decode(const Wanted& wanted, const std::string& path,
                                           std::optional<SharedThumbnails::Record>& record) {
  auto located = items_.locate(wanted.key.identifier);
  if (NSError* error = std::get_if<NSError>(&located)) return {nullptr, std::move(*error)};
  const ItemLocation& item = std::get<ItemLocation>(located);
  const CGSize target = wanted.key.target;
  PictureRequest request{target, wanted.key.mode, wanted.stop};
  const PixelSize whole{item.width, item.height};
  const auto subject = wanted.thumbnail ? shared_.subjectOf(item) : std::nullopt;
  const int side = subject ? SharedThumbnails::sideFor(whole, target, wanted.key.mode) : 0;
  if (side > 0) {
    request.target = {static_cast<double>(side), static_cast<double>(side)};
    request.mode = PHImageContentModeAspectFit;
  }
  const auto start = std::chrono::steady_clock::now();
  Picture picture = files_.decode(path, request);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  const bool unchanged = subject && shared_.subjectOf(item) == subject;
  if (NSError* error = std::get_if<NSError>(&picture)) {
    if (unchanged && SharedThumbnails::isLasting(*error)) record = SharedThumbnails::Record{*subject, 0, *error};
    return {nullptr, std::move(*error)};
  }
  if (side > 0) {
    const auto& large = std::get<0>(picture);
    if (unchanged && haveTheSameShape(sizeOf(*large), whole) && shared_.isWorth(taken.count(), sizeOf(*large))) {
      record = SharedThumbnails::Record{*subject, side, large};
    }
    const PixelSize expected = fittedSize(whole, target, wanted.key.mode);
    const bool fits = haveTheSameShape(sizeOf(*large), whole) && covers(sizeOf(*large), expected);
    picture = shrunk(large, fits ? expected : fittedSize(sizeOf(*large), target, wanted.key.mode), pixels_);
    if (NSError* error = std::get_if<NSError>(&picture)) return {nullptr, std::move(*error)};
  }
  return keep(wanted, item, std::get<0>(std::move(picture)));
}

}  // namespace tlx::photolibrary
