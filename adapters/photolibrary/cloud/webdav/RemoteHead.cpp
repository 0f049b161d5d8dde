#include "adapters/photolibrary/cloud/webdav/RemoteHead.h"

#include <algorithm>
#include <optional>

#include <sys/mman.h>
#include <unistd.h>

#include "adapters/photolibrary/base/FileBytes.h"
#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {
namespace {

constexpr std::int64_t kLargestTable = 4 * 1024 * 1024;

/// The length of the box whose header stands in front; 0 for one that says no length.
std::int64_t boxLength(const std::string& header) {
  const auto* p = reinterpret_cast<const std::uint8_t*>(header.data());
  const std::uint64_t small = be32(p);
  if (small != 1) return static_cast<std::int64_t>(small);
  const std::uint64_t large = std::uint64_t{be32(p + 8)} << 32 | be32(p + 12);
  return large > static_cast<std::uint64_t>(INT64_MAX) ? 0 : static_cast<std::int64_t>(large);
}

/// A file in memory that holds some pieces of another at their places; what lies between them takes no room.
class SparseFile {
 public:
  explicit SparseFile(std::int64_t bytes) : fd_(::memfd_create("head", MFD_CLOEXEC)) {
    if (fd_ && ::ftruncate(fd_.fd(), bytes) != 0) good_ = false;
  }
  bool write(std::int64_t at, const std::string& piece) {
    good_ = good_ && ::pwrite(fd_.fd(), piece.data(), piece.size(), at) == static_cast<ssize_t>(piece.size());
    return good_;
  }
  int fd() const { return fd_.fd(); }

 private:
  struct Descriptor : OpenFile {
    using OpenFile::OpenFile;
    explicit operator bool() const { return fd() >= 0; }
  };
  Descriptor fd_;
  bool good_ = true;
};

}  // namespace

std::variant<MediaInfo, NSError> probeRemote(Server& server, DecodersPort& decoders, const std::string& path,
                                             std::int64_t bytes, const std::stop_token& stop) {
  SparseFile file(bytes);
  std::string head;
  HttpHead answer;
  if (auto failed = server.read(path, 0, std::min(bytes, kHeadBytes), head, answer, stop)) return *std::move(failed);
  const MediaFormat format = sniffFormat(reinterpret_cast<const std::uint8_t*>(head.data()), head.size());
  if (format == MediaFormat::Unknown) return libraryError(PhotoLibraryErrorUnsupported, path + " is no photo or video");
  MediaInfo bare;
  bare.format = format;
  bare.mediaType = traitsOf(format).mediaType;
  if (!file.write(0, head)) return bare;

  const char* const demuxer = traitsOf(format).demuxer;
  const bool boxed = demuxer && std::string_view(demuxer) == "mov";
  const auto size = static_cast<std::int64_t>(head.size());
  for (std::int64_t at = 0, step = 0; boxed && at + 16 <= bytes && step < 32; ++step) {
    std::string header = at + 16 <= size ? head.substr(static_cast<std::size_t>(at), 16) : std::string();
    if (header.empty()) {
      if (auto failed = server.read(path, at, 16, header, answer, stop)) return *std::move(failed);
      if (header.size() < 16) break;
    }
    const std::int64_t length = boxLength(header);
    const bool isTable = header.compare(4, 4, "moov") == 0;
    if (length < 8 || length > bytes - at) break;
    if (!file.write(at, header)) return bare;
    if (isTable && at + length > size && length <= kLargestTable) {
      std::string table;
      if (auto failed = server.read(path, at, length, table, answer, stop)) return *std::move(failed);
      if (!file.write(at, table)) return bare;
    }
    if (isTable) break;
    at += length;
  }
  const int descriptor = file.fd();
  auto probed = std::move(decoders.probe({&descriptor, 1}).front());
  NSError* const failed = std::get_if<NSError>(&probed);
  if (!failed) return probed;
  if (failed->code == PhotoLibraryErrorUnsupported) return named(std::move(*failed), path);
  // Nobody could look: without a format it is asked for again at the next walk.
  if (failed->code == PhotoLibraryErrorUnreadable) bare.format = MediaFormat::Unknown;
  // It may look damaged only because parts of it were not read.
  return bare;
}

}  // namespace tlx::photolibrary
