#pragma once

namespace tlx::netlink {

/// Wakes a thread that polls. Any thread.
class EventDescriptor {
 public:
  EventDescriptor();
  ~EventDescriptor();
  EventDescriptor(const EventDescriptor&) = delete;
  EventDescriptor& operator=(const EventDescriptor&) = delete;

  bool isOpen() const { return descriptor_ >= 0; }
  /// Readable from `signal` to `clear`.
  int descriptor() const { return descriptor_; }
  void signal();
  void clear();

 private:
  int descriptor_;
};

}  // namespace tlx::netlink
