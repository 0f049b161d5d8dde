#include "adapters/photolibrary/images/codecs/CaptureExif.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include <libexif/exif-data.h>

namespace tlx::photolibrary {
namespace {

struct Unref {
  void operator()(ExifData* data) const { exif_data_unref(data); }
  void operator()(ExifEntry* entry) const { exif_entry_unref(entry); }
  void operator()(ExifMem* memory) const { exif_mem_unref(memory); }
};

void add(ExifData& data, ExifIfd directory, ExifTag tag, ExifFormat format, unsigned components,
         const std::string& content) {
  const std::unique_ptr<ExifMem, Unref> memory(exif_mem_new_default());
  const std::unique_ptr<ExifEntry, Unref> entry(exif_entry_new_mem(memory.get()));
  const auto size = static_cast<unsigned>(content.size());
  auto* bytes = static_cast<unsigned char*>(memory ? exif_mem_alloc(memory.get(), size) : nullptr);
  if (!entry || !bytes) return;
  std::memcpy(bytes, content.data(), size);
  entry->tag = tag;
  entry->format = format;
  entry->components = components;
  entry->size = size;
  entry->data = bytes;
  exif_content_add_entry(data.ifd[directory], entry.get());
}

}  // namespace

std::optional<WallClockTime> wallClockTime(double seconds) {
  const auto whole = static_cast<std::time_t>(std::floor(seconds));
  std::tm parts{};
  char date[32], offset[48], fraction[8];
  if (!localtime_r(&whole, &parts) || !std::strftime(date, sizeof date, "%Y:%m:%d %H:%M:%S", &parts)) {
    return std::nullopt;
  }
  const long minutes = std::labs(parts.tm_gmtoff) / 60;
  std::snprintf(offset, sizeof offset, "%c%02ld:%02ld", parts.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60);
  std::snprintf(fraction, sizeof fraction, "%03d", static_cast<int>((seconds - std::floor(seconds)) * 1000));
  return WallClockTime{date, offset, fraction};
}

std::vector<std::uint8_t> captureExif(double created) {
  const std::unique_ptr<ExifData, Unref> data(exif_data_new());
  if (!data) return {};
  exif_data_set_byte_order(data.get(), EXIF_BYTE_ORDER_INTEL);
  add(*data, EXIF_IFD_0, EXIF_TAG_ORIENTATION, EXIF_FORMAT_SHORT, 1, std::string("\1\0", 2));
  if (const auto time = wallClockTime(created)) {
    const auto text = [&](ExifIfd directory, ExifTag tag, const std::string& value) {
      const std::string ended = value + '\0';
      add(*data, directory, tag, EXIF_FORMAT_ASCII, static_cast<unsigned>(ended.size()), ended);
    };
    text(EXIF_IFD_0, EXIF_TAG_DATE_TIME, time->date);
    text(EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, time->date);
    text(EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED, time->date);
    text(EXIF_IFD_EXIF, EXIF_TAG_OFFSET_TIME_ORIGINAL, time->offset);
    text(EXIF_IFD_EXIF, EXIF_TAG_SUB_SEC_TIME_ORIGINAL, time->fraction);
  }
  unsigned char* block = nullptr;
  unsigned size = 0;
  exif_data_save_data(data.get(), &block, &size);
  std::vector<std::uint8_t> bytes;
  if (block) bytes.assign(block, block + size);
  std::free(block);
  return bytes;
}

}  // namespace tlx::photolibrary
