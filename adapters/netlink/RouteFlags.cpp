#include "adapters/netlink/RouteFlags.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <netinet/in.h>

#include "adapters/netlink/Links.h"
#include "adapters/netlink/RouteSocket.h"

namespace tlx::netlink {
namespace {

using Flags = SCNetworkReachabilityFlags;

constexpr Flags kReachable = kSCNetworkReachabilityFlagsReachable;
constexpr Flags kDirect = kSCNetworkReachabilityFlagsIsDirect;

/// One way out that a route offers; a route over several links offers several.
struct Way {
  int link = 0;
  bool overRouter = false;
};

struct Route {
  unsigned char type = RTN_UNSPEC;
  std::uint32_t table = RT_TABLE_MAIN;
  std::uint32_t metric = 0;
  std::vector<Way> ways;

  /// A route may also be there to stop packets (blackhole, unreachable, prohibit) or to say that this table has none.
  bool delivers() const {
    return type == RTN_UNICAST || type == RTN_LOCAL || type == RTN_BROADCAST || type == RTN_ANYCAST ||
           type == RTN_MULTICAST;
  }
};

void addWays(const nlattr& multipath, std::vector<Way>& ways) {
  auto* hop = static_cast<rtnexthop*>(mnl_attr_get_payload(&multipath));
  for (int left = mnl_attr_get_payload_len(&multipath); RTNH_OK(hop, left);) {
    if (!(hop->rtnh_flags & (RTNH_F_LINKDOWN | RTNH_F_DEAD))) {
      ways.push_back({hop->rtnh_ifindex, hop->rtnh_len > RTNH_LENGTH(0)});
    }
    left -= static_cast<int>(RTNH_ALIGN(hop->rtnh_len));
    hop = RTNH_NEXT(hop);
  }
}

Route parse(const nlmsghdr& message) {
  const auto* header = static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&message));
  Route route;
  route.type = header->rtm_type;
  route.table = header->rtm_table;
  Way way;
  forEachAttribute(message, sizeof *header, [&](const nlattr& attribute) {
    switch (mnl_attr_get_type(&attribute)) {
      case RTA_OIF:
        way.link = static_cast<int>(mnl_attr_get_u32(&attribute));
        break;
      case RTA_GATEWAY:
      case RTA_VIA:
        way.overRouter = true;
        break;
      case RTA_TABLE:
        route.table = mnl_attr_get_u32(&attribute);
        break;
      case RTA_PRIORITY:
        route.metric = mnl_attr_get_u32(&attribute);
        break;
      case RTA_MULTIPATH:
        addWays(attribute, route.ways);
        break;
      default:
        break;
    }
  });
  // IPv6 names the loopback link for a route that stops packets.
  if (!route.delivers()) return route;
  if (way.link != 0 && !(header->rtm_flags & (RTNH_F_LINKDOWN | RTNH_F_DEAD))) route.ways.push_back(way);
  return route;
}

/// The links of one moment, and which of them lead out.
class WaysOut {
 public:
  WaysOut(Links links, const std::string& sysfs) : links_(std::move(links)), sysfs_(sysfs) {}

  /// 0 where nothing gets out over that link.
  Flags over(int index) const {
    const auto found = links_.find(index);
    if (found == links_.end() || !found->second.carries()) return 0;
    switch (kindOf(found->second, sysfs_)) {
      case LinkKind::cellular:
        return kReachable | kSCNetworkReachabilityFlagsIsWWAN;
      case LinkKind::tunnel:
        return belowTunnel();
      default:
        return kReachable;
    }
  }
  bool isPointToPoint(int index) const {
    const auto found = links_.find(index);
    return found != links_.end() && found->second.isPointToPoint();
  }
  bool anyReachesNeighbours() const {
    return std::any_of(links_.begin(), links_.end(), [this](const auto& entry) {
      const Link& link = entry.second;
      return link.carries() && link.reachesNeighbours() && kindOf(link, sysfs_) != LinkKind::cellular;
    });
  }

 private:
  Flags belowTunnel() const {
    int below = 0, carrying = 0, cellular = 0;
    for (const auto& [index, link] : links_) {
      const LinkKind kind = kindOf(link, sysfs_);
      if (kind == LinkKind::loopback || kind == LinkKind::tunnel) continue;
      ++below;
      if (!link.carries()) continue;
      ++carrying;
      if (kind == LinkKind::cellular) ++cellular;
    }
    // A tunnel may be all that a network namespace was given.
    if (below == 0) return kReachable;
    if (carrying == 0) return 0;
    return cellular == carrying ? kReachable | kSCNetworkReachabilityFlagsIsWWAN : kReachable;
  }

  Links links_;
  const std::string& sysfs_;
};

