#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include <sys/socket.h>

#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

namespace tlx::netlink {

class EventDescriptor;

/// Where a target leads. Any thread.
class Destination {
 public:
  virtual ~Destination() = default;
  /// As `ReachabilityTarget::flags`.
  virtual std::optional<SCNetworkReachabilityFlags> flags() const = 0;
  virtual void networkChanged() {}
};

/// A destination whose flags are read from the kernel each time, with nothing to resolve.
class ReadDestination final : public Destination {
 public:
  using Read = std::function<std::optional<SCNetworkReachabilityFlags>()>;
  explicit ReadDestination(Read read) : read_(std::move(read)) {}
  std::optional<SCNetworkReachabilityFlags> flags() const override { return read_(); }

 private:
  Read read_;
};

/// The addresses of a host; none where there are none or nobody knows. May take as long as it likes.
using Resolve = std::function<std::vector<sockaddr_storage>(const std::string& hostName)>;
/// The system's own resolver.
std::vector<sockaddr_storage> resolveWithSystem(const std::string& hostName);

/// A host by its name, resolved on a thread of its own: at first, and after each change of the network. Its flags are 0
/// until there is an answer, then those of the first of its addresses that can be reached; the addresses count until
/// others are found. Without an answer it is asked again after one second, two, four, up to a minute, for a route is
/// often there before the resolver knows.
///
/// Nobody waits for the thread, since a resolver may take half a minute: it ends by itself when the destination is
/// gone, and touches nothing but what it shares.
class HostDestination final : public Destination {
 public:
  HostDestination(std::string hostName, std::string sysfs, Resolve resolve, std::shared_ptr<EventDescriptor> answered);
  ~HostDestination() override;

  std::optional<SCNetworkReachabilityFlags> flags() const override;
  void networkChanged() override;

 private:
  struct Asking;
  static void ask(const std::shared_ptr<Asking>& asking, const std::stop_token& gone);

  std::string sysfs_;
  std::shared_ptr<Asking> asking_;
  std::stop_source gone_;
};

}  // namespace tlx::netlink
