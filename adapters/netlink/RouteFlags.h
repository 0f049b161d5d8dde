#pragma once

#include <optional>
#include <string>

#include <sys/socket.h>

#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

namespace tlx::netlink {

// Flags of what a packet may be meant for, read afresh from the kernel's links and routes by each call. Any thread.
// Nothing when the kernel cannot be asked; 0 when there is no way, or a route or rule that stops packets (blackhole,
// unreachable, prohibit) comes first. A way over a cellular link is marked as such. A tunnel is as good as the links
// below it: where this machine has any and none of them carries, it leads nowhere, and where all that carry are
// cellular, so is the tunnel. `sysfs` is where the kinds of links are told.

enum class DefaultRoute { any, ipv6 };

/// What a packet into the wide world takes by the kernel's rules: by IPv4, or by IPv6 where IPv4 leads nowhere or is
/// not wanted. Where the link chosen does not carry, the best by metric of the same table's default routes whose link
/// does.
std::optional<SCNetworkReachabilityFlags> flagsOfDefaultRoute(DefaultRoute wanted, const std::string& sysfs);

/// Direct where any link carries on which neighbours are found without a router; a cellular link is none.
std::optional<SCNetworkReachabilityFlags> flagsOfLinkLocalNetwork(const std::string& sysfs);

/// Direct where no router is on the way; local and direct for an address of this machine. `AF_INET` or `AF_INET6`.
std::optional<SCNetworkReachabilityFlags> flagsOfAddress(const sockaddr_storage& address, const std::string& sysfs);

}  // namespace tlx::netlink
