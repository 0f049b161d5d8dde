#include "apps/tlx-media-picker/OutputFolder.h"

#include <cerrno>
#include <filesystem>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/photolibrary/base/FileStatus.h"
#include "adapters/photolibrary/files/UnfinishedFile.h"
#include "adapters/photolibrary/images/writing/CaptureExif.h"
#include "adapters/photolibrary/images/writing/JpegWriter.h"
#include "adapters/photolibrary/images/writing/PngWriter.h"
#include "adapters/photolibrary/source/MediaFormat.h"

namespace tlx::program {
namespace {

/// The name without its ending; a name of nothing but an ending is kept whole.
std::string stem(const std::string& name) {
  const auto dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

std::string ending(const std::string& name) {
  const auto dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? "" : name.substr(dot);
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
  const auto& bitmap = image.bitmap();
  if (!bitmap) return name + ": there is no picture";
  const bool alpha = !photolibrary::isOpaque(*bitmap);
  const auto exif = isCaptureDate ? photolibrary::captureExif(created) : std::vector<std::uint8_t>();
  photolibrary::UnfinishedFile file(path_);
  if (file.error()) return because(name, file.error());
  const auto write = [&](std::span<const std::uint8_t> bytes) { return file.write(bytes.data(), bytes.size()); };
  const int error = alpha ? photolibrary::writePng(*bitmap, photolibrary::PngEffort::Small, {}, exif, write)
                          : photolibrary::writeJpeg(*bitmap, photolibrary::JpegColour::EveryPixel, exif, write);
  if (error != 0) return because(name, error);
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
