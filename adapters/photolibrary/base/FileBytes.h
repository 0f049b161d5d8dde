#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "tlx/platform/foundation/NSError.h"

namespace tlx::photolibrary {

using Bytes = std::span<const std::uint8_t>;

inline std::uint16_t be16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}
inline std::uint32_t be32(const std::uint8_t* p) {
  return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
}
inline std::uint32_t le24(const std::uint8_t* p) {
  return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16;
}
inline std::uint32_t le32(const std::uint8_t* p) {
  return le24(p) | std::uint32_t{p[3]} << 24;
}

/// An open regular file of the reader's own, closed with it.
class OpenFile {
 public:
  explicit OpenFile(int descriptor) : fd_(descriptor) {}
  ~OpenFile();
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  /// An error for a file that cannot be opened, and for what is no regular file: reading a pipe could wait for ever.
  static std::variant<std::unique_ptr<OpenFile>, NSError> open(const std::string& path);
  int fd() const { return fd_; }

 private:
  int fd_;
};

/// A file's bytes by offset, for headers: the first 64 KiB are read at once, which is all that most photos need, what
/// lies further by itself. Reads by position, so the descriptor's own offset is neither used nor moved. One thread.
class FileBytes {
 public:
  static constexpr std::size_t windowSize = 64 * 1024;
  /// No header of a sane file asks for more in one piece.
  static constexpr std::size_t maxPiece = 16 * 1024 * 1024;

  /// `fd` stays the caller's and open for the object's life.
  explicit FileBytes(int fd);

  std::int64_t size() const { return size_; }
  /// What went wrong when the first bytes could not be read; 0 when they could.
  int error() const { return error_; }
  Bytes window() const { return {window_.get(), filled_}; }
  /// Up to `count` bytes from `offset`, fewer at the end of the file or when reading fails, none past it. Valid until
  /// the next call.
  Bytes at(std::uint64_t offset, std::size_t count);
  /// As `at`, but all or none.
  Bytes exactly(std::uint64_t offset, std::size_t count);
  /// Copies up to `count` bytes; for libraries that read through a callback. Negative on failure.
  std::int64_t copy(std::uint64_t offset, void* into, std::size_t count);

 private:
  int fd_;
  int error_ = 0;
  std::int64_t size_ = 0;
  std::size_t filled_ = 0;
  std::unique_ptr<std::uint8_t[]> window_;
  std::vector<std::uint8_t> piece_;
};

}  // namespace tlx::photolibrary
