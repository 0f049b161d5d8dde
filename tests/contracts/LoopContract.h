#pragma once

#include <algorithm>
#include <atomic>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tlx/platform/dispatch/DisplayClockPort.h"
#include "tlx/platform/dispatch/RunLoopPort.h"
#include "tlx/platform/dispatch/TimerPort.h"

#include "tests/contracts/ContractWorld.h"

namespace tlx::contracts {

class LoopWorld : public ContractWorld {
 public:
  virtual TimerPort& timers() = 0;
  virtual DisplayClockPort& displayClock() = 0;
  virtual RunLoopPort& runLoops() = 0;
  /// Runs the step on another thread that runs a loop, always the same one, and waits for its end.
  virtual void performOnLoopThread(const std::function<void()>& step) = 0;
  virtual void endLoopThread() = 0;
};

using LoopWorldFactory = std::unique_ptr<LoopWorld> (*)();

class LoopContract : public testing::TestWithParam<LoopWorldFactory> {
 protected:
  std::unique_ptr<LoopWorld> world_ = GetParam()();
};

TEST_P(LoopContract, StepsRunOnTheMainThreadFirstInFirstOutOverAllThreads) {
  auto& queue = world_->mainQueue();
  EXPECT_TRUE(queue.isMainThread());
  constexpr int threadCount = 4, stepsEach = 200;
  std::vector<std::vector<int>> ran(threadCount);
  std::atomic<int> wrongThreads = 0;
  bool within = false, over = false;
  {
    std::vector<std::jthread> threads;
    for (auto& steps : ran) {
      threads.emplace_back([&] {
        if (queue.isMainThread()) ++wrongThreads;
        for (int step = 0; step < stepsEach; ++step) {
          queue.post([&, step] {
            if (!queue.isMainThread()) ++wrongThreads;
            steps.push_back(step);
          });
        }
      });
    }
  }
  EXPECT_THAT(ran, testing::Each(testing::IsEmpty())) << "a step ran while nobody ran the main thread";
  queue.post([&] {
    const auto returned = std::make_shared<bool>(false);
    queue.post([&, returned] { within = !*returned; });
    *returned = true;
    queue.post([&] { over = true; });
  });
  ASSERT_TRUE(world_->runUntil([&] { return over; }));
  std::vector<int> inOrder(stepsEach);
  std::iota(inOrder.begin(), inOrder.end(), 0);
  EXPECT_THAT(ran, testing::Each(inOrder));
  EXPECT_EQ(wrongThreads, 0);
  EXPECT_FALSE(within);
}

TEST_P(LoopContract, TimersFireWhenDueInTheOrderTheyWereStartedAndRepeatUntilCancelled) {
  auto& timers = world_->timers();
  std::vector<std::string> fired;
  std::set<TimerPort::TimerId> ids = {0};
  const double began = timers.now();
  double late = 0;
  const auto start = [&](double seconds, const char* name) {
    return *ids.insert(timers.start(seconds, false, [&fired, name] { fired.emplace_back(name); })).first;
  };
  start(0.03, "later");
  start(0, "at once");
  start(-1, "long ago");
  ids.insert(timers.start(0.03, false, [&] { late = timers.now(); }));
  const auto cancelled = start(0.01, "cancelled");
  for (const auto id : {cancelled, cancelled, TimerPort::TimerId{0}}) timers.cancel(id);
  EXPECT_TRUE(fired.empty()) << "within the call";
  ASSERT_TRUE(world_->runUntil([&] { return late != 0; }));
  EXPECT_THAT(fired, testing::ElementsAre("at once", "long ago", "later"));
  EXPECT_GE(late, began + 0.03 - 1e-9);
  EXPECT_EQ(ids.size(), 6u);

  int repeated = 0;
  auto held = std::make_shared<int>();
  TimerPort::TimerId timer = 0;
  timer = timers.start(0.002, true, [&, held] {
    if (++repeated == 3) timers.cancel(timer);
  });
  start(0.05, "over");
  ASSERT_TRUE(world_->runUntil([&] { return fired.size() == 4; }));
  EXPECT_EQ(repeated, 3);
  EXPECT_EQ(held.use_count(), 1) << "a cancelled timer lets go of what it calls";
}

TEST_P(LoopContract, TheDisplayBeatsOnlyForThoseWhoListen) {
  auto& clock = world_->displayClock();
  std::vector<double> frames;
  DisplayClockPort::ListenerId first = 0, second = 0;
  int heardBySecond = 0;
  first = clock.addListener([&](double now) {
    EXPECT_TRUE(world_->mainQueue().isMainThread());
    frames.push_back(now);
    if (frames.size() == 2) clock.removeListener(second);
    if (frames.size() == 4) clock.removeListener(first);
  });
  second = clock.addListener([&](double) { ++heardBySecond; });
  const double began = world_->timers().now();
  ASSERT_TRUE(world_->runUntil([&] { return frames.size() == 4; }));
  bool over = false;
  world_->timers().start(0.1, false, [&] { over = true; });
  ASSERT_TRUE(world_->runUntil([&] { return over; }));
  EXPECT_EQ(frames.size(), 4u);
  EXPECT_GE(heardBySecond, 1);
  EXPECT_LE(heardBySecond, 2) << "taken out during the second frame";
  frames.insert(frames.begin(), began);
  frames.push_back(world_->timers().now());
  EXPECT_TRUE(std::is_sorted(frames.begin(), frames.end()));
  clock.removeListener(first);
}

TEST_P(LoopContract, EachThreadHasItsOwnLoopOrNone) {
  auto& loops = world_->runLoops();
  const auto main = loops.current();
  ASSERT_TRUE(main);
  EXPECT_EQ(loops.current(), main);
  std::thread([&] { EXPECT_FALSE(loops.current()) << "a thread that runs none"; }).join();

  std::shared_ptr<RunLoop> other;
  std::thread::id otherThread;
  world_->performOnLoopThread([&] {
    other = loops.current();
    otherThread = std::this_thread::get_id();
    EXPECT_EQ(loops.current(), other);
  });
  ASSERT_TRUE(other);
  EXPECT_NE(other, main);

  bool onMain = false;
  std::thread([&] { main->perform([&] { onMain = world_->mainQueue().isMainThread(); }); }).join();
  ASSERT_TRUE(world_->runUntil([&] { return onMain; }));

  std::vector<int> order;
  for (int step = 0; step < 3; ++step) {
    other->perform([&, step] {
      EXPECT_EQ(std::this_thread::get_id(), otherThread);
      order.push_back(step);
    });
  }
  world_->performOnLoopThread([] {});
  EXPECT_THAT(order, testing::ElementsAre(0, 1, 2));

  world_->endLoopThread();
  auto held = std::make_shared<int>();
  other->perform([held] { FAIL() << "the loop has ended"; });
  EXPECT_EQ(held.use_count(), 1) << "dropped";
}

}  // namespace tlx::contracts
