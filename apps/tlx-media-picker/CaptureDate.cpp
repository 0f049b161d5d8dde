#include "apps/tlx-media-picker/CaptureDate.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include <libexif/exif-data.h>
#include <vips/vips.h>

namespace tlx::program {
namespace {

struct Unref {
  void operator()(ExifData* data) const { exif_data_unref(data); }
  void operator()(ExifEntry* entry) const { exif_entry_unref(entry); }
  void operator()(ExifMem* memory) const { exif_mem_unref(memory); }
};

void add(ExifData& data, ExifTag tag, const std::string& text) {
  const std::unique_ptr<ExifMem, Unref> memory(exif_mem_new_default());
  const std::unique_ptr<ExifEntry, Unref> entry(exif_entry_new_mem(memory.get()));
  const auto size = static_cast<unsigned>(text.size() + 1);
  auto* bytes = static_cast<unsigned char*>(exif_mem_alloc(memory.get(), size));
  if (!entry || !bytes) return;
  std::memcpy(bytes, text.c_str(), size);
  entry->tag = tag;
  entry->format = EXIF_FORMAT_ASCII;
  entry->components = entry->size = size;
  entry->data = bytes;
  exif_content_add_entry(data.ifd[EXIF_IFD_EXIF], entry.get());
}

}  // namespace

void setCaptureDate(_VipsImage& image, double created) {
  const auto whole = static_cast<std::time_t>(std::floor(created));
  std::tm parts{};
  if (!localtime_r(&whole, &parts)) return;
  char taken[32], offset[48];
  if (!std::strftime(taken, sizeof taken, "%Y:%m:%d %H:%M:%S", &parts)) return;
  const long minutes = std::labs(parts.tm_gmtoff) / 60;
  std::snprintf(offset, sizeof offset, "%c%02ld:%02ld", parts.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60);

  // JPEG's saver builds the block from these, PNG's takes it as it is.
  vips_image_set_string(&image, "exif-ifd2-DateTimeOriginal", taken);
  vips_image_set_string(&image, "exif-ifd2-OffsetTimeOriginal", offset);
  const std::unique_ptr<ExifData, Unref> data(exif_data_new());
  if (!data) return;
  exif_data_set_byte_order(data.get(), EXIF_BYTE_ORDER_INTEL);
  add(*data, EXIF_TAG_DATE_TIME_ORIGINAL, taken);
  add(*data, EXIF_TAG_OFFSET_TIME_ORIGINAL, offset);
  unsigned char* block = nullptr;
  unsigned size = 0;
  exif_data_save_data(data.get(), &block, &size);
  if (block) vips_image_set_blob_copy(&image, VIPS_META_EXIF_NAME, block, size);
  std::free(block);
}

}  // namespace tlx::program
