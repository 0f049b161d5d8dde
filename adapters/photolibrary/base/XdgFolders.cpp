#include "adapters/photolibrary/base/XdgFolders.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <optional>

#include <pwd.h>
#include <unistd.h>

namespace tlx::photolibrary {
namespace {

std::string withoutClosingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string home() {
  const char* const set = std::getenv("HOME");
  if (set && *set == '/') return withoutClosingSlash(set);
  const passwd* const entry = ::getpwuid(::getuid());
  return entry && entry->pw_dir && *entry->pw_dir == '/' ? withoutClosingSlash(entry->pw_dir) : "/";
}

std::string below(const std::string& folder, const std::string& name) {
  return (folder == "/" ? "" : folder) + "/" + name;
}

std::string folder(const char* variable, const char* otherwise) {
  const char* const set = std::getenv(variable);
  return set && *set == '/' ? withoutClosingSlash(set) : below(home(), otherwise);
}

/// The value of a line such as XDG_PICTURES_DIR="$HOME/Pictures": shell quoting, absolute or below $HOME.
std::optional<std::string> userFolder(const std::string& line, const std::string& variable) {
  std::size_t at = line.find_first_not_of(" \t");
  if (at == std::string::npos || line.compare(at, variable.size(), variable) != 0) return std::nullopt;
  at = line.find_first_not_of(" \t", at + variable.size());
  if (at == std::string::npos || line[at] != '=') return std::nullopt;
  at = line.find_first_not_of(" \t", at + 1);
  if (at == std::string::npos || line[at] != '"') return std::nullopt;
  std::string value;
  for (++at; at < line.size() && line[at] != '"'; ++at) {
    if (line[at] == '\\' && at + 1 < line.size()) ++at;
    value += line[at];
  }
  if (value == "$HOME" || value.starts_with("$HOME/")) return withoutClosingSlash(home() + value.substr(5));
  return value.starts_with('/') ? std::optional(withoutClosingSlash(value)) : std::nullopt;
}

}  // namespace

std::string xdgCacheHome() {
  return folder("XDG_CACHE_HOME", ".cache");
}
std::string xdgConfigHome() {
  return folder("XDG_CONFIG_HOME", ".config");
}
std::string xdgDataHome() {
  return folder("XDG_DATA_HOME", ".local/share");
}

std::vector<std::string> defaultRoots() {
  std::string pictures = below(home(), "Pictures"), videos = below(home(), "Videos");
  std::ifstream file(below(xdgConfigHome(), "user-dirs.dirs"));
  for (std::string line; std::getline(file, line);) {
    if (const auto named = userFolder(line, "XDG_PICTURES_DIR")) pictures = *named;
    if (const auto named = userFolder(line, "XDG_VIDEOS_DIR")) videos = *named;
  }
  std::vector<std::string> roots;
  for (const std::string& root : {pictures, videos}) {
    if (root != home() && std::find(roots.begin(), roots.end(), root) == roots.end()) roots.push_back(root);
  }
  return roots;
}

}  // namespace tlx::photolibrary
