#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

namespace tlx::photolibrary {

/// A few threads that work off a stack of jobs, which may add more. The newest job goes first, so that a folder's
/// files are dealt with, and its descriptor closed, before the next folder is opened.
class WorkCrew {
 public:
  using Job = std::function<void()>;

  explicit WorkCrew(std::size_t threads) : threads_(threads) {}
  /// From within a job, or between runs.
  void add(Job job);
  /// Returns when no job is left. Jobs throw nothing.
  void run();

 private:
  void work();

  std::size_t threads_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Job> jobs_;
  std::size_t busy_ = 0;
};

}  // namespace tlx::photolibrary
