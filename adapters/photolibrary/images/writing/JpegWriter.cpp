#include "adapters/photolibrary/images/writing/JpegWriter.h"

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

namespace tlx::photolibrary {
namespace {

constexpr int kQuality = 92;
constexpr std::size_t kBuffer = 64 * 1024;

struct JumpingErrors {
  jpeg_error_mgr base;
  std::jmp_buf jump;
};

/// Where the library leaves its bytes.
struct Destination {
  jpeg_destination_mgr base;
  const ByteSink* sink;
  std::uint8_t* buffer;
  int error;  ///< the sink's

  static void restart(j_compress_ptr jpeg) {
    auto* self = reinterpret_cast<Destination*>(jpeg->dest);
    self->base.next_output_byte = self->buffer;
    self->base.free_in_buffer = kBuffer;
  }
  static void give(j_compress_ptr jpeg, std::size_t size) {
    auto* self = reinterpret_cast<Destination*>(jpeg->dest);
    self->error = (*self->sink)({self->buffer, size});
    if (self->error != 0) jpeg->err->error_exit(reinterpret_cast<j_common_ptr>(jpeg));
  }
  static boolean full(j_compress_ptr jpeg) {
    give(jpeg, kBuffer);
    restart(jpeg);
    return TRUE;
  }
  static void end(j_compress_ptr jpeg) {
    give(jpeg, kBuffer - reinterpret_cast<Destination*>(jpeg->dest)->base.free_in_buffer);
  }
};

/// No object here may have a destructor: an error leaves by longjmp.
int compress(const CGImage& image, JpegColour colour, std::span<const std::uint8_t> app1, const ByteSink& sink,
             std::uint8_t* buffer) {
  jpeg_compress_struct jpeg;
  JumpingErrors errors;
  Destination destination{{nullptr, 0, &Destination::restart, &Destination::full, &Destination::end}, &sink, buffer, 0};
  jpeg.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = [](j_common_ptr failed) {
    std::longjmp(reinterpret_cast<JumpingErrors*>(failed->err)->jump, 1);
  };
  errors.base.output_message = [](j_common_ptr) {};
  if (setjmp(errors.jump)) {
    jpeg_destroy_compress(&jpeg);
    return destination.error != 0 ? destination.error : ENOMEM;
  }
  jpeg_create_compress(&jpeg);
  jpeg.dest = &destination.base;
  jpeg.image_width = static_cast<JDIMENSION>(image.width());
  jpeg.image_height = static_cast<JDIMENSION>(image.height());
  jpeg.input_components = CGImage::bytesPerPixel;
  jpeg.in_color_space = JCS_EXT_RGBX;
  jpeg_set_defaults(&jpeg);
  jpeg_set_quality(&jpeg, kQuality, TRUE);
  if (colour == JpegColour::EveryPixel) jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
  jpeg.write_JFIF_header = FALSE;  // with it the metadata would not stand first, where readers look
  jpeg_start_compress(&jpeg, TRUE);
  if (!app1.empty()) jpeg_write_marker(&jpeg, JPEG_APP0 + 1, app1.data(), static_cast<unsigned>(app1.size()));
  while (jpeg.next_scanline < jpeg.image_height) {
    JSAMPROW row = const_cast<JSAMPROW>(image.row(jpeg.next_scanline));
    jpeg_write_scanlines(&jpeg, &row, 1);
  }
  jpeg_finish_compress(&jpeg);
  jpeg_destroy_compress(&jpeg);
  return 0;
}

}  // namespace

int writeJpeg(const CGImage& image, JpegColour colour, std::span<const std::uint8_t> exif, const ByteSink& sink) {
  if (image.width() > kJpegSideLimit || image.height() > kJpegSideLimit) return EFBIG;
  std::vector<std::uint8_t> buffer(kBuffer), app1;
  if (!exif.empty()) {
    app1 = {'E', 'x', 'i', 'f', 0, 0};
    app1.insert(app1.end(), exif.begin(), exif.end());
  }
  return compress(image, colour, app1, sink, buffer.data());
}

}  // namespace tlx::photolibrary
