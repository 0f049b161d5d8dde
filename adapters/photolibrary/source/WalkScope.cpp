#include "adapters/photolibrary/source/WalkScope.h"

#include <algorithm>

namespace tlx::photolibrary {
namespace {

/// A list that long is slower to go by than the whole tree.
constexpr std::size_t kMostPaths = 200'000;

bool liesIn(const std::string& path, const std::string& folder) {
  return path == folder || (path.starts_with(folder) && (folder.ends_with('/') || path[folder.size()] == '/'));
}

}  // namespace

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos || path.size() == 1) return {};
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string_view lastNameOf(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

std::string pathIn(const std::string& folder, std::string_view name) {
  std::string path;
  path.reserve(folder.size() + name.size() + 1);
  return path.append(folder == "/" ? "" : folder).append("/").append(name);
}

WalkScope WalkScope::everything() {
  WalkScope scope;
  scope.everything_ = true;
  return scope;
}

void WalkScope::add(const std::string& path) {
  if (everything_) return;
  if (!folders_[folderOf(path)].emplace(lastNameOf(path)).second) return;
  if (++count_ > kMostPaths) add(everything());
}

void WalkScope::add(const WalkScope& other) {
  if (other.everything_) {
    everything_ = true;
    folders_.clear();
  }
  for (const auto& [folder, names] : other.folders_) {
    for (const std::string& name : names) add(pathIn(folder, name));
  }
}

bool WalkScope::holds(const std::string& folder) const {
  if (everything_) return true;
  if (folders_.empty()) return false;
  for (std::string path = folder; !path.empty(); path = folderOf(path)) {
    const Names* const names = namesIn(folderOf(path));
    if (names && names->contains(lastNameOf(path))) return true;
  }
  return false;
}

const WalkScope::Names* WalkScope::namesIn(const std::string& folder) const {
  const auto found = folders_.find(folder);
  return found == folders_.end() ? nullptr : &found->second;
}

bool WalkScope::touches(const std::string& path) const {
  return holds(path) ||
         std::any_of(folders_.begin(), folders_.end(), [&](const auto& entry) { return liesIn(entry.first, path); });
}

}  // namespace tlx::photolibrary
