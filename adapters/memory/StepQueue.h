#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "tlx/platform/dispatch/RunLoopPort.h"

namespace tlx::memory {

/// One thread's queue of steps, first in, first out over all threads. Any thread, except where a member says otherwise.
class StepQueue final : public RunLoop {
 public:
  using Step = std::function<void()>;

  /// Dropped when the queue has been closed.
  void perform(Step step) override;
  /// The next step; empty when there is none.
  Step take();
  /// Waits for a step until `deadline`; empty when none came, or when somebody woke the waiter.
  Step takeUntil(std::chrono::steady_clock::time_point deadline);
  /// Waits for a step; empty once the queue has been closed.
  Step takeOrClosed();
  void wake();
  bool empty() const;
  /// Destroys the steps that are left, on the calling thread, and takes no more.
  void close();
  /// Destroys the steps that are left, and those that their destruction queues.
  void clear();

 private:
  Step pop();

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Step> steps_;
  bool closed_ = false, woken_ = false;
};

}  // namespace tlx::memory
