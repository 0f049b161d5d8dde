#include "apps/tlx-media-picker/OutputFolder.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vips/vips.h>

#include "adapters/photolibrary/base/FileStatus.h"
#include "adapters/photolibrary/files/UnfinishedFile.h"
#include "adapters/photolibrary/source/MediaFormat.h"
#include "apps/tlx-media-picker/CaptureDate.h"

namespace tlx::program {
namespace {

constexpr int kJpegQuality = 92;

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
  void operator()(void* object) const { g_object_unref(object); }
};
template <class Object>
using Held = std::unique_ptr<Object, Unref>;

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
Held<VipsImage> pixelsOf(const CGImage& bitmap, bool alpha) {
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
  Held<VipsImage> pixels(packed.empty()
                             ? vips_image_new_from_memory(bytes, size, width, height, 4, VIPS_FORMAT_UCHAR)
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

/// What a copy allows others: to read it only if they may read the original, and never more than a file made here.
mode_t modeOfCopy(mode_t original) {
  mode_t mode = 0666;
  if (!(original & S_IRGRP)) mode &= ~mode_t{S_IRWXG};
  if (!(original & S_IROTH)) mode &= ~mode_t{S_IRWXO};
  return mode;
}

std::string because(const std::string& name, int error) {
  return name + ": " + std::generic_category().message(error);
}

OutputFolder::Outcome settled(photolibrary::UnfinishedFile& file, const std::string& name, double created) {
  std::string path;
  file.setTime(created);  // where a file system keeps none, the picture is worth having all the same
  const int error = file.settle(stem(name), ending(name), path);
  if (error != 0) return because(name, error);
  return OutputFolder::Written{path};
}

}  // namespace

OutputFolder::OutputFolder(std::string path) : path_(std::move(path)) {
  std::error_code failure;
  std::filesystem::create_directories(path_, failure);
  if (failure) {
    error_ = path_ + ": " + failure.message();
  } else if (access(path_.c_str(), W_OK | X_OK) != 0) {
    error_ = because(path_, errno);
  }
}

OutputFolder::Outcome OutputFolder::writeImage(const UIImage& image, const std::string& name, double created,
                                               bool isCaptureDate) const {
  if (vips_init("tlx-media-picker") != 0) return name + ": " + vipsReason();
  const auto& bitmap = image.bitmap();
  if (!bitmap) return name + ": there is no picture";
  const bool alpha = hasTransparency(*bitmap);
  const Held<VipsImage> pixels = pixelsOf(*bitmap, alpha);
  if (!pixels) return name + ": " + vipsReason();
  if (isCaptureDate) setCaptureDate(*pixels, created);
  photolibrary::UnfinishedFile file(path_);
  if (file.error()) return because(name, file.error());
  const Held<VipsTarget> target(vips_target_new_to_descriptor(file.get()));
  const int failed = alpha ? vips_pngsave_target(pixels.get(), target.get(), nullptr)
                           : vips_jpegsave_target(pixels.get(), target.get(), "Q", kJpegQuality, nullptr);
  if (!target || failed) return name + ": " + vipsReason();
  using photolibrary::MediaFormat;
  const MediaFormat format = alpha ? MediaFormat::Png : MediaFormat::Jpeg;
  const std::string own = "." + std::string(photolibrary::traitsOf(format).endings[0]);
  // A name that is nothing but an ending is no ending.
  const bool same = !ending(name).empty() && photolibrary::formatNamedBy(name) == format;
  return settled(file, same ? name : stem(name) + own, created);
}

OutputFolder::Outcome OutputFolder::copyFile(const std::string& original, const std::string& name,
                                             double created) const {
  // A pipe that took the original's place is not waited for.
  const photolibrary::FileDescriptor from(::open(original.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (!from || ::fstat(from.get(), &status) != 0) return because(name, errno);
  if (!S_ISREG(status.st_mode)) return name + ": no longer a file";
  photolibrary::UnfinishedFile file(path_, modeOfCopy(status.st_mode));
  int error = file.error();
  if (error == 0) error = file.copyFrom(from.get());
  if (error != 0) return because(name, error);
  return settled(file, name, created);
}

}  // namespace tlx::program
