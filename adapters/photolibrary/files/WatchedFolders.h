#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include <sys/inotify.h>

#include "adapters/photolibrary/base/FileStatus.h"
#include "adapters/photolibrary/source/WalkScope.h"

namespace tlx::photolibrary {

/// The folders that the kernel tells of, by the paths that they were met on: one folder may have several, by a link or
/// a second mount. Used by one thread at a time.
class WatchedFolders {
 public:
  /// Never more folders than `most`, however many the kernel would take.
  explicit WatchedFolders(std::size_t most);

  /// For `poll`; negative when the kernel gives none.
  int descriptor() const { return inotify_.get(); }

  /// From now on `read` reports what changes in the folder: the path of each file or folder in it that changed, or
  /// `touches` instead, if given. False when the kernel, or `most`, allows no further folder. The watch has begun when
  /// this returns.
  bool add(int folder, const std::string& path, const std::string& touches = {});
  /// Reads some of the events that wait. False when the kernel has dropped events, so that anything may have changed.
  /// Only for paths that `isRoot` accepts is the removal of the folder itself reported here; that of others is reported
  /// by the folder that held them.
  bool read(WalkScope& touched, const std::function<bool(const std::string&)>& isRoot);

 private:
  struct Watched {
    std::vector<std::string> paths;
    std::string touches;
  };
  void hear(const inotify_event& event, WalkScope& touched, const std::function<bool(const std::string&)>& isRoot);
  void forgetPath(const std::string& path);
  void forgetAllIn(const std::string& path);

  std::size_t most_;
  FileDescriptor inotify_;
  std::unordered_map<int, Watched> watched_;
  std::map<std::string, int> byPath_;
};

}  // namespace tlx::photolibrary
