#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tlx::photolibrary {

/// A moment by the clock on the wall here, as EXIF writes it: viewers that know of no offsets then show the time that a
/// camera without one would have written.
struct WallClockTime {
  std::string date;      ///< "YYYY:MM:DD hh:mm:ss"
  std::string offset;    ///< from universal time, "+hh:mm"
  std::string fraction;  ///< milliseconds, three digits
};
/// Of seconds since 1970 UTC; nothing for a year that no calendar here has. Any thread.
std::optional<WallClockTime> wallClockTime(double seconds);

/// The EXIF block, with its mark in front, of a picture that stands upright and was taken at that moment. Empty where
/// there is no memory for it. Any thread.
std::vector<std::uint8_t> captureExif(double created);

}  // namespace tlx::photolibrary
