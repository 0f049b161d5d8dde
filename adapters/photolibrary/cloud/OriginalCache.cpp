#include "adapters/photolibrary/cloud/OriginalCache.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tlx::photolibrary {
namespace {

constexpr char kPart[] = ".part";
constexpr char kTag[] = ".tag";
/// How long to wait before trying again where another process holds the lock, since nothing tells when it lets go.
constexpr std::chrono::seconds kOtherProcess{1};

/// Opens a file and locks it, anew when it was removed or replaced in between. Answers -1 with errno when somebody else
/// holds it or it cannot be opened.
int openLocked(const std::string& path, int flags, int lock) {
  while (true) {
    const int fd = ::open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return -1;
    struct stat opened {
    }, there{};
    if (::flock(fd, lock | LOCK_NB) != 0) {
      ::close(fd);
      errno = EWOULDBLOCK;
      return -1;
    }
    if (::fstat(fd, &opened) == 0 && ::stat(path.c_str(), &there) == 0 && opened.st_ino == there.st_ino) return fd;
    ::close(fd);
  }
}

bool isFull(int error) {
  return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

}  // namespace

OriginalCache::OriginalCache(std::string folder, std::int64_t bound) : folder_(std::move(folder)), bound_(bound) {}

std::string OriginalCache::find(const std::string& name, std::int64_t bytes) const {
  std::string path = pathOf(name);
  struct stat status {};
  const bool whole =
      ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && (bytes == kAnySize || status.st_size == bytes);
  return whole ? path : std::string();
}

std::optional<Original> OriginalCache::take(const std::string& name, std::int64_t bytes) const {
  std::string path = find(name, bytes);
  if (path.empty()) return std::nullopt;
  const int fd = openLocked(path, O_RDONLY, LOCK_SH);
  if (fd < 0) return std::nullopt;
  ::futimens(fd, nullptr);
  std::shared_ptr<const void> owner(static_cast<const void*>(nullptr), [fd](const void*) { ::close(fd); });
  return Original{std::move(path), std::move(owner)};
}

std::variant<std::unique_ptr<OriginalCache::Draft>, OriginalCache::Busy, NSError> OriginalCache::begin(
    const std::string& name, std::int64_t bytes) const {
  std::error_code ignored;
  std::filesystem::create_directories(folder_, ignored);
  std::filesystem::permissions(folder_, std::filesystem::perms::owner_all, ignored);
  const std::string path = pathOf(name) + kPart;
  Busy busy;
  {
    const std::lock_guard lock(mutex_);
    busy.ended = ended_;
  }
  const int fd = openLocked(path, O_RDWR | O_CREAT, LOCK_EX);
  if (fd < 0 && errno == EWOULDBLOCK) return busy;
  if (fd < 0) {
    return cloudError(isFull(errno) ? CloudErrorDiskFull : CloudErrorServer,
                      folder_ + " cannot be written to (" + std::strerror(errno) + ").");
  }
  std::unique_ptr<Draft> draft(new Draft(*this, name, fd));
  if (!makeRoom(std::max<std::int64_t>(bytes - draft->written(), 0), bound_)) {
    draft->discard();
    return cloudError(CloudErrorDiskFull, "There is no room for it in " + folder_ + ".");
  }
  return draft;
}

void OriginalCache::waitForOthers(const Busy& busy, const std::stop_token& stop) const {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, stop, kOtherProcess, [&] { return ended_ != busy.ended; });
}

void OriginalCache::draftEnded() const {
  {
    const std::lock_guard lock(mutex_);
    ++ended_;
  }
  changed_.notify_all();
}

