#include <ctime>
#include <memory>
#include <stdexcept>

#include <vips/vips.h>
#include <zlib.h>

#include "Files.h"

namespace tlx::samples {
namespace {

struct Unref {
  void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Image = std::unique_ptr<VipsImage, Unref>;

[[noreturn]] void fail() {
  const std::string why = vips_error_buffer();
  vips_error_clear();
  throw std::runtime_error(why);
}

/// The result of a libvips operation that writes to its first argument.
template <class Work>
Image made(Work work) {
  VipsImage* image = nullptr;
  if (work(&image) != 0) fail();
  return Image(image);
}

std::string written(VipsImage* image, const std::string& format) {
  void* data = nullptr;
  std::size_t size = 0;
  if (vips_image_write_to_buffer(image, format.c_str(), &data, &size, nullptr) != 0) fail();
  std::string bytes(static_cast<const char*>(data), size);
  g_free(data);
  return bytes;
}

/// As stored: turned so that `orientation` turns it back, with a trace of grain, which hides the steps in skies.
Image raster(const Photo& photo, QImage upright) {
  if (photo.pixels == Pixels::Sticker) {
    QImage round(upright.size(), QImage::Format_ARGB32_Premultiplied);
    round.fill(Qt::transparent);
    QPainter painter(&round);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(upright);
    painter.drawEllipse(round.rect().adjusted(6, 6, -6, -6));
    painter.end();
    upright = round;
  }
  upright = upright.convertToFormat(QImage::Format_RGBA8888);
  const bool deep = photo.pixels == Pixels::Deep;
  Image image(vips_image_new_from_memory_copy(upright.constBits(), static_cast<std::size_t>(upright.sizeInBytes()),
                                              upright.width(), upright.height(), 4, VIPS_FORMAT_UCHAR));
  const auto then = [&](auto operation, auto... rest) {
    image = made([&](VipsImage** out) { return operation(image.get(), out, rest..., nullptr); });
  };
  if (photo.pixels != Pixels::Sticker) then(vips_extract_band, 0, "n", 3);
  if (photo.pixels != Pixels::Sticker && photo.seed > 0) {
    const Image grain = made([&](VipsImage** out) {
      return vips_gaussnoise(out, upright.width(), upright.height(), "sigma", 1.4, "mean", 0.0, "seed",
                             static_cast<int>(photo.seed), nullptr);
    });
    image = made([&](VipsImage** out) { return vips_add(image.get(), grain.get(), out, nullptr); });
  }
  if (deep) then(vips_linear1, 257.0, 0.0);
  then(vips_cast, deep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR);
  then(vips_copy, "interpretation", deep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB);
  if (photo.pixels == Pixels::Grey) then(vips_colourspace, VIPS_INTERPRETATION_B_W);
  if (photo.pixels == Pixels::Cmyk || photo.pixels == Pixels::Wide)
    then(vips_icc_transform, photo.pixels == Pixels::Cmyk ? "cmyk" : "p3", "input_profile", "srgb");
  // Mirrored ones are flipped from left to right first.
  constexpr VipsAngle kTurns[] = {VIPS_ANGLE_D0,   VIPS_ANGLE_D0,   VIPS_ANGLE_D0,  VIPS_ANGLE_D180, VIPS_ANGLE_D180,
                                  VIPS_ANGLE_D270, VIPS_ANGLE_D270, VIPS_ANGLE_D90, VIPS_ANGLE_D90};
  const int o = photo.orientation;
  if (o == 2 || o == 4 || o == 5 || o == 7) then(vips_flip, VIPS_DIRECTION_HORIZONTAL);
  then(vips_rot, kTurns[o]);
  return Image(vips_image_copy_memory(image.get()));
}

/// libvips writes what it knows into PNG files in a form of its own; others read this one.
std::string withXmp(const std::string& png, const std::string& xmp) {
  const std::string chunk = std::string("iTXtXML:com.adobe.xmp\0\0\0\0\0", 26) + xmp;
  const auto big = [](std::size_t n) {
    return std::string{static_cast<char>(n >> 24U), static_cast<char>(n >> 16U), static_cast<char>(n >> 8U),
                       static_cast<char>(n)};
  };
  const auto sum = crc32(0, reinterpret_cast<const Bytef*>(chunk.data()), static_cast<uInt>(chunk.size()));
  constexpr std::size_t kHeader = 33;
  return png.substr(0, kHeader) + big(chunk.size() - 4) + chunk + big(sum) + png.substr(kHeader);
}

/// Returns the XMP packet, which is also among the image's fields.
std::string describe(VipsImage* image, const Photo& p) {
  const auto set = [&](const char* field, const std::string& text) {
    if (!text.empty()) vips_image_set_string(image, field, text.c_str());
  };
  const std::string zone =
      p.taken.offsetMinutes
          ? QString::asprintf("%c%02d:%02d", *p.taken.offsetMinutes < 0 ? '-' : '+',
                              std::abs(*p.taken.offsetMinutes) / 60, std::abs(*p.taken.offsetMinutes) % 60)
                .toStdString()
          : "";
  vips_image_set_int(image, VIPS_META_ORIENTATION, p.orientation);
  set("exif-ifd0-Make", p.make), set("exif-ifd0-Model", p.model);
  if (p.dated) {
    const std::string date = p.taken.text("%04d:%02d:%02d %02d:%02d:%02d");
    for (const char* field : {"exif-ifd0-DateTime", "exif-ifd2-DateTimeOriginal", "exif-ifd2-DateTimeDigitized"})
      set(field, date);
    set("exif-ifd2-OffsetTimeOriginal", zone);
  }
  std::string xmp;
  if (p.stars > 0) xmp += " xmp:Rating=\"" + std::to_string(p.stars) + "\"";
  if (p.dated) xmp += " xmp:CreateDate=\"" + p.taken.text("%04d-%02d-%02dT%02d:%02d:%02d") + zone + "\"";
  if (p.panorama) xmp += " GPano:UsePanoramaViewer=\"True\" GPano:ProjectionType=\"cylindrical\"";
  if (xmp.empty()) return xmp;
  xmp =
      "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
      "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"><rdf:Description rdf:about=\"\" "
      "xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" xmlns:GPano=\"http://ns.google.com/photos/1.0/panorama/\"" +
      xmp + "/></rdf:RDF></x:xmpmeta>";
  vips_image_set_blob_copy(image, VIPS_META_XMP_NAME, xmp.data(), xmp.size());
  return xmp;
}

}  // namespace

std::string Moment::text(const char* pattern) const {
  return QString::asprintf(pattern, year, month, day, hour, minute, second).toStdString();
}

std::int64_t Moment::unixTime() const {
  std::tm clock{};
  clock.tm_year = year - 1900, clock.tm_mon = month - 1, clock.tm_mday = day;
  clock.tm_hour = hour, clock.tm_min = minute, clock.tm_sec = second, clock.tm_isdst = -1;
  return offsetMinutes ? timegm(&clock) - *offsetMinutes * 60 : std::mktime(&clock);
}

std::string encoded(const Photo& photo) {
  Random random(photo.seed);
  Canvas canvas(photo.width, photo.height);
  photo.scene(canvas, random);
  const std::string type = photo.path.substr(photo.path.rfind('.'));
  Image image = raster(photo, canvas.image);
  const std::string xmp = describe(image.get(), photo);
  if (type == ".jpg") {
    const Image small = made([&](VipsImage** out) {
      return vips_thumbnail_image(image.get(), out, 160, "no-rotate", TRUE, "export_profile", "srgb", nullptr);
    });
    const std::string jpeg = written(small.get(), ".jpg[Q=78,strip]");
    vips_image_set_blob_copy(image.get(), "jpeg-thumbnail-data", jpeg.data(), jpeg.size());
  }
  const std::string q = "Q=" + std::to_string(photo.quality);
  const std::string bytes = written(
      image.get(), type == ".png"
                       ? std::string(".png[strip,compression=3") + (photo.pixels == Pixels::Sticker ? ",palette]" : "]")
                   : type == ".tif" ? ".tif[compression=deflate,predictor=horizontal]"
                   : type == ".gif" ? ".gif"
                   : type == ".jpg" ? ".jpg[" + q + "]"
                                    : type + "[effort=" + (type == ".jxl" ? "3," : "1,") + q + "]");
  if (type == ".png") return withXmp(bytes, xmp);
  return photo.cutShort ? bytes.substr(0, bytes.size() * 2 / 5) : bytes;
}

}  // namespace tlx::samples
