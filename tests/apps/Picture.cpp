#include "tests/apps/Picture.h"

#include <cstdlib>
#include <memory>

namespace tlx::program::test {
namespace {

struct Unref {
  void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Image = std::unique_ptr<VipsImage, Unref>;

std::string text(VipsImage* image, const char* field) {
  const char* value = nullptr;
  if (!vips_image_get_typeof(image, field) || vips_image_get_string(image, field, &value)) return {};
  // The library appends how it is stored, in brackets.
  const std::string whole = value;
  return whole.substr(0, whole.find(" ("));
}

}  // namespace

Picture readPicture(const std::string& path, bool upright) {
  Picture picture;
  vips_init("tests");
  const Image file(vips_image_new_from_file(path.c_str(), nullptr));
  if (!file) {
    vips_error_clear();
    return picture;
  }
  picture.loader = text(file.get(), "vips-loader");
  picture.taken = text(file.get(), "exif-ifd2-DateTimeOriginal");
  picture.takenOffset = text(file.get(), "exif-ifd2-OffsetTimeOriginal");
  if (vips_image_get_typeof(file.get(), VIPS_META_ORIENTATION)) {
    vips_image_get_int(file.get(), VIPS_META_ORIENTATION, &picture.orientation);
  }
  VipsImage* step = nullptr;
  if (upright ? vips_autorot(file.get(), &step, nullptr) : vips_copy(file.get(), &step, nullptr)) return picture;
  Image turned(step);
  if (!vips_image_hasalpha(turned.get())) {
    if (vips_bandjoin_const1(turned.get(), &step, 255, nullptr)) return picture;
    turned.reset(step);
  }
  std::size_t size = 0;
  auto* bytes = static_cast<std::uint8_t*>(vips_image_write_to_memory(turned.get(), &size));
  if (!bytes) return picture;
  picture.width = vips_image_get_width(turned.get());
  picture.height = vips_image_get_height(turned.get());
  picture.pixels.assign(bytes, bytes + size);
  g_free(bytes);
  return picture;
}

double difference(const Picture& one, const Picture& other) {
  if (one.width != other.width || one.pixels.size() != other.pixels.size() || one.pixels.empty()) return 255;
  double sum = 0;
  for (std::size_t i = 0; i < one.pixels.size(); ++i) sum += std::abs(one.pixels[i] - other.pixels[i]);
  return sum / static_cast<double>(one.pixels.size());
}

}  // namespace tlx::program::test
