#include "adapters/photolibrary/files/CaptureFolder.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/photolibrary/base/FileKey.h"
#include "adapters/photolibrary/base/FileStatus.h"
#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/codecs/PhotoEncoder.h"
#include "adapters/photolibrary/source/MediaProbe.h"

namespace tlx::photolibrary {
namespace {

NSError failure(int error, const std::string& path) {
  const bool full = error == ENOSPC || error == EDQUOT || error == EFBIG;
  return libraryError(full ? PhotoLibraryErrorNoSpace : PhotoLibraryErrorUnreadable,
                      path + " cannot be written: " + std::system_category().message(error));
}

bool setTime(int file, double created) {
  const double whole = std::floor(created);
  const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(whole), static_cast<long>((created - whole) * 1e9)}};
  return ::futimens(file, times) == 0;
}

bool writeAll(int file, const std::uint8_t* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(file, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

bool copyAll(int from, int to) {
  // The kernel shares the blocks where the file system can.
  ssize_t copied = 0;
  while ((copied = ::copy_file_range(from, nullptr, to, nullptr, std::size_t{1} << 30, 0)) > 0) {
  }
  if (copied == 0) return true;
  if (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return false;
  std::vector<std::uint8_t> buffer(1 << 20);
  ssize_t got = 0;
  while ((got = ::read(from, buffer.data(), buffer.size())) > 0) {
    if (!writeAll(to, buffer.data(), static_cast<std::size_t>(got))) return false;
  }
  return got == 0;
}

/// A file that walks pass over, gone again unless it is given a name.
class HiddenFile {
 public:
  explicit HiddenFile(const std::string& folder) : path_(folder + "/.tlx-capture-" + mintIdentifier()) {
    file_ = FileDescriptor(::open(path_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666));
    if (!file_) error_ = errno;
  }
  ~HiddenFile() {
    if (file_) ::unlink(path_.c_str());  // after a rename nothing is there
  }
  HiddenFile(const HiddenFile&) = delete;
  HiddenFile& operator=(const HiddenFile&) = delete;

  int get() const { return file_.get(); }
  int error() const { return error_; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  FileDescriptor file_;
  int error_ = 0;
};

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

/// Answers 0, or why not; EEXIST when there is something of that name.
int nameWithoutReplacing(const std::string& hidden, const std::string& name) {
  if (::renameat2(AT_FDCWD, hidden.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // A file system that cannot: the name is taken first.
  const FileDescriptor taken(::open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666));
  if (!taken) return errno;
  return ::rename(hidden.c_str(), name.c_str()) == 0 ? 0 : errno;
}

/// The first free name, made by `make`, which answers 0, EEXIST, or another error.
template <class Make>
std::variant<std::string, NSError> firstFree(const std::string& folder, double created, const std::string& ending,
                                             Make make) {
  const std::string stem = folder + "/" + dateName(created);
  for (int number = 1;; ++number) {
    const std::string path = stem + (number > 1 ? " (" + std::to_string(number) + ")" : "") + ending;
    const int error = make(path);
    if (error == 0) return path;
    if (error != EEXIST) return failure(error, path);
  }
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
  const auto encoded = encodePhoto(image, created);
  if (const auto* error = std::get_if<NSError>(&encoded)) return *error;
  if (const auto error = makeFolder(path_)) return *error;
  const HiddenFile file(path_);
  if (file.error()) return failure(file.error(), path_);
  const auto& bytes = std::get<std::vector<std::uint8_t>>(encoded);
  if (!writeAll(file.get(), bytes.data(), bytes.size()) || !setTime(file.get(), created) ||
      ::fdatasync(file.get()) != 0) {
    return failure(errno, file.path());
  }
  return settle(file.path(), created, ".jpg");
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
  struct stat folder;
  if (::stat(path_.c_str(), &folder) == 0 && folder.st_dev == status.st_dev && setTime(original.get(), created)) {
    const auto linked = firstFree(path_, created, ending, [&](const std::string& path) {
      return ::link(recording.c_str(), path.c_str()) == 0 ? 0 : errno;
    });
    if (std::holds_alternative<std::string>(linked)) return linked;
  }
  const HiddenFile file(path_);
  if (file.error()) return failure(file.error(), path_);
  if (!copyAll(original.get(), file.get()) || !setTime(file.get(), created)) return failure(errno, file.path());
  return settle(file.path(), created, ending);
}

std::variant<std::string, NSError> CaptureFolder::settle(const std::string& hidden, double created,
                                                         const std::string& ending) const {
  return firstFree(path_, created, ending, [&](const std::string& path) { return nameWithoutReplacing(hidden, path); });
}

}  // namespace tlx::photolibrary
