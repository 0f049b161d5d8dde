#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

namespace tlx::memory {

/// A network whose flags a test sets. At first every target is reachable. Any thread.
class MemoryReachability final : public ReachabilityPort {
 public:
  MemoryReachability();
  ~MemoryReachability() override;

  std::unique_ptr<ReachabilityTarget> createWithName(const std::string& hostName) override;
  std::unique_ptr<ReachabilityTarget> createWithAddress(const sockaddr* address) override;

  /// Flags of every target from now on; nothing when they cannot be read. Targets that are followed hear of flags that
  /// differ.
  void setFlags(std::optional<SCNetworkReachabilityFlags> flags);
  /// Calls every callback that is scheduled, as if the network had told, whether or not the flags changed.
  void fire();

  /// What the system refuses from now on.
  struct Refusals {
    bool creation = false, callback = false, scheduling = false;
  };
  void setRefusals(Refusals refusals);

  /// What targets were asked for, in order: host names, and addresses as text, such as "0.0.0.0".
  std::vector<std::string> created() const;
  /// Targets that are being followed at the moment.
  std::size_t scheduledCount() const;

 private:
  class Target;
  struct Network;

  std::unique_ptr<ReachabilityTarget> create(std::string name);

  std::shared_ptr<Network> network_;
};

}  // namespace tlx::memory
