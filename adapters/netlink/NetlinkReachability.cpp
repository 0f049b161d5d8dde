#include "adapters/netlink/NetlinkReachability.h"

#include <cstring>
#include <utility>

#include <netinet/in.h>

#include "adapters/netlink/NetlinkTarget.h"
#include "adapters/netlink/NetworkWatch.h"
#include "adapters/netlink/RouteFlags.h"

namespace tlx::netlink {
namespace {

constexpr in_addr_t kLinkLocalNetwork = 0xA9FE0000;  // 169.254.0.0

}  // namespace

NetlinkReachability::NetlinkReachability(std::string sysfs, Resolve resolve)
    : sysfs_(std::move(sysfs)), resolve_(std::move(resolve)), watch_(std::make_shared<NetworkWatch>()) {}

NetlinkReachability::~NetlinkReachability() = default;

std::unique_ptr<ReachabilityTarget> NetlinkReachability::createWithName(const std::string& hostName) {
  // A name with a zero in it would be another one for the resolver.
  if (hostName.empty() || hostName.find('\0') != std::string::npos) return nullptr;
  auto target = std::make_unique<NetlinkTarget>(
      watch_, std::make_unique<HostDestination>(hostName, sysfs_, resolve_, watch_->lookAgain()));
  // Also unfollowed, a name has to be asked for again when the network changes.
  target->keepCurrent();
  return target;
}

std::unique_ptr<ReachabilityTarget> NetlinkReachability::createWithAddress(const sockaddr* address) {
  if (!address || (address->sa_family != AF_INET && address->sa_family != AF_INET6)) return nullptr;
  ReadDestination::Read read;
  sockaddr_storage to{};
  if (address->sa_family == AF_INET) {
    std::memcpy(&to, address, sizeof(sockaddr_in));
    const in_addr_t number = ntohl(reinterpret_cast<const sockaddr_in&>(to).sin_addr.s_addr);
    if (number == INADDR_ANY) read = [sysfs = sysfs_] { return flagsOfDefaultRoute(DefaultRoute::any, sysfs); };
    if (number == kLinkLocalNetwork) read = [sysfs = sysfs_] { return flagsOfLinkLocalNetwork(sysfs); };
  } else {
    std::memcpy(&to, address, sizeof(sockaddr_in6));
    if (IN6_IS_ADDR_UNSPECIFIED(&reinterpret_cast<const sockaddr_in6&>(to).sin6_addr)) {
      read = [sysfs = sysfs_] { return flagsOfDefaultRoute(DefaultRoute::ipv6, sysfs); };
    }
  }
  if (!read) read = [to, sysfs = sysfs_] { return flagsOfAddress(to, sysfs); };
  return std::make_unique<NetlinkTarget>(watch_, std::make_unique<ReadDestination>(std::move(read)));
}

}  // namespace tlx::netlink
