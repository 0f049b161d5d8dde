#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <sys/stat.h>

#include "adapters/photolibrary/base/FileKey.h"

namespace tlx::photolibrary {

/// A file descriptor that closes itself.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~FileDescriptor();

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

/// What the file system says of a file without opening it.
struct FileStatus {
  enum class Kind { Regular, Folder, Link, Other };
  Kind kind = Kind::Other;
  std::uint64_t device = 0;
  FileKey key;
  std::int64_t bytes = 0;
  std::int64_t modified = 0;  ///< nanoseconds since 1970 UTC
  bool pseudo = false;        ///< on a file system that shows the kernel's state and holds nobody's files
};

/// Asks for the status of files, and remembers each device's file system. Any thread.
class FileStatusReader {
 public:
  /// `name` relative to the open folder, or absolute; empty for the folder itself. Nothing, with errno set, when it
  /// cannot be told.
  std::optional<FileStatus> read(int folder, const std::string& name, bool followLink);

 private:
  struct FileSystem {
    std::uint64_t id = 0;
    bool pseudo = false;
  };
  FileSystem fileSystemOf(std::uint64_t device, int folder, const std::string& name);

  std::mutex mutex_;
  std::map<std::uint64_t, FileSystem> fileSystems_;  ///< by device number
};

/// Opens a regular file for reading and nothing else: never waits for a FIFO, never takes a terminal, leaves the access
/// time alone where the owner may ask for that. Nothing, with errno set,
/// when it cannot be opened, or is not, or no longer, the file of that status.
FileDescriptor openRegularFile(int folder, const std::string& name, const FileStatus& expected, bool followLink);

/// Whether anybody on this machine has the open regular file open for writing. Unknown for files of somebody else's and
/// on file systems that cannot tell.
enum class Writers { None, Some, Unknown };
Writers writersOf(int file);

}  // namespace tlx::photolibrary
