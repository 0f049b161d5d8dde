#include "adapters/memory/StepQueue.h"

#include <utility>

namespace tlx::memory {

void StepQueue::perform(Step step) {
  std::lock_guard lock(mutex_);
  if (closed_) return;
  steps_.push_back(std::move(step));
  changed_.notify_all();
}

StepQueue::Step StepQueue::pop() {
  if (steps_.empty()) return nullptr;
  Step step = std::move(steps_.front());
  steps_.pop_front();
  return step;
}

StepQueue::Step StepQueue::take() {
  std::lock_guard lock(mutex_);
  return pop();
}

StepQueue::Step StepQueue::takeUntil(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  changed_.wait_until(lock, deadline, [this] { return !steps_.empty() || closed_ || woken_; });
  woken_ = false;
  return pop();
}

void StepQueue::wake() {
  std::lock_guard lock(mutex_);
  woken_ = true;
  changed_.notify_all();
}

StepQueue::Step StepQueue::takeOrClosed() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return !steps_.empty() || closed_; });
  return pop();
}

bool StepQueue::empty() const {
  std::lock_guard lock(mutex_);
  return steps_.empty();
}

void StepQueue::close() {
  {
    std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }
  clear();
}

void StepQueue::clear() {
  for (;;) {
    std::deque<Step> dropped;
    {
      std::lock_guard lock(mutex_);
      dropped.swap(steps_);
    }
    if (dropped.empty()) return;
  }
}

}  // namespace tlx::memory
