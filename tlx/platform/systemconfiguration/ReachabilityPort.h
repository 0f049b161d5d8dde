#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tlx/platform/dispatch/RunLoopPort.h"

struct sockaddr;

namespace tlx {

/// A set of the bits below.
using SCNetworkReachabilityFlags = std::uint32_t;
enum : SCNetworkReachabilityFlags {
  kSCNetworkReachabilityFlagsTransientConnection = 0x1,    ///< over a connection that comes and goes
  kSCNetworkReachabilityFlagsReachable = 0x2,              ///< a packet would get there, perhaps after connecting
  kSCNetworkReachabilityFlagsConnectionRequired = 0x4,     ///< something must connect first
  kSCNetworkReachabilityFlagsConnectionOnTraffic = 0x8,    ///< the first packet connects
  kSCNetworkReachabilityFlagsInterventionRequired = 0x10,  ///< connecting asks the person
  kSCNetworkReachabilityFlagsConnectionOnDemand = 0x20,    ///< asking for an address connects
  kSCNetworkReachabilityFlagsIsLocalAddress = 0x10000,     ///< this machine itself
  kSCNetworkReachabilityFlagsIsDirect = 0x20000,           ///< on a link of this machine, without a gateway
  kSCNetworkReachabilityFlagsIsWWAN = 0x40000,             ///< over a cellular link
};

/// One network target whose reachability can be read and followed.
class ReachabilityTarget {
 public:
  using Callback = std::function<void(SCNetworkReachabilityFlags)>;

  /// Ends the following; after it no callback runs, when it is destroyed on the loop's thread.
  virtual ~ReachabilityTarget() = default;
  /// Any thread; never waits for a network. Nothing when the flags cannot be read.
  virtual std::optional<SCNetworkReachabilityFlags> flags() const = 0;
  /// Replaces the callback; an empty one ends it. False when refused.
  virtual bool setCallback(Callback callback) = 0;
  /// From now on each change of the flags calls the callback on that loop's thread. False when refused.
  virtual bool schedule(const std::shared_ptr<RunLoop>& loop) = 0;
  /// Called on the loop's own thread; after it no callback runs.
  virtual void unschedule(const std::shared_ptr<RunLoop>& loop) = 0;
};

/// Tells whether the network leads to a host or an address. Any thread, except where a member says otherwise.
class ReachabilityPort {
 public:
  virtual ~ReachabilityPort() = default;
  /// Nothing when the target is refused (an empty name, an address family that is not known).
  virtual std::unique_ptr<ReachabilityTarget> createWithName(const std::string& hostName) = 0;
  /// An address in the system's own socket form, whose length its family tells. 0.0.0.0 stands for the default route,
  /// 169.254.0.0 for the link-local network.
  virtual std::unique_ptr<ReachabilityTarget> createWithAddress(const sockaddr* address) = 0;
};

}  // namespace tlx
