#include "adapters/photolibrary/base/WorkCrew.h"

#include <thread>
#include <utility>

namespace tlx::photolibrary {

void WorkCrew::add(Job job) {
  {
    std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
  }
  changed_.notify_one();
}

void WorkCrew::run() {
  std::vector<std::jthread> crew;
  for (std::size_t i = 1; i < threads_; ++i) crew.emplace_back([this] { work(); });
  work();
}

void WorkCrew::work() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return !jobs_.empty() || busy_ == 0; });
    if (jobs_.empty()) break;
    const Job job = std::move(jobs_.back());
    jobs_.pop_back();
    ++busy_;
    lock.unlock();
    job();
    lock.lock();
    --busy_;
  }
  changed_.notify_all();
}

}  // namespace tlx::photolibrary
