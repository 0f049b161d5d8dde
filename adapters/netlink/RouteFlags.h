#pragma once

#include <optional>
#include <string>

#include <sys/socket.h>

#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

namespace tlx::netlink {

// Flags of what a packet may be meant for, read afresh from the kernel's links and routes by each call. Any thread.
// Nothing when the kernel cannot be asked; 0 when there is no way. A way over a cellular link is marked as such. A
// tunnel is as good as the links below it: where this machine has any and none of them carries, it leads nowhere, and
// where all that carry are cellular, so is the tunnel. `sysfs` is where the kinds of links are told.

enum class DefaultRoute { any, ipv6 };

/// The best default route by metric among those whose link carries: IPv4's, or IPv6's where there is none or nothing
/// else is wanted. Where the main table has none, what a packet into the wide world would take by the kernel's own
/// rules.
std::optional<SCNetworkReachabilityFlags> flagsOfDefaultRoute(DefaultRoute wanted, const std::string& sysfs);

/// Direct where any link carries on which neighbours are found without a router; a cellular link is none.
std::optional<SCNetworkReachabilityFlags> flagsOfLinkLocalNetwork(const std::string& sysfs);

/// Direct where no router is on the way; local and direct for an address of this machine. `AF_INET` or `AF_INET6`.
std::optional<SCNetworkReachabilityFlags> flagsOfAddress(const sockaddr_storage& address, const std::string& sysfs);

}  // namespace tlx::netlink
