#include "adapters/photolibrary/images/pixels/PixelStore.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "adapters/photolibrary/base/LibraryError.h"

namespace tlx::photolibrary {
namespace {

constexpr std::size_t hugePage = std::size_t{2} << 20;

class SmallBlock final : public PixelBlock {
 public:
  explicit SmallBlock(std::size_t size) : bytes_(new std::uint8_t[size]()), size_(size) {}
  std::uint8_t* data() override { return bytes_.get(); }
  std::size_t size() const override { return size_; }

 private:
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t size_;
};

/// Pages mapped for one picture, unmapped with the last reference.
class MappedBlock final : public PixelBlock {
 public:
  using Counter = std::shared_ptr<std::atomic<std::size_t>>;

  MappedBlock(void* pages, std::size_t size, bool inFile, Counter counted)
      : pages_(pages), size_(size), inFile_(inFile), counted_(std::move(counted)) {}
  ~MappedBlock() override {
    ::munmap(pages_, size_);
    if (counted_) counted_->fetch_sub(size_, std::memory_order_relaxed);
  }
  std::uint8_t* data() override { return static_cast<std::uint8_t*>(pages_); }
  std::size_t size() const override { return size_; }
  void settle() override {
    if (inFile_) ::madvise(pages_, size_, MADV_DONTNEED);
  }

 private:
  void* pages_;
  std::size_t size_;
  bool inFile_;
  Counter counted_;
};

/// A file without a name, in `folder`; negative when there is none to be had.
int openUnlinked(const std::string& folder) {
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  int fd = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0) return fd;
  std::string name = folder + "/pixels-XXXXXX";
  fd = ::mkostemp(name.data(), O_CLOEXEC);
  if (fd >= 0) ::unlink(name.c_str());
  return fd;
}

void* mapFile(const std::string& folder, std::size_t bytes) {
  const int fd = openUnlinked(folder);
  if (fd < 0) return MAP_FAILED;
  void* pages = MAP_FAILED;
  if (::posix_fallocate(fd, 0, static_cast<off_t>(bytes)) == 0) {
    pages = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  }
  ::close(fd);
  return pages;
}

void* mapMemory(std::size_t bytes) {
  void* pages = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  // Thousands of small pages, each brought in by a fault, take as long as decoding the picture into them.
  if (pages != MAP_FAILED && bytes >= hugePage) ::madvise(pages, bytes, MADV_HUGEPAGE);
  return pages;
}

}  // namespace

PixelStore::PixelStore(std::string folder) : PixelStore(std::move(folder), Limits()) {}

PixelStore::PixelStore(std::string folder, Limits limits)
    : folder_(std::move(folder)), limits_(limits), inMemory_(std::make_shared<std::atomic<std::size_t>>(0)) {}

std::string PixelStore::defaultFolder() {
  const char* cache = std::getenv("XDG_CACHE_HOME");
  if (cache && cache[0] == '/') return std::string(cache) + "/tlx-media-picker";
  const char* home = std::getenv("HOME");
  return std::string(home && home[0] == '/' ? home : "/tmp") + "/.cache/tlx-media-picker";
}

std::variant<std::shared_ptr<PixelBlock>, NSError> PixelStore::reserve(std::size_t bytes) {
  if (bytes < limits_.largeFrom) {
    try {
      return std::make_shared<SmallBlock>(bytes);
    } catch (const std::bad_alloc&) {
      return libraryError(PhotoLibraryErrorNoSpace, "no memory for a picture");
    }
  }
  const std::size_t before = inMemory_->fetch_add(bytes, std::memory_order_relaxed);
  const bool withinBudget = bytes <= limits_.memoryBudget && before <= limits_.memoryBudget - bytes;
  if (!withinBudget) {
    if (void* pages = mapFile(folder_, bytes); pages != MAP_FAILED) {
      inMemory_->fetch_sub(bytes, std::memory_order_relaxed);
      return std::make_shared<MappedBlock>(pages, bytes, true, nullptr);
    }
  }
  if (withinBudget || bytes <= limits_.withoutDisk) {
    if (void* pages = mapMemory(bytes); pages != MAP_FAILED) {
      return std::make_shared<MappedBlock>(pages, bytes, false, inMemory_);
    }
  }
  inMemory_->fetch_sub(bytes, std::memory_order_relaxed);
  return libraryError(PhotoLibraryErrorNoSpace, "no room for a picture of " + std::to_string(bytes) + " bytes");
}

}  // namespace tlx::photolibrary
