#include "adapters/photolibrary/files/Trash.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <system_error>

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/photolibrary/base/XdgFolders.h"

namespace tlx::photolibrary {
namespace fs = std::filesystem;
namespace {

/// A text that is escaped wrongly stands for itself.
std::string percentDecoded(const std::string& text) {
  char* const plain = g_uri_unescape_string(text.c_str(), nullptr);
  std::string decoded = plain ? plain : text;
  g_free(plain);
  return decoded;
}

/// A record is a few lines: whatever is longer is none.
std::optional<std::string> originalPath(const std::string& record) {
  struct stat status;
  if (::lstat(record.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > 65536) return std::nullopt;
  std::ifstream file(record);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("Path=")) return percentDecoded(line.substr(5));
  }
  return std::nullopt;
}

std::string topOfFileSystem(const std::string& path) {
  fs::path top = path;
  struct stat here, above;
  if (::stat(path.c_str(), &here) != 0) return {};
  while (top.has_relative_path() && ::stat(top.parent_path().c_str(), &above) == 0 && above.st_dev == here.st_dev) {
    top = top.parent_path();
  }
  return top.string();
}

bool liesUnder(const std::string& path, const std::string& root) {
  const std::string prefix = root == "/" ? root : root + "/";
  return path.starts_with(prefix) && path.find("/.", prefix.size() - 1) == std::string::npos;
}

}  // namespace

std::vector<TrashFolder> trashFolders(const std::vector<std::string>& roots) {
  std::vector<TrashFolder> found = {{xdgDataHome() + "/Trash", xdgDataHome()}};
  std::set<std::string> tops;
  for (const std::string& root : roots) {
    std::error_code none;
    const fs::path real = fs::canonical(root, none);
    const std::string top = none ? std::string() : topOfFileSystem(real.string());
    if (top.empty() || !tops.insert(top).second) continue;
    const fs::path base = top;
    const std::string user = std::to_string(::getuid());
    found.push_back({(base / (".Trash-" + user)).string(), top});
    struct stat shared;
    // The shared folder counts only as the standard wants it: real, and sticky, or anybody could plant things there.
    if (::lstat((base / ".Trash").c_str(), &shared) == 0 && S_ISDIR(shared.st_mode) && (shared.st_mode & S_ISVTX)) {
      found.push_back({(base / ".Trash" / user).string(), top});
    }
  }
  return found;
}

std::vector<TrashedFile> listTrash(const std::vector<std::string>& roots) {
  std::vector<std::string> real;
  for (const std::string& root : roots) {
    std::error_code none;
    const fs::path path = fs::canonical(root, none);
    real.push_back(none ? root : path.string());
  }
  std::vector<TrashedFile> files;
  for (const TrashFolder& trash : trashFolders(roots)) {
    std::error_code error;
    for (fs::directory_iterator entry(trash.path + "/info", error), end; !error && entry != end;
         entry.increment(error)) {
      if (entry->path().extension() != ".trashinfo") continue;
      auto original = originalPath(entry->path().string());
      if (!original || original->empty()) continue;
      if (original->front() != '/') *original = (trash.top == "/" ? "" : trash.top) + "/" + *original;
      for (std::size_t i = 0; i < roots.size(); ++i) {
        if (!liesUnder(*original, roots[i]) && !liesUnder(*original, real[i])) continue;
        files.push_back({trash.path + "/files", entry->path().stem().string(), i});
        break;
      }
    }
  }
  return files;
}

}  // namespace tlx::photolibrary
