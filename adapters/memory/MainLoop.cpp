#include "adapters/memory/MainLoop.h"

#include <algorithm>
#include <cmath>

#include "tlx/platform/NSException.h"

namespace tlx::memory {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t shortestInterval = 100'000;

std::int64_t nanoseconds(double seconds) {
  return std::llround(seconds * 1e9);
}

/// The first beat of the display after `now`.
std::int64_t beatAfter(std::int64_t now) {
  std::int64_t beat = now * MainLoop::beatsPerSecond / nanosecondsPerSecond;
  while (beat * nanosecondsPerSecond / MainLoop::beatsPerSecond <= now) ++beat;
  return beat * nanosecondsPerSecond / MainLoop::beatsPerSecond;
}

}  // namespace

MainLoop::MainLoop(Background& background) : background_(background) {
  background_.setObserver(queue_);
}

MainLoop::~MainLoop() {
  clear();
  queue_->close();
}

void MainLoop::post(std::function<void()> step) {
  queue_->perform(std::move(step));
}

TimerPort::TimerId MainLoop::start(double seconds, bool repeats, std::function<void()> fire) {
  const std::int64_t delay = std::max<std::int64_t>(nanoseconds(seconds), 0);
  const std::int64_t interval = repeats ? std::max(delay, shortestInterval) : 0;
  const TimerId id = ++lastTimer_;
  timers_.emplace(TimerKey{now_ + std::max(delay, interval), id},
                  Timer{interval, std::make_shared<const std::function<void()>>(std::move(fire))});
  return id;
}

void MainLoop::cancel(TimerId timer) {
  auto found =
      std::find_if(timers_.begin(), timers_.end(), [&](const auto& entry) { return entry.first.second == timer; });
  if (found == timers_.end()) return;
  auto cancelled = timers_.extract(found);  // its closure may come back here when it goes
}

DisplayClockPort::ListenerId MainLoop::addListener(std::function<void(double now)> tick) {
  if (listeners_.empty()) nextBeat_ = beatAfter(now_);
  listeners_.emplace(++lastListener_, std::make_shared<const std::function<void(double)>>(std::move(tick)));
  return lastListener_;
}

void MainLoop::removeListener(ListenerId listener) {
  auto removed = listeners_.extract(listener);
}

bool MainLoop::runOneStep() {
  const bool ranBeside = !background_.overlapping() && background_.drain();
  const auto step = queue_->take();
  if (step) step();
  return step || ranBeside;
}

void MainLoop::beat() {
  nextBeat_ = beatAfter(nextBeat_);
  const double time = now();
  const auto told = listeners_;
  for (const auto& [id, tick] : told) {
    if (listeners_.count(id)) (*tick)(time);
  }
}

bool MainLoop::fireOneDue() {
  const bool timerIsDue = !timers_.empty() && timers_.begin()->first.first <= now_;
  const bool beatIsDue = !listeners_.empty() && nextBeat_ <= now_;
  if (timerIsDue && (!beatIsDue || timers_.begin()->first.first <= nextBeat_)) {
    auto entry = timers_.extract(timers_.begin());
    const Timer timer = entry.mapped();
    if (timer.interval > 0) timers_.emplace(TimerKey{entry.key().first + timer.interval, entry.key().second}, timer);
    (*timer.fire)();
    return true;
  }
  if (beatIsDue) beat();
  return beatIsDue;
}

bool MainLoop::nextEvent(std::int64_t& due) const {
  if (timers_.empty() && listeners_.empty()) return false;
  due = timers_.empty() ? nextBeat_ : timers_.begin()->first.first;
  if (!listeners_.empty()) due = std::min(due, nextBeat_);
  return true;
}

void MainLoop::runUntilIdle() {
  for (int steps = 0; steps < stepsBeforeGivingUp; ++steps) {
    if (runOneStep() || background_.drain()) continue;
    if (layoutPass_) layoutPass_();
    if (queue_->empty() && !fireOneDue()) return;
  }
  throw NSException(NSInternalInconsistencyException, "The main loop never became idle");
}

void MainLoop::advance(double seconds) {
  const std::int64_t target = now_ + nanoseconds(seconds);
  std::int64_t due = 0;
  for (runUntilIdle(); nextEvent(due) && due <= target; runUntilIdle()) now_ = std::max(now_, due);
  now_ = target;
}

bool MainLoop::runUntil(const std::function<bool()>& done, std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!done()) {
    if (runOneStep()) continue;
    if (layoutPass_) layoutPass_();
    if (!queue_->empty() || fireOneDue() || done()) continue;
    std::int64_t due = 0;
    if (nextEvent(due)) {
      now_ = std::max(now_, due);
    } else if (auto step = queue_->takeUntil(deadline)) {
      step();
    }
    if (std::chrono::steady_clock::now() > deadline) return done();
  }
  return true;
}

void MainLoop::clear() {
  while (!timers_.empty() || !listeners_.empty() || !queue_->empty()) {
    std::exchange(timers_, {}).clear();
    std::exchange(listeners_, {}).clear();
    queue_->clear();
  }
}

}  // namespace tlx::memory
