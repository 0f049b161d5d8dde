// What it costs to ask whether there is internet, which the picker does for each item that it fetches: reading links
// and routes afresh, against the C library's own reading of links and addresses.

#include <ifaddrs.h>
#include <netinet/in.h>

#include "adapters/netlink/NetlinkReachability.h"
#include "bench/SideBySide.h"

namespace {

using namespace tlx;

constexpr int kReads = 200, kRounds = 15;

double ours(const ReachabilityTarget& target) {
  return bench::secondsOf([&] {
           for (int i = 0; i < kReads; ++i) {
             const auto flags = target.flags();
             bench::keep(&flags);
           }
         }) /
         kReads;
}

double peer() {
  return bench::secondsOf([] {
           for (int i = 0; i < kReads; ++i) {
             ifaddrs* list = nullptr;
             if (getifaddrs(&list) == 0) freeifaddrs(list);
           }
         }) /
         kReads;
}

}  // namespace

int main() {
  bench::becomeMultithreaded();
  netlink::NetlinkReachability port;
  sockaddr_in any{};
  any.sin_family = AF_INET;
  const auto target = port.createWithAddress(reinterpret_cast<const sockaddr*>(&any));
  const bool kept = bench::sideBySide(
      "flags of the default route", 2, kRounds, [&] { return ours(*target); }, [] { return peer(); });
  return kept ? 0 : 1;
}
