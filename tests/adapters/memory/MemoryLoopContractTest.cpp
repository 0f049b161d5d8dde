#include "adapters/memory/MemoryPlatform.h"
#include "tests/contracts/LoopContract.h"
#include "tests/contracts/ReachabilityContract.h"

namespace tlx::contracts {
namespace {

class MemoryLoopWorld final : public LoopWorld {
 public:
  MainQueuePort& mainQueue() override { return platform_.loop; }
  bool runUntil(const std::function<bool()>& done) override { return platform_.loop.runUntil(done); }
  void settle() override { platform_.runUntilIdle(); }

  TimerPort& timers() override { return platform_.loop; }
  DisplayClockPort& displayClock() override { return platform_.loop; }
  RunLoopPort& runLoops() override { return platform_.runLoops; }
  void performOnLoopThread(const std::function<void()>& step) override { thread_.performAndWait(step); }
  void endLoopThread() override { thread_.end(); }

 private:
  memory::MemoryPlatform platform_;
  memory::LoopThread thread_;
};

std::unique_ptr<LoopWorld> makeLoopWorld() {
  return std::make_unique<MemoryLoopWorld>();
}

INSTANTIATE_TEST_SUITE_P(Memory, LoopContract, testing::Values(&makeLoopWorld));

class MemoryReachabilityWorld final : public ReachabilityWorld {
 public:
  MainQueuePort& mainQueue() override { return platform_.loop; }
  bool runUntil(const std::function<bool()>& done) override { return platform_.loop.runUntil(done); }
  void settle() override { platform_.runUntilIdle(); }

  ReachabilityPort& reachability() override { return platform_.reachability; }
  void setReachable(bool reachable) override {
    platform_.reachability.setFlags(reachable ? SCNetworkReachabilityFlags{kSCNetworkReachabilityFlagsReachable}
                                              : SCNetworkReachabilityFlags{0});
  }
  std::shared_ptr<RunLoop> otherLoop() override { return thread_.loop(); }
  void performOnOtherLoop(const std::function<void()>& step) override { thread_.performAndWait(step); }

 private:
  memory::MemoryPlatform platform_;
  memory::LoopThread thread_;
};

std::unique_ptr<ReachabilityWorld> makeReachabilityWorld() {
  return std::make_unique<MemoryReachabilityWorld>();
}

INSTANTIATE_TEST_SUITE_P(Memory, ReachabilityContract, testing::Values(&makeReachabilityWorld));

}  // namespace
}  // namespace tlx::contracts
