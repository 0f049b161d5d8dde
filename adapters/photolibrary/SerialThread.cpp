#include "adapters/photolibrary/SerialThread.h"

#include <utility>

namespace tlx::photolibrary {

SerialThread::SerialThread() {
  thread_ = std::jthread([this](const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (changed_.wait(lock, stop, [this] { return !jobs_.empty(); }) && !stop.stop_requested()) {
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

}  // namespace tlx::photolibrary
