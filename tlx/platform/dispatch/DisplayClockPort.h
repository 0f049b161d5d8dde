#pragma once

#include <cstdint>
#include <functional>

namespace tlx {

/// Beats once for each frame that the display is about to show, on the main thread, while anyone listens.
class DisplayClockPort {
 public:
  using ListenerId = std::uint64_t;

  virtual ~DisplayClockPort() = default;
  /// `tick` is given the time of the frame on `TimerPort::now`'s clock.
  virtual ListenerId addListener(std::function<void(double now)> tick) = 0;
  virtual void removeListener(ListenerId listener) = 0;
};

}  // namespace tlx