/// The route that a packet to that address would take by the kernel's rules, tables and metrics. Nothing in it where
/// there is none.
std::optional<Route> lookUp(RouteSocket& socket, unsigned char family, const void* address, std::size_t length,
                            std::uint32_t scope = 0) {
  alignas(nlmsghdr) char buffer[128];
  nlmsghdr* request = mnl_nlmsg_put_header(buffer);
  request->nlmsg_type = RTM_GETROUTE;
  auto* header = static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(request, sizeof(rtmsg)));
  header->rtm_family = family;
  header->rtm_dst_len = static_cast<unsigned char>(length * 8);
  header->rtm_flags = RTM_F_LOOKUP_TABLE;
  mnl_attr_put(request, RTA_DST, length, address);
  if (scope != 0) mnl_attr_put_u32(request, RTA_OIF, scope);
  const auto answer = socket.ask(*request);
  if (!answer) return std::nullopt;
  Route route;
  answer->forEach([&](const nlmsghdr& message) { route = parse(message); });
  return route;
}

/// The best default route of that table by metric, among those that stop packets and those whose link carries.
std::optional<Flags> ofDefaultRoutes(RouteSocket& socket, const WaysOut& out, unsigned char family,
                                     std::uint32_t table) {
  const auto answer = socket.dump(RTM_GETROUTE, family);
  if (!answer) return std::nullopt;
  Flags best = 0;
  std::optional<std::uint32_t> bestMetric;
  answer->forEach([&](const nlmsghdr& message) {
    const auto* header = static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&message));
    // A kernel without that family answers with what it has of others.
    if (header->rtm_family != family || header->rtm_dst_len != 0 || (header->rtm_flags & RTM_F_CLONED)) return;
    const Route route = parse(message);
    if (route.table != table || (bestMetric && route.metric >= *bestMetric)) return;
    Flags flags = 0;
    for (auto way = route.ways.begin(); flags == 0 && way != route.ways.end(); ++way) flags = out.over(way->link);
    if (flags == 0 && route.delivers()) return;
    best = flags;
    bestMetric = route.metric;
  });
  return best;
}

/// The kernel is asked for the way to an address as good as any out there: that of a root name server, to which nothing
/// is sent. Addresses kept for documentation will not do, since cautious machines drop them. A link that lost its
/// carrier a moment ago keeps its routes, and the kernel goes on choosing them: then the next best default counts.
std::optional<Flags> ofTheWideWorld(RouteSocket& socket, const WaysOut& out, unsigned char family) {
  constexpr unsigned char root4[] = {198, 41, 0, 4};
  constexpr unsigned char root6[] = {0x20, 0x01, 0x05, 0x03, 0xBA, 0x3E, 0, 0, 0, 0, 0, 0, 0, 0x02, 0, 0x30};
  const auto route =
      family == AF_INET ? lookUp(socket, family, root4, sizeof root4) : lookUp(socket, family, root6, sizeof root6);
  if (!route) return std::nullopt;
  if (route->ways.empty()) return 0;
  const Flags flags = out.over(route->ways.front().link);
  return flags != 0 ? flags : ofDefaultRoutes(socket, out, family, route->table);
}

std::optional<WaysOut> readWaysOut(RouteSocket& socket, const std::string& sysfs) {
  auto links = readLinks(socket);
  if (!links) return std::nullopt;
  return WaysOut(std::move(*links), sysfs);
}

}  // namespace

std::optional<Flags> flagsOfDefaultRoute(DefaultRoute wanted, const std::string& sysfs) {
  RouteSocket socket;
  const auto out = readWaysOut(socket, sysfs);
  if (!out) return std::nullopt;
  for (const unsigned char family : {AF_INET, AF_INET6}) {
    if (family == AF_INET && wanted == DefaultRoute::ipv6) continue;
    const auto flags = ofTheWideWorld(socket, *out, family);
    if (!flags || *flags != 0) return flags;
  }
  return 0;
}

std::optional<Flags> flagsOfLinkLocalNetwork(const std::string& sysfs) {
  RouteSocket socket;
  const auto out = readWaysOut(socket, sysfs);
  if (!out) return std::nullopt;
  return out->anyReachesNeighbours() ? kReachable | kDirect : 0;
}

std::optional<Flags> flagsOfAddress(const sockaddr_storage& address, const std::string& sysfs) {
  RouteSocket socket;
  const auto out = readWaysOut(socket, sysfs);
  if (!out) return std::nullopt;
  std::optional<Route> route;
  if (address.ss_family == AF_INET) {
    const auto& to = reinterpret_cast<const sockaddr_in&>(address);
    route = lookUp(socket, AF_INET, &to.sin_addr, sizeof to.sin_addr);
  } else {
    const auto& to = reinterpret_cast<const sockaddr_in6&>(address);
    if (IN6_IS_ADDR_V4MAPPED(&to.sin6_addr)) {
      route = lookUp(socket, AF_INET, &to.sin6_addr.s6_addr[12], sizeof(in_addr));
    } else {
      route = lookUp(socket, AF_INET6, &to.sin6_addr, sizeof to.sin6_addr, to.sin6_scope_id);
    }
  }
  if (!route) return std::nullopt;
  if (route->ways.empty()) return 0;
  const Way& way = route->ways.front();
  Flags flags = out->over(way.link);
  if (flags == 0) return 0;
  if (route->type == RTN_LOCAL) return flags | kDirect | kSCNetworkReachabilityFlagsIsLocalAddress;
  if (!way.overRouter && !out->isPointToPoint(way.link)) flags |= kDirect;
  return flags;
}

}  // namespace tlx::netlink