bool OriginalCache::makeRoom(std::int64_t bytes, std::int64_t bound) const {
  const std::lock_guard oneAtATime(sweeping_);
  struct Copy {
    std::filesystem::file_time_type used;
    std::int64_t bytes;
    std::filesystem::path path;
  };
  std::vector<Copy> copies;
  std::error_code failed;
  std::int64_t total = 0;
  for (std::filesystem::directory_iterator each(folder_, failed), end; !failed && each != end; each.increment(failed)) {
    std::error_code gone;
    const auto size = static_cast<std::int64_t>(each->file_size(gone));
    const auto used = each->last_write_time(gone);
    if (gone || each->path().extension() == kTag) continue;
    total += size;
    copies.push_back({used, size, each->path()});
  }
  const auto disk = std::filesystem::space(folder_, failed);
  if (!failed && static_cast<std::uint64_t>(bytes) > disk.available + static_cast<std::uint64_t>(total)) return false;
  std::sort(copies.begin(), copies.end(), [](const Copy& a, const Copy& b) { return a.used < b.used; });
  for (const Copy& copy : copies) {
    if (total <= bound - bytes) break;
    const int fd = openLocked(copy.path, O_RDONLY, LOCK_EX);
    if (fd < 0) continue;  // in use
    std::error_code ignored;
    if (std::filesystem::remove(copy.path, ignored)) total -= copy.bytes;
    if (copy.path.extension() == kPart) std::filesystem::remove(copy.path.string() + kTag, ignored);
    ::close(fd);
  }
  return true;
}

OriginalCache::Draft::Draft(const OriginalCache& cache, std::string name, int fd)
    : cache_(cache), name_(std::move(name)), fd_(fd) {
  std::ifstream kept(cache_.pathOf(name_) + kPart + kTag);
  std::getline(kept, tag_);
  struct stat status {};
  // Without the server's tag nobody could tell whether the rest that it sends belongs to the same content.
  if (::fstat(fd_, &status) == 0 && !tag_.empty()) written_ = status.st_size;
}

OriginalCache::Draft::~Draft() {
  ::close(fd_);
  cache_.draftEnded();
}

NSError OriginalCache::Draft::failure(int error) const {
  if (isFull(error)) {
    return cloudError(CloudErrorDiskFull, "There is no room for it in " + cache_.folder_ + ".");
  }
  return cloudError(CloudErrorDiskFull, cache_.folder_ + " cannot be written to (" + std::strerror(error) + ").");
}

std::optional<NSError> OriginalCache::Draft::startOver(const std::string& tag) {
  if (::ftruncate(fd_, 0) != 0) return failure(errno);
  written_ = 0;
  tag_ = tag;
  const std::string note = cache_.pathOf(name_) + kPart + kTag;
  std::error_code ignored;
  std::filesystem::remove(note, ignored);
  if (tag_.empty()) return std::nullopt;
  std::ofstream kept(note, std::ios::trunc);
  kept << tag_ << '\n';
  kept.close();
  // Without the note the copy can be finished all the same, only not gone on with later.
  if (!kept) std::filesystem::remove(note, ignored);
  return std::nullopt;
}

std::optional<NSError> OriginalCache::Draft::append(const char* bytes, std::size_t count) {
  bool swept = false;
  while (count > 0) {
    const ssize_t done = ::pwrite(fd_, bytes, count, static_cast<off_t>(written_));
    if (done < 0 && errno == EINTR) continue;
    if (done < 0) {
      const int error = errno;
      if (!isFull(error) || swept) return failure(error);
      swept = true;
      cache_.makeRoom(0, 0);
      continue;
    }
    bytes += done;
    count -= static_cast<std::size_t>(done);
    written_ += done;
  }
  return std::nullopt;
}

std::variant<Original, NSError> OriginalCache::Draft::finish() {
  const std::string path = cache_.pathOf(name_);
  if (::rename((path + kPart).c_str(), path.c_str()) != 0) return failure(errno);
  std::error_code ignored;
  std::filesystem::remove(path + kPart + kTag, ignored);
  // The draft's exclusive lock gives way to a shared one of the reader's own, so that others may read the copy as well
  // and nobody removes it meanwhile.
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return failure(errno);
  ::flock(fd_, LOCK_UN);
  ::flock(fd, LOCK_SH | LOCK_NB);
  std::shared_ptr<const void> owner(static_cast<const void*>(nullptr), [fd](const void*) { ::close(fd); });
  return Original{path, std::move(owner)};
}

void OriginalCache::Draft::discard() {
  std::error_code ignored;
  const std::string part = cache_.pathOf(name_) + kPart;
  std::filesystem::remove(part, ignored);
  std::filesystem::remove(part + kTag, ignored);
}

}  // namespace tlx::photolibrary
