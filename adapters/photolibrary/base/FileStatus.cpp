#include "adapters/photolibrary/base/FileStatus.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace tlx::photolibrary {
namespace {

std::int64_t nanoseconds(const struct statx_timestamp& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

FileDescriptor::~FileDescriptor() {
  if (fd_ >= 0) ::close(fd_);
}

std::optional<FileStatus> FileStatusReader::read(int folder, const std::string& name, bool followLink) {
  struct statx raw;
  const int flags = (followLink ? 0 : AT_SYMLINK_NOFOLLOW) | (name.empty() ? AT_EMPTY_PATH : 0);
  if (::statx(folder, name.c_str(), flags | AT_NO_AUTOMOUNT, STATX_BASIC_STATS | STATX_BTIME, &raw) != 0)
    return std::nullopt;

  FileStatus status;
  status.kind = S_ISREG(raw.stx_mode)   ? FileStatus::Kind::Regular
                : S_ISDIR(raw.stx_mode) ? FileStatus::Kind::Folder
                : S_ISLNK(raw.stx_mode) ? FileStatus::Kind::Link
                                        : FileStatus::Kind::Other;
  status.device = makedev(raw.stx_dev_major, raw.stx_dev_minor);
  status.key.number = raw.stx_ino;
  if (raw.stx_mask & STATX_BTIME) status.key.born = nanoseconds(raw.stx_btime);
  status.key.fileSystem = fileSystemOf(status.device, folder, name);
  status.bytes = static_cast<std::int64_t>(raw.stx_size);
  status.modified = nanoseconds(raw.stx_mtime);
  return status;
}

std::uint64_t FileStatusReader::fileSystemOf(std::uint64_t device, int folder, const std::string& name) {
  std::lock_guard lock(mutex_);
  if (const auto known = fileSystems_.find(device); known != fileSystems_.end()) return known->second;
  struct statfs raw;
  int result;
  if (name.empty()) {
    result = ::fstatfs(folder, &raw);
  } else {
    const FileDescriptor file(::openat(folder, name.c_str(), O_PATH | O_CLOEXEC));
    result = file ? ::fstatfs(file.get(), &raw) : -1;
  }
  std::uint64_t id = 0;
  static_assert(sizeof raw.f_fsid == sizeof id);
  if (result == 0) std::memcpy(&id, &raw.f_fsid, sizeof id);
  // Some network and user-space file systems have no id: the device is then all there is.
  if (id == 0) id = device;
  if (result == 0) fileSystems_.emplace(device, id);
  return id;
}

FileDescriptor openRegularFile(int folder, const std::string& name, const FileStatus& expected, bool followLink) {
  const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (followLink ? 0 : O_NOFOLLOW);
  FileDescriptor file(::openat(folder, name.c_str(), flags | O_NOATIME));
  if (!file && errno == EPERM) file = FileDescriptor(::openat(folder, name.c_str(), flags));
  struct stat status;
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_ino != expected.key.number) {
    return FileDescriptor();
  }
  return file;
}

Writers writersOf(int file) {
  // A lease for reading is given only where nobody writes. Whoever opens the file for writing in the moment until it is
  // handed back makes the kernel send a signal: this one is ignored by default, the one it would send else is deadly.
  // Handing back resets the choice, so it is made for each lease.
  if (::fcntl(file, F_SETSIG, SIGURG) != 0) return Writers::Unknown;
  if (::fcntl(file, F_SETLEASE, F_RDLCK) != 0) return errno == EAGAIN ? Writers::Some : Writers::Unknown;
  ::fcntl(file, F_SETLEASE, F_UNLCK);
  return Writers::None;
}

}  // namespace tlx::photolibrary
