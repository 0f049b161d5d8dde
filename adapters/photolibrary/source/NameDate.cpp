#include "adapters/photolibrary/source/NameDate.h"

#include <algorithm>
#include <cctype>
#include <ctime>

namespace tlx::photolibrary {
namespace {

/// Letters stand for the digits of year, month, day, hour, minute and second; everything else for itself.
struct Layout {
  std::string_view pattern;
  char before = 0;  ///< what must stand in front; 0 for anything but a digit
};
/// Of those that begin in the same way the longest stands first.
constexpr Layout layouts[] = {
    {"YYYYMMDD_hhmmss"},         // cameras and phones that number by date
    {"YYYYMMDD-hhmmss"},         // screenshots of phones
    {"YYYYMMDD_hh_mm_ss"},       // cameras of laptops
    {"YYYYMMDDhhmmss"},          // phones that put nothing between
    {"YYYY-MM-DD hh.mm.ss"},     // what carries pictures from a phone to a cloud, and this library's own captures
    {"YYYY-MM-DD_hh.mm.ss"},     // the same without blanks
    {"YYYY-MM-DD hh-mm-ss"},     // screenshots of desktops
    {"YYYY-MM-DD_hh-mm-ss"},     // pictures saved from messengers
    {"YYYY-MM-DD-hh-mm-ss"},     // screenshots of phones
    {"YYYY-MM-DD at hh.mm.ss"},  // screenshots, and pictures saved from messengers, on desktops
    {"YYYY-MM-DD-hhmmss"},       // messengers
    {"YYYY_MM_DD_hh_mm_ss"},     // scanners and old phones
    {"YYYYMMDD-", '-'},          // messengers that number the pictures of a day
    {"YYYY-MM-DD"},              // people, and programs that sort by day
};

struct Found {
  std::tm date{};
  bool hasTime = false;
  double fraction = 0;
  std::size_t length = 0;

  bool sameDay(const Found& other) const {
    return date.tm_year == other.date.tm_year && date.tm_mon == other.date.tm_mon && date.tm_mday == other.date.tm_mday;
  }
};

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isDate(int year, int month, int day) {
  static constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 1990 || year > 2099 || month < 1 || month > 12 || day < 1) return false;
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return day <= days[month - 1] + (month == 2 && leap);
}

/// Whether a time of twelve hours ends here, which tells another hour than its digits do.
bool saysHalfOfDay(std::string_view rest) {
  const auto letter = std::find_if(rest.begin(), rest.end(), [](unsigned char c) { return std::isalnum(c) != 0; });
  const std::string_view word = rest.substr(static_cast<std::size_t>(letter - rest.begin()));
  const auto lower = [&](std::size_t i) { return i < word.size() ? word[i] | 0x20 : 0; };
  const bool ends = word.size() < 3 || std::isalnum(static_cast<unsigned char>(word[2])) == 0;
  return (lower(0) == 'a' || lower(0) == 'p') && lower(1) == 'm' && ends;
}

std::optional<Found> foundAt(std::string_view name, std::size_t at, const Layout& layout) {
  const std::string_view pattern = layout.pattern;
  if (at + pattern.size() > name.size()) return std::nullopt;
  if (layout.before != 0 && (at == 0 || name[at - 1] != layout.before)) return std::nullopt;
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  Found found;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char c = name[at + i];
    int* number = nullptr;
    switch (pattern[i]) {
      case 'Y':
        number = &year;
        break;
      case 'M':
        number = &month;
        break;
      case 'D':
        number = &day;
        break;
      case 'h':
        number = &hour;
        found.hasTime = true;
        break;
      case 'm':
        number = &minute;
        break;
      case 's':
        number = &second;
        break;
      default:
        if (c != pattern[i]) return std::nullopt;
        continue;
    }
    if (!isDigit(c)) return std::nullopt;
    *number = *number * 10 + (c - '0');
  }
  if (!isDate(year, month, day) || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  found.length = pattern.size();
  std::string_view rest = name.substr(at + found.length);
  const auto digits = static_cast<std::size_t>(std::find_if_not(rest.begin(), rest.end(), isDigit) - rest.begin());
  if (isDigit(name[at + found.length - 1]) && digits > 0) {
    // Some go on with milliseconds; any other digits are a longer number's.
    if (!found.hasTime || digits != 3) return std::nullopt;
    for (double weight = 0.1; const char digit : rest.substr(0, 3)) {
      found.fraction += weight * (digit - '0');
      weight /= 10;
    }
    found.length += 3;
  }
  if (found.hasTime && saysHalfOfDay(name.substr(at + found.length, 6))) return std::nullopt;
  found.date.tm_year = year - 1900;
  found.date.tm_mon = month - 1;
  found.date.tm_mday = day;
  found.date.tm_hour = found.hasTime ? hour : 12;
  found.date.tm_min = minute;
  found.date.tm_sec = second;
  found.date.tm_isdst = -1;
  return found;
}

}  // namespace

std::optional<double> dateInName(std::string_view fileName) {
  std::optional<Found> best;
  for (std::size_t at = 0; at < fileName.size();) {
    std::optional<Found> found;
    if (at == 0 || !isDigit(fileName[at - 1])) {
      for (const Layout& layout : layouts) {
        if ((found = foundAt(fileName, at, layout))) break;
      }
    }
    if (found && best && !best->sameDay(*found)) return std::nullopt;
    if (found && (!best || (found->hasTime && !best->hasTime))) best = found;
    at += found ? found->length : 1;
  }
  if (!best) return std::nullopt;
  return static_cast<double>(std::mktime(&best->date)) + best->fraction;
}

ItemDate dateWithoutMetadata(std::string_view fileName, std::int64_t modified) {
  if (const auto named = dateInName(fileName)) return {*named, DateOrigin::Name};
  return {static_cast<double>(modified) / 1e9, DateOrigin::FileTime};
}

}  // namespace tlx::photolibrary
