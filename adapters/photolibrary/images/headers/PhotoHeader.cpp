#include "adapters/photolibrary/images/headers/PhotoHeader.h"

#include <algorithm>
#include <cstring>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/headers/JpegSegments.h"

namespace tlx::photolibrary {
namespace {

constexpr int maxChunks = 4096;  // far above what any camera writes, and an end for files made to have none

std::string_view textOf(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::vector<std::uint8_t>* thumbnailOf(HeaderExtras* extras) {
  return extras ? &extras->thumbnail : nullptr;
}

bool startsWith(Bytes bytes, std::string_view mark) {
  return textOf(bytes).starts_with(mark);
}

}  // namespace

void readJpegHeader(FileBytes& file, PhotoHeader& header, HeaderExtras* extras) {
  static constexpr std::string_view exifMark("Exif\0\0", 6);
  static constexpr std::string_view xmpMark("http://ns.adobe.com/xap/1.0/\0", 29);
  static constexpr std::string_view profileMark("ICC_PROFILE\0", 12);
  bool exifSeen = false;
  JpegSegments segments(file);
  while (const auto segment = segments.next()) {
    const std::uint8_t marker = segment->marker;
    const bool isFrame = marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
    if (isFrame) {
      const Bytes bytes = file.exactly(segment->content, 5);
      if (bytes.empty()) return;
      header.height = be16(bytes.data() + 1);
      header.width = be16(bytes.data() + 3);
      // Progressive frames are complete only with their last scan.
      header.streams = marker != 0xc2 && marker != 0xc6 && marker != 0xca && marker != 0xce;
      return;
    }
    if (marker == 0xe1) {
      const Bytes bytes = file.at(segment->content, segment->size);
      if (!exifSeen && startsWith(bytes, exifMark)) {
        exifSeen = true;
        readExif(bytes, header.facts, thumbnailOf(extras));
      } else if (startsWith(bytes, xmpMark)) {
        readXmp(textOf(bytes.subspan(xmpMark.size())), header.facts);
      }
    }
    if (marker == 0xe2 && extras && extras->profile.size() < FileBytes::maxPiece) {
      // Numbered pieces; every writer puts them in order.
      Bytes bytes = file.at(segment->content, segment->size);
      if (startsWith(bytes, profileMark) && bytes.size() > profileMark.size() + 2) {
        bytes = bytes.subspan(profileMark.size() + 2);
        extras->profile.insert(extras->profile.end(), bytes.begin(), bytes.end());
      }
    }
  }
}

void readPngHeader(FileBytes& file, PhotoHeader& header, HeaderExtras* extras) {
  static constexpr std::size_t maxText = 4 * 1024 * 1024;
  std::uint64_t at = 8;
  for (int chunk = 0; chunk < maxChunks; ++chunk) {
    Bytes bytes = file.exactly(at, 8);
    if (bytes.empty()) return;
    const std::uint32_t length = be32(bytes.data());
    const std::string type(textOf(bytes.subspan(4, 4)));
    if (chunk == 0 && (type != "IHDR" || length != 13)) return;
    if (type == "IEND" || length > INT32_MAX) return;
    const std::uint64_t data = at + 8;
    if (type == "IHDR") {
      bytes = file.exactly(data, 13);
      if (bytes.empty()) return;
      header.streams = bytes[12] == 0;
      header.width = static_cast<std::int32_t>(std::min<std::uint32_t>(be32(bytes.data()), INT32_MAX));
      header.height = static_cast<std::int32_t>(std::min<std::uint32_t>(be32(bytes.data() + 4), INT32_MAX));
    } else if (type == "eXIf") {
      readExif(file.at(data, length), header.facts, thumbnailOf(extras));
    } else if (type == "iTXt" && length < maxText) {
      bytes = file.at(data, length);
      if (startsWith(bytes, "XML:com.adobe.xmp")) readXmp(textOf(bytes), header.facts);
    } else if (type == "tEXt" && length < 4096) {
      header.facts.screenshot = header.facts.screenshot || saysScreenshot(textOf(file.at(data, length)));
    }
    at = data + length + 4;
  }
}

void readWebPHeader(FileBytes& file, PhotoHeader& header, HeaderExtras* extras) {
  std::uint64_t at = 12;
  for (int chunk = 0; chunk < maxChunks; ++chunk) {
    Bytes bytes = file.exactly(at, 8);
    if (bytes.empty()) return;
    const std::string type(textOf(bytes.first(4)));
    const std::uint32_t length = le32(bytes.data() + 4);
    const std::uint64_t data = at + 8;
    if (type == "VP8X" && !(bytes = file.exactly(data, 10)).empty()) {
      header.width = static_cast<std::int32_t>(le24(bytes.data() + 4) + 1);
      header.height = static_cast<std::int32_t>(le24(bytes.data() + 7) + 1);
    } else if (type == "VP8 " && header.width == 0 && !(bytes = file.exactly(data, 10)).empty()) {
      header.width = (bytes[6] | bytes[7] << 8) & 0x3fff;
      header.height = (bytes[8] | bytes[9] << 8) & 0x3fff;
    } else if (type == "VP8L" && header.width == 0 && !(bytes = file.exactly(data, 5)).empty()) {
      const std::uint32_t bits = le32(bytes.data() + 1);
      header.width = static_cast<std::int32_t>((bits & 0x3fff) + 1);
      header.height = static_cast<std::int32_t>(((bits >> 14) & 0x3fff) + 1);
    } else if (type == "EXIF") {
      readExif(file.at(data, length), header.facts, thumbnailOf(extras));
    } else if (type == "XMP ") {
      readXmp(textOf(file.at(data, length)), header.facts);
    }
    at = data + length + (length & 1);
  }
}

void readGifHeader(FileBytes& file, PhotoHeader& header) {
  const Bytes bytes = file.exactly(0, 10);
  if (bytes.empty()) return;
  header.width = bytes[6] | bytes[7] << 8;
  header.height = bytes[8] | bytes[9] << 8;
}

std::variant<PhotoHeader, NSError> readPhotoHeader(FileBytes& file, MediaFormat format, HeaderExtras* extras) {
  PhotoHeader header;
  header.format = format;
  switch (format) {
    case MediaFormat::Jpeg:
      readJpegHeader(file, header, extras);
      break;
    case MediaFormat::Png:
      readPngHeader(file, header, extras);
      break;
    case MediaFormat::WebP:
      readWebPHeader(file, header, extras);
      break;
    case MediaFormat::Gif:
      readGifHeader(file, header);
      break;
    case MediaFormat::Tiff:
      readTiffHeader(file, header);
      break;
    case MediaFormat::Heic:
    case MediaFormat::Avif:
      readHeifHeader(file, header);
      break;
    case MediaFormat::JpegXl:
      readJpegXlHeader(file, header);
      break;
    case MediaFormat::Unknown:
    case MediaFormat::Mp4:
    case MediaFormat::Mov:
    case MediaFormat::Matroska:
    case MediaFormat::WebM:
    case MediaFormat::Avi:
    case MediaFormat::ThreeGp:
    case MediaFormat::MpegTs:
      return libraryError(PhotoLibraryErrorUnsupported, "not a photo");
  }
  if (header.width <= 0 || header.height <= 0) {
    return libraryError(PhotoLibraryErrorDamaged, "the header names no size");
  }
  const FormatTraits& traits = traitsOf(format);
  header.turn = traits.decoderTurns ? 1 : header.facts.orientation;
  header.streams = header.streams && traits.streams;
  return header;
}

}  // namespace tlx::photolibrary
