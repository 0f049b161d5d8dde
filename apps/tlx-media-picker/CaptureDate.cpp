#include "apps/tlx-media-picker/CaptureDate.h"

#include <vips/vips.h>

#include "adapters/photolibrary/images/codecs/CaptureExif.h"

namespace tlx::program {

void setCaptureDate(_VipsImage& image, double created) {
  const auto time = photolibrary::wallClockTime(created);
  if (!time) return;
  // JPEG's saver builds the block from these, PNG's takes it as it is.
  vips_image_set_string(&image, "exif-ifd2-DateTimeOriginal", time->date.c_str());
  vips_image_set_string(&image, "exif-ifd2-OffsetTimeOriginal", time->offset.c_str());
  const auto block = photolibrary::captureExif(created);
  if (!block.empty()) vips_image_set_blob_copy(&image, VIPS_META_EXIF_NAME, block.data(), block.size());
}

}  // namespace tlx::program
