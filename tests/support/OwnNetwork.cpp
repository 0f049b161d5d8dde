#include "tests/support/OwnNetwork.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tlx::test {
namespace {

bool theProcessHasItsOwn = false;

bool execute(const std::string& command, const std::string& lines) {
  std::FILE* tool = popen(command.c_str(), "w");
  if (!tool) return false;
  std::fputs(lines.c_str(), tool);
  return pclose(tool) == 0;
}

}  // namespace

bool OwnNetwork::enter() {
  const auto user = getuid();
  const auto group = getgid();
  if (unshare(CLONE_NEWNET) == 0) return theProcessHasItsOwn = true;
  if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return false;
  // Without a name of its own the process could make no files.
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
  std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
  return theProcessHasItsOwn = true;
}

bool OwnNetwork::entered() {
  return theProcessHasItsOwn;
}

OwnNetwork::OwnNetwork() {
  clear();
}

OwnNetwork::~OwnNetwork() {
  clear();
  if (tunnel_ >= 0) close(tunnel_);
}

bool OwnNetwork::run(const std::string& lines) {
  if (!entered()) return false;
  std::string any, six;
  std::istringstream all(lines);
  for (std::string line; std::getline(all, line);) {
    line.starts_with("-6 ") ? six += line.substr(3) + "\n" : any += line + "\n";
  }
  return execute("ip -batch -", any) && (six.empty() || execute("ip -6 -batch -", six));
}

void OwnNetwork::clear() {
  if (!entered()) return;
  const std::string routes = "route flush table main\nroute flush table 77\nrule del pref 100\n";
  std::string lines = "link set lo down\n" + routes;
  auto* links = if_nameindex();
  for (auto* link = links; link && link->if_index != 0; ++link) {
    if (std::strcmp(link->if_name, "lo") != 0) lines += std::string("link del ") + link->if_name + "\n";
  }
  if_freenameindex(links);
  execute("ip -force -batch - 2>/dev/null", lines);
  execute("ip -6 -force -batch - 2>/dev/null", routes);
}

bool OwnNetwork::openTunnel() {
  tunnel_ = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
  ifreq wanted{};
  wanted.ifr_flags = IFF_TUN | IFF_NO_PI;
  std::strcpy(wanted.ifr_name, "tun0");
  return tunnel_ >= 0 && ioctl(tunnel_, TUNSETIFF, &wanted) == 0;
}

std::string OwnNetwork::cable(const std::string& name, const std::string& address) {
  std::string lines = "link add " + name + " type veth peer name " + name + "x\n";
  // Addresses that the kernel makes up come in seconds later, as changes that no test asked for.
  for (const std::string& end : {name + "x", name}) lines += "link set " + end + " addrgenmode none up\n";
  const bool six = address.find(':') != std::string::npos;
  return lines + "addr add " + address + " dev " + name + (six ? " nodad\n" : "\n");
}

}  // namespace tlx::test
