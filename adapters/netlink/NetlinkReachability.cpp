#include "adapters/netlink/NetlinkReachability.h"

#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <fstream>
#include <functional>
#include <map>
#include <utility>

namespace tlx::netlink {
namespace {

struct Link {
  std::string name;
  unsigned flags = 0;
  unsigned type = 0;
};

/// Calls `visit` with each attribute behind a header of that size.
template <class VisitAttribute>
void forEachAttribute(const nlmsghdr& header, std::size_t headerSize, VisitAttribute visit) {
  const auto* end = static_cast<const char*>(mnl_nlmsg_get_payload_tail(&header));
  auto* attribute = static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(&header, headerSize));
  while (mnl_attr_ok(attribute, static_cast<int>(end - reinterpret_cast<const char*>(attribute)))) {
    visit(*attribute);
    attribute = mnl_attr_next(attribute);
  }
}

struct CloseSocket {
  void operator()(mnl_socket* socket) const { mnl_socket_close(socket); }
};

using Visit = std::function<void(const nlmsghdr&)>;

int visitMessage(const nlmsghdr* header, void* data) {
  (*static_cast<const Visit*>(data))(*header);
  return MNL_CB_OK;
}

/// Asks the kernel for all it has of one type. False when it does not answer.
bool dump(std::uint16_t type, unsigned char family, const Visit& visit) {
  std::unique_ptr<mnl_socket, CloseSocket> socket(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC));
  if (!socket || mnl_socket_bind(socket.get(), 0, MNL_SOCKET_AUTOPID) < 0) return false;
  char buffer[32768];
  nlmsghdr* request = mnl_nlmsg_put_header(buffer);
  request->nlmsg_type = type;
  request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request->nlmsg_seq = 1;
  static_cast<rtgenmsg*>(mnl_nlmsg_put_extra_header(request, sizeof(rtmsg)))->rtgen_family = family;
  if (mnl_socket_sendto(socket.get(), request, request->nlmsg_len) < 0) return false;
  const unsigned port = mnl_socket_get_portid(socket.get());
  for (;;) {
    const auto size = mnl_socket_recvfrom(socket.get(), buffer, sizeof buffer);
    if (size < 0) return false;
    const int more = mnl_cb_run(buffer, static_cast<std::size_t>(size), 1, port, visitMessage, const_cast<Visit*>(&visit));
    if (more < 0) return false;
    if (more == MNL_CB_STOP) return true;
  }
}

std::optional<std::map<int, Link>> readLinks() {
  std::map<int, Link> links;
  const bool read = dump(RTM_GETLINK, AF_UNSPEC, [&](const nlmsghdr& header) {
    const auto* info = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(&header));
    Link& link = links[info->ifi_index];
    link.flags = info->ifi_flags;
    link.type = info->ifi_type;
    forEachAttribute(header, sizeof *info, [&](const nlattr& attribute) {
      if (mnl_attr_get_type(&attribute) == IFLA_IFNAME) link.name = mnl_attr_get_str(&attribute);
    });
  });
  if (!read) return std::nullopt;
  return links;
}

/// A link that is up but has no carrier keeps its routes, so the link is asked as well.
bool carries(const Link& link) {
  constexpr unsigned wanted = IFF_UP | IFF_RUNNING | IFF_LOWER_UP;
  return (link.flags & wanted) == wanted;
}

bool isCellular(const Link& link, const std::string& sysfs) {
  std::ifstream events(sysfs + "/class/net/" + link.name + "/uevent");
  for (std::string line; std::getline(events, line);) {
    if (line == "DEVTYPE=wwan") return true;
  }
  return false;
}

std::optional<SCNetworkReachabilityFlags> defaultRouteFlags(const std::string& sysfs) {
  const auto links = readLinks();
  if (!links) return std::nullopt;
  SCNetworkReachabilityFlags flags = 0;
  const auto visit = [&](const nlmsghdr& header) {
    const auto* route = static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&header));
    if (route->rtm_dst_len != 0 || route->rtm_type != RTN_UNICAST || (route->rtm_flags & RTNH_F_LINKDOWN)) return;
    forEachAttribute(header, sizeof *route, [&](const nlattr& attribute) {
      if (mnl_attr_get_type(&attribute) != RTA_OIF) return;
      const auto link = links->find(static_cast<int>(mnl_attr_get_u32(&attribute)));
      if (link == links->end() || !carries(link->second)) return;
      const bool cellular = isCellular(link->second, sysfs);
      // Any other way out is the better one.
      if (flags == 0 || !cellular) {
        flags = kSCNetworkReachabilityFlagsReachable | (cellular ? kSCNetworkReachabilityFlagsIsWWAN : 0u);
      }
    });
  };
  if (!dump(RTM_GETROUTE, AF_INET, visit) || !dump(RTM_GETROUTE, AF_INET6, visit)) return std::nullopt;
  return flags;
}

class RouteTarget final : public ReachabilityTarget {
 public:
  explicit RouteTarget(std::string sysfs) : sysfs_(std::move(sysfs)) {}
  std::optional<SCNetworkReachabilityFlags> flags() const override { return defaultRouteFlags(sysfs_); }
  bool setCallback(Callback) override { return true; }
  bool schedule(const std::shared_ptr<RunLoop>& loop) override { return loop != nullptr; }
  void unschedule(const std::shared_ptr<RunLoop>&) override {}

 private:
  std::string sysfs_;
};

}  // namespace

NetlinkReachability::NetlinkReachability(std::string sysfs) : sysfs_(std::move(sysfs)) {}

std::unique_ptr<ReachabilityTarget> NetlinkReachability::createWithName(const std::string& hostName) {
  if (hostName.empty()) return nullptr;
  return std::make_unique<RouteTarget>(sysfs_);
}

std::unique_ptr<ReachabilityTarget> NetlinkReachability::createWithAddress(const sockaddr* address) {
  if (!address || (address->sa_family != AF_INET && address->sa_family != AF_INET6)) return nullptr;
  return std::make_unique<RouteTarget>(sysfs_);
}

}  // namespace tlx::netlink
