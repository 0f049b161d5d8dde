#include <filesystem>
#include <fstream>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>

#include "adapters/netlink/Links.h"
#include "adapters/netlink/NetlinkReachability.h"
#include "tests/support/OwnNetwork.h"
#include "tests/support/TemporaryFolder.h"

namespace tlx::netlink {
namespace {

using test::OwnNetwork;

constexpr SCNetworkReachabilityFlags kReachable = 0x2, kLocal = 0x10000, kDirect = 0x20000, kCellular = 0x40000;

/// Below it, both ends of the cable "modem" are cellular.
struct Sysfs {
  Sysfs() {
    for (const char* modem : {"modem", "modemx"}) {
      std::filesystem::create_directories(root + "/class/net/" + modem);
      std::ofstream(root + "/class/net/" + modem + "/uevent") << "DEVTYPE=wwan\n";
    }
  }
  const support::TemporaryFolder folder;
  const std::string root = folder.path().string();
};

/// "fe80::1%wire" is taken apart as everywhere.
std::unique_ptr<ReachabilityTarget> targetAt(NetlinkReachability& port, const std::string& text) {
  sockaddr_in four{};
  four.sin_family = AF_INET;
  if (inet_pton(AF_INET, text.c_str(), &four.sin_addr) == 1) {
    return port.createWithAddress(reinterpret_cast<const sockaddr*>(&four));
  }
  sockaddr_in6 six{};
  six.sin6_family = AF_INET6;
  const auto scope = text.find('%');
  inet_pton(AF_INET6, text.substr(0, scope).c_str(), &six.sin6_addr);
  if (scope != std::string::npos) six.sin6_scope_id = if_nametoindex(text.c_str() + scope + 1);
  return port.createWithAddress(reinterpret_cast<const sockaddr*>(&six));
}

TEST(NetlinkLinks, KindsAreTold) {
  const struct {
    unsigned type;
    const char *folder, *properties;
    LinkKind kind;
    const char* reason;
  } rows[] = {
      {ARPHRD_ETHER, nullptr, nullptr, LinkKind::wired, "a link that nothing is told of"},
      {ARPHRD_ETHER, "wireless", nullptr, LinkKind::wifi, "a Wi-Fi driver of the old kind"},
      {ARPHRD_ETHER, "phy80211", nullptr, LinkKind::wifi, "a Wi-Fi driver of the new kind"},
      {ARPHRD_ETHER, nullptr, "DEVTYPE=wlan\n", LinkKind::wifi, "Wi-Fi by its properties alone"},
      {ARPHRD_ETHER, nullptr, "DEVTYPE=wwan\nIFINDEX=3\n", LinkKind::cellular, "a modem that looks like a card"},
      {519, nullptr, nullptr, LinkKind::cellular, "a modem's raw channel"},
      {ARPHRD_NONE, nullptr, nullptr, LinkKind::tunnel, "a VPN"},
      {ARPHRD_LOOPBACK, nullptr, nullptr, LinkKind::loopback, "the machine itself"},
  };
  for (const auto& row : rows) {
    const Sysfs sysfs;
    const std::filesystem::path told = sysfs.root + "/class/net/x";
    std::filesystem::create_directories(row.folder ? told / row.folder : told);
    if (row.properties) std::ofstream(told / "uevent") << row.properties;
    EXPECT_EQ(kindOf({"x", 0, row.type}, sysfs.root), row.kind) << row.reason;
  }
}

TEST(NetlinkFlags, TellWhatLinksAndRoutesAllow) {
  if (!OwnNetwork::entered()) GTEST_SKIP() << "no network namespaces are allowed here";
  const auto cable = OwnNetwork::cable;
  const std::string wire = cable("wire", "10.1.0.1/24"), modem = cable("modem", "10.2.0.1/24");
  const std::string wire6 = cable("wire", "2001:db9::1/64"), tunnel = "link set tun0 up\nroute add default dev tun0\n";
  const std::string overWire = "route add default via 10.1.0.2 metric 100\n";
  const std::string overWire6 = "route add default via 2001:db9::2 metric 100\n";
  const std::string lo = "link set lo up\n", to77 = "rule add pref 100 lookup 77\n";
  const std::string overModem = "route add default via 10.2.0.2 metric 50\n";
  const std::string pulled = "link set wirex down\n";
  const struct {
    std::string network, target;
    SCNetworkReachabilityFlags flags;
    const char* reason;
  } rows[] = {
      {wire + overWire, "0.0.0.0", kReachable, "the plain case"},
      {wire + overWire + pulled, "0.0.0.0", 0, "without a carrier the route stays, but leads nowhere"},
      {wire + overWire + modem + overModem, "0.0.0.0", kReachable | kCellular, "the smaller metric is the modem's"},
      {modem + overModem + wire + overWire + "link set modemx down\n", "0.0.0.0", kReachable, "the best is down"},
      {wire + modem + "route add default nexthop via 10.1.0.2 nexthop via 10.2.0.2\n" + pulled, "0.0.0.0",
       kReachable | kCellular, "one of two ways of a route is left"},
      {wire + "route add 0.0.0.0/1 via 10.1.0.2\nroute add 128.0.0.0/1 via 10.1.0.2\n", "0.0.0.0", kReachable,
       "two halves make a whole"},
      {wire + "route add default via 10.1.0.2 table 77\n", "0.0.0.0", 0, "a table that no rule leads to"},
      {wire + "route add default via 10.1.0.2 table 77\n" + to77, "0.0.0.0", kReachable, "a rule leads to it"},
      {wire6 + overWire6, "0.0.0.0", kReachable, "IPv6 alone is internet as well"},
      {wire6 + overWire6, "::", kReachable, "IPv6's own"},
      {wire + overWire, "::", 0, "IPv4 is not asked for"},

      {wire + overWire + "route add blackhole default metric 50\n", "0.0.0.0", 0, "a better route drops all"},
      {wire + overWire + "route add prohibit default metric 200\n", "0.0.0.0", kReachable,
       "a worse one does not count"},
      {wire + overWire + "rule add pref 100 prohibit\n", "0.0.0.0", 0, "a rule that forbids"},
      {wire + overWire + "rule add pref 100 from 10.9.0.0/16 unreachable\n", "0.0.0.0", kReachable, "for others"},
      {wire + overWire + to77 + "route add unreachable default table 77\n", "0.0.0.0", 0, "in a rule's table"},
      {wire + overWire + to77 + "route add throw default table 77\n", "0.0.0.0", kReachable, "on to the next rule"},
      {lo + wire6 + overWire6 + "-6 route add blackhole default metric 50\n", "::", 0, "dropped by IPv6"},
      {lo + wire6 + overWire6 + "-6 rule add pref 100 prohibit\n", "::", 0, "an IPv6 rule that forbids"},

      {tunnel, "0.0.0.0", kReachable, "a tunnel is all there is"},
      {tunnel + wire + pulled, "0.0.0.0", 0, "a tunnel over a cable that is pulled out"},
      {tunnel + modem, "0.0.0.0", kReachable | kCellular, "a tunnel over a modem"},

      {wire + overWire, "192.0.2.7", kReachable, "beyond the router"},
      {wire + overWire + "route add prohibit 192.0.2.0/24\n", "192.0.2.7", 0, "a way that is forbidden"},
      {wire, "10.1.0.9", kReachable | kDirect, "a neighbour"},
      {wire, "::ffff:10.1.0.9", kReachable | kDirect, "the same in IPv6's clothes"},
      {wire + lo, "10.1.0.1", kReachable | kDirect | kLocal, "this machine"},
      {wire6 + cable("wire2", "fe80::1/64") + "link set wire2x down\n", "fe80::9%wire2", 0,
       "the link is part of the address"},
      {cable("wire2", "fe80::1/64"), "fe80::9%wire2", kReachable | kDirect, "and this one carries"},

      {wire, "169.254.0.0", kReachable | kDirect, "a cable is up"},
      {lo + wire + pulled, "169.254.0.0", 0, "no cable is"},
      {modem + overModem, "169.254.0.0", 0, "a modem has no neighbours"},
  };
  const Sysfs sysfs;
  NetlinkReachability port(sysfs.root);
  const bool six = std::filesystem::exists("/proc/net/if_inet6");
  for (const auto& row : rows) {
    OwnNetwork network;
    const bool wantsTunnel = row.network.find("tun0") != std::string::npos;
    if ((wantsTunnel && !network.openTunnel()) || (!six && row.network.find(':') != std::string::npos)) {
      std::printf("This kernel has no such link, left out: %s\n", row.reason);
      continue;
    }
    ASSERT_TRUE(network.run(row.network)) << row.reason;
    EXPECT_EQ(targetAt(port, row.target)->flags(), row.flags) << row.target << ": " << row.reason;
  }
}

}  // namespace
}  // namespace tlx::netlink
