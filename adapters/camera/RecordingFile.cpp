#include "adapters/camera/RecordingFile.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace tlx::camera {
namespace {

constexpr char kPrefix[] = "recording-";

}  // namespace

std::shared_ptr<RecordingFile> RecordingFile::make(const std::string& folder, const std::string& ending) {
  std::error_code failed;
  std::filesystem::create_directories(folder, failed);
  if (failed) {
    errno = failed.value();
    return nullptr;
  }
  std::string path = folder + "/" + kPrefix + "XXXXXX" + ending;
  const int made = ::mkostemps(path.data(), static_cast<int>(ending.size()), O_CLOEXEC);
  if (made < 0) return nullptr;
  // Held for reading only: whoever is to take the finished file over must see that nobody writes it.
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ::close(made);
  if (file < 0) return nullptr;
  ::flock(file, LOCK_EX | LOCK_NB);
  return std::shared_ptr<RecordingFile>(new RecordingFile(std::move(path), file));
}

RecordingFile::~RecordingFile() {
  ::unlink(path_.c_str());
  ::close(file_);
}

void RecordingFile::sweep(const std::string& folder) {
  std::error_code failed;
  for (const auto& entry : std::filesystem::directory_iterator(folder, failed)) {
    if (!entry.path().filename().string().starts_with(kPrefix)) continue;
    // One that has just been made may not be locked yet.
    const auto age = std::filesystem::file_time_type::clock::now() - entry.last_write_time(failed);
    if (failed || age < std::chrono::minutes(1)) continue;
    const int file = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0) continue;
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) ::unlink(entry.path().c_str());
    ::close(file);
  }
}

}  // namespace tlx::camera
