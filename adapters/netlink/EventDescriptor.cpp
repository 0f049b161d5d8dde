#include "adapters/netlink/EventDescriptor.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace tlx::netlink {

EventDescriptor::EventDescriptor() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

EventDescriptor::~EventDescriptor() {
  if (descriptor_ >= 0) close(descriptor_);
}

void EventDescriptor::signal() {
  eventfd_write(descriptor_, 1);
}

void EventDescriptor::clear() {
  eventfd_t count = 0;
  eventfd_read(descriptor_, &count);
}

}  // namespace tlx::netlink
