#include "adapters/photolibrary/base/SerialThread.h"

#include <utility>

namespace tlx::photolibrary {

SerialThread::SerialThread() {
  thread_ = std::jthread([this](const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (!stop.stop_requested()) {
      const auto some = [this] { return !jobs_.empty(); };
      if (later_.empty()) {
        const auto sooner = [this] { return !later_.empty(); };
        changed_.wait(lock, stop, [&] { return some() || sooner(); });
      } else if (const auto due = later_.begin()->first; Clock::now() < due) {
        changed_.wait_until(lock, stop, due, [&] { return some() || later_.begin()->first < due; });
      }
      while (!later_.empty() && later_.begin()->first <= Clock::now()) {
        jobs_.push_back(std::move(later_.begin()->second));
        later_.erase(later_.begin());
      }
      if (jobs_.empty() || stop.stop_requested()) continue;
      std::function<void()> job = std::move(jobs_.front());
      jobs_.pop_front();
      lock.unlock();
      job();
      job = nullptr;
      lock.lock();
    }
  });
}

SerialThread::~SerialThread() {
  stop();
}

void SerialThread::stop() {
  thread_.request_stop();
  if (thread_.joinable()) thread_.join();
}

void SerialThread::post(std::function<void()> job) {
  {
    std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
  }
  changed_.notify_one();
}

void SerialThread::postAt(Clock::time_point time, std::function<void()> job) {
  {
    std::lock_guard lock(mutex_);
    later_.emplace(time, std::move(job));
  }
  changed_.notify_one();
}

}  // namespace tlx::photolibrary
