#include "adapters/netlink/Links.h"

#include <filesystem>
#include <fstream>

#include <linux/if.h>
#include <linux/if_arp.h>

#include "adapters/netlink/RouteSocket.h"

namespace tlx::netlink {
namespace {

// Links of Qualcomm modems; the constant is younger than some systems' headers.
constexpr unsigned kRawIp = 519;

}  // namespace

bool Link::carries() const {
  constexpr unsigned wanted = IFF_UP | IFF_RUNNING | IFF_LOWER_UP;
  return (flags & wanted) == wanted;
}

bool Link::isPointToPoint() const {
  return flags & IFF_POINTOPOINT;
}

bool Link::reachesNeighbours() const {
  return (flags & IFF_BROADCAST) && !(flags & (IFF_NOARP | IFF_POINTOPOINT | IFF_LOOPBACK));
}

std::optional<Links> readLinks(RouteSocket& socket) {
  const auto answer = socket.dump(RTM_GETLINK, AF_UNSPEC);
  if (!answer) return std::nullopt;
  Links links;
  answer->forEach([&](const nlmsghdr& message) {
    const auto* info = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(&message));
    Link& link = links[info->ifi_index];
    link.flags = info->ifi_flags;
    link.type = info->ifi_type;
    forEachAttribute(message, sizeof *info, [&](const nlattr& attribute) {
      if (mnl_attr_get_type(&attribute) == IFLA_IFNAME) link.name = mnl_attr_get_str(&attribute);
    });
  });
  return links;
}

LinkKind kindOf(const Link& link, const std::string& sysfs) {
  if (link.type == ARPHRD_LOOPBACK) return LinkKind::loopback;
  if (link.type == kRawIp) return LinkKind::cellular;
  const std::filesystem::path told = std::filesystem::path(sysfs) / "class" / "net" / link.name;
  std::error_code ignored;
  if (std::filesystem::exists(told / "wireless", ignored) || std::filesystem::exists(told / "phy80211", ignored)) {
    return LinkKind::wifi;
  }
  std::ifstream properties(told / "uevent");
  for (std::string line; std::getline(properties, line);) {
    if (line == "DEVTYPE=wwan") return LinkKind::cellular;
    if (line == "DEVTYPE=wlan") return LinkKind::wifi;
  }
  switch (link.type) {
    case ARPHRD_NONE:
    case ARPHRD_TUNNEL:
    case ARPHRD_TUNNEL6:
    case ARPHRD_SIT:
    case ARPHRD_IPGRE:
    case ARPHRD_IP6GRE:
      return LinkKind::tunnel;
    default:
      return LinkKind::wired;
  }
}

}  // namespace tlx::netlink
