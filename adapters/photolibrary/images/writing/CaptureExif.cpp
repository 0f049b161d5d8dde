#include "adapters/photolibrary/images/writing/CaptureExif.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace tlx::photolibrary {
namespace {

// Numbers of the EXIF standard.
enum Tag : std::uint16_t {
  Orientation = 0x0112,
  DateTime = 0x0132,
  ExifDirectory = 0x8769,
  ExifVersion = 0x9000,
  DateTimeOriginal = 0x9003,
  DateTimeDigitized = 0x9004,
  OffsetTimeOriginal = 0x9011,
  SubSecTimeOriginal = 0x9291,
};
enum Type : std::uint16_t { Ascii = 2, Short = 3, Long = 4, Undefined = 7 };

struct WallClockTime {
  std::string date;      ///< "YYYY:MM:DD hh:mm:ss"
  std::string offset;    ///< from universal time, "+hh:mm"
  std::string fraction;  ///< milliseconds, three digits
};

std::optional<WallClockTime> wallClockTime(double seconds) {
  const double whole = std::floor(seconds);
  if (!(std::abs(whole) < 1e12)) return std::nullopt;  // no time that could be asked for, if a number at all
  const auto time = static_cast<std::time_t>(whole);
  std::tm parts{};
  char date[32], offset[48], fraction[8];
  if (!localtime_r(&time, &parts) || parts.tm_year < -1900 || parts.tm_year > 9999 - 1900) return std::nullopt;
  std::snprintf(date, sizeof date, "%04d:", parts.tm_year + 1900);
  std::strftime(date + 5, sizeof date - 5, "%m:%d %H:%M:%S", &parts);
  const long minutes = std::labs(parts.tm_gmtoff) / 60;
  std::snprintf(offset, sizeof offset, "%c%02ld:%02ld", parts.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60);
  std::snprintf(fraction, sizeof fraction, "%03d", static_cast<int>((seconds - whole) * 1000));
  return WallClockTime{date, offset, fraction};
}

std::string number(std::uint32_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));  // little-endian, as the block says
  return text;
}

struct Entry {
  Tag tag;
  Type type;
  std::uint32_t count;
  std::string content;
};

Entry textOf(Tag tag, const std::string& text) {
  return {tag, Ascii, static_cast<std::uint32_t>(text.size() + 1), text + '\0'};
}

/// A list of tags in ascending order, for the offset `at` of the block. What does not fit into an entry's four bytes
/// lies behind the list.
std::string directory(std::size_t at, const std::vector<Entry>& entries) {
  std::string list = number(static_cast<std::uint32_t>(entries.size()), 2), behind;
  const std::size_t end = at + 2 + 12 * entries.size() + 4;
  for (const Entry& entry : entries) {
    list += number(entry.tag, 2) + number(entry.type, 2) + number(entry.count, 4);
    std::string content = entry.content;
    content.resize(content.size() > 4 ? content.size() + content.size() % 2 : 4);  // offsets are even
    list += content.size() > 4 ? number(static_cast<std::uint32_t>(end + behind.size()), 4) : content;
    if (content.size() > 4) behind += content;
  }
  return list + number(0, 4) + behind;  // no directory follows
}

}  // namespace

std::vector<std::uint8_t> captureExif(double created) {
  std::string block = "II" + number(42, 2) + number(8, 4);  // where the first directory is
  std::vector<Entry> entries = {{Orientation, Short, 1, number(1, 2)}};
  if (const auto time = wallClockTime(created)) {
    entries.push_back(textOf(DateTime, time->date));
    entries.push_back({ExifDirectory, Long, 1, number(0, 4)});
    const std::size_t at = block.size() + directory(block.size(), entries).size();
    entries.back().content = number(static_cast<std::uint32_t>(at), 4);
    block += directory(block.size(), entries);
    block += directory(at, {{ExifVersion, Undefined, 4, "0231"},  // the first that knows of offsets
                            textOf(DateTimeOriginal, time->date),
                            textOf(DateTimeDigitized, time->date),
                            textOf(OffsetTimeOriginal, time->offset),
                            textOf(SubSecTimeOriginal, time->fraction)});
  } else {
    block += directory(block.size(), entries);
  }
  return {block.begin(), block.end()};
}

}  // namespace tlx::photolibrary
