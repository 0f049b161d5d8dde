#include "adapters/photolibrary/source/MediaFormat.h"

#include <algorithm>

namespace tlx::photolibrary {
namespace {

using namespace std::string_view_literals;
using First = std::span<const std::uint8_t>;

constexpr std::int64_t maxWholeFile = std::int64_t{256} << 20;

bool hasTransportSync(First first, std::size_t from, std::size_t packet) {
  int found = 0;
  for (std::size_t at = from; at < first.size(); at += packet) {
    if (first[at] != 0x47) return false;
    ++found;
  }
  return found >= 4;
}

constexpr FormatTraits rowOf(MediaFormat format) {
  switch (format) {
    case MediaFormat::Unknown:
      break;
    case MediaFormat::Jpeg:
      return {.format = format,
              .mediaType = PHAssetMediaTypeImage,
              .mimeType = "image/jpeg",
              .endings = {"jpg", "jpeg", "jpe"},
              .beginnings = {"\xff\xd8\xff"},
              .decoder = PixelDecoder::Jpeg,
              .embedded = EmbeddedPicture::InExif,
              .streams = true,
              .heldBytesAPixel = 6};  // coefficients
    case MediaFormat::Png:
      return {.format = format,
              .mediaType = PHAssetMediaTypeImage,
              .mimeType = "image/png",
              .endings = {"png"},
              .beginnings = {"\x89PNG\r\n\x1a\n"},
              .decoder = PixelDecoder::Vips,
              .embedded = EmbeddedPicture::InExif,
              .streams = true};
    case MediaFormat::WebP:
      return {.format = format,
              .mediaType = PHAssetMediaTypeImage,
              .mimeType = "image/webp",
              .endings = {"webp"},
              .beginnings = {"RIFF????WEBP"},
              .decoder = PixelDecoder::Vips,
              .embedded = EmbeddedPicture::InExif,
              .maxFileBytes = maxWholeFile};
    case MediaFormat::Gif:
      return {.format = format,
              .mediaType = PHAssetMediaTypeImage,
              .mimeType = "image/gif",
              .endings = {"gif"},
              .beginnings = {"GIF87a", "GIF89a"},
              .decoder = PixelDecoder::Vips,
              .maxFileBytes = maxWholeFile};
    case MediaFormat::Tiff:
      return {.format = format,
              .mediaType = PHAssetMediaTypeImage,
              .mimeType = "image/tiff",
              .endings = {"tif", "tiff"},
              .beginnings = {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv},
              // Raw sensor data that begin as a TIFF does; their first picture is a thumbnail.
              .unless = "????????CR",
              .decoder = PixelDecoder::Vips,
              .decoderReadsHeader = true,
              .streams = true};
    case MediaFormat::Heic:
      return {.format = format,
              .mediaType = PHAssetMediaTypeImage,
              .mimeType = "image/heif",
              .endings = {"heic", "heif", "hif"},
              .brands = {"heic", "heix", "heim", "heis", "hevc", "hevx", "hevm", "hevs"},
              .decoder = PixelDecoder::Heif,
              .embedded = EmbeddedPicture::InContainer,
              .decoderTurns = true,
              .heldBytesAPixel = 10};
    case MediaFormat::Avif:
      return {.format = format,
              .mediaType = PHAssetMediaTypeImage,
              .mimeType = "image/avif",
              .endings = {"avif"},
              .brands = {"avif", "avis"},
              .decoder = PixelDecoder::Heif,
              .embedded = EmbeddedPicture::InContainer,
              .decoderTurns = true,
              .heldBytesAPixel = 10};
    case MediaFormat::JpegXl:
      return {.format = format,
              .mediaType = PHAssetMediaTypeImage,
              .mimeType = "image/jxl",
              .endings = {"jxl"},
              .beginnings = {"\xff\x0a", "\0\0\0\x0cJXL \r\n\x87\n"sv},
              .decoder = PixelDecoder::Vips,
              .decoderReadsHeader = true,
              .decoderTurns = true,
              .heldBytesAPixel = 16};  // floating point
    case MediaFormat::Mp4:
      return {.format = format,
              .mediaType = PHAssetMediaTypeVideo,
              .mimeType = "video/mp4",
              .endings = {"mp4", "m4v"},
              .brands = {"isom", "iso2", "iso3", "iso4", "iso5", "iso6", "mp41", "mp42", "avc1", "M4V ", "M4VH", "M4VP",
                         "MSNV", "dash", "f4v "},
              .decoder = PixelDecoder::Video,
              .decoderReadsHeader = true,
              .demuxer = "mov"};
    case MediaFormat::Mov:
      return {.format = format,
              .mediaType = PHAssetMediaTypeVideo,
              .mimeType = "video/quicktime",
              .endings = {"mov"},
              .beginnings = {"????moov", "????mdat", "????wide", "????pnot"},  // from before there were brands
              .brands = {"qt  "},
              .decoder = PixelDecoder::Video,
              .decoderReadsHeader = true,
              .demuxer = "mov"};
    case MediaFormat::Matroska:
      return {.format = format,
              .mediaType = PHAssetMediaTypeVideo,
              .mimeType = "video/x-matroska",
              .endings = {"mkv"},
              .docType = "matroska",
              .decoder = PixelDecoder::Video,
              .decoderReadsHeader = true,
              .demuxer = "matroska"};
    case MediaFormat::WebM:
      return {.format = format,
              .mediaType = PHAssetMediaTypeVideo,
              .mimeType = "video/webm",
              .endings = {"webm"},
              .docType = "webm",
              .decoder = PixelDecoder::Video,
              .decoderReadsHeader = true,
              .demuxer = "matroska"};
    case MediaFormat::Avi:
      return {.format = format,
              .mediaType = PHAssetMediaTypeVideo,
              .mimeType = "video/x-msvideo",
              .endings = {"avi"},
              .beginnings = {"RIFF????AVI "},
              .decoder = PixelDecoder::Video,
              .decoderReadsHeader = true,
              .demuxer = "avi"};
    case MediaFormat::ThreeGp:
      return {.format = format,
              .mediaType = PHAssetMediaTypeVideo,
              .mimeType = "video/3gpp",
              .endings = {"3gp", "3g2"},
              .brands = {"3gp", "3g2"},
              .decoder = PixelDecoder::Video,
              .decoderReadsHeader = true,
              .demuxer = "mov"};
    case MediaFormat::MpegTs:
      return {.format = format,
              .mediaType = PHAssetMediaTypeVideo,
              .mimeType = "video/mp2t",
              .endings = {"ts", "mts", "m2ts"},
              // Packets of 188 bytes, or with four bytes of time before each.
              .matches = [](First first) { return hasTransportSync(first, 0, 188) || hasTransportSync(first, 4, 192); },
              .decoder = PixelDecoder::Video,
              .decoderReadsHeader = true,
              .demuxer = "mpegts"};
  }
  return {};
}

constexpr int formatNumbers = 256;  // the index keeps the number in a byte
constexpr bool hasRow(int number) {
  return rowOf(static_cast<MediaFormat>(number)).format != MediaFormat::Unknown;
}
constexpr auto rows = [] {
  constexpr std::size_t count = [] {
    std::size_t found = 0;
    for (int i = 0; i < formatNumbers; ++i) found += hasRow(i);
    return found;
  }();
  std::array<FormatTraits, count> table;
  std::size_t next = 0;
  for (int i = 0; i < formatNumbers; ++i) {
    if (hasRow(i)) table[next++] = rowOf(static_cast<MediaFormat>(i));
  }
  return table;
}();

std::string_view textOf(First first) {
  return {reinterpret_cast<const char*>(first.data()), first.size()};
}

bool beginsWith(std::string_view first, std::string_view pattern) {
  return first.size() >= pattern.size() &&
         std::equal(pattern.begin(), pattern.end(), first.begin(),
                    [](char wanted, char is) { return wanted == '?' || wanted == is; });
}

/// The format whose row `fits`, or none.
template <class Fits>
MediaFormat formatWhere(Fits fits) {
  const auto found = std::find_if(rows.begin(), rows.end(), fits);
  return found == rows.end() ? MediaFormat::Unknown : found->format;
}

MediaFormat formatOfBrand(std::string_view brand) {
  return formatWhere([brand](const FormatTraits& row) {
    return std::any_of(row.brands.begin(), row.brands.end(),
                       [brand](std::string_view own) { return !own.empty() && brand.starts_with(own); });
  });
}

MediaFormat sniffBrands(std::string_view first) {
  std::uint32_t length = 0;
  for (std::size_t i = 0; i < 4; ++i) length = length << 8 | static_cast<std::uint8_t>(first[i]);
  const std::size_t end = std::min<std::size_t>(length, first.size());
  const std::string_view major = first.substr(8, 4);
  // Sound alone, and raw sensor data, share the container.
  if (major == "M4A " || major == "M4B " || major == "M4P " || major == "crx ") return MediaFormat::Unknown;
  if (const MediaFormat format = formatOfBrand(major); format != MediaFormat::Unknown) return format;
  for (std::size_t at = 16; at + 4 <= end; at += 4) {
    if (const MediaFormat format = formatOfBrand(first.substr(at, 4)); format != MediaFormat::Unknown) return format;
  }
  // Brands that say no more than that it is a picture.
  return major == "mif1" || major == "msf1" ? MediaFormat::Heic : MediaFormat::Unknown;
}

MediaFormat sniffDocType(std::string_view first) {
  const std::size_t at = first.substr(0, 256).find("\x42\x82", 4);
  if (at == std::string_view::npos || at + 3 > first.size()) return MediaFormat::Unknown;
  const std::size_t length = static_cast<std::uint8_t>(first[at + 2]) & 0x7f;
  const std::string_view type = first.substr(at + 3, length);
  return formatWhere([type](const FormatTraits& row) { return !row.docType.empty() && type.starts_with(row.docType); });
}

}  // namespace

std::span<const FormatTraits> mediaFormats() {
  return rows;
}

const FormatTraits& traitsOf(MediaFormat format) {
  static constexpr FormatTraits none;
  const auto found = std::find_if(rows.begin(), rows.end(), [format](const auto& row) { return row.format == format; });
  return found == rows.end() ? none : *found;
}

MediaFormat sniffFormat(const std::uint8_t* bytes, std::size_t size) {
  const First first(bytes, std::min<std::size_t>(size, 4096));
  const std::string_view text = textOf(first);
  if (beginsWith(text, "????ftyp????????")) return sniffBrands(text);
  if (beginsWith(text, "\x1a\x45\xdf\xa3")) return sniffDocType(text);
  return formatWhere([&](const FormatTraits& row) {
    const bool begins = std::any_of(row.beginnings.begin(), row.beginnings.end(), [text](std::string_view pattern) {
      return !pattern.empty() && beginsWith(text, pattern);
    });
    if (begins && !row.unless.empty() && beginsWith(text, row.unless)) return false;
    return begins || (row.matches && row.matches(first));
  });
}

MediaFormat formatNamedBy(std::string_view fileName) {
  const std::size_t dot = fileName.rfind('.');
  if (dot == std::string_view::npos) return MediaFormat::Unknown;
  const std::string_view ending = fileName.substr(dot + 1);
  const auto same = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + ('a' - 'A') : a) == b; };
  return formatWhere([&](const FormatTraits& row) {
    return std::any_of(row.endings.begin(), row.endings.end(), [&](std::string_view own) {
      return !own.empty() && std::equal(ending.begin(), ending.end(), own.begin(), own.end(), same);
    });
  });
}

}  // namespace tlx::photolibrary
