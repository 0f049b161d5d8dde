#include "adapters/photolibrary/files/UnfinishedFile.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <unistd.h>

namespace tlx::photolibrary {
namespace {

constexpr std::string_view kPrefix = ".tlx-", kEnding = ".part";
constexpr std::size_t kRandomBytes = 16;

/// Nobody can foresee it, whatever names they have seen. Empty, with errno set, when the kernel gives no random bytes.
std::string hiddenName() {
  std::array<unsigned char, kRandomBytes> bytes;
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) return {};
  std::string name(kPrefix);
  for (const unsigned char byte : bytes) name += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
  return name += kEnding;
}

bool isHiddenName(const std::string& name) {
  return name.starts_with(kPrefix) && name.ends_with(kEnding) &&
         name.size() == kPrefix.size() + 2 * kRandomBytes + kEnding.size();
}

/// How many names the open file has.
nlink_t namesOf(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 ? status.st_nlink : 0;
}

void sweep(const std::string& folder) {
  std::error_code failed;
  for (const auto& entry : std::filesystem::directory_iterator(folder, failed)) {
    if (!isHiddenName(entry.path().filename())) continue;
    const FileDescriptor file(::open(entry.path().c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != ::geteuid())
      continue;
    // A living program holds the lock.
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) ::unlink(entry.path().c_str());
  }
}

int renameWithoutReplacing(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // The file system knows no such rename: reserve the name with an empty file, then replace that.
  const FileDescriptor taken(::open(to.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!taken) return errno;
  if (::rename(from.c_str(), to.c_str()) == 0) return 0;
  const int error = errno;
  ::unlink(to.c_str());
  return error;
}

}  // namespace

UnfinishedFile::UnfinishedFile(const std::string& folder, mode_t mode) : folder_(folder) {
  sweep(folder);
  // Before the new file is locked, another program may take it for abandoned and remove it: then make another.
  do {
    const std::string name = hiddenName();
    hidden_ = folder + "/" + name;
    file_ = FileDescriptor(
        name.empty() ? -1 : ::open(hidden_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_NOFOLLOW | O_CLOEXEC, mode));
    error_ = file_ ? 0 : errno;
    if (file_) ::flock(file_.get(), LOCK_EX);
  } while (file_ ? namesOf(file_.get()) == 0 : error_ == EEXIST);
}

UnfinishedFile::~UnfinishedFile() {
  if (file_ && !hidden_.empty()) ::unlink(hidden_.c_str());
}

int UnfinishedFile::write(const std::uint8_t* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(file_.get(), bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
  return 0;
}

int UnfinishedFile::copyFrom(int file) {
  // The kernel shares the blocks where the file system can.
  ssize_t copied = 0;
  while ((copied = ::copy_file_range(file, nullptr, file_.get(), nullptr, std::size_t{1} << 30, 0)) > 0) {
  }
  if (copied == 0) return 0;
  if (errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return errno;
  std::vector<std::uint8_t> buffer(1 << 20);
  ssize_t got = 0;
  while ((got = ::read(file, buffer.data(), buffer.size())) > 0) {
    if (const int error = write(buffer.data(), static_cast<std::size_t>(got))) return error;
  }
  return got == 0 ? 0 : errno;
}

int UnfinishedFile::setTime(double modified) {
  return setFileTime(file_.get(), modified);
}

int UnfinishedFile::settle(const std::string& stem, const std::string& ending, std::string& path) {
  const int error = freeName(folder_, stem, ending, path,
                             [this](const std::string& free) { return renameWithoutReplacing(hidden_, free); });
  if (error == 0) hidden_.clear();
  return error;
}

int freeName(const std::string& folder, const std::string& stem, const std::string& ending, std::string& path,
             const std::function<int(const std::string& path)>& take) {
  int error = EEXIST;
  for (int number = 1; error == EEXIST; ++number) {
    path = folder + "/" + stem + (number > 1 ? " (" + std::to_string(number) + ")" : "") + ending;
    error = take(path);
  }
  return error;
}

int setFileTime(int file, double modified) {
  const double whole = std::floor(modified);
  const timespec times[2] = {{0, UTIME_OMIT},
                             {static_cast<std::time_t>(whole), static_cast<long>((modified - whole) * 1e9)}};
  return ::futimens(file, times) == 0 ? 0 : errno;
}

}  // namespace tlx::photolibrary
