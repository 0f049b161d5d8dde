#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <stop_token>
#include <thread>

namespace tlx::photolibrary {

/// A thread that runs what it is given, one after another, in order.
class SerialThread {
 public:
  SerialThread();
  /// As `stop`.
  ~SerialThread();

  using Clock = std::chrono::steady_clock;

  /// Any thread.
  void post(std::function<void()> job);
  /// Likewise, not before that time; jobs of one time in the order given.
  void postAt(Clock::time_point time, std::function<void()> job);
  /// Waits for what is running; what has not begun, and what is posted from now on, is let go unrun.
  void stop();
  /// Requested by `stop`, for a job that waits.
  std::stop_token stopToken() const { return thread_.get_stop_token(); }
  bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

 private:
  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::deque<std::function<void()>> jobs_;
  std::multimap<Clock::time_point, std::function<void()>> later_;
  std::jthread thread_;
};

}  // namespace tlx::photolibrary
