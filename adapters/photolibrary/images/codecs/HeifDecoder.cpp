#include <cmath>
#include <vector>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/codecs/ImageDecoder.h"
#include "adapters/photolibrary/images/headers/HeifFile.h"

namespace tlx::photolibrary {
namespace {

std::shared_ptr<const ColorTransform> transformOf(const heif_image_handle* handle, ColorTransforms& transforms) {
  const heif_color_profile_type type = heif_image_handle_get_color_profile_type(handle);
  if (type == heif_color_profile_type_rICC || type == heif_color_profile_type_prof) {
    std::vector<std::uint8_t> profile(heif_image_handle_get_raw_color_profile_size(handle));
    if (profile.empty() || profile.size() > FileBytes::maxPiece) return nullptr;
    if (heif_image_handle_get_raw_color_profile(handle, profile.data()).code != heif_error_Ok) return nullptr;
    return transforms.fromProfile(profile);
  }
  if (type == heif_color_profile_type_nclx) {
    heif_color_profile_nclx* nclx = nullptr;
    const heif_error failed = heif_image_handle_get_nclx_color_profile(handle, &nclx);
    const int primaries = failed.code == heif_error_Ok && nclx ? nclx->color_primaries : 0;
    if (nclx) heif_nclx_color_profile_free(nclx);
    return transforms.fromPrimaries(primaries);
  }
  return nullptr;
}

/// `result` is a size of the picture as the library hands it over: upright.
Failure decodeHandle(const heif_image_handle* handle, PixelSize result, const DecodeContext& context) {
  const std::unique_ptr<heif_decoding_options, HeifRelease> options(heif_decoding_options_alloc());
  options->convert_hdr_to_8bit = 1;
  heif_image* decoded = nullptr;
  const heif_error failed =
      heif_decode_image(handle, &decoded, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, options.get());
  const HeifImage image(decoded);
  if (failed.code == heif_error_Memory_allocation_error) return libraryError(PhotoLibraryErrorTooLarge, failed.message);
  if (failed.code != heif_error_Ok || !image) return libraryError(PhotoLibraryErrorDamaged, failed.message);
  if (context.isCancelled()) return libraryError(PhotoLibraryErrorCancelled, "cancelled");

  int stride = 0;
  std::uint8_t* pixels = heif_image_get_plane(image.get(), heif_channel_interleaved, &stride);
  const PixelSize size{heif_image_get_width(image.get(), heif_channel_interleaved),
                       heif_image_get_height(image.get(), heif_channel_interleaved)};
  if (!pixels || size.width <= 0 || size.height <= 0) return libraryError(PhotoLibraryErrorDamaged, "no pixels");
  if (result.width > size.width || result.height > size.height) {
    return libraryError(PhotoLibraryErrorDamaged, "the header's size is not the picture's");
  }
  const bool opaque = heif_image_handle_has_alpha_channel(handle) == 0;
  auto builder =
      PictureBuilder::start(context.sink, {size, result, 1, opaque, transformOf(handle, context.transforms)});
  if (const NSError* error = std::get_if<NSError>(&builder)) return *error;
  for (std::int32_t y = 0; y < size.height; ++y) {
    if (context.isCancelled()) return libraryError(PhotoLibraryErrorCancelled, "cancelled");
    std::get<0>(builder)->add(pixels + static_cast<std::ptrdiff_t>(y) * stride);
  }
  return std::nullopt;
}

}  // namespace

void prepareHeif() {
  heif_init(nullptr);
}

Failure decodeHeif(FileBytes& file, PixelSize result, const DecodeContext& context) {
  const HeifFile heif(file);
  if (!heif.primary()) return libraryError(PhotoLibraryErrorDamaged, heif.error());
  return decodeHandle(heif.primary(), result, context);
}

Failure decodeHeifThumbnail(FileBytes& file, const PictureRequest& request, const DecodeContext& context) {
  static constexpr std::int64_t maxPixels = 4'000'000;  // it is there to be quick
  static constexpr double shapeTolerance = 0.03;        // sides of a few hundred pixels are rounded
  const HeifFile heif(file);
  if (!heif.primary()) return libraryError(PhotoLibraryErrorDamaged, heif.error());
  const HeifHandle thumbnail = heif.thumbnail();
  if (!thumbnail) return libraryError(PhotoLibraryErrorNotFound, "no embedded picture");
  const PixelSize size{heif_image_handle_get_width(thumbnail.get()), heif_image_handle_get_height(thumbnail.get())};
  if (size.pixels() > maxPixels) return libraryError(PhotoLibraryErrorUnsupported, "no usable embedded picture");
  const PixelSize whole{heif_image_handle_get_width(heif.primary()), heif_image_handle_get_height(heif.primary())};
  const PixelSize wanted = fittedSize(whole, request.target, request.mode);
  const bool sameShape =
      std::abs(static_cast<double>(size.width) / size.height * whole.height / whole.width - 1) < shapeTolerance;
  const bool covers = sameShape && wanted.width <= size.width && wanted.height <= size.height;
  return decodeHandle(thumbnail.get(), covers ? wanted : fittedSize(size, request.target, request.mode), context);
}

}  // namespace tlx::photolibrary
