#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <vector>

#include <vips/vips.h>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/codecs/ImageDecoder.h"

namespace tlx::photolibrary {
namespace {

struct Release {
  void operator()(void* object) const { g_object_unref(object); }
};
using ImageRef = std::unique_ptr<VipsImage, Release>;

std::atomic<bool> vipsHasStarted = false;

bool startVips() {
  static const bool started = [] {
    g_log_set_handler(
        "VIPS", G_LOG_LEVEL_WARNING, [](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
    if (vips_init("tlx") != 0) return false;
    vips_cache_set_max(0);
    vipsHasStarted = true;
    return true;
  }();
  return started;
}

/// The library's error text. It keeps one for the whole process, so another thread's message may be in it as well.
std::string takeMessage() {
  std::string text = vips_error_buffer();
  vips_error_clear();
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text.empty() ? "cannot be decoded" : text;
}

/// Opens the file with the loader of its own format and no other: the library knows some that read other files, run
/// other programs or were never meant for what strangers send.
VipsImage* load(VipsSource* source, MediaFormat format, VipsFailOn failOn) {
  const auto with = [&](auto loader) -> VipsImage* {
    VipsImage* image = nullptr;
    const int failed = loader(source, &image, "access", VIPS_ACCESS_SEQUENTIAL, "fail_on", failOn, nullptr);
    return failed == 0 ? image : nullptr;
  };
  switch (format) {
    case MediaFormat::Jpeg:
      return with(vips_jpegload_source);
    case MediaFormat::Png:
      return with(vips_pngload_source);
    case MediaFormat::WebP:
      return with(vips_webpload_source);
    case MediaFormat::Gif:
      return with(vips_gifload_source);
    case MediaFormat::Tiff:
      return with(vips_tiffload_source);
    case MediaFormat::JpegXl:
      return with(vips_jxlload_source);
    case MediaFormat::Unknown:
    case MediaFormat::Heic:
    case MediaFormat::Avif:
    case MediaFormat::Mp4:
    case MediaFormat::Mov:
    case MediaFormat::Matroska:
    case MediaFormat::WebM:
    case MediaFormat::Avi:
    case MediaFormat::ThreeGp:
    case MediaFormat::MpegTs:
      break;
  }
  return nullptr;
}

/// A file's bytes as a source that reads by position and never maps the file: a file cut short while it is read must
/// show as an error.
class FileSource {
 public:
  explicit FileSource(FileBytes& file) : file_(file), source_(vips_source_custom_new()) {
    g_signal_connect(source_, "read", G_CALLBACK(&FileSource::read), this);
    g_signal_connect(source_, "seek", G_CALLBACK(&FileSource::seek), this);
  }
  ~FileSource() { g_object_unref(source_); }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  VipsSource* get() const { return VIPS_SOURCE(source_); }

 private:
  static gint64 read(VipsSourceCustom*, void* into, gint64 count, FileSource* self) {
    if (count <= 0) return 0;
    const std::int64_t got =
        self->file_.copy(static_cast<std::uint64_t>(self->position_), into, static_cast<std::size_t>(count));
    if (got > 0) self->position_ += got;
    return got;
  }
  static gint64 seek(VipsSourceCustom*, gint64 offset, int whence, FileSource* self) {
    if (whence == SEEK_CUR) offset += self->position_;
    if (whence == SEEK_END) offset += self->file_.size();
    if (offset < 0) return -1;
    return self->position_ = offset;
  }

  FileBytes& file_;
  std::int64_t position_ = 0;
  VipsSourceCustom* source_;
};

void expand(const VipsPel* from, int bands, std::vector<std::uint8_t>& rgba) {
  for (std::size_t i = 0; i < rgba.size(); i += 4, from += bands) {
    rgba[i] = from[0];
    rgba[i + 1] = bands >= 3 ? from[1] : from[0];
    rgba[i + 2] = bands >= 3 ? from[2] : from[0];
    rgba[i + 3] = bands == 2 ? from[1] : bands >= 4 ? from[3] : VipsPel{255};
  }
}

/// Evaluates the image from the top on the calling thread, some rows at a time. False when it cannot be, or no more
/// is wanted.
bool takeRows(VipsImage* image, PictureBuilder& builder, const DecodeContext& context) {
  static constexpr int pixelsAtOnce = 1 << 22;
  const std::unique_ptr<VipsRegion, Release> region(vips_region_new(image));
  const int width = vips_image_get_width(image), height = vips_image_get_height(image);
  const int rowsAtOnce = std::clamp(pixelsAtOnce / width, 1, 64);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(width) * 4);
  for (int top = 0; top < height; top += rowsAtOnce) {
    const VipsRect area{0, top, width, std::min(rowsAtOnce, height - top)};
    if (context.isCancelled() || vips_region_prepare(region.get(), &area) != 0) return false;
    for (int y = top; y < top + area.height; ++y) {
      expand(VIPS_REGION_ADDR(region.get(), 0, y), vips_image_get_bands(image), row);
      builder.add(row.data());
    }
  }
  return true;
}

/// 8 bits a channel: grey or RGB, with or without alpha. RGB keeps its own colour space, for the profile that comes
/// with it; everything else comes out in sRGB.
bool toEightBit(ImageRef& image) {
  VipsImage* next = nullptr;
  const auto done = [&](int failed) {
    if (failed == 0) image.reset(next);
    return failed == 0;
  };
  const VipsInterpretation kind = vips_image_guess_interpretation(image.get());
  const bool hasProfile = vips_image_get_typeof(image.get(), VIPS_META_ICC_NAME) != 0;
  const bool isGrey = kind == VIPS_INTERPRETATION_B_W || kind == VIPS_INTERPRETATION_GREY16;
  if (kind == VIPS_INTERPRETATION_CMYK || (isGrey && hasProfile)) {
    // A profile that cannot be used leaves the numbers as they are.
    if (!done(vips_icc_transform(image.get(), &next, "srgb", "embedded", TRUE, "input_profile",
                                 isGrey ? "srgb" : "cmyk", nullptr))) {
      vips_error_clear();
    }
  }
  if (!done(vips_colourspace(image.get(), &next, VIPS_INTERPRETATION_sRGB, nullptr))) return false;
  return image->BandFmt == VIPS_FORMAT_UCHAR || done(vips_cast_uchar(image.get(), &next, nullptr));
}

std::shared_ptr<const ColorTransform> transformOf(VipsImage* image, ColorTransforms& transforms) {
  const void* profile = nullptr;
  size_t size = 0;
  if (vips_image_get_typeof(image, VIPS_META_ICC_NAME) == 0 ||
      vips_image_get_blob(image, VIPS_META_ICC_NAME, &profile, &size) != 0) {
    return nullptr;
  }
  return transforms.fromProfile({static_cast<const std::uint8_t*>(profile), size});
}

}  // namespace

void ImageDecoder::leaveThread() {
  // A library that was never started has nothing to end, and crashes when asked to.
  if (vipsHasStarted) vips_thread_shutdown();
}

void prepareVips() {
  startVips();
}

Failure decodeWithVips(FileBytes& file, const PhotoHeader& header, PixelSize result, const DecodeContext& context) {
  if (!startVips()) return libraryError(PhotoLibraryErrorUnsupported, "libvips does not start");
  // What an earlier file left there, as a header that was read in vain does, would stand before what is said of this
  // one.
  vips_error_clear();
  const PixelSize stored = header.swapsSides() ? result.turned() : result;
  const FileSource source(file);
  ImageRef image(load(source.get(), header.format, context.strict ? VIPS_FAIL_ON_ERROR : VIPS_FAIL_ON_NONE));
  if (!image) return libraryError(PhotoLibraryErrorDamaged, takeMessage());
  const PixelSize size{vips_image_get_width(image.get()), vips_image_get_height(image.get())};
  if (size != PixelSize{header.width, header.height}) {
    return libraryError(PhotoLibraryErrorDamaged, "the header's size is not the picture's");
  }
  std::shared_ptr<const ColorTransform> transform;
  const VipsInterpretation kind = vips_image_guess_interpretation(image.get());
  if (kind == VIPS_INTERPRETATION_sRGB || kind == VIPS_INTERPRETATION_RGB16 || kind == VIPS_INTERPRETATION_RGB) {
    transform = transformOf(image.get(), context.transforms);
  }
  if (!toEightBit(image)) return libraryError(PhotoLibraryErrorDamaged, takeMessage());

  const int bands = vips_image_get_bands(image.get());
  auto builder = PictureBuilder::start(context.sink, {size, stored, header.turn, bands != 2 && bands < 4, transform});
  if (const NSError* error = std::get_if<NSError>(&builder)) return *error;

  const bool evaluated = takeRows(image.get(), *std::get<0>(builder), context);
  if (context.isCancelled()) {
    vips_error_clear();
    return libraryError(PhotoLibraryErrorCancelled, "cancelled");
  }
  if (!evaluated) return libraryError(PhotoLibraryErrorDamaged, takeMessage());
  return std::nullopt;
}

}  // namespace tlx::photolibrary
