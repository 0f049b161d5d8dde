#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

#include "adapters/netlink/EventDescriptor.h"

namespace tlx::netlink {

/// Somebody who wants to look when links, addresses, routes or rules changed.
class NetworkFollower {
 public:
  virtual ~NetworkFollower() = default;
  /// On the watch's thread. `networkChanged` is false when only an answer came in that was waited for. False asks to
  /// look again in a second, because the kernel could not be read.
  virtual bool look(bool networkChanged) = 0;
};

/// Listens to the kernel on a thread of its own, which starts with the first follower. Any thread, except that the last
/// reference may not go on the watch's own.
class NetworkWatch {
 public:
  /// One event is followed by others: a look waits until there were none for `quiet`, but no longer than `patience`.
  static constexpr std::chrono::milliseconds quiet{10}, patience{100};

  NetworkWatch();
  /// Joins the thread, which never waits for a network.
  ~NetworkWatch();

  /// From the return on, no event goes by unseen. False when the kernel tells nobody or there is no thread to be had.
  bool add(const std::shared_ptr<NetworkFollower>& follower);
  void remove(const NetworkFollower* follower);

  /// Signalled to make all followers look, though the network did not change. Outlives the watch.
  std::shared_ptr<EventDescriptor> lookAgain() const { return lookAgain_; }

 private:
  bool start();
  void run(const std::stop_token& ending);
  /// Takes what the kernel told. False when there was nothing.
  bool drain();
  bool tellAll(bool networkChanged);

  const std::shared_ptr<EventDescriptor> lookAgain_ = std::make_shared<EventDescriptor>();
  EventDescriptor end_;
  std::mutex mutex_;
  std::vector<std::pair<const NetworkFollower*, std::weak_ptr<NetworkFollower>>> followers_;
  int events_ = -1;
  std::jthread thread_;
};

}  // namespace tlx::netlink
