#include "adapters/photolibrary/base/FileBytes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {

NSError fileError(int errnoValue, const std::string& path) {
  const std::string text = path + ": " + std::strerror(errnoValue);
  switch (errnoValue) {
    case ENOENT:
    case ENOTDIR:
      return libraryError(PhotoLibraryErrorNotFound, text);
    case ENOSPC:
    case EDQUOT:
      return libraryError(PhotoLibraryErrorNoSpace, text);
    default:
      return libraryError(PhotoLibraryErrorUnreadable, text);
  }
}

OpenFile::~OpenFile() {
  if (fd_ >= 0) ::close(fd_);
}

std::variant<std::unique_ptr<OpenFile>, NSError> OpenFile::open(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return fileError(errno, path);
  auto file = std::make_unique<OpenFile>(fd);
  struct stat status {};
  if (::fstat(fd, &status) != 0) return fileError(errno, path);
  if (!S_ISREG(status.st_mode)) return libraryError(PhotoLibraryErrorUnsupported, path + " is not a regular file");
  return file;
}

FileBytes::FileBytes(int fd) : fd_(fd), window_(new std::uint8_t[windowSize]) {
  struct stat status {};
  // The C library's own fstat asks by path, which a confined process may not.
  if (::syscall(SYS_fstat, fd, &status) != 0) {
    error_ = errno;
    return;
  }
  size_ = status.st_size;
  const std::int64_t got = copy(0, window_.get(), windowSize);
  if (got < 0) return;
  filled_ = static_cast<std::size_t>(got);
}

std::int64_t FileBytes::copy(std::uint64_t offset, void* into, std::size_t count) {
  if (count == 0 || offset > static_cast<std::uint64_t>(INT64_MAX)) return 0;
  auto* out = static_cast<std::uint8_t*>(into);
  std::size_t done = 0;
  if (offset < filled_) {
    done = std::min(count, filled_ - static_cast<std::size_t>(offset));
    std::memcpy(out, window_.get() + offset, done);
  }
  while (done < count) {
    const ssize_t got = ::pread(fd_, out + done, count - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      error_ = errno;
      return done > 0 ? static_cast<std::int64_t>(done) : -1;
    }
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return static_cast<std::int64_t>(done);
}

Bytes FileBytes::at(std::uint64_t offset, std::size_t count) {
  if (offset >= static_cast<std::uint64_t>(size_)) return {};
  count = std::min({count, maxPiece, static_cast<std::size_t>(static_cast<std::uint64_t>(size_) - offset)});
  if (offset + count <= filled_) return {window_.get() + offset, count};
  piece_.resize(count);
  const std::int64_t got = copy(offset, piece_.data(), count);
  return {piece_.data(), static_cast<std::size_t>(std::max<std::int64_t>(got, 0))};
}

Bytes FileBytes::exactly(std::uint64_t offset, std::size_t count) {
  const Bytes bytes = at(offset, count);
  return bytes.size() == count ? bytes : Bytes{};
}

}  // namespace tlx::photolibrary
