#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>

namespace tlx::netlink {

/// The kernel's answer to one question: its messages, one after the other.
class Answer {
 public:
  using Visit = std::function<void(const nlmsghdr&)>;

  void append(const nlmsghdr& message);
  void clear() { bytes_.clear(); }
  void forEach(const Visit& visit) const;

 private:
  std::vector<char> bytes_;
};

/// Calls `visit` with each attribute behind a header of that size.
void forEachAttribute(const nlmsghdr& message, std::size_t headerSize, const std::function<void(const nlattr&)>& visit);

/// Asks the kernel about links and routes. One thread at a time. The kernel answers at once; should it not do so within
/// two seconds, that counts as no answer.
class RouteSocket {
 public:
  RouteSocket();

  /// All that the kernel has of one type, as it was at one moment: an answer that a change ran into is asked for again.
  /// Nothing when the kernel refuses.
  std::optional<Answer> dump(std::uint16_t type, unsigned char family);
  /// The answer to a single request, whose header is complete up to its sequence. An answer without messages when the
  /// kernel says that there is no such thing; nothing when it cannot be asked.
  std::optional<Answer> ask(nlmsghdr& request);

 private:
  enum class Outcome { complete, interrupted, refused, failed };
  Outcome exchange(nlmsghdr& request, Answer& answer);

  struct Close {
    void operator()(mnl_socket* socket) const { mnl_socket_close(socket); }
  };
  std::unique_ptr<mnl_socket, Close> socket_;
  unsigned sequence_ = 0;
};

}  // namespace tlx::netlink
