#include "adapters/photolibrary/files/FolderSource.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace tlx::photolibrary {

FolderSource::FolderSource(const std::vector<std::string>& roots, DecodersPort& decoders, SystemLogPort& log,
                           Links links, const FolderWatch::Timing& timing)
    : decoders_(decoders), log_(log), links_(links), timing_(timing) {
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

void FolderSource::follow(Touched touched) {
  watch_.reset();
  if (!touched) return;
  watch_ = std::make_unique<FolderWatch>(
      roots_, timing_, [this](const std::string& line) { log_.log(line); }, std::move(touched));
}

WalkOutcome FolderSource::walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) {
  return walkPart(known, listener, WalkScope::everything(), std::move(stop));
}

WalkOutcome FolderSource::walkPart(const KnownFiles& known, WalkListener& listener, const WalkScope& scope,
                                   std::stop_token stop) {
  const auto start = std::chrono::steady_clock::now();
  WalkOutcome outcome =
      FolderWalk(roots_, known, decoders_, listener, scope, links_, watch_.get(), std::move(stop)).run();
  if (watch_) watch_->tookFor(std::chrono::steady_clock::now() - start);
  return outcome;
}

}  // namespace tlx::photolibrary
