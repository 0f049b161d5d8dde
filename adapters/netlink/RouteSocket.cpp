#include "adapters/netlink/RouteSocket.h"

#include <cerrno>

#include <sys/socket.h>
#include <sys/time.h>

namespace tlx::netlink {
namespace {

constexpr timeval kPatience{2, 0};
constexpr int kTries = 8;

}  // namespace

void Answer::append(const nlmsghdr& message) {
  const auto* begin = reinterpret_cast<const char*>(&message);
  bytes_.insert(bytes_.end(), begin, begin + message.nlmsg_len);
  bytes_.resize(MNL_ALIGN(bytes_.size()));
}

void Answer::forEach(const Visit& visit) const {
  int left = static_cast<int>(bytes_.size());
  auto* message = reinterpret_cast<const nlmsghdr*>(bytes_.data());
  while (mnl_nlmsg_ok(message, left)) {
    visit(*message);
    message = mnl_nlmsg_next(message, &left);
  }
}

void forEachAttribute(const nlmsghdr& message, std::size_t headerSize,
                      const std::function<void(const nlattr&)>& visit) {
  const auto* end = static_cast<const char*>(mnl_nlmsg_get_payload_tail(&message));
  auto* attribute = static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(&message, headerSize));
  while (mnl_attr_ok(attribute, static_cast<int>(end - reinterpret_cast<const char*>(attribute)))) {
    visit(*attribute);
    attribute = mnl_attr_next(attribute);
  }
}

RouteSocket::RouteSocket() : socket_(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC)) {
  if (!socket_) return;
  setsockopt(mnl_socket_get_fd(socket_.get()), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
  if (mnl_socket_bind(socket_.get(), 0, MNL_SOCKET_AUTOPID) < 0) socket_.reset();
}

std::optional<Answer> RouteSocket::dump(std::uint16_t type, unsigned char family) {
  alignas(nlmsghdr) char buffer[64];
  Answer answer;
  for (int tries = 0; tries < kTries; ++tries) {
    nlmsghdr* request = mnl_nlmsg_put_header(buffer);
    request->nlmsg_type = type;
    request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    static_cast<rtgenmsg*>(mnl_nlmsg_put_extra_header(request, sizeof(rtmsg)))->rtgen_family = family;
    const Outcome outcome = exchange(*request, answer);
    if (outcome == Outcome::complete) return answer;
    if (outcome != Outcome::interrupted) return std::nullopt;
  }
  return std::nullopt;
}

std::optional<Answer> RouteSocket::ask(nlmsghdr& request) {
  // The acknowledgement is what tells that nothing more comes.
  request.nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK;
  Answer answer;
  switch (exchange(request, answer)) {
    case Outcome::complete:
      return answer;
    case Outcome::refused:
      return Answer();
    default:
      return std::nullopt;
  }
}

RouteSocket::Outcome RouteSocket::exchange(nlmsghdr& request, Answer& answer) {
  if (!socket_) return Outcome::failed;
  answer.clear();
  request.nlmsg_seq = ++sequence_;
  if (mnl_socket_sendto(socket_.get(), &request, request.nlmsg_len) < 0) return Outcome::failed;
  alignas(nlmsghdr) char buffer[32768];
  // An interrupted dump is read to its end, so that nothing of it is taken for the next answer.
  for (bool interrupted = false;;) {
    const auto size = mnl_socket_recvfrom(socket_.get(), buffer, sizeof buffer);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return Outcome::failed;
    int left = static_cast<int>(size);
    auto* message = reinterpret_cast<const nlmsghdr*>(buffer);
    for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left)) {
      if (message->nlmsg_seq != sequence_) continue;
      interrupted |= (message->nlmsg_flags & NLM_F_DUMP_INTR) != 0;
      if (message->nlmsg_type == NLMSG_DONE) return interrupted ? Outcome::interrupted : Outcome::complete;
      if (message->nlmsg_type == NLMSG_ERROR) {
        const auto* error = static_cast<const nlmsgerr*>(mnl_nlmsg_get_payload(message));
        return error->error == 0 ? Outcome::complete : Outcome::refused;
      }
      answer.append(*message);
    }
  }
}

}  // namespace tlx::netlink
