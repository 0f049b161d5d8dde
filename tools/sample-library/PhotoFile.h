#pragma once

#include <optional>

#include "Canvas.h"
#include "Metadata.h"

namespace tlx::samples {

enum class PhotoKind { Jpeg, Png, WebP, Gif, Tiff, Heic, Avif, JpegXl };
const char* extensionOf(PhotoKind kind);

enum class PixelKind {
  Colour,  ///< 8 bits, sRGB
  Deep,    ///< 16 bits; PNG and TIFF
  Grey,
  Palette,  ///< at most 256 colours and alpha, the picture cut to a round sticker; PNG
  Cmyk,     ///< JPEG, with the profile it was separated for
  Wide,     ///< Display P3; JPEG
};

struct PhotoFormat {
  PhotoKind kind = PhotoKind::Jpeg;
  PixelKind pixels = PixelKind::Colour;
  int quality = 86;
  bool thumbnail = true;  ///< an EXIF thumbnail of 160 pixels on the long side; JPEG
};

/// The upright picture as the bytes of a file. Its pixels are stored turned as `metadata.orientation` wants it; width,
/// height and thumbnail of the metadata are filled in here. Nothing when the libraries of this machine cannot write the
/// format, and then `why` says so. Any thread, once libvips is started.
std::optional<Bytes> encodePhoto(const Canvas& upright, const PhotoFormat& format, PhotoMetadata metadata,
                                 std::string& why);

/// The picture as 8-bit RGB, rows without gaps.
Bytes developedRgb(const Canvas& upright);

}  // namespace tlx::samples
