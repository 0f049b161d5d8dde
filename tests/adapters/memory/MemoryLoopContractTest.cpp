#include "tests/adapters/memory/OnMemory.h"
#include "tests/contracts/LoopContract.h"
#include "tests/contracts/ReachabilityContract.h"

namespace tlx::contracts {
namespace {

class MemoryLoopWorld final : public OnMemory<LoopWorld> {
 public:
  TimerPort& timers() override { return platform_.loop; }
  DisplayClockPort& displayClock() override { return platform_.loop; }
  RunLoopPort& runLoops() override { return platform_.runLoops; }
  void performOnLoopThread(const std::function<void()>& step) override { thread_.performAndWait(step); }
  void endLoopThread() override { thread_.end(); }

 private:
  memory::LoopThread thread_;
};

INSTANTIATE_TEST_SUITE_P(Memory, LoopContract, testing::Values(&makeWorld<LoopWorld, MemoryLoopWorld>));

class MemoryReachabilityWorld final : public OnMemory<ReachabilityWorld> {
 public:
  ReachabilityPort& reachability() override { return platform_.reachability; }
  void setReachable(bool reachable) override {
    platform_.reachability.setFlags(reachable ? SCNetworkReachabilityFlags{kSCNetworkReachabilityFlagsReachable}
                                              : SCNetworkReachabilityFlags{0});
  }
  std::shared_ptr<RunLoop> otherLoop() override { return thread_.loop(); }
  void performOnOtherLoop(const std::function<void()>& step) override { thread_.performAndWait(step); }

 private:
  memory::LoopThread thread_;
};

INSTANTIATE_TEST_SUITE_P(Memory, ReachabilityContract,
                         testing::Values(&makeWorld<ReachabilityWorld, MemoryReachabilityWorld>));

}  // namespace
}  // namespace tlx::contracts
