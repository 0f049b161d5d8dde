#pragma once

#include <cstdint>
#include <vector>

namespace tlx::photolibrary {

/// The EXIF block, a TIFF structure without a mark in front, of a picture that stands upright and was taken at that
/// moment, in seconds since 1970 UTC. The date is by the clock on the wall here, with its distance from universal time:
/// viewers that know of no distances then show the time that a camera without one would have written. Of a year that
/// EXIF's four digits cannot hold, the block says nothing. Any thread.
std::vector<std::uint8_t> captureExif(double created);

}  // namespace tlx::photolibrary
