#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/foundation/NSNotificationCenter.h"
#include "tlx/platform/foundation/SystemLog.h"
#include "tlx/progress/InternetConnection.h"

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class InternetConnectionTest : public testing::Test {
 protected:
  InternetConnectionTest() {
    NSNotificationCenter::defaultCenter()->addObserverForName(kInternetConnectionChangedNotification,
                                                              [this](const std::string&, const void* poster) {
                                                                posters.push_back(poster);
                                                                posted = std::this_thread::get_id();
                                                              });
  }
  void change(std::optional<SCNetworkReachabilityFlags> flags) {
    platform.reachability.setFlags(flags);
    platform.runUntilIdle();
  }

  memory::MemoryPlatform platform;
  std::vector<const void*> posters;
  std::thread::id posted;
};

TEST_F(InternetConnectionTest, ClassifiesFlags) {
  const struct {
    std::optional<SCNetworkReachabilityFlags> flags;
    NetworkStatus status;
    const char* reason;
  } rows[] = {
      {std::nullopt, NetworkStatusNotReachable, "flags that cannot be read count as no network"},
      {0x40000, NetworkStatusNotReachable, "a cellular route that leads nowhere"},
      {0x2 | 0x4, NetworkStatusNotReachable, "somebody has to connect first"},
      {0x2 | 0x4 | 0x8, NetworkStatusViaWiFi, "it connects by itself with the first packet"},
      {0x2 | 0x4 | 0x20, NetworkStatusViaWiFi, "it connects by itself when an address is asked for"},
      {0x2 | 0x4 | 0x8 | 0x10, NetworkStatusNotReachable, "it would ask the person first"},
      {0x2 | 0x4 | 0x40000, NetworkStatusViaWWAN, "cellular wins even where a connection is required"},
  };
  const auto connection = InternetConnection::reachabilityWithHostName("photos.example");
  for (const auto& row : rows) {
    change(row.flags);
    EXPECT_EQ(connection->currentReachabilityStatus(), row.status) << row.reason;
    EXPECT_EQ(connection->connectionRequired(), (row.flags.value_or(0) & 0x4) != 0);
  }
  EXPECT_THAT(platform.systemLog.lines(), IsEmpty());
}

TEST_F(InternetConnectionTest, SharesOneStartedMonitor) {
  const auto shared = InternetConnection::sharedInstance();
  EXPECT_EQ(InternetConnection::sharedInstance(), shared);
  EXPECT_THAT(platform.reachability.created(), ElementsAre("0.0.0.0"));
  change(0);
  EXPECT_THAT(posters, ElementsAre(shared.get()));
}

TEST_F(InternetConnectionTest, LocalWiFiWantsADirectRouteAndLogsTheFlags) {
  const auto connection = InternetConnection::reachabilityForLocalWiFi();
  EXPECT_THAT(platform.reachability.created(), ElementsAre("169.254.0.0"));
  std::vector<NetworkStatus> statuses;
  for (const SCNetworkReachabilityFlags flags : {0x20002, 0x40002, 0x3003D}) {
    change(flags);
    statuses.push_back(connection->currentReachabilityStatus());
  }
  EXPECT_THAT(statuses, ElementsAre(NetworkStatusViaWiFi, NetworkStatusNotReachable, NetworkStatusNotReachable));
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre("Reachability Flag Status: -R ------d localWiFiStatusForFlags\n",
                          "Reachability Flag Status: WR ------- localWiFiStatusForFlags\n",
                          "Reachability Flag Status: -- tcCiDld localWiFiStatusForFlags\n"));
}

TEST_F(InternetConnectionTest, PostsEachChangeOnTheThreadThatStartedItUntilStoppedOrGone) {
  auto connection = InternetConnection::reachabilityForInternetConnection();
  change(0);
  EXPECT_THAT(posters, IsEmpty()) << "made, but not started";
  platform.reachability.setRefusals({.callback = true});
  EXPECT_FALSE(connection->startNotifier());
  EXPECT_EQ(platform.reachability.scheduledCount(), 0u) << "what cannot be told is not scheduled";
  platform.reachability.setRefusals({});
  std::thread([&] { EXPECT_FALSE(connection->startNotifier()) << "this thread runs no loop"; }).join();
  memory::LoopThread thread;
  std::thread::id starter;
  thread.performAndWait([&] {
    starter = std::this_thread::get_id();
    EXPECT_TRUE(connection->startNotifier());
  });
  platform.reachability.fire();
  thread.performAndWait([&] { connection->stopNotifier(); });
  EXPECT_EQ(posted, starter);
  change(0);
  EXPECT_THAT(posters, ElementsAre(connection.get())) << "stopped";

  ASSERT_TRUE(connection->startNotifier());
  platform.reachability.setFlags(0x2);
  connection = nullptr;
  platform.runUntilIdle();
  EXPECT_EQ(posters.size(), 1u) << "word was on its way when the monitor went";
  EXPECT_EQ(platform.reachability.scheduledCount(), 0u);
}

TEST_F(InternetConnectionTest, AssertsItsPreconditionsAndKeepsARefusal) {
  const std::string callback =
      "void ReachabilityCallback(SCNetworkReachabilityRef, SCNetworkReachabilityFlags, void *)";
  NSObject foreign;
  const struct {
    std::function<void()> misuse;
    std::string text, function;
  } rows[] = {
      {[] { ReachabilityCallback(nullptr, 0x2, nullptr); }, "info was NULL in ReachabilityCallback", callback},
      {[&] { ReachabilityCallback(nullptr, 0x2, &foreign); }, "info was wrong class in ReachabilityCallback", callback},
      {[] { InternetConnection().currentReachabilityStatus(); },
       "currentNetworkStatus called with NULL SCNetworkReachabilityRef", "currentReachabilityStatus"},
  };
  for (const auto& row : rows) {
    platform.systemLog.setAssertionsThrow(true);
    EXPECT_THROW(row.misuse(), NSException) << row.text;
    platform.systemLog.setAssertionsThrow(false);
    row.misuse();  // a handler that returns leaves nothing behind it that could crash
    EXPECT_EQ(platform.systemLog.assertions().back().description, row.text);
    EXPECT_THAT(platform.systemLog.assertions().back().function, testing::HasSubstr(row.function));
  }
  EXPECT_THAT(posters, IsEmpty());
  for (const bool refuses : {true, false}) {
    platform.reachability.setRefusals({.creation = refuses});
    EXPECT_FALSE(InternetConnection::sharedInstance()) << "a refusal is kept for good";
  }
}

}  // namespace
}  // namespace tlx
