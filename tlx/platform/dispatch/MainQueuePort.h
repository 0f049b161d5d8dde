#pragma once

#include <functional>

namespace tlx {

/// The main thread's queue of steps: first in, first out over all threads.
class MainQueuePort {
 public:
  virtual ~MainQueuePort() = default;
  /// Any thread; returns at once. The step runs later on the main thread, never within the call. Steps left when the
  /// platform ends are destroyed on the main thread without being run.
  virtual void post(std::function<void()> step) = 0;
  /// Any thread.
  virtual bool isMainThread() const = 0;
};

}  // namespace tlx
