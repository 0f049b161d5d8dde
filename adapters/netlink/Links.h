#pragma once

#include <map>
#include <optional>
#include <string>

namespace tlx::netlink {

class RouteSocket;

enum class LinkKind { loopback, wired, wifi, cellular, tunnel };

/// A network device as the kernel describes it at one moment.
struct Link {
  std::string name;
  unsigned flags = 0;  ///< IFF_…
  unsigned type = 0;   ///< ARPHRD_…

  /// Whether packets get out of it. Routes do not tell: a link that is up but has lost its carrier keeps them.
  bool carries() const;
  bool isPointToPoint() const;
  /// Neighbours can be found on it without a router.
  bool reachesNeighbours() const;
};

/// By the kernel's index.
using Links = std::map<int, Link>;

std::optional<Links> readLinks(RouteSocket& socket);

/// What a link is made of. Wi-Fi and cellular links say so below `sysfs` (usually "/sys"); what says nothing is wired.
LinkKind kindOf(const Link& link, const std::string& sysfs);

}  // namespace tlx::netlink
