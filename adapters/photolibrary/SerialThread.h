#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tlx::photolibrary {

/// A thread that runs what it is given, one after another, in order.
class SerialThread {
 public:
  SerialThread();
  /// As `stop`.
  ~SerialThread();

  /// Any thread.
  void post(std::function<void()> job);
  /// Waits for what is running; what has not begun, and what is posted from now on, is let go unrun.
  void stop();
  bool isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

 private:
  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::deque<std::function<void()>> jobs_;
  std::jthread thread_;
};

}  // namespace tlx::photolibrary
