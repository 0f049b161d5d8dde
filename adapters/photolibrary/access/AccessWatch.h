#pragma once

#include <functional>
#include <string>
#include <thread>

#include "adapters/photolibrary/base/FileStatus.h"

namespace tlx::photolibrary {

/// Tells, on a thread of its own, when somebody wrote, replaced or removed a small file, whether or not it or its
/// folder is there yet. May tell once too often. Makes nothing on the disk. Where the kernel watches nothing, tells
/// every two seconds.
class AccessWatch {
 public:
  /// `file` absolute.
  AccessWatch(std::string file, std::function<void()> touched);
  /// Nobody is told any more once it has returned.
  ~AccessWatch();

 private:
  void work(const std::stop_token& stop);
  void watchNearest();
  bool read() const;

  const std::string file_;
  const std::function<void()> touched_;
  FileDescriptor wake_, inotify_;
  std::string awaited_;  ///< the name, in the folder that is watched, on the way to the file
  std::jthread thread_;
};

}  // namespace tlx::photolibrary
