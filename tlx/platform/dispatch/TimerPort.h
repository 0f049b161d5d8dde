#pragma once

#include <cstdint>
#include <functional>

namespace tlx {

/// Calls back after a time. Main thread: all calls are made there, and timers fire there.
class TimerPort {
 public:
  using TimerId = std::uint64_t;

  virtual ~TimerPort() = default;
  /// Calls `fire` after `seconds` (0 or less: in a later turn), again and again when repeating, until cancelled. Timers
  /// due at the same moment fire in the order they were started. Ids are never 0 nor used twice.
  virtual TimerId start(double seconds, bool repeats, std::function<void()> fire) = 0;
  /// Also from within `fire`. An id that has fired or was never given does nothing.
  virtual void cancel(TimerId timer) = 0;
  /// Seconds on a clock that never goes back; the zero is arbitrary.
  virtual double now() const = 0;
};

}  // namespace tlx
