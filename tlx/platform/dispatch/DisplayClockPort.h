#pragma once

#include <cstdint>
#include <functional>

namespace tlx {

/// Beats once for each frame that the display is about to show, while anyone listens. Main thread: all calls are made
/// there, and ticks come there.
class DisplayClockPort {
 public:
  using ListenerId = std::uint64_t;

  virtual ~DisplayClockPort() = default;
  /// `tick` is given the time of the frame in seconds, on `TimerPort::now`'s clock; never within this call.
  virtual ListenerId addListener(std::function<void(double now)> tick) = 0;
  /// Also from within a tick; after it this listener hears no more. An id that was taken out or never given does
  /// nothing.
  virtual void removeListener(ListenerId listener) = 0;
};

}  // namespace tlx
