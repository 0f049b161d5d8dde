#include "adapters/memory/LoopThread.h"

#include <future>
#include <utility>

namespace tlx::memory {
namespace {

thread_local std::weak_ptr<RunLoop> theLoopOfThisThread;

}  // namespace

std::shared_ptr<RunLoop> loopOfCurrentThread() {
  return theLoopOfThisThread.lock();
}

LoopThread::LoopThread() : queue_(std::make_shared<StepQueue>()) {
  thread_ = std::thread([queue = queue_] {
    theLoopOfThisThread = queue;
    while (auto step = queue->takeOrClosed()) step();
  });
}

LoopThread::~LoopThread() {
  end();
}

void LoopThread::end() {
  queue_->close();
  if (thread_.joinable()) thread_.join();
}

void LoopThread::performAndWait(const std::function<void()>& step) {
  // Shared with the step, so that a loop that ends first breaks the promise and does not leave us waiting.
  auto task = std::make_shared<std::packaged_task<void()>>(step);
  auto done = task->get_future();
  queue_->perform([task = std::move(task)] { (*task)(); });
  done.get();
}

void Background::perform(std::function<void()> step) {
  if (!overlapping_) {
    waiting_.perform(std::move(step));
    return;
  }
  ++unfinished_;
  thread_.loop()->perform([this, step = std::move(step)] {
    try {
      step();
    } catch (...) {
      std::lock_guard lock(failureMutex_);
      failure_ = std::current_exception();
    }
    --unfinished_;
    if (observer_) observer_->wake();
  });
}

bool Background::drain() {
  bool any = false;
  if (unfinished_ > 0) {
    any = true;
    thread_.performAndWait([] {});
    std::exception_ptr failure;
    {
      std::lock_guard lock(failureMutex_);
      std::swap(failure, failure_);
    }
    if (failure) std::rethrow_exception(failure);
  }
  while (auto step = waiting_.take()) {
    any = true;
    thread_.performAndWait(step);
  }
  return any;
}

void Background::end() {
  waiting_.close();
  thread_.end();
}

}  // namespace tlx::memory
