#include "adapters/netlink/Destination.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

#include <netdb.h>

#include "adapters/netlink/EventDescriptor.h"
#include "adapters/netlink/RouteFlags.h"

namespace tlx::netlink {
namespace {

constexpr std::chrono::seconds kFirstRetry{1}, kLastRetry{60};

}  // namespace

std::vector<sockaddr_storage> resolveWithSystem(const std::string& hostName) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  std::vector<sockaddr_storage> addresses;
  if (getaddrinfo(hostName.c_str(), nullptr, &hints, &list) != 0) return addresses;
  for (const addrinfo* entry = list; entry; entry = entry->ai_next) {
    if (entry->ai_family != AF_INET && entry->ai_family != AF_INET6) continue;
    std::memcpy(&addresses.emplace_back(), entry->ai_addr, entry->ai_addrlen);
  }
  freeaddrinfo(list);
  return addresses;
}

struct HostDestination::Asking {
  std::string hostName;
  Resolve resolve;
  std::shared_ptr<EventDescriptor> answered;

  std::mutex mutex;
  std::condition_variable_any changed;
  std::vector<sockaddr_storage> addresses;
  bool atWork = false, again = false;
};

HostDestination::HostDestination(std::string hostName, std::string sysfs, Resolve resolve,
                                 std::shared_ptr<EventDescriptor> answered)
    : sysfs_(std::move(sysfs)), asking_(std::make_shared<Asking>()) {
  asking_->hostName = std::move(hostName);
  asking_->resolve = std::move(resolve);
  asking_->answered = std::move(answered);
  networkChanged();
}

HostDestination::~HostDestination() {
  gone_.request_stop();
}

std::optional<SCNetworkReachabilityFlags> HostDestination::flags() const {
  std::vector<sockaddr_storage> addresses;
  {
    std::lock_guard lock(asking_->mutex);
    addresses = asking_->addresses;
  }
  for (const auto& address : addresses) {
    const auto flags = flagsOfAddress(address, sysfs_);
    if (!flags || *flags != 0) return flags;
  }
  return 0;
}

void HostDestination::networkChanged() {
  std::lock_guard lock(asking_->mutex);
  asking_->again = true;
  asking_->changed.notify_all();
  if (asking_->atWork) return;
  try {
    std::thread([asking = asking_, gone = gone_.get_token()] { ask(asking, gone); }).detach();
    asking_->atWork = true;
  } catch (const std::system_error&) {
    // No thread to be had: the next change tries once more.
  }
}

void HostDestination::ask(const std::shared_ptr<Asking>& asking, const std::stop_token& gone) {
  auto retry = kFirstRetry;
  while (!gone.stop_requested()) {
    {
      std::lock_guard lock(asking->mutex);
      asking->again = false;
    }
    auto addresses = asking->resolve(asking->hostName);
    std::unique_lock lock(asking->mutex);
    const bool known = !addresses.empty();
    if (known) {
      asking->addresses = std::move(addresses);
      asking->answered->signal();
    }
    if (known && !asking->again) {
      asking->atWork = false;
      return;
    }
    const bool changed = asking->changed.wait_for(lock, gone, retry, [&] { return asking->again; });
    retry = changed ? kFirstRetry : std::min(retry * 2, kLastRetry);
  }
}

}  // namespace tlx::netlink
