#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "tlx/platform/dispatch/DisplayClockPort.h"
#include "tlx/platform/dispatch/MainQueue.h"
#include "tlx/platform/dispatch/MainQueuePort.h"
#include "tlx/platform/dispatch/RunLoopPort.h"
#include "tlx/platform/dispatch/TimerPort.h"

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/StepQueue.h"

namespace tlx::memory {

/// The main thread's loop on virtual time: its queue, its timers and the display's clock. The thread that makes it is
/// the main one. Nothing runs unless a test runs it.
///
/// A turn is everything that is queued, what that queues in turn, and then the layout pass. Between two turns at most
/// one timer or beat of the display fires: the earliest, timers before the beat, timers in the order they were started.
class MainLoop final : public MainQueuePort, public TimerPort, public DisplayClockPort {
 public:
  /// Beats of the display a second.
  static constexpr std::int64_t beatsPerSecond = 60;

  explicit MainLoop(Background& background);
  ~MainLoop() override;

  void post(std::function<void()> step) override;
  bool isMainThread() const override { return std::this_thread::get_id() == mainThread_; }
  /// A repeating timer's interval is at least 0.1 ms.
  TimerId start(double seconds, bool repeats, std::function<void()> fire) override;
  void cancel(TimerId timer) override;
  double now() const override { return static_cast<double>(now_) * 1e-9; }
  ListenerId addListener(std::function<void(double now)> tick) override;
  void removeListener(ListenerId listener) override;

  /// The main thread's loop as others see it.
  std::shared_ptr<RunLoop> runLoop() const { return queue_; }

  /// Run at the end of each turn.
  void setLayoutPass(std::function<void()> pass) { layoutPass_ = std::move(pass); }

  /// Runs all that is queued or due, without time passing. What never comes to an end is an `NSException`.
  void runUntilIdle();
  /// Lets virtual time pass, to the nanosecond, with everything that falls due on the way.
  void advance(double seconds);
  /// Runs until `done`, letting virtual time pass from one timer to the next, and waiting in real time for other
  /// threads where nothing else is left; those wake it by posting. False when `patience` ran out.
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds patience = std::chrono::seconds(20));

  std::size_t timerCount() const { return timers_.size(); }
  std::size_t listenerCount() const { return listeners_.size(); }

  /// Destroys everything that waits, without running it.
  void clear();

 private:
  struct Timer {
    std::int64_t interval;  // 0: once
    std::shared_ptr<const std::function<void()>> fire;
  };
  using TimerKey = std::pair<std::int64_t, TimerId>;  // due in nanoseconds, then the order of starting

  bool runOneStep();
  bool fireOneDue();
  bool nextEvent(std::int64_t& due) const;
  void beat();

  static constexpr int stepsBeforeGivingUp = 3'000'000;

  Background& background_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
  std::shared_ptr<StepQueue> queue_ = std::make_shared<StepQueue>();
  std::function<void()> layoutPass_;
  std::int64_t now_ = 0;
  TimerId lastTimer_ = 0;
  std::map<TimerKey, Timer> timers_;
  ListenerId lastListener_ = 0;
  std::map<ListenerId, std::shared_ptr<const std::function<void(double)>>> listeners_;
  std::int64_t nextBeat_ = 0;
};

/// Tells each thread its own loop: the main loop, a `LoopThread`'s, or none.
class RunLoops final : public RunLoopPort {
 public:
  explicit RunLoops(const MainLoop& mainLoop) : mainLoop_(mainLoop) {}
  std::shared_ptr<RunLoop> current() override {
    return mainLoop_.isMainThread() ? mainLoop_.runLoop() : loopOfCurrentThread();
  }

 private:
  const MainLoop& mainLoop_;
};

}  // namespace tlx::memory
