#include "adapters/photolibrary/images/headers/PhotoFacts.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstring>
#include <ctime>
#include <memory>

#include <libexif/exif-data.h>

namespace tlx::photolibrary {
namespace {

constexpr int ratingTag = 0x4746;
/// The option that makes libexif add missing mandatory tags to a block; one of them is today's date.
constexpr auto repairBlocks = static_cast<ExifDataOption>(1 << 1);

struct ExifDataRelease {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};

std::string_view textOf(const ExifData* data, ExifIfd ifd, int tag) {
  const ExifEntry* entry = exif_content_get_entry(data->ifd[ifd], static_cast<ExifTag>(tag));
  if (!entry || !entry->data) return {};
  std::string_view text(reinterpret_cast<const char*>(entry->data), entry->size);
  return text.substr(0, std::min(text.find('\0'), text.size()));
}

std::optional<std::int32_t> shortOf(ExifData* data, ExifIfd ifd, int tag) {
  const ExifEntry* entry = exif_content_get_entry(data->ifd[ifd], static_cast<ExifTag>(tag));
  if (!entry || !entry->data || entry->components < 1) return std::nullopt;
  const ExifByteOrder order = exif_data_get_byte_order(data);
  if (entry->format == EXIF_FORMAT_SHORT && entry->size >= 2) return exif_get_short(entry->data, order);
  if (entry->format == EXIF_FORMAT_LONG && entry->size >= 4) {
    return static_cast<std::int32_t>(exif_get_long(entry->data, order));
  }
  return std::nullopt;
}

bool digits(std::string_view text, std::size_t at, std::size_t count, int& value) {
  if (at + count > text.size()) return false;
  const char* first = text.data() + at;
  const auto [end, error] = std::from_chars(first, first + count, value);
  return error == std::errc() && end == first + count && value >= 0;
}

/// Days from 1970-01-01 of a date in the Gregorian calendar.
std::int64_t daysFromCivil(std::int64_t year, int month, int day) {
  year -= month <= 2;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

std::optional<int> parseOffset(std::string_view offset) {
  if (offset == "Z") return 0;
  int hours = 0, minutes = 0;
  if (offset.size() < 5 || (offset[0] != '+' && offset[0] != '-') || !digits(offset, 1, 2, hours) ||
      !digits(offset, offset[3] == ':' ? 4 : 3, 2, minutes) || hours > 14 || minutes > 59) {
    return std::nullopt;
  }
  const int seconds = hours * 3600 + minutes * 60;
  return offset[0] == '-' ? -seconds : seconds;
}

void readDates(ExifData* data, PhotoFacts& facts) {
  struct DateTags {
    ExifIfd ifd;
    int date, offset, fraction;
  };
  static constexpr std::array<DateTags, 3> inOrderOfWorth{{
      {EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, EXIF_TAG_OFFSET_TIME_ORIGINAL, EXIF_TAG_SUB_SEC_TIME_ORIGINAL},
      {EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED, EXIF_TAG_OFFSET_TIME_DIGITIZED, EXIF_TAG_SUB_SEC_TIME_DIGITIZED},
      {EXIF_IFD_0, EXIF_TAG_DATE_TIME, EXIF_TAG_OFFSET_TIME, EXIF_TAG_SUB_SEC_TIME},
  }};
  for (const DateTags& tags : inOrderOfWorth) {
    std::string_view offset = textOf(data, EXIF_IFD_EXIF, tags.offset);
    if (offset.empty()) offset = textOf(data, EXIF_IFD_EXIF, EXIF_TAG_OFFSET_TIME);
    facts.captureDate =
        parseCaptureDate(textOf(data, tags.ifd, tags.date), offset, textOf(data, EXIF_IFD_EXIF, tags.fraction));
    if (facts.captureDate) return;
  }
}

}  // namespace

bool saysScreenshot(std::string_view text) {
  static constexpr std::string_view word = "screenshot";
  const auto same = [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; };
  return std::search(text.begin(), text.end(), word.begin(), word.end(), same) != text.end();
}

std::optional<double> parseCaptureDate(std::string_view date, std::string_view offset, std::string_view fraction) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (!digits(date, 0, 4, year) || !digits(date, 5, 2, month) || !digits(date, 8, 2, day)) return std::nullopt;
  if (year < 1 || month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
  if (date.size() > 10 && (!digits(date, 11, 2, hour) || !digits(date, 14, 2, minute))) return std::nullopt;
  if (date.size() > 16 && !digits(date, 17, 2, second)) return std::nullopt;
  if (hour > 24 || minute > 59 || second > 60) return std::nullopt;

  double seconds = 0;
  if (const std::optional<int> ahead = parseOffset(offset)) {
    seconds =
        static_cast<double>(daysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 + second - *ahead);
  } else {
    std::tm local{};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    seconds = static_cast<double>(std::mktime(&local));
  }
  double weight = 0.1;
  for (const char c : fraction.substr(0, 6)) {
    if (c < '0' || c > '9') break;
    seconds += weight * (c - '0');
    weight /= 10;
  }
  return seconds;
}

std::optional<double> parseIsoDate(std::string_view text) {
  const std::size_t zone = std::min(text.find_first_of("+-Z", std::min<std::size_t>(text.size(), 16)), text.size());
  const std::size_t point = std::min(text.find('.'), text.size());
  const std::string_view fraction = point < zone ? text.substr(point + 1, zone - point - 1) : std::string_view();
  return parseCaptureDate(text.substr(0, std::min({zone, point, std::size_t{19}})), text.substr(zone), fraction);
}

void readExif(Bytes block, PhotoFacts& facts, std::vector<std::uint8_t>* thumbnail) {
  static constexpr std::uint8_t mark[] = {'E', 'x', 'i', 'f', 0, 0};
  std::vector<std::uint8_t> marked;
  if (block.size() < 14) return;
  if (std::memcmp(block.data(), mark, sizeof(mark)) != 0) {
    marked.reserve(sizeof(mark) + block.size());
    marked.assign(std::begin(mark), std::end(mark));
    marked.insert(marked.end(), block.begin(), block.end());
    block = marked;
  }
  const std::unique_ptr<ExifData, ExifDataRelease> data(exif_data_new());
  if (!data) return;
  exif_data_unset_option(data.get(), repairBlocks);
  exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
  exif_data_load_data(data.get(), block.data(), static_cast<unsigned int>(block.size()));

  if (const auto turn = shortOf(data.get(), EXIF_IFD_0, EXIF_TAG_ORIENTATION); turn && *turn >= 1 && *turn <= 8) {
    facts.orientation = *turn;
  }
  if (const auto stars = shortOf(data.get(), EXIF_IFD_0, ratingTag); stars && *stars >= 0 && *stars <= 5) {
    facts.exifRating = *stars;
  }
  readDates(data.get(), facts);
  facts.hasMake = facts.hasMake || !textOf(data.get(), EXIF_IFD_0, EXIF_TAG_MAKE).empty();
  facts.screenshot = facts.screenshot || saysScreenshot(textOf(data.get(), EXIF_IFD_0, EXIF_TAG_SOFTWARE)) ||
                     saysScreenshot(textOf(data.get(), EXIF_IFD_0, EXIF_TAG_IMAGE_DESCRIPTION));
  if (const ExifEntry* comment = exif_content_get_entry(data->ifd[EXIF_IFD_EXIF], EXIF_TAG_USER_COMMENT);
      comment && comment->data) {
    facts.screenshot = facts.screenshot ||
                       saysScreenshot({reinterpret_cast<const char*>(comment->data), std::min(comment->size, 256u)});
  }
  if (thumbnail && data->data && data->size > 0) thumbnail->assign(data->data, data->data + data->size);
}

}  // namespace tlx::photolibrary
