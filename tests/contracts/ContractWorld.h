#pragma once

#include <functional>

#include "tlx/platform/dispatch/MainQueuePort.h"

namespace tlx::contracts {

/// What surrounds an adapter under a contract suite. The thread of the test is the main one.
///
/// A suite is a header. Each adapter's tests include it once, derive the suite's world, and instantiate the suite with
/// a function that makes a fresh one:
///
///     INSTANTIATE_TEST_SUITE_P(Files, PhotoLibraryContract, testing::Values(&makeFilesWorld));
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

}  // namespace tlx::contracts
