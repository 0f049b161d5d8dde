#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <linux/if_arp.h>

#include "adapters/netlink/Links.h"

namespace tlx::netlink {
namespace {

TEST(NetlinkLinks, KindsAreTold) {
  struct Row {
    unsigned type;
    const char *folder, *properties;
    LinkKind kind;
    const char* reason;
  };
  const Row rows[] = {
      {ARPHRD_ETHER, nullptr, nullptr, LinkKind::wired, "a link that nothing is told of"},
      {ARPHRD_ETHER, nullptr, "INTERFACE=x\nIFINDEX=2\n", LinkKind::wired, "a network card"},
      {ARPHRD_ETHER, "wireless", nullptr, LinkKind::wifi, "a Wi-Fi driver of the old kind"},
      {ARPHRD_ETHER, "phy80211", nullptr, LinkKind::wifi, "a Wi-Fi driver of the new kind"},
      {ARPHRD_ETHER, nullptr, "DEVTYPE=wlan\n", LinkKind::wifi, "Wi-Fi by its properties alone"},
      {ARPHRD_ETHER, nullptr, "DEVTYPE=wwan\nIFINDEX=3\n", LinkKind::cellular, "a modem that looks like a card"},
      {ARPHRD_NONE, nullptr, "DEVTYPE=wwan\n", LinkKind::cellular, "a modem without an address of its own"},
      {519, nullptr, nullptr, LinkKind::cellular, "a modem's raw channel"},
      {ARPHRD_NONE, nullptr, nullptr, LinkKind::tunnel, "a VPN"},
      {ARPHRD_SIT, nullptr, "DEVTYPE=\n", LinkKind::tunnel, "IPv6 over IPv4"},
      {ARPHRD_LOOPBACK, nullptr, nullptr, LinkKind::loopback, "the machine itself"},
  };
  const std::filesystem::path sysfs = testing::TempDir() + "tlx-kinds-of-links";
  for (const Row& row : rows) {
    const auto told = sysfs / "class/net/x";
    std::filesystem::create_directories(row.folder ? told / row.folder : told);
    if (row.properties) std::ofstream(told / "uevent") << row.properties;
    EXPECT_EQ(kindOf({"x", 0, row.type}, sysfs), row.kind) << row.reason;
    std::filesystem::remove_all(sysfs);
  }
}

}  // namespace
}  // namespace tlx::netlink
