#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "adapters/memory/StepQueue.h"

namespace tlx::memory {

/// A real thread that runs a loop. Any thread may call its members, except its own where they wait for it.
class LoopThread {
 public:
  LoopThread();
  /// Ends the loop, dropping what waits, and joins the thread.
  ~LoopThread();
  LoopThread(const LoopThread&) = delete;
  LoopThread& operator=(const LoopThread&) = delete;

  const std::shared_ptr<StepQueue>& loop() const { return queue_; }
  /// Runs the step on the thread and waits for its end; an exception of the step comes out here.
  void performAndWait(const std::function<void()>& step);
  bool isCurrent() const { return thread_.get_id() == std::this_thread::get_id(); }
  /// As the destructor does; afterwards steps are dropped.
  void end();

 private:
  std::shared_ptr<StepQueue> queue_;
  std::thread thread_;
};

/// The loop that the calling thread runs as a `LoopThread`; nothing on any other thread.
std::shared_ptr<RunLoop> loopOfCurrentThread();

/// The thread of the adapters' own, on which they call what their contracts let them call off the main thread.
///
/// So that tests tell the same story every time, steps wait for the main loop to come by and run, one after the other,
/// while it waits. A test about threads asks for overlap instead: steps then start at once, beside the main thread.
class Background {
 public:
  /// Any thread.
  void perform(std::function<void()> step);
  void setOverlapping(bool overlapping) { overlapping_ = overlapping; }
  bool overlapping() const { return overlapping_; }
  /// Woken after each step that ran beside the main thread.
  void setObserver(std::shared_ptr<StepQueue> observer) { observer_ = std::move(observer); }
  /// Main thread. Waits until nothing is left to do; true when there was something. An exception of a step comes out
  /// here.
  bool drain();
  bool isCurrent() const { return thread_.isCurrent(); }
  /// Joins the thread; what waits is dropped.
  void end();

 private:
  StepQueue waiting_;
  std::shared_ptr<StepQueue> observer_;
  std::atomic<bool> overlapping_ = false;
  std::atomic<int> unfinished_ = 0;
  std::mutex failureMutex_;
  std::exception_ptr failure_;
  LoopThread thread_;
};

}  // namespace tlx::memory
