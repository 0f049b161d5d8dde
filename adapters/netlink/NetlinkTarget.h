#pragma once

#include <memory>

#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

#include "adapters/netlink/Destination.h"

namespace tlx::netlink {

class NetworkWatch;

/// A destination that can be followed.
class NetlinkTarget final : public ReachabilityTarget {
 public:
  NetlinkTarget(std::shared_ptr<NetworkWatch> watch, std::unique_ptr<Destination> destination);
  ~NetlinkTarget() override;

  std::optional<SCNetworkReachabilityFlags> flags() const override;
  bool setCallback(Callback callback) override;
  bool schedule(const std::shared_ptr<RunLoop>& loop) override;
  void unschedule(const std::shared_ptr<RunLoop>& loop) override;

  /// Lets the destination know of changes, for as long as the target lives. False when the kernel tells nobody.
  bool keepCurrent();

 private:
  class Following;

  std::shared_ptr<NetworkWatch> watch_;
  std::shared_ptr<Following> following_;
};

}  // namespace tlx::netlink
