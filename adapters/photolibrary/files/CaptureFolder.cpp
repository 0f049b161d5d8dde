#include "adapters/photolibrary/files/CaptureFolder.h"

#include <cerrno>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/photolibrary/base/FileStatus.h"
#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/files/UnfinishedFile.h"
#include "adapters/photolibrary/images/writing/CaptureExif.h"
#include "adapters/photolibrary/images/writing/JpegWriter.h"
#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {
namespace {

NSError failure(int error, const std::string& path) {
  const bool full = error == ENOSPC || error == EDQUOT || error == EFBIG;
  return libraryError(full ? PhotoLibraryErrorNoSpace : PhotoLibraryErrorUnreadable,
                      path + " cannot be written: " + std::system_category().message(error));
}

std::string dateName(double created) {
  const auto whole = static_cast<std::time_t>(std::floor(created));
  std::tm parts{};
  char name[64] = "Capture";
  if (localtime_r(&whole, &parts)) std::strftime(name, sizeof name, "%Y-%m-%d %H.%M.%S", &parts);
  return name;
}

/// By what is in it, and by its name where that says nothing.
std::string videoEnding(int file, const std::string& path) {
  std::vector<std::uint8_t> head(4096);
  const ssize_t got = ::pread(file, head.data(), head.size(), 0);
  const MediaFormat format = sniffFormat(head.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
  if (isVideo(format)) return "." + std::string(traitsOf(format).endings[0]);
  return std::filesystem::path(path).extension().string();
}

/// Gives the finished file its name.
std::variant<std::string, NSError> settle(UnfinishedFile& file, double created, const std::string& ending) {
  std::string path;
  if (const int error = file.settle(dateName(created), ending, path)) return failure(error, path);
  return path;
}

std::optional<NSError> makeFolder(const std::string& path) {
  std::error_code failed;
  std::filesystem::create_directories(path, failed);
  if (failed) return failure(failed.value(), path);
  return std::nullopt;
}

}  // namespace

CaptureFolder::CaptureFolder(const std::string& root) : path_((root == "/" ? "" : root) + "/Camera") {}

std::variant<std::string, NSError> CaptureFolder::savePhoto(const UIImage& image, double created) const {
  const auto& bitmap = image.bitmap();
  if (!bitmap || bitmap->width() > kJpegSideLimit || bitmap->height() > kJpegSideLimit) {
    return libraryError(PhotoLibraryErrorUnsupported, "The image cannot be made a file.");
  }
  if (const auto error = makeFolder(path_)) return *error;
  UnfinishedFile file(path_);
  int error = file.error();
  if (error == 0) {
    error = writeJpeg(*bitmap, JpegColour::EverySecond, captureExif(created),
                      [&](std::span<const std::uint8_t> bytes) { return file.write(bytes.data(), bytes.size()); });
  }
  if (error == 0) error = file.setTime(created);
  if (error == 0 && ::fdatasync(file.get()) != 0) error = errno;
  if (error != 0) return failure(error, path_);
  return settle(file, created, ".jpg");
}

std::variant<std::string, NSError> CaptureFolder::saveVideo(const std::string& recording, double created) const {
  const FileDescriptor original(::open(recording.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status;
  if (!original || ::fstat(original.get(), &status) != 0) return fileError(errno, recording);
  if (!S_ISREG(status.st_mode) || status.st_size == 0) {
    return libraryError(PhotoLibraryErrorDamaged, recording + " holds no video.");
  }
  if (const auto error = makeFolder(path_)) return *error;
  const std::string ending = videoEnding(original.get(), recording);
  UnfinishedFile file(path_);
  if (file.error()) return failure(file.error(), path_);
  // On the same file system the recording itself gets a second name, provided that it can be given the mode and the
  // time that a file made here has. Else it is copied.
  struct stat copy {};
  if (::fstat(file.get(), &copy) == 0 && copy.st_dev == status.st_dev &&
      ::fchmod(original.get(), copy.st_mode & 0777) == 0 && setFileTime(original.get(), created) == 0) {
    std::string path;
    const int error = freeName(path_, dateName(created), ending, path, [&](const std::string& free) {
      return ::link(recording.c_str(), free.c_str()) == 0 ? 0 : errno;
    });
    if (error == 0) return path;
  }
  int error = file.copyFrom(original.get());
  if (error == 0) error = file.setTime(created);
  if (error != 0) return failure(error, path_);
  return settle(file, created, ending);
}

}  // namespace tlx::photolibrary
