#pragma once

#include <functional>
#include <memory>

namespace tlx {

/// The loop of one thread, on which callbacks may be delivered.
class RunLoop {
 public:
  virtual ~RunLoop() = default;
  /// Any thread. The step runs on the loop's thread, in order. Steps for a loop that has ended are dropped.
  virtual void perform(std::function<void()> step) = 0;
};

/// Finds the loops of this program's threads. Any thread.
class RunLoopPort {
 public:
  virtual ~RunLoopPort() = default;
  /// The calling thread's loop: the same object for the same thread as long as anyone holds it. Nothing for a thread
  /// that runs none.
  virtual std::shared_ptr<RunLoop> current() = 0;
};

}  // namespace tlx
