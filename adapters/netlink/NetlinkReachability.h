#pragma once

#include <memory>
#include <string>

#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

#include "adapters/netlink/Destination.h"

namespace tlx::netlink {

class NetworkWatch;

/// Network reachability as the kernel knows it: its links and routes, read afresh each time, without a daemon. "::"
/// stands for the default route of IPv6 alone. Any thread. Targets may outlive it.
///
/// Changes are noticed within a tenth of a second. Whoever follows a target is told flags that differ from those
/// told before, and nothing while flags cannot be read.
class NetlinkReachability final : public ReachabilityPort {
 public:
  /// `sysfs` is where the kinds of links are told.
  explicit NetlinkReachability(std::string sysfs = "/sys", Resolve resolve = resolveWithSystem);
  ~NetlinkReachability() override;

  std::unique_ptr<ReachabilityTarget> createWithName(const std::string& hostName) override;
  std::unique_ptr<ReachabilityTarget> createWithAddress(const sockaddr* address) override;

 private:
  std::string sysfs_;
  Resolve resolve_;
  std::shared_ptr<NetworkWatch> watch_;
};

}  // namespace tlx::netlink
