#include "apps/tlx-media-picker/OutputFolder.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vips/vips.h>

#include "adapters/photolibrary/source/MediaFormat.h"
#include "apps/tlx-media-picker/CaptureDate.h"

namespace tlx::program {
namespace {

constexpr int kJpegQuality = 92;

std::string reason(const std::string& what) {
  return what + ": " + std::strerror(errno);
}

bool hasTransparency(const CGImage& bitmap) {
  for (std::size_t y = 0; y < bitmap.height(); ++y) {
    const std::uint8_t* row = bitmap.row(y);
    for (std::size_t x = 0; x < bitmap.width(); ++x) {
      if (row[4 * x + 3] != 255) return true;
    }
  }
  return false;
}

struct Unref {
  void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Image = std::unique_ptr<VipsImage, Unref>;

std::string vipsReason() {
  std::string text = vips_error_buffer();
  vips_error_clear();
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text.empty() ? "the image could not be written" : text;
}

/// The name without its ending; a name of nothing but an ending is kept whole.
std::string stem(const std::string& name) {
  const auto dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

std::string ending(const std::string& name) {
  const auto dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? "" : name.substr(dot);
}

/// The bitmap as an image of the picture library that lives no longer, without alpha where there is nothing to see
/// through.
Image pixelsOf(const CGImage& bitmap, bool alpha) {
  const auto width = static_cast<int>(bitmap.width()), height = static_cast<int>(bitmap.height());
  const auto* bytes = bitmap.pixels();
  std::vector<std::uint8_t> packed;
  if (const std::size_t row = bitmap.width() * CGImage::bytesPerPixel; bitmap.bytesPerRow() != row) {
    packed.resize(row * bitmap.height());
    for (std::size_t y = 0; y < bitmap.height(); ++y) std::memcpy(packed.data() + y * row, bitmap.row(y), row);
    bytes = packed.data();
  }
  VipsImage* step = nullptr;
  const std::size_t size = bitmap.width() * bitmap.height() * CGImage::bytesPerPixel;
  Image pixels(packed.empty() ? vips_image_new_from_memory(bytes, size, width, height, 4, VIPS_FORMAT_UCHAR)
                              : vips_image_new_from_memory_copy(bytes, size, width, height, 4, VIPS_FORMAT_UCHAR));
  const auto next = [&](int failed) {
    pixels.reset(failed ? nullptr : step);
    return pixels != nullptr;
  };
  if (!pixels || !next(vips_copy(pixels.get(), &step, "interpretation", VIPS_INTERPRETATION_sRGB, nullptr)))
    return nullptr;
  if (!alpha) {
    next(vips_extract_band(pixels.get(), &step, 0, "n", 3, nullptr));
  } else if (next(vips_unpremultiply(pixels.get(), &step, nullptr)) && next(vips_rint(pixels.get(), &step, nullptr))) {
    next(vips_cast(pixels.get(), &step, VIPS_FORMAT_UCHAR, nullptr));
  }
  return pixels;
}

}  // namespace

OutputFolder::OutputFolder(std::string path) : path_(std::move(path)) {
  std::error_code failure;
  std::filesystem::create_directories(path_, failure);
  if (failure) {
    error_ = path_ + ": " + failure.message();
  } else if (access(path_.c_str(), W_OK | X_OK) != 0) {
    error_ = reason(path_);
  }
}

std::string OutputFolder::temporaryName() const {
  static unsigned count = 0;
  return path_ + "/.tlx-" + std::to_string(getpid()) + "-" + std::to_string(++count) + ".part";
}

std::variant<OutputFolder::Written, std::string> OutputFolder::writeImage(const UIImage& image, const std::string& name,
                                                                          double created, bool isCaptureDate) const {
  if (vips_init("tlx-media-picker") != 0) return name + ": " + vipsReason();
  const auto& bitmap = image.bitmap();
  if (!bitmap) return name + ": there is no picture";
  const bool alpha = hasTransparency(*bitmap);
  const Image pixels = pixelsOf(*bitmap, alpha);
  if (!pixels) return name + ": " + vipsReason();
  if (isCaptureDate) setCaptureDate(*pixels, created);
  const std::string temporary = temporaryName();
  const int failed = alpha ? vips_pngsave(pixels.get(), temporary.c_str(), nullptr)
                           : vips_jpegsave(pixels.get(), temporary.c_str(), "Q", kJpegQuality, nullptr);
  if (failed) {
    unlink(temporary.c_str());
    return name + ": " + vipsReason();
  }
  using photolibrary::MediaFormat;
  const MediaFormat format = alpha ? MediaFormat::Png : MediaFormat::Jpeg;
  const std::string own = "." + std::string(photolibrary::traitsOf(format).endings[0]);
  // A name that is nothing but an ending is no ending.
  const bool same = !ending(name).empty() && photolibrary::formatNamedBy(name) == format;
  return settle(temporary, same ? name : stem(name) + own, created);
}

std::variant<OutputFolder::Written, std::string> OutputFolder::copyFile(const std::string& original,
                                                                        const std::string& name, double created) const {
  const std::string temporary = temporaryName();
  std::error_code failure;
  std::filesystem::copy_file(original, temporary, failure);
  if (failure) {
    unlink(temporary.c_str());
    return name + ": " + failure.message();
  }
  return settle(temporary, name, created);
}

std::variant<OutputFolder::Written, std::string> OutputFolder::settle(const std::string& temporary,
                                                                      const std::string& name, double created) const {
  timespec times[2] = {{0, UTIME_NOW}, {static_cast<std::time_t>(std::floor(created)), 0}};
  times[1].tv_nsec = static_cast<long>((created - std::floor(created)) * 1e9);
  utimensat(AT_FDCWD, temporary.c_str(), times, 0);
  for (int number = 1; number < 100000; ++number) {
    const std::string free =
        path_ + "/" + (number == 1 ? name : stem(name) + " (" + std::to_string(number) + ")" + ending(name));
    // A link never replaces what is there; file systems without links rename, after a look.
    if (link(temporary.c_str(), free.c_str()) == 0) {
      unlink(temporary.c_str());
      return Written{free};
    }
    if (errno == EEXIST) continue;
    struct stat there {};
    if (lstat(free.c_str(), &there) == 0) continue;
    if (rename(temporary.c_str(), free.c_str()) == 0) return Written{free};
    const std::string why = reason(free);
    unlink(temporary.c_str());
    return why;
  }
  unlink(temporary.c_str());
  return name + ": no name is free";
}

}  // namespace tlx::program
