#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {

/// The date that a camera, phone, messenger or screenshot program put into a file's name, in seconds since 1970 UTC;
/// such names tell the time of this machine's zone, and noon stands for those that tell a day alone. Nothing for names
/// without a date, and for those that may mean one thing or another: digits that may be a serial number, a day and a
/// month in either order, two different days. Any thread.
std::optional<double> dateInName(std::string_view fileName);

struct ItemDate {
  double created = 0;  ///< seconds since 1970 UTC
  DateOrigin origin = DateOrigin::FileTime;
};
/// The date of a file whose metadata has none: its name's, else when it was last written, `modified` in nanoseconds.
ItemDate dateWithoutMetadata(std::string_view fileName, std::int64_t modified);

}  // namespace tlx::photolibrary
