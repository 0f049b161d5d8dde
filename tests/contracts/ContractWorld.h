#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/dispatch/MainQueuePort.h"

namespace tlx::contracts {

/// What surrounds an adapter under a contract suite. The thread of the test is the main one.
///
/// A suite is a header. Each adapter's tests include it once, derive the suite's world, and instantiate the suite with
/// a function that makes a fresh one:
///
///     INSTANTIATE_TEST_SUITE_P(Files, PhotoLibraryContract, testing::Values(&makeWorld<PhotoLibraryWorld, Files>));
///
/// For an adapter on a real machine, `memory::MainLoop` does for the main queue: its `runUntil` waits for other
/// threads.
class ContractWorld {
 public:
  virtual ~ContractWorld() = default;

  virtual MainQueuePort& mainQueue() = 0;
  /// Runs the main thread until `done`; false when that does not come to pass within the world's patience.
  virtual bool runUntil(const std::function<bool()>& done) = 0;
  /// Returns when the adapter has nothing left to do and what it posted has run.
  virtual void settle() = 0;
};

template <class World, class Made>
std::unique_ptr<World> makeWorld() {
  return std::make_unique<Made>();
}

/// What a callback has been told so far, and on which threads. Any thread; whoever waits on the main one is woken.
template <class What>
class Heard {
 public:
  explicit Heard(MainQueuePort& mainQueue) : mainQueue_(mainQueue) {}
  void add(What what) {
    {
      const std::lock_guard lock(mutex_);
      all_.push_back(std::move(what));
      threads_.insert(std::this_thread::get_id());
    }
    mainQueue_.post([] {});
  }
  std::vector<What> all() const {
    const std::lock_guard lock(mutex_);
    return all_;
  }
  std::size_t count() const { return all().size(); }
  std::set<std::thread::id> threads() const {
    const std::lock_guard lock(mutex_);
    return threads_;
  }

 private:
  MainQueuePort& mainQueue_;
  mutable std::mutex mutex_;
  std::vector<What> all_;
  std::set<std::thread::id> threads_;
};

}  // namespace tlx::contracts
