#include "PhotoFile.h"

#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include <vips/vips.h>

namespace tlx::samples {
namespace {

struct Unref {
  void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Image = std::unique_ptr<VipsImage, Unref>;

/// Film's answer to light: straight up to a knee, then an ever gentler shoulder, and the curve of sRGB over both.
class Develop {
 public:
  Develop() {
    for (int i = 0; i <= kSteps; ++i) {
      float v = static_cast<float>(i) / kSteps;
      v = v * v * kBrightest;
      if (v > kKnee) v = kKnee + (1 - kKnee) * (1 - std::exp(-(v - kKnee) / (1 - kKnee) * 1.1F));
      table_[static_cast<std::size_t>(i)] = v <= 0.0031308F ? 12.92F * v : 1.055F * std::pow(v, 1 / 2.4F) - 0.055F;
    }
  }
  float operator()(float v) const {
    const float at = std::sqrt(std::clamp(v * (1 / kBrightest), 0.0F, 0.9999F)) * kSteps;
    const auto i = static_cast<std::size_t>(at);
    return lerp(table_[i], table_[i + 1], at - static_cast<float>(i));
  }

 private:
  static constexpr int kSteps = 4096;
  static constexpr float kBrightest = 6, kKnee = 0.85F;
  std::array<float, kSteps + 1> table_{};
};
const Develop kDevelop;

/// Where the stored pixel (x, y) lies in the upright picture of that size.
std::pair<int, int> uprightOf(int x, int y, int width, int height, int orientation) {
  switch (orientation) {
    case 2:
      return {width - 1 - x, y};
    case 3:
      return {width - 1 - x, height - 1 - y};
    case 4:
      return {x, height - 1 - y};
    case 5:
      return {y, x};
    case 6:
      return {width - 1 - y, x};
    case 7:
      return {width - 1 - y, height - 1 - x};
    case 8:
      return {y, height - 1 - x};
    default:
      return {x, y};
  }
}

struct Raster {
  int width = 0, height = 0, bands = 3;
  bool deep = false;
  std::vector<std::uint16_t> wide{};
  Bytes bytes{};
};

/// A trace of grain hides the steps of 8 bits in skies.
Raster develop(const Canvas& upright, PixelKind kind, int orientation) {
  Raster out;
  const bool turned = orientation >= 5;
  out.width = turned ? upright.height() : upright.width();
  out.height = turned ? upright.width() : upright.height();
  out.bands = kind == PixelKind::Grey ? 1 : kind == PixelKind::Palette ? 4 : 3;
  out.deep = kind == PixelKind::Deep;
  const std::size_t size =
      static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height) * static_cast<std::size_t>(out.bands);
  if (out.deep)
    out.wide.resize(size);
  else
    out.bytes.resize(size);
  std::uint32_t grain = 0x2545F491;
  std::size_t at = 0;
  const float radius = 0.47F * static_cast<float>(std::min(upright.width(), upright.height()));
  for (int y = 0; y < out.height; ++y)
    for (int x = 0; x < out.width; ++x) {
      const auto [ux, uy] = uprightOf(x, y, upright.width(), upright.height(), orientation);
      Colour c = upright.row(uy)[ux];
      if (kind == PixelKind::Grey) {
        const float l = c.luma();
        c = {l, l, l};
      } else if (kind == PixelKind::Wide) {
        const float l = c.luma();
        const Colour vivid = mix({l, l, l}, c, 1.25F);
        c = {0.8225F * vivid.r + 0.1774F * vivid.g, 0.0332F * vivid.r + 0.9669F * vivid.g,
             0.0171F * vivid.r + 0.0724F * vivid.g + 0.9108F * vivid.b};
      }
      float values[4] = {kDevelop(c.r), kDevelop(c.g), kDevelop(c.b), 1};
      if (out.bands == 4) {
        const float dx = static_cast<float>(ux) + 0.5F - 0.5F * static_cast<float>(upright.width());
        const float dy = static_cast<float>(uy) + 0.5F - 0.5F * static_cast<float>(upright.height());
        values[3] = clamp01(radius - std::sqrt(dx * dx + dy * dy));
      }
      grain ^= grain << 13U, grain ^= grain >> 17U, grain ^= grain << 5U;
      const float speck =
          (static_cast<float>(grain & 0xFFFFU) + static_cast<float>(grain >> 16U)) * (1.0F / 65536.0F) - 1.0F;
      for (int band = 0; band < out.bands; ++band, ++at) {
        if (out.deep)
          out.wide[at] = static_cast<std::uint16_t>(std::lround(clamp01(values[band]) * 65535.0F));
        else
          out.bytes[at] = static_cast<std::uint8_t>(
              std::clamp(values[band] * 255.0F + (band < 3 ? speck * 0.9F : 0) + 0.5F, 0.0F, 255.0F));
      }
    }
  return out;
}

Image wrap(const Raster& raster) {
  const void* data = raster.deep ? static_cast<const void*>(raster.wide.data()) : raster.bytes.data();
  const std::size_t size = raster.deep ? raster.wide.size() * 2 : raster.bytes.size();
  const Image plain(vips_image_new_from_memory(data, size, raster.width, raster.height, raster.bands,
                                               raster.deep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR));
  VipsImage* image = nullptr;
  const VipsInterpretation meaning = raster.deep         ? VIPS_INTERPRETATION_RGB16
                                     : raster.bands == 1 ? VIPS_INTERPRETATION_B_W
                                                         : VIPS_INTERPRETATION_sRGB;
  vips_copy(plain.get(), &image, "interpretation", meaning, nullptr);
  return Image(image);
}

Bytes takeOver(void* buffer, std::size_t size) {
  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  Bytes out(bytes, bytes + size);
  g_free(buffer);
  return out;
}

Bytes plainJpeg(VipsImage* image, int quality) {
  void* buffer = nullptr;
  std::size_t size = 0;
  if (vips_jpegsave_buffer(image, &buffer, &size, "Q", quality, "strip", TRUE, nullptr) != 0) return {};
  return takeOver(buffer, size);
}

Canvas shrunk(const Canvas& from, int longSide) {
  const float scale = static_cast<float>(longSide) / static_cast<float>(std::max(from.width(), from.height()));
  Canvas to(std::max(1, static_cast<int>(std::lround(static_cast<float>(from.width()) * scale))),
            std::max(1, static_cast<int>(std::lround(static_cast<float>(from.height()) * scale))));
  for (int y = 0; y < to.height(); ++y)
    for (int x = 0; x < to.width(); ++x) {
      const int x0 = x * from.width() / to.width(), x1 = std::max(x0 + 1, (x + 1) * from.width() / to.width());
      const int y0 = y * from.height() / to.height(), y1 = std::max(y0 + 1, (y + 1) * from.height() / to.height());
      Colour sum;
      for (int sy = y0; sy < y1; ++sy)
        for (int sx = x0; sx < x1; ++sx) sum += from.row(sy)[sx];
      to.row(y)[x] = sum * (1.0F / static_cast<float>((x1 - x0) * (y1 - y0)));
    }
  return to;
}

void* copyField(VipsImage*, const char* name, GValue* value, void* to) {
  if (std::strncmp(name, "exif-", 5) == 0 || std::strcmp(name, VIPS_META_XMP_NAME) == 0)
    vips_image_set(static_cast<VipsImage*>(to), name, value);
  return nullptr;
}

/// libvips writes only those EXIF values that it also knows as fields of the image, so they are read back from a small
/// JPEG that carries the block.
void attachMetadata(VipsImage* image, const Bytes& exif, const std::string& xmp) {
  const Bytes dot(64 * 3, 128);
  const Image grey(vips_image_new_from_memory(dot.data(), dot.size(), 8, 8, 3, VIPS_FORMAT_UCHAR));
  const Bytes carrier = withJpegMetadata(plainJpeg(grey.get(), 80), exif, xmp, {});
  VipsImage* read = nullptr;
  if (vips_jpegload_buffer(const_cast<std::uint8_t*>(carrier.data()), carrier.size(), &read, nullptr) != 0) return;
  const Image source(read);
  vips_image_map(source.get(), copyField, image);
}

std::optional<Bytes> encodeCmyk(VipsImage* image, int quality, const Bytes& exif, const std::string& xmp) {
  VipsImage* separated = nullptr;
  if (vips_icc_transform(image, &separated, "cmyk", "input_profile", "srgb", nullptr) != 0) return std::nullopt;
  const Image inks(separated);
  const void* profile = nullptr;
  std::size_t size = 0;
  Bytes blob;
  if (vips_image_get_blob(inks.get(), VIPS_META_ICC_NAME, &profile, &size) == 0) {
    const auto* bytes = static_cast<const std::uint8_t*>(profile);
    blob.assign(bytes, bytes + size);
  }
  const Bytes plain = plainJpeg(inks.get(), quality);
  if (plain.empty()) return std::nullopt;
  return withJpegMetadata(plain, exif, xmp, blob);
}

}  // namespace

const char* extensionOf(PhotoKind kind) {
  switch (kind) {
    case PhotoKind::Jpeg:
      return ".jpg";
    case PhotoKind::Png:
      return ".png";
    case PhotoKind::WebP:
      return ".webp";
    case PhotoKind::Gif:
      return ".gif";
    case PhotoKind::Tiff:
      return ".tif";
    case PhotoKind::Heic:
      return ".heic";
    case PhotoKind::Avif:
      return ".avif";
    case PhotoKind::JpegXl:
      return ".jxl";
  }
  return "";
}

std::optional<Bytes> encodePhoto(const Canvas& upright, const PhotoFormat& format, PhotoMetadata metadata,
                                 std::string& why) {
  const Raster raster = develop(upright, format.pixels, metadata.orientation);
  metadata.width = raster.width;
  metadata.height = raster.height;
  if (format.thumbnail && format.kind == PhotoKind::Jpeg) {
    const Raster small = develop(shrunk(upright, 160), PixelKind::Colour, metadata.orientation);
    metadata.thumbnail = plainJpeg(wrap(small).get(), 78);
  }
  const Bytes exif = exifBlock(metadata);
  const std::string xmp = xmpPacket(metadata);
  const Image image = wrap(raster);
  void* buffer = nullptr;
  std::size_t size = 0;
  int failed = 0;
  switch (format.kind) {
    case PhotoKind::Jpeg: {
      if (format.pixels == PixelKind::Cmyk) {
        if (auto inks = encodeCmyk(image.get(), format.quality, exif, xmp)) return inks;
        failed = 1;
        break;
      }
      const Bytes plain = plainJpeg(image.get(), format.quality);
      if (!plain.empty())
        return withJpegMetadata(plain, exif, xmp, format.pixels == PixelKind::Wide ? displayP3Profile() : Bytes{});
      failed = 1;
      break;
    }
    case PhotoKind::Png:
      failed = vips_pngsave_buffer(image.get(), &buffer, &size, "compression", 5, "strip", TRUE, "palette",
                                   format.pixels == PixelKind::Palette, nullptr);
      if (!failed) return withPngMetadata(takeOver(buffer, size), exif, xmp);
      break;
    case PhotoKind::Tiff:
      failed = vips_tiffsave_buffer(image.get(), &buffer, &size, "compression", VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE,
                                    "predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL, "strip", TRUE, nullptr);
      if (!failed) return withTiffMetadata(takeOver(buffer, size), metadata);
      break;
    case PhotoKind::WebP:
    case PhotoKind::Gif:
    case PhotoKind::Heic:
    case PhotoKind::Avif:
    case PhotoKind::JpegXl: {
      attachMetadata(image.get(), exif, xmp);
      if (format.kind == PhotoKind::WebP)
        failed =
            vips_image_write_to_buffer(image.get(), ".webp", &buffer, &size, "Q", format.quality, "effort", 2, nullptr);
      else if (format.kind == PhotoKind::Gif)
        failed = vips_image_write_to_buffer(image.get(), ".gif", &buffer, &size, nullptr);
      else if (format.kind == PhotoKind::Heic)
        failed =
            vips_image_write_to_buffer(image.get(), ".heic", &buffer, &size, "Q", format.quality, "effort", 1, nullptr);
      else if (format.kind == PhotoKind::Avif)
        failed =
            vips_image_write_to_buffer(image.get(), ".avif", &buffer, &size, "Q", format.quality, "effort", 0, nullptr);
      else
        failed =
            vips_image_write_to_buffer(image.get(), ".jxl", &buffer, &size, "Q", format.quality, "effort", 3, nullptr);
      if (!failed) return takeOver(buffer, size);
      break;
    }
  }
  why = vips_error_buffer();
  vips_error_clear();
  return std::nullopt;
}

Bytes developedRgb(const Canvas& upright) {
  return develop(upright, PixelKind::Colour, 1).bytes;
}

}  // namespace tlx::samples
