#include "adapters/photolibrary/images/codecs/PhotoEncoder.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/codecs/CaptureExif.h"

namespace tlx::photolibrary {
namespace {

/// What phones write: nobody sees a difference, and a file has a few megabytes.
constexpr int kQuality = 92;
constexpr std::size_t kJpegSideLimit = 65'500;

struct JumpingErrors {
  jpeg_error_mgr base;
  std::jmp_buf jump;
};

/// Compresses into a buffer for the caller to free(). No object here may have a destructor: an error leaves by longjmp.
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
  if (exifSize > 0) jpeg_write_marker(&jpeg, JPEG_APP0 + 1, exif, exifSize);
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
  const auto exif = captureExif(created);
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
