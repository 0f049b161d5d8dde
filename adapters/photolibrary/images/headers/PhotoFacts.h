#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "adapters/photolibrary/base/FileBytes.h"

namespace tlx::photolibrary {

/// What the metadata blocks of a photo say. Filled by every block that a file carries, in any order.
struct PhotoFacts {
  std::optional<double> captureDate;  ///< EXIF's, seconds since 1970 UTC
  std::optional<double> packetDate;   ///< XMP's, which counts where EXIF has none
  int packetDateWorth = 0;            ///< of the properties that tell of a date, the best that was found
  std::int32_t orientation = 1;       ///< EXIF numbering, as the block says, whether or not the decoder obeys it
  std::optional<std::int32_t> exifRating, xmpRating;  ///< stars, 0 to 5; XMP's counts where both are there
  bool hasMake = false;
  bool panorama = false;
  bool screenshot = false;

  bool favorite() const { return xmpRating.value_or(exifRating.value_or(0)) >= 4; }
};

/// Reads an EXIF block: a TIFF structure, with or without "Exif\0\0" before it. A damaged block gives what could be
/// read. When `thumbnail` is given, the JPEG embedded in the block is copied there.
void readExif(Bytes block, PhotoFacts& facts, std::vector<std::uint8_t>* thumbnail = nullptr);

/// Takes the rating, the capture date, panorama and screenshot marks of the picture out of an XMP packet. What a
/// damaged packet, or one of more than a mebibyte, says before its end counts; nothing that it declares is expanded.
void readXmp(std::string_view packet, PhotoFacts& facts);

/// "YYYY:MM:DD HH:MM:SS" with an offset such as "+02:00", "+0200" or "Z" (this machine's local time when empty) and a
/// decimal fraction's digits. Nothing for the all-zero or blank dates that cameras without a clock write, or for what
/// is no date.
std::optional<double> parseCaptureDate(std::string_view date, std::string_view offset, std::string_view fraction);

/// A date as XMP and videos write it, "YYYY-MM-DDThh:mm:ss.fffZ", of which everything after the day may be missing. The
/// rules are those of `parseCaptureDate`.
std::optional<double> parseIsoDate(std::string_view text);

/// Whether a free text of the metadata says that the picture is a screenshot.
bool saysScreenshot(std::string_view text);

}  // namespace tlx::photolibrary
