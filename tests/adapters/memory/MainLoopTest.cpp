#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/foundation/NSTimer.h"

#include "adapters/memory/MainLoop.h"
#include "adapters/memory/MemoryPlatform.h"

namespace tlx::memory {
namespace {

using testing::ElementsAre;

TEST(MainLoop, FiresTimersInDueOrderThenStartOrderWithPostsBetween) {
  MemoryPlatform platform;
  const auto say = [&](const char* text) { return [&platform, text] { platform.log(text); }; };
  platform.loop.start(0.3, false, say("third"));
  platform.loop.start(0.1, false, [&] {
    platform.log("first");
    platform.loop.post(say("posted by first"));
  });
  platform.loop.start(0.1, false, say("second"));
  platform.advance(0.2);
  EXPECT_THAT(platform.messages(), ElementsAre("first", "posted by first", "second"));
  platform.advance(0.1);
  EXPECT_EQ(platform.messages().back(), "third");
}

TEST(MainLoop, RepeatsWithoutDriftAndBeatsOnlyWhileListenedTo) {
  MemoryPlatform platform;
  int fired = 0, beats = 0;
  const auto timer = platform.loop.start(0.1, true, [&] { ++fired; });
  const auto listener = platform.loop.addListener([&](double) { ++beats; });
  platform.advance(1.0);
  EXPECT_EQ(fired, 10);
  EXPECT_EQ(beats, 60);
  platform.loop.cancel(timer);
  platform.loop.removeListener(listener);
  platform.advance(1.0);
  EXPECT_EQ(fired, 10);
  EXPECT_EQ(beats, 60);
  EXPECT_EQ(platform.loop.timerCount() + platform.loop.listenerCount(), 0u);
}

TEST(MainLoop, LetsGoOfWhatWaitsWhenThePlatformEnds) {
  auto held = std::make_shared<int>();
  {
    MemoryPlatform platform;
    platform.loop.post([held] { FAIL() << "ran"; });
    platform.background.perform([held] { FAIL() << "ran"; });
    performAfterDelay(1, [held] { FAIL() << "ran"; });
  }
  EXPECT_EQ(held.use_count(), 1);
}

TEST(MainLoop, TellsWhenNothingEverComesToRest) {
  MemoryPlatform platform;
  std::function<void()> again = [&] { platform.loop.post(again); };
  again();
  EXPECT_THROW(platform.runUntilIdle(), NSException);
}

}  // namespace
}  // namespace tlx::memory
