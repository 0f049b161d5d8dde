#include <algorithm>
#include <cstring>
#include <string_view>

#include "adapters/photolibrary/images/headers/FileBytes.h"
#include "adapters/photolibrary/source/MediaProbe.h"

namespace tlx::photolibrary {
namespace {

std::string_view text(const std::uint8_t* bytes, std::size_t from, std::size_t count) {
  return {reinterpret_cast<const char*>(bytes) + from, count};
}

MediaFormat formatOfBrand(std::string_view brand) {
  static constexpr std::string_view heic[] = {"heic", "heix", "heim", "heis", "hevc", "hevx", "hevm", "hevs"};
  static constexpr std::string_view mp4[] = {"isom", "iso2", "iso3", "iso4", "iso5", "iso6", "mp41", "mp42",
                                             "avc1", "M4V ", "M4VH", "M4VP", "MSNV", "dash", "f4v "};
  if (std::find(std::begin(heic), std::end(heic), brand) != std::end(heic)) return MediaFormat::Heic;
  if (brand == "avif" || brand == "avis") return MediaFormat::Avif;
  if (brand == "qt  ") return MediaFormat::Mov;
  if (brand.substr(0, 3) == "3gp" || brand.substr(0, 3) == "3g2") return MediaFormat::ThreeGp;
  if (std::find(std::begin(mp4), std::end(mp4), brand) != std::end(mp4)) return MediaFormat::Mp4;
  return MediaFormat::Unknown;
}

MediaFormat sniffBaseMedia(const std::uint8_t* bytes, std::size_t size) {
  const std::size_t end = std::min<std::size_t>(be32(bytes), size);
  const std::string_view major = text(bytes, 8, 4);
  // Sound alone, and raw sensor data, share the container.
  if (major == "M4A " || major == "M4B " || major == "M4P " || major == "crx ") return MediaFormat::Unknown;
  if (const MediaFormat format = formatOfBrand(major); format != MediaFormat::Unknown) return format;
  for (std::size_t at = 16; at + 4 <= end; at += 4) {
    if (const MediaFormat format = formatOfBrand(text(bytes, at, 4)); format != MediaFormat::Unknown) return format;
  }
  if (major == "mif1" || major == "msf1") return MediaFormat::Heic;
  return MediaFormat::Unknown;
}

MediaFormat sniffEbml(const std::uint8_t* bytes, std::size_t size) {
  for (std::size_t at = 4; at + 3 < std::min<std::size_t>(size, 256); ++at) {
    if (bytes[at] != 0x42 || bytes[at + 1] != 0x82) continue;
    const std::size_t length = bytes[at + 2] & 0x7f;
    if (at + 3 + length > size) return MediaFormat::Unknown;
    const std::string_view type = text(bytes, at + 3, length);
    if (type.starts_with("webm")) return MediaFormat::WebM;
    if (type.starts_with("matroska")) return MediaFormat::Matroska;
  }
  return MediaFormat::Unknown;
}

bool hasTransportSync(const std::uint8_t* bytes, std::size_t size, std::size_t first, std::size_t packet) {
  int found = 0;
  for (std::size_t at = first; at < size; at += packet) {
    if (bytes[at] != 0x47) return false;
    ++found;
  }
  return found >= 4;
}

bool isOldMovieAtom(std::string_view type) {
  return type == "moov" || type == "mdat" || type == "wide" || type == "pnot";
}

}  // namespace

MediaFormat sniffFormat(const std::uint8_t* bytes, std::size_t size) {
  size = std::min<std::size_t>(size, 4096);
  if (size >= 3 && bytes[0] == 0xff && bytes[1] == 0xd8 && bytes[2] == 0xff) return MediaFormat::Jpeg;
  if (size >= 2 && bytes[0] == 0xff && bytes[1] == 0x0a) return MediaFormat::JpegXl;
  if (size < 12) return MediaFormat::Unknown;
  if (std::memcmp(bytes, "\x89PNG\r\n\x1a\n", 8) == 0) return MediaFormat::Png;
  if (std::memcmp(bytes, "\0\0\0\x0cJXL \r\n\x87\n", 12) == 0) return MediaFormat::JpegXl;
  if (text(bytes, 0, 6) == "GIF87a" || text(bytes, 0, 6) == "GIF89a") return MediaFormat::Gif;
  if (text(bytes, 0, 4) == "RIFF" && text(bytes, 8, 4) == "WEBP") return MediaFormat::WebP;
  if (text(bytes, 0, 4) == "RIFF" && text(bytes, 8, 4) == "AVI ") return MediaFormat::Avi;
  if (std::memcmp(bytes, "II*\0", 4) == 0 || std::memcmp(bytes, "MM\0*", 4) == 0 ||
      std::memcmp(bytes, "II+\0", 4) == 0 || std::memcmp(bytes, "MM\0+", 4) == 0) {
    // Raw sensor data in TIFF's clothes; its first picture is a thumbnail.
    return text(bytes, 8, 2) == "CR" ? MediaFormat::Unknown : MediaFormat::Tiff;
  }
  if (text(bytes, 4, 4) == "ftyp") return sniffBaseMedia(bytes, size);
  if (isOldMovieAtom(text(bytes, 4, 4))) return MediaFormat::Mov;
  if (be32(bytes) == 0x1a45dfa3) return sniffEbml(bytes, size);
  if (hasTransportSync(bytes, size, 0, 188) || hasTransportSync(bytes, size, 4, 192)) return MediaFormat::MpegTs;
  return MediaFormat::Unknown;
}

}  // namespace tlx::photolibrary
