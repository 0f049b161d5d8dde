#pragma once

#include <memory>
#include <string>

#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

namespace tlx::netlink {

/// Network reachability as the kernel knows it: its links and routes, read afresh each time, without a daemon.
class NetlinkReachability final : public ReachabilityPort {
 public:
  /// `sysfs` is where the kinds of links are told.
  explicit NetlinkReachability(std::string sysfs = "/sys");

  std::unique_ptr<ReachabilityTarget> createWithName(const std::string& hostName) override;
  std::unique_ptr<ReachabilityTarget> createWithAddress(const sockaddr* address) override;

 private:
  std::string sysfs_;
};

}  // namespace tlx::netlink
