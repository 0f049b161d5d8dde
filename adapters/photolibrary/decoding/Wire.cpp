#include "adapters/photolibrary/decoding/Wire.h"

#include <cerrno>
#include <cstring>

#include <linux/futex.h>
#include <sys/socket.h>
#include <sys/syscall.h>

namespace tlx::photolibrary::wire {
namespace {

constexpr std::size_t alignment = 8;

std::size_t padded(std::size_t bytes) {
  return (bytes + alignment - 1) / alignment * alignment;
}

/// Room for the descriptors of one message.
union Control {
  cmsghdr header;
  char bytes[CMSG_SPACE(sizeof(int) * mostJobs)];
};

}  // namespace

void waitWhile(std::atomic<std::uint32_t>& counter, std::uint32_t seen) {
  // Shared between processes, unlike what the standard library's own waiting uses.
  while (counter == seen) syscall(SYS_futex, &counter, FUTEX_WAIT, seen, nullptr, nullptr, 0);
}

void countUp(std::atomic<std::uint32_t>& counter) {
  ++counter;
  syscall(SYS_futex, &counter, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

bool AnswerMessage::add(AnswerKind kind, std::uint64_t job, std::span<const std::byte> fixed, std::string_view tail) {
  const std::size_t body = fixed.size() + tail.size();
  const std::size_t at = bytes_.size();
  if (at + sizeof(Header) + padded(body) > mostBytes) return false;
  const Header header{kind, static_cast<std::uint32_t>(body), job};
  bytes_.resize(at + sizeof(Header) + padded(body));
  std::memcpy(bytes_.data() + at, &header, sizeof(header));
  if (!fixed.empty()) std::memcpy(bytes_.data() + at + sizeof(header), fixed.data(), fixed.size());
  if (!tail.empty()) std::memcpy(bytes_.data() + at + sizeof(header) + fixed.size(), tail.data(), tail.size());
  return true;
}

bool next(std::span<const std::byte>& message, Answer& answer) {
  if (message.size() < sizeof(Header)) return false;
  std::memcpy(&answer.header, message.data(), sizeof(Header));
  message = message.subspan(sizeof(Header));
  if (padded(answer.header.bytes) > message.size()) return false;
  answer.body = message.first(answer.header.bytes);
  message = message.subspan(padded(answer.header.bytes));
  return true;
}

int send(int socket, std::span<const std::byte> bytes, std::span<const int> descriptors) {
  iovec part{const_cast<std::byte*>(bytes.data()), bytes.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  Control control;
  if (!descriptors.empty()) {
    message.msg_control = control.bytes;
    message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(descriptors.size_bytes());
    std::memcpy(CMSG_DATA(header), descriptors.data(), descriptors.size_bytes());
  }
  while (sendmsg(socket, &message, MSG_NOSIGNAL) < 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

std::int64_t receive(int socket, std::span<std::byte> into, std::vector<FileDescriptor>* descriptors) {
  iovec part{into.data(), into.size()};
  Control control;
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = descriptors ? control.bytes : nullptr;
  message.msg_controllen = descriptors ? sizeof(control.bytes) : 0;
  ssize_t received = 0;
  do {
    received = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
  } while (received < 0 && errno == EINTR);
  if (received < 0) return -errno;
  for (cmsghdr* header = CMSG_FIRSTHDR(&message); header; header = CMSG_NXTHDR(&message, header)) {
    if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) continue;
    const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t i = 0; i < count; ++i) {
      int descriptor = -1;
      std::memcpy(&descriptor, CMSG_DATA(header) + i * sizeof(int), sizeof(int));
      if (descriptors) descriptors->emplace_back(descriptor);
    }
  }
  if (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) return -EMSGSIZE;
  return received;
}

}  // namespace tlx::photolibrary::wire
