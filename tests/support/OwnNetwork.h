#pragma once

#include <string>

namespace tlx::test {

/// A network that belongs to the test's process alone. One at a time; at first it has nothing but a loopback link that
/// is down.
class OwnNetwork {
 public:
  /// Leaves the machine's network for a new one. Before the first thread. False where that is not allowed.
  static bool enter();
  static bool entered();

  OwnNetwork();
  ~OwnNetwork();
  OwnNetwork(const OwnNetwork&) = delete;
  OwnNetwork& operator=(const OwnNetwork&) = delete;

  /// Commands of the `ip` tool, a line each; those that begin with "-6 " run after the others. False when one of them
  /// fails. What is done to the table 77 and to the rule of preference 100 goes with the network.
  bool run(const std::string& lines);
  /// Opens a tunnel `tun0` for as long as the network lives. False where there are none.
  bool openTunnel();

  /// Commands for a cable: a link of that name that is up, with that address, whose other end `NAMEx` is up as well.
  static std::string cable(const std::string& name, const std::string& address);

 private:
  void clear();
  int tunnel_ = -1;
};

}  // namespace tlx::test
