#include "adapters/photolibrary/base/FileStatus.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iterator>

#include <fcntl.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace tlx::photolibrary {
namespace {

std::int64_t nanoseconds(const struct statx_timestamp& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

/// By their numbers in linux/magic.h and, where that has none, in the kernel's own sources.
bool isPseudo(std::uint64_t kind) {
  static constexpr std::uint32_t kKinds[] = {
      0x00009fa0,  // proc
      0x62656572,  // sysfs
      0x64626720,  // debugfs
      0x74726163,  // tracefs
      0x73636673,  // securityfs
      0x62656570,  // configfs
      0x0027e0eb,  // cgroup
      0x63677270,  // cgroup 2
      0x07655821,  // resctrl
      0xcafe4a11,  // bpf
      0x42494e4d,  // binfmt_misc
      0x00001cd1,  // devpts
      0xde5e81e4,  // efivarfs
      0x6165676c,  // pstore
      0x19800202,  // mqueue
      0x958458f6,  // hugetlbfs
      0x6e736673,  // namespaces
      0x65735543,  // FUSE's control
      0x67596969,  // rpc_pipefs
      0xf97cff8c,  // SELinux
      0x43415d53,  // Smack
      0xabba1974,  // Xen
  };
  return std::find(std::begin(kKinds), std::end(kKinds), static_cast<std::uint32_t>(kind)) != std::end(kKinds);
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
  const FileSystem fileSystem = fileSystemOf(status.device, folder, name);
  status.key.fileSystem = fileSystem.id;
  status.pseudo = fileSystem.pseudo;
  status.bytes = static_cast<std::int64_t>(raw.stx_size);
  status.modified = nanoseconds(raw.stx_mtime);
  return status;
}

FileStatusReader::FileSystem FileStatusReader::fileSystemOf(std::uint64_t device, int folder, const std::string& name) {
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
  FileSystem known;
  static_assert(sizeof raw.f_fsid == sizeof known.id);
  if (result == 0) std::memcpy(&known.id, &raw.f_fsid, sizeof known.id);
  // Some network and user-space file systems have no id: the device is then all there is.
  if (known.id == 0) known.id = device;
  if (result != 0) return known;
  known.pseudo = isPseudo(static_cast<std::uint64_t>(raw.f_type));
  return fileSystems_.emplace(device, known).first->second;
}

FileDescriptor openRegularFile(int folder, const std::string& name, const FileStatus& expected, bool followLink) {
  const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (followLink ? 0 : O_NOFOLLOW);
  FileDescriptor file(::openat(folder, name.c_str(), flags | O_NOATIME));
  if (!file && errno == EPERM) file = FileDescriptor(::openat(folder, name.c_str(), flags));
  struct stat status;
  if (!file || ::fstat(file.get(), &status) != 0) return FileDescriptor();
  if (!S_ISREG(status.st_mode) || status.st_ino != expected.key.number) {
    errno = ENOENT;
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
