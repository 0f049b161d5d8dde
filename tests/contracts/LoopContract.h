#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
  std::vector<std::pair<int, int>> ran;
  bool elsewhere = false, within = false;
  std::vector<std::thread> threads;
  std::atomic<int> mainThreads = 0;
  for (int thread = 0; thread < threadCount; ++thread) {
    threads.emplace_back([&, thread] {
      if (queue.isMainThread()) ++mainThreads;
      for (int step = 0; step < stepsEach; ++step) {
        queue.post([&, thread, step] {
          if (!queue.isMainThread()) elsewhere = true;
          ran.emplace_back(thread, step);
        });
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_TRUE(ran.empty()) << "a step ran while nobody ran the main thread";
  queue.post([&] {
    const auto returned = std::make_shared<bool>(false);
    queue.post([&, returned] { within = !*returned; });
    *returned = true;
    queue.post([&] { ran.emplace_back(-1, 0); });
  });
  ASSERT_TRUE(world_->runUntil([&] { return !ran.empty() && ran.back().first == -1; }));
  EXPECT_EQ(ran.size(), threadCount * stepsEach + 1u);
  std::vector<int> next(threadCount, 0);
  for (const auto& [thread, step] : ran) {
    if (thread < 0) continue;
    EXPECT_EQ(step, next[static_cast<std::size_t>(thread)]++) << "thread " << thread;
  }
  EXPECT_EQ(mainThreads, 0);
  EXPECT_FALSE(elsewhere);
  EXPECT_FALSE(within);
}

TEST_P(LoopContract, TimersFireWhenDueInTheOrderTheyWereStarted) {
  auto& timers = world_->timers();
  std::vector<std::string> fired;
  std::set<TimerPort::TimerId> ids;
  const double began = timers.now();
  double late = 0;
  const auto start = [&](double seconds, const char* name) {
    ids.insert(timers.start(seconds, false, [&fired, name] { fired.emplace_back(name); }));
  };
  start(0.03, "later");
  start(0, "at once");
  start(-1, "long ago");
  ids.insert(timers.start(0.03, false, [&] { late = timers.now(); }));
  const auto cancelled = timers.start(0.01, false, [&] { fired.emplace_back("cancelled"); });
  ids.insert(cancelled);
  timers.cancel(cancelled);
  timers.cancel(cancelled);
  timers.cancel(0);
  EXPECT_TRUE(fired.empty()) << "within the call";
  ASSERT_TRUE(world_->runUntil([&] { return late != 0; }));
  EXPECT_THAT(fired, testing::ElementsAre("at once", "long ago", "later"));
  EXPECT_GE(late, began + 0.03 - 1e-9);
  EXPECT_EQ(ids.size(), 5u);
  EXPECT_EQ(ids.count(0), 0u);
}

TEST_P(LoopContract, ARepeatingTimerGoesOnUntilItIsCancelledAlsoFromWithin) {
  auto& timers = world_->timers();
  int fired = 0, after = 0;
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> life = held;
  TimerPort::TimerId timer = 0;
  timer = timers.start(0.002, true, [&, held] {
    if (++fired == 3) timers.cancel(timer);
  });
  held.reset();
  timers.start(0.05, false, [&] { ++after; });
  ASSERT_TRUE(world_->runUntil([&] { return after == 1; }));
  EXPECT_EQ(fired, 3);
  EXPECT_TRUE(life.expired()) << "a cancelled timer lets go of what it calls";
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
  EXPECT_GE(frames[0], began);
  for (std::size_t frame = 1; frame < frames.size(); ++frame) EXPECT_GT(frames[frame], frames[frame - 1]);
  EXPECT_LE(frames.back(), world_->timers().now());
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
