#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "adapters/photolibrary/base/FileStatus.h"
#include "adapters/photolibrary/files/Burst.h"
#include "adapters/photolibrary/files/WatchedFolders.h"
#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

/// Watches the folders that a walk entered, on a thread of its own, and reports what changed in them a burst at a time.
/// Folders that the kernel does not watch, because they lie on a server or because it has no watches left, are reported
/// as changed every so often; in the latter case the log is told, once.
class FolderWatch {
 public:
  using Duration = std::chrono::steady_clock::duration;
  struct Timing {
    Duration quiet = std::chrono::milliseconds(100);  ///< without an event: a burst is over
    Duration longest = std::chrono::seconds(1);       ///< a burst without an end is told after this
    Duration presence = std::chrono::seconds(2);      ///< between looks whether roots and trash come or go
    Duration unwatched = std::chrono::seconds(30);    ///< between looks at folders that nothing is told of, at least
    std::size_t mostFolders = 1'000'000;              ///< watched at a time
  };
  using Log = std::function<void(const std::string&)>;

  FolderWatch(std::vector<std::string> roots, const Timing& timing, Log log, Source::Touched touched);
  /// Nobody is told any more once it has returned.
  ~FolderWatch();

  /// To be called with each folder before it is listed, so that nothing falls between the two. Any thread.
  void watchFolder(int folder, std::uint64_t device, const std::string& path);
  /// One of the two folders of a trash, there or not: whatever is done in it touches the folder `files`. Any thread.
  void watchTrash(const std::string& path, const std::string& files);
  /// Reports the path as changed once that time has passed. Any thread.
  void lookLater(const std::string& path, Duration wait);
  /// How long the last look took: what nobody watches is looked at the less often the longer looks take. Any thread.
  void tookFor(Duration look) { took_ = look.count(); }

 private:
  using Time = Burst::Time;
  /// What stands at a path, compared from time to time where no event would tell that it was exchanged.
  struct Presence {
    bool readable = false;
    std::uint64_t device = 0, number = 0;
    static Presence of(const std::string& path);
    friend bool operator==(const Presence&, const Presence&) = default;
  };
  struct Landmark {
    std::string touches;
    Presence presence;
  };

  void work();
  Time nextDue(Time now);
  void listen(Time now);
  void checkPresence();
  void tell(Time now);
  bool isRemote(int folder, std::uint64_t device);
  void lookEverySoOften(const std::string& path);
  Duration interval() const;
  bool isRoot(const std::string& path) const;

  const std::vector<std::string> roots_;
  const Timing timing_;
  const Log log_;
  const Source::Touched touched_;
  FileDescriptor wake_, mounts_;
  std::atomic<Duration::rep> took_ = 0;

  std::mutex mutex_;  ///< guards what follows
  WatchedFolders folders_;
  std::map<std::string, Landmark> landmarks_;
  std::multimap<Time, std::string> later_;
  WalkScope unwatched_;
  std::map<std::uint64_t, bool> remote_;  ///< by device
  bool limitTold_ = false;
  bool stopping_ = false;

  Burst burst_;  ///< the thread's, like what follows
  WalkScope heard_;
  Time presenceDue_, unwatchedDue_;

  std::jthread thread_;
};

}  // namespace tlx::photolibrary
