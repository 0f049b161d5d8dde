#include "adapters/photolibrary/files/WatchedFolders.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace tlx::photolibrary {
namespace {

constexpr std::uint32_t kEvents = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE | IN_ATTRIB |
                                  IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;
constexpr int kReadsAtOnce = 32;

}  // namespace

WatchedFolders::WatchedFolders(std::size_t most) : most_(most), inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

bool WatchedFolders::add(int folder, const std::string& path, const std::string& touches) {
  if (!inotify_ || watched_.size() >= most_) return false;
  // By its descriptor: the path may be another folder's by now.
  const std::string link = "/proc/self/fd/" + std::to_string(folder);
  int watch = ::inotify_add_watch(inotify_.get(), link.c_str(), kEvents);
  if (watch < 0 && errno == ENOENT) watch = ::inotify_add_watch(inotify_.get(), path.c_str(), kEvents);
  if (watch < 0) return errno != ENOSPC && errno != ENOMEM;
  if (const auto known = byPath_.find(path); known != byPath_.end() && known->second != watch) forgetPath(path);
  Watched& entry = watched_[watch];
  if (std::find(entry.paths.begin(), entry.paths.end(), path) == entry.paths.end()) entry.paths.push_back(path);
  entry.touches = touches;
  byPath_[path] = watch;
  return true;
}

void WatchedFolders::forgetPath(const std::string& path) {
  const auto known = byPath_.find(path);
  if (known == byPath_.end()) return;
  const int watch = known->second;
  byPath_.erase(known);
  const auto entry = watched_.find(watch);
  if (entry == watched_.end()) return;
  std::erase(entry->second.paths, path);
  if (!entry->second.paths.empty()) return;
  watched_.erase(entry);
  ::inotify_rm_watch(inotify_.get(), watch);
}

void WatchedFolders::forgetAllIn(const std::string& path) {
  forgetPath(path);
  const std::string prefix = path + "/";
  for (auto next = byPath_.lower_bound(prefix); next != byPath_.end() && next->first.starts_with(prefix);
       next = byPath_.lower_bound(prefix)) {
    forgetPath(std::string(next->first));
  }
}

bool WatchedFolders::read(WalkScope& touched, const std::function<bool(const std::string&)>& isRoot) {
  alignas(inotify_event) char buffer[65536];
  bool complete = true;
  for (int i = 0; i < kReadsAtOnce; ++i) {
    const ssize_t size = ::read(inotify_.get(), buffer, sizeof buffer);
    if (size <= 0) break;
    for (const char* at = buffer; at < buffer + size;) {
      const auto& event = *reinterpret_cast<const inotify_event*>(at);
      at += sizeof(inotify_event) + event.len;
      if (event.mask & IN_Q_OVERFLOW) {
        complete = false;
      } else {
        hear(event, touched, isRoot);
      }
    }
  }
  return complete;
}

void WatchedFolders::hear(const inotify_event& event, WalkScope& touched,
                          const std::function<bool(const std::string&)>& isRoot) {
  const auto entry = watched_.find(event.wd);
  if (entry == watched_.end()) return;
  const std::vector<std::string> paths = entry->second.paths;
  if (!entry->second.touches.empty()) {
    touched.add(entry->second.touches);
  } else if (event.mask & IN_UNMOUNT) {
    for (const std::string& path : paths) touched.add(path);
  } else if (event.len == 0) {
    // What happens to a folder below a root is told by the folder that holds it.
    for (const std::string& path : paths) {
      if (isRoot(path)) touched.add(path);
    }
  } else {
    const std::string_view name = event.name;
    for (const std::string& path : paths) {
      if (name == ".nomedia") touched.add(path);
      if (name.starts_with('.')) continue;
      touched.add(pathIn(path, name));
      if ((event.mask & IN_MOVED_FROM) && (event.mask & IN_ISDIR)) forgetAllIn(pathIn(path, name));
    }
  }
  if (event.mask & IN_IGNORED) {
    for (const std::string& path : paths) {
      if (const auto known = byPath_.find(path); known != byPath_.end() && known->second == event.wd)
        byPath_.erase(known);
    }
    watched_.erase(event.wd);
  }
}

}  // namespace tlx::photolibrary
