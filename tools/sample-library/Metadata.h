#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tlx::samples {

using Bytes = std::vector<std::uint8_t>;

/// The wall clock where a photo was taken.
struct Moment {
  int year = 2024, month = 1, day = 1, hour = 12, minute = 0, second = 0;
  std::optional<int> offsetMinutes{};  ///< of that clock against UTC, where the camera knew it

  std::string exif() const;     ///< "2024:01:31 12:00:00"
  std::string iso() const;      ///< "2024-01-31T12:00:00"
  std::string compact() const;  ///< "20240131_120000"
  std::string offset() const;   ///< "+02:00"
  /// Seconds since 1970 UTC; without an offset the clock is this machine's.
  std::int64_t unixTime() const;
};

struct PhotoMetadata {
  std::optional<Moment> taken{};
  std::string make{}, model{}, comment{};
  int orientation = 1;
  int stars = 0;              ///< 1…5, 0: none
  int width = 0, height = 0;  ///< as stored
  bool panorama = false;
  Bytes thumbnail{};  ///< a small JPEG, or nothing
};

/// The EXIF block with its "Exif\0\0" mark, little-endian; empty when there is nothing to say.
Bytes exifBlock(const PhotoMetadata& metadata);
/// The XMP packet for what EXIF has no place for; empty when there is nothing to say.
std::string xmpPacket(const PhotoMetadata& metadata);
/// A matrix profile of the Display P3 space.
Bytes displayP3Profile();

/// Put the blocks into a finished file; what is empty is left out.
Bytes withJpegMetadata(const Bytes& jpeg, const Bytes& exif, const std::string& xmp, const Bytes& profile);
Bytes withPngMetadata(const Bytes& png, const Bytes& exif, const std::string& xmp);
/// For little-endian TIFF files: adds capture date, maker and orientation to the first directory.
Bytes withTiffMetadata(const Bytes& tiff, const PhotoMetadata& metadata);

}  // namespace tlx::samples
