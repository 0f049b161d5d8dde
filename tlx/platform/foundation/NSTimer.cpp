#include "tlx/platform/foundation/NSTimer.h"

#include <utility>

#include "tlx/platform/Platform.h"

namespace tlx {

std::shared_ptr<NSTimer> NSTimer::schedule(double seconds, bool repeats, std::function<bool()> fire) {
  std::shared_ptr<NSTimer> timer(new NSTimer);
  std::weak_ptr<NSTimer> weakTimer = timer;
  timer->id_ = Platform::current().ports().timers.start(seconds, repeats, [weakTimer, repeats, fire = std::move(fire)] {
    auto strongTimer = weakTimer.lock();
    if (!strongTimer || !strongTimer->isValid()) return;
    if (!repeats) strongTimer->id_ = 0;
    if (!fire()) strongTimer->invalidate();
  });
  return timer;
}

NSTimer::~NSTimer() {
  invalidate();
}

void NSTimer::invalidate() {
  if (id_ == 0) return;
  if (Platform* platform = Platform::installed()) platform->ports().timers.cancel(id_);
  id_ = 0;
}

void performAfterDelay(double seconds, std::function<void()> step) {
  Platform::current().ports().timers.start(seconds, false, std::move(step));
}

}  // namespace tlx
