#include "adapters/netlink/NetworkWatch.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <utility>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tlx::netlink {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kUntilNextTry{1};
constexpr unsigned kGroups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV4_RULE |
                             RTMGRP_IPV6_IFADDR | RTMGRP_IPV6_ROUTE | 1u << (RTNLGRP_IPV6_RULE - 1);

int openEvents() {
  const int descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
  if (descriptor < 0) return -1;
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = kGroups;
  if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return descriptor;
  close(descriptor);
  return -1;
}

}  // namespace

NetworkWatch::NetworkWatch() = default;

NetworkWatch::~NetworkWatch() {
  if (thread_.joinable()) {
    thread_.request_stop();
    thread_.join();
  }
  if (events_ >= 0) close(events_);
}

bool NetworkWatch::add(const std::shared_ptr<NetworkFollower>& follower) {
  std::lock_guard lock(mutex_);
  if (!start()) return false;
  for (const auto& entry : followers_) {
    if (entry.first == follower.get()) return true;
  }
  followers_.emplace_back(follower.get(), follower);
  return true;
}

void NetworkWatch::remove(const NetworkFollower* follower) {
  std::lock_guard lock(mutex_);
  std::erase_if(followers_, [follower](const auto& entry) { return entry.first == follower; });
}

bool NetworkWatch::start() {
  if (thread_.joinable()) return true;
  if (!lookAgain_->isOpen() || !end_.isOpen()) return false;
  if (events_ < 0) events_ = openEvents();
  if (events_ < 0) return false;
  try {
    thread_ = std::jthread([this](const std::stop_token& ending) { run(ending); });
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

void NetworkWatch::run(const std::stop_token& ending) {
  const std::stop_callback wake(ending, [this] { end_.signal(); });
  pollfd watched[] = {{end_.descriptor(), POLLIN, 0}, {lookAgain_->descriptor(), POLLIN, 0}, {events_, POLLIN, 0}};
  bool changed = false, wanted = false;
  Clock::time_point due{}, latest{};
  for (;;) {
    int wait = -1;
    if (wanted) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(std::min(due, latest) - Clock::now());
      wait = static_cast<int>(std::max<std::int64_t>(0, left.count()));
    }
    const int ready = poll(watched, std::size(watched), wait);
    if (ready < 0 && errno != EINTR) return;
    if (ready > 0) {
      if (watched[0].revents) return;
      const auto now = Clock::now();
      if (watched[2].revents && drain()) {
        if (!changed) latest = now + patience;
        changed = wanted = true;
        due = now + quiet;
      }
      if (watched[1].revents) {
        lookAgain_->clear();
        if (!changed) due = latest = now;
        wanted = true;
      }
    }
    if (!wanted || Clock::now() < std::min(due, latest)) continue;
    const bool told = tellAll(std::exchange(changed, false));
    wanted = !told;
    due = latest = Clock::now() + kUntilNextTry;
  }
}

bool NetworkWatch::drain() {
  // What they say does not matter, nor how much of it was lost: all is read afresh.
  bool any = false;
  char message[8192];
  for (;;) {
    const auto size = recv(events_, message, sizeof message, MSG_DONTWAIT);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0 && errno != ENOBUFS) return any;
    any = true;
  }
}

bool NetworkWatch::tellAll(bool networkChanged) {
  std::vector<std::shared_ptr<NetworkFollower>> told;
  {
    std::lock_guard lock(mutex_);
    for (const auto& entry : followers_) {
      if (auto follower = entry.second.lock()) told.push_back(std::move(follower));
    }
  }
  bool all = true;
  for (const auto& follower : told) all &= follower->look(networkChanged);
  return all;
}

}  // namespace tlx::netlink
