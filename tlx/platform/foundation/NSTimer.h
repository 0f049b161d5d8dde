#pragma once

#include <functional>
#include <memory>

#include "tlx/platform/dispatch/TimerPort.h"

namespace tlx {

/// A timer on the main run loop. Main thread only. It holds its target weakly and ends with it; it also ends when the
/// last reference to it goes.
class NSTimer {
 public:
  /// Calls `action` on the target when `seconds` have passed, and then once or again after every such interval.
  template <class Target>
  static std::shared_ptr<NSTimer> scheduledTimerWithTimeInterval_target_selector_repeats(
      double seconds, const std::shared_ptr<Target>& target, void (Target::*action)(), bool repeats) {
    std::weak_ptr<Target> weakTarget = target;
    return schedule(seconds, repeats, [weakTarget, action] {
      if (auto strongTarget = weakTarget.lock()) {
        ((*strongTarget).*action)();
        return true;
      }
      return false;
    });
  }

  ~NSTimer();
  NSTimer(const NSTimer&) = delete;
  NSTimer& operator=(const NSTimer&) = delete;

  /// It fires no more. May be called again.
  void invalidate();
  bool isValid() const { return id_ != 0; }

 private:
  NSTimer() = default;
  /// `fire` answers whether the target still lives.
  static std::shared_ptr<NSTimer> schedule(double seconds, bool repeats, std::function<bool()> fire);

  TimerPort::TimerId id_ = 0;
};

/// Runs `step` on the main run loop after `seconds`; it cannot be taken back. Main thread.
void performAfterDelay(double seconds, std::function<void()> step);

}  // namespace tlx
