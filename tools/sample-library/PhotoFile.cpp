#include <vips/vips8>
#include <zlib.h>

#include "Files.h"

namespace tlx::samples {
namespace {

using vips::VImage;

std::string written(const VImage& image, const std::string& format) {
  void* data = nullptr;
  std::size_t size = 0;
  image.write_to_buffer(format.c_str(), &data, &size);
  std::string bytes(static_cast<const char*>(data), size);
  g_free(data);
  return bytes;
}

/// As stored: turned so that `orientation` turns it back, with a trace of grain, which hides the steps in skies.
VImage raster(const Photo& photo, QImage upright) {
  const bool deep = photo.pixels == Pixels::Deep, sticker = photo.pixels == Pixels::Sticker;
  if (sticker) {
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
  VImage image = VImage::new_from_memory(upright.bits(), static_cast<std::size_t>(upright.sizeInBytes()),
                                         upright.width(), upright.height(), 4, VIPS_FORMAT_UCHAR);
  if (!sticker) image = image.extract_band(0, VImage::option()->set("n", 3));
  if (!sticker && photo.seed > 0) {
    const auto seed = VImage::option()->set("seed", static_cast<int>(photo.seed));
    image += VImage::gaussnoise(upright.width(), upright.height(), seed->set("sigma", 1.4)->set("mean", 0.0));
  }
  if (deep) image *= 257.0;
  image = image.cast(deep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR);
  image.get_image()->Type = deep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB;
  if (photo.pixels == Pixels::Grey) image = image.colourspace(VIPS_INTERPRETATION_B_W);
  if (photo.pixels == Pixels::Cmyk || photo.pixels == Pixels::Wide)
    image = image.icc_transform(photo.pixels == Pixels::Cmyk ? "cmyk" : "p3",
                                VImage::option()->set("input_profile", "srgb"));
  // Turned as the opposite orientation asks, its own turns it back: 6 and 8 are opposites, every other its own.
  const int o = photo.orientation;
  image.set(VIPS_META_ORIENTATION, o == 6 || o == 8 ? 14 - o : o);
  return image.autorot().copy_memory();
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
std::string describe(VImage& image, const Photo& p) {
  const auto set = [&](const char* field, const std::string& text) {
    if (!text.empty()) image.set(field, text.c_str());
  };
  const auto date = [&](const char* pattern) { return p.taken.toString(QLatin1String(pattern)).toStdString(); };
  const std::string zone = p.taken.timeSpec() == Qt::OffsetFromUTC ? date("t").substr(3) : "";
  image.set(VIPS_META_ORIENTATION, p.orientation);
  set("exif-ifd0-Make", p.make), set("exif-ifd0-Model", p.model);
  if (p.dated) {
    for (const char* field : {"exif-ifd0-DateTime", "exif-ifd2-DateTimeOriginal", "exif-ifd2-DateTimeDigitized"})
      set(field, date("yyyy:MM:dd HH:mm:ss"));
    set("exif-ifd2-OffsetTimeOriginal", zone);
  }
  std::string xmp;
  if (p.stars > 0) xmp += " xmp:Rating=\"" + std::to_string(p.stars) + "\"";
  if (p.dated) xmp += " xmp:CreateDate=\"" + date("yyyy-MM-ddTHH:mm:ss") + zone + "\"";
  if (p.panorama) xmp += " GPano:UsePanoramaViewer=\"True\" GPano:ProjectionType=\"cylindrical\"";
  if (xmp.empty()) return xmp;
  xmp =
      "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
      "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"><rdf:Description rdf:about=\"\" "
      "xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" xmlns:GPano=\"http://ns.google.com/photos/1.0/panorama/\"" +
      xmp + "/></rdf:RDF></x:xmpmeta>";
  vips_image_set_blob_copy(image.get_image(), VIPS_META_XMP_NAME, xmp.data(), xmp.size());
  return xmp;
}

}  // namespace

std::string encoded(const Photo& photo) {
  Random random(photo.seed);
  Canvas canvas(photo.width, photo.height);
  photo.scene(canvas, random);
  const std::string type = photo.path.substr(photo.path.rfind('.'));
  vips_error_clear();
  VImage image = raster(photo, canvas.image);
  const std::string xmp = describe(image, photo);
  if (type == ".jpg") {
    const VImage small =
        image.thumbnail_image(160, VImage::option()->set("no_rotate", true)->set("export_profile", "srgb"));
    const std::string jpeg = written(small, ".jpg[Q=78,strip]");
    vips_image_set_blob_copy(image.get_image(), "jpeg-thumbnail-data", jpeg.data(), jpeg.size());
  }
  const std::string q = "Q=" + std::to_string(photo.quality);
  const std::string bytes = written(
      image, type == ".png"
                 ? std::string(".png[strip,compression=3") + (photo.pixels == Pixels::Sticker ? ",palette]" : "]")
             : type == ".tif" ? ".tif[compression=deflate,predictor=horizontal]"
             : type == ".gif" ? ".gif"
             : type == ".jpg" ? ".jpg[" + q + "]"
                              : type + "[effort=" + (type == ".jxl" ? "3," : "1,") + q + "]");
  if (type == ".png") return withXmp(bytes, xmp);
  return photo.cutShort ? bytes.substr(0, bytes.size() * 2 / 5) : bytes;
}

}  // namespace tlx::samples
