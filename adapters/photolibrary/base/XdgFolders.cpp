#include "adapters/photolibrary/base/XdgFolders.h"

#include <algorithm>

#include <glib.h>

namespace tlx::photolibrary {
namespace {

std::string withoutClosingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string userFolder(GUserDirectory which, const std::string& otherwise) {
  const char* const named = g_get_user_special_dir(which);
  return named ? withoutClosingSlash(named) : otherwise;
}

}  // namespace

std::string xdgCacheHome() {
  return withoutClosingSlash(g_get_user_cache_dir());
}
std::string xdgConfigHome() {
  return withoutClosingSlash(g_get_user_config_dir());
}
std::string xdgDataHome() {
  return withoutClosingSlash(g_get_user_data_dir());
}

std::vector<std::string> defaultRoots() {
  const std::string home = withoutClosingSlash(g_get_home_dir());
  const std::string top = home == "/" ? "" : home;
  std::vector<std::string> roots;
  for (const std::string& root : {userFolder(G_USER_DIRECTORY_PICTURES, top + "/Pictures"),
                                  userFolder(G_USER_DIRECTORY_VIDEOS, top + "/Videos")}) {
    if (root != home && std::find(roots.begin(), roots.end(), root) == roots.end()) roots.push_back(root);
  }
  return roots;
}

}  // namespace tlx::photolibrary
