#include "adapters/photolibrary/files/FolderSource.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

#include "adapters/photolibrary/files/FolderWalk.h"

namespace tlx::photolibrary {

FolderSource::FolderSource(const std::vector<std::string>& roots) {
  for (const std::string& root : roots) {
    std::error_code failed;
    std::filesystem::path absolute = std::filesystem::absolute(root, failed);
    std::string path = (failed ? std::filesystem::path(root) : absolute).lexically_normal().string();
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    if (std::find(roots_.begin(), roots_.end(), path) == roots_.end()) roots_.push_back(std::move(path));
  }
}

bool FolderSource::rootReadable(std::size_t root) const {
  struct stat status;
  const char* const path = roots_[root].c_str();
  return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode) && ::access(path, R_OK | X_OK) == 0;
}

WalkOutcome FolderSource::walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) {
  return FolderWalk(roots_, known, listener, std::move(stop)).run();
}

}  // namespace tlx::photolibrary
