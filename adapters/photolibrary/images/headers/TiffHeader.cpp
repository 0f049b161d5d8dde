#include <algorithm>
#include <cstring>
#include <memory>

#include <tiffio.h>

#include "adapters/photolibrary/images/headers/PhotoHeader.h"
#include "adapters/photolibrary/images/headers/TiffSource.h"

namespace tlx::photolibrary {
namespace {

std::string_view textField(TIFF* tiff, std::uint32_t tag) {
  const char* text = nullptr;
  return TIFFGetField(tiff, tag, &text) == 1 && text ? std::string_view(text) : std::string_view();
}

std::int64_t saturated(std::uint64_t bytes, std::uint64_t count) {
  constexpr std::uint64_t most = std::uint64_t{1} << 48;
  return static_cast<std::int64_t>(bytes > most / std::max<std::uint64_t>(count, 1) ? most : bytes * count);
}

}  // namespace

void readTiffHeader(FileBytes& file, PhotoHeader& header) {
  TiffSource source(file);
  TIFF* tiff = source.get();
  if (!tiff) return;

  // Files of raw sensor data have a reduced picture in the first directory, where other TIFFs have the picture itself.
  std::uint32_t kind = 0;
  if (TIFFGetField(tiff, TIFFTAG_SUBFILETYPE, &kind) == 1 && (kind & FILETYPE_REDUCEDIMAGE) != 0) return;
  std::uint32_t width = 0, height = 0;
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
  header.width = static_cast<std::int32_t>(std::min<std::uint32_t>(width, INT32_MAX));
  header.height = static_cast<std::int32_t>(std::min<std::uint32_t>(height, INT32_MAX));

  std::uint32_t tileWidth = 0;
  if (TIFFIsTiled(tiff) && TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth) == 1 && tileWidth > 0) {
    // A row of tiles is decoded before its first pixel is handed on.
    const std::uint64_t across = (std::uint64_t{width} + tileWidth - 1) / tileWidth;
    header.pieceBytes = saturated(TIFFTileSize64(tiff), across);
  } else {
    header.pieceBytes = saturated(TIFFStripSize64(tiff), 1);
  }

  PhotoFacts& facts = header.facts;
  std::uint16_t turn = 1;
  if (TIFFGetField(tiff, TIFFTAG_ORIENTATION, &turn) == 1 && turn >= 1 && turn <= 8) facts.orientation = turn;
  facts.hasMake = !textField(tiff, TIFFTAG_MAKE).empty();
  facts.screenshot = saysScreenshot(textField(tiff, TIFFTAG_SOFTWARE));
  facts.captureDate = parseCaptureDate(textField(tiff, TIFFTAG_DATETIME), {}, {});
  std::uint32_t length = 0;
  const char* packet = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_XMLPACKET, &length, &packet) == 1 && packet) readXmp({packet, length}, facts);

  std::uint64_t exif = 0;
  if (TIFFGetField(tiff, TIFFTAG_EXIFIFD, &exif) == 1 && TIFFReadEXIFDirectory(tiff, exif) == 1) {
    const auto taken =
        parseCaptureDate(textField(tiff, EXIFTAG_DATETIMEORIGINAL), textField(tiff, EXIFTAG_OFFSETTIMEORIGINAL),
                         textField(tiff, EXIFTAG_SUBSECTIMEORIGINAL));
    if (taken) facts.captureDate = taken;
  }
}

}  // namespace tlx::photolibrary
