#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "tlx/platform/photos/PHAsset.h"

namespace tlx::photolibrary {

/// What a file holds, told by its first bytes and never by its name. The numbers stand in indexes on disk.
enum class MediaFormat : std::int32_t {
  Unknown = 0,
  Jpeg = 1,
  Png = 2,
  WebP = 3,
  Gif = 4,
  Tiff = 5,
  Heic = 6,
  Avif = 7,
  JpegXl = 8,
  Mp4 = 20,
  Mov = 21,
  Matroska = 22,
  WebM = 23,
  Avi = 24,
  ThreeGp = 25,
  MpegTs = 26,
};

/// Which decoder makes a format's pictures.
enum class PixelDecoder : std::uint8_t { None, Jpeg, Heif, Vips, Video };

/// Where a photo's file keeps a small picture of it: nowhere, as a JPEG in its EXIF block, or as a picture of the
/// container that was made with the photo and is kept with it.
enum class EmbeddedPicture : std::uint8_t { None, InExif, InContainer };

/// All that there is to know of a format without opening a file. What reads the header of its files is named beside
/// it, in `readPhotoHeader`; a format that has no row, or is forgotten there, does not compile.
struct FormatTraits {
  MediaFormat format = MediaFormat::Unknown;
  PHAssetMediaType mediaType = PHAssetMediaTypeUnknown;
  const char* mimeType = nullptr;
  std::array<std::string_view, 4> endings = {};  ///< of file names, without the dot; new files get the first

  /// How its files begin, one of these; '?' stands for any byte.
  std::array<std::string_view, 4> beginnings = {};
  std::string_view unless = {};                  ///< as `beginnings`, but then it is another format
  std::array<std::string_view, 15> brands = {};  ///< in a file that begins with a list of brands; the first letters do
  std::string_view docType = {};                 ///< in a file that begins as Matroska does
  bool (*matches)(std::span<const std::uint8_t> first) = nullptr;  ///< where no such pattern tells

  PixelDecoder decoder = PixelDecoder::None;
  bool decoderReadsHeader = false;  ///< the header is read by the decoder's libraries; the others are read by hand
  EmbeddedPicture embedded = EmbeddedPicture::None;
  bool decoderTurns = false;  ///< the decoder hands the picture over upright, whatever the metadata say
  bool streams = false;       ///< the decoder hands rows over one after the other, as long as the header allows it
  int heldBytesAPixel = 8;    ///< that a decoder which cannot do so keeps, its own and the result's together
  std::int64_t maxFileBytes = INT64_MAX;  ///< of formats whose decoder takes the file as a whole
  const char* demuxer = nullptr;          ///< of a video, by the demuxing library's name for it
};

/// The rows of all formats but `Unknown`.
std::span<const FormatTraits> mediaFormats();
/// The row of a format; for `Unknown` and for numbers that name no format, one that says nothing.
const FormatTraits& traitsOf(MediaFormat format);

inline bool isVideo(MediaFormat format) {
  return traitsOf(format).mediaType == PHAssetMediaTypeVideo;
}

/// `bytes` are a file's first ones; 4 KiB settle every format. Any thread.
MediaFormat sniffFormat(const std::uint8_t* bytes, std::size_t size);

/// The format that files of such a name usually have, by the name's ending in letters of either case.
MediaFormat formatNamedBy(std::string_view fileName);

}  // namespace tlx::photolibrary
