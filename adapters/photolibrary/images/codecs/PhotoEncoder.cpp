#include "adapters/photolibrary/images/codecs/PhotoEncoder.h"

#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include <jpeglib.h>
#include <libexif/exif-data.h>

#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {
namespace {

/// What phones write: nobody sees a difference, and a file has a few megabytes.
constexpr int kQuality = 92;
constexpr std::size_t kJpegSideLimit = 65'500;

struct Unref {
  void operator()(ExifData* data) const { exif_data_unref(data); }
  void operator()(ExifEntry* entry) const { exif_entry_unref(entry); }
  void operator()(ExifMem* memory) const { exif_mem_unref(memory); }
};

ExifEntry* add(ExifData& data, ExifIfd directory, ExifTag tag, ExifFormat format, unsigned components, unsigned size) {
  const std::unique_ptr<ExifMem, Unref> memory(exif_mem_new_default());
  const std::unique_ptr<ExifEntry, Unref> entry(exif_entry_new_mem(memory.get()));
  auto* bytes = static_cast<unsigned char*>(exif_mem_alloc(memory.get(), size));
  entry->tag = tag;
  entry->format = format;
  entry->components = components;
  entry->size = size;
  entry->data = bytes;
  exif_content_add_entry(data.ifd[directory], entry.get());
  return entry.get();  // the directory keeps it
}

void addText(ExifData& data, ExifIfd directory, ExifTag tag, const std::string& text) {
  const auto size = static_cast<unsigned>(text.size() + 1);
  std::memcpy(add(data, directory, tag, EXIF_FORMAT_ASCII, size, size)->data, text.c_str(), size);
}

std::vector<std::uint8_t> exifBlock(double created) {
  const std::unique_ptr<ExifData, Unref> data(exif_data_new());
  exif_data_set_byte_order(data.get(), EXIF_BYTE_ORDER_INTEL);
  exif_set_short(add(*data, EXIF_IFD_0, EXIF_TAG_ORIENTATION, EXIF_FORMAT_SHORT, 1, 2)->data, EXIF_BYTE_ORDER_INTEL, 1);

  const auto whole = static_cast<std::time_t>(std::floor(created));
  std::tm parts{};
  char taken[32], offset[48], fraction[8];
  if (localtime_r(&whole, &parts) && std::strftime(taken, sizeof taken, "%Y:%m:%d %H:%M:%S", &parts)) {
    const long minutes = std::labs(parts.tm_gmtoff) / 60;
    std::snprintf(offset, sizeof offset, "%c%02ld:%02ld", parts.tm_gmtoff < 0 ? '-' : '+', minutes / 60, minutes % 60);
    std::snprintf(fraction, sizeof fraction, "%03d", static_cast<int>((created - std::floor(created)) * 1000));
    addText(*data, EXIF_IFD_0, EXIF_TAG_DATE_TIME, taken);
    addText(*data, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, taken);
    addText(*data, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED, taken);
    addText(*data, EXIF_IFD_EXIF, EXIF_TAG_OFFSET_TIME_ORIGINAL, offset);
    addText(*data, EXIF_IFD_EXIF, EXIF_TAG_SUB_SEC_TIME_ORIGINAL, fraction);
  }
  unsigned char* block = nullptr;
  unsigned size = 0;
  exif_data_save_data(data.get(), &block, &size);
  std::vector<std::uint8_t> bytes(block, block + size);
  std::free(block);
  return bytes;
}

struct JumpingErrors {
  jpeg_error_mgr base;
  std::jmp_buf jump;
};

/// Compresses into a buffer of malloc's. Holds nothing with a destructor, since failing jumps out of it.
bool compress(const CGImage& bitmap, const std::uint8_t* exif, unsigned exifSize, unsigned char** data,
              unsigned long* size) {
  jpeg_compress_struct jpeg;
  JumpingErrors errors;
  jpeg.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = [](j_common_ptr failed) {
    std::longjmp(reinterpret_cast<JumpingErrors*>(failed->err)->jump, 1);
  };
  errors.base.output_message = [](j_common_ptr) {};
  if (setjmp(errors.jump)) {
    jpeg_destroy_compress(&jpeg);
    return false;
  }
  jpeg_create_compress(&jpeg);
  jpeg_mem_dest(&jpeg, data, size);
  jpeg.image_width = static_cast<JDIMENSION>(bitmap.width());
  jpeg.image_height = static_cast<JDIMENSION>(bitmap.height());
  jpeg.input_components = CGImage::bytesPerPixel;
  jpeg.in_color_space = JCS_EXT_RGBX;
  jpeg_set_defaults(&jpeg);
  jpeg_set_quality(&jpeg, kQuality, TRUE);
  jpeg.write_JFIF_header = FALSE;  // with it the metadata would not stand first, where readers look
  jpeg_start_compress(&jpeg, TRUE);
  jpeg_write_marker(&jpeg, JPEG_APP0 + 1, exif, exifSize);
  while (jpeg.next_scanline < jpeg.image_height) {
    JSAMPROW row = const_cast<JSAMPROW>(bitmap.row(jpeg.next_scanline));
    jpeg_write_scanlines(&jpeg, &row, 1);
  }
  jpeg_finish_compress(&jpeg);
  jpeg_destroy_compress(&jpeg);
  return true;
}

}  // namespace

std::variant<std::vector<std::uint8_t>, NSError> encodePhoto(const UIImage& image, double created) {
  const auto& bitmap = image.bitmap();
  if (!bitmap || bitmap->width() > kJpegSideLimit || bitmap->height() > kJpegSideLimit) {
    return libraryError(PhotoLibraryErrorUnsupported, "The image cannot be made a file.");
  }
  const auto exif = exifBlock(created);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  const bool done = compress(*bitmap, exif.data(), static_cast<unsigned>(exif.size()), &data, &size);
  std::vector<std::uint8_t> bytes;
  if (done) bytes.assign(data, data + size);
  std::free(data);
  if (!done) return libraryError(PhotoLibraryErrorUnsupported, "The image could not be compressed.");
  return bytes;
}

}  // namespace tlx::photolibrary
