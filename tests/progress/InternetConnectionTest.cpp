#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/foundation/NSNotificationCenter.h"
#include "tlx/progress/InternetConnection.h"

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kReachable = kSCNetworkReachabilityFlagsReachable;
constexpr auto kRequired = kSCNetworkReachabilityFlagsConnectionRequired;
constexpr auto kOnTraffic = kSCNetworkReachabilityFlagsConnectionOnTraffic;
constexpr auto kOnDemand = kSCNetworkReachabilityFlagsConnectionOnDemand;
constexpr auto kIntervention = kSCNetworkReachabilityFlagsInterventionRequired;
constexpr auto kCellular = kSCNetworkReachabilityFlagsIsWWAN;

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
  struct Row {
    std::optional<SCNetworkReachabilityFlags> flags;
    NetworkStatus status;
    const char* reason;
  };
  const Row rows[] = {
      {std::nullopt, NetworkStatusNotReachable, "flags that cannot be read count as no network"},
      {kCellular, NetworkStatusNotReachable, "a cellular route that leads nowhere"},
      {kReachable, NetworkStatusViaWiFi, "a plain route"},
      {kReachable | kRequired, NetworkStatusNotReachable, "somebody has to connect first"},
      {kReachable | kRequired | kOnTraffic, NetworkStatusViaWiFi, "it connects by itself with the first packet"},
      {kReachable | kRequired | kOnDemand, NetworkStatusViaWiFi, "it connects by itself when an address is asked for"},
      {kReachable | kRequired | kOnTraffic | kIntervention, NetworkStatusNotReachable, "it would ask the person first"},
      {kReachable | kCellular, NetworkStatusViaWWAN, "a cellular route"},
      {kReachable | kRequired | kCellular, NetworkStatusViaWWAN, "cellular wins even where a connection is required"},
  };
  const auto connection = InternetConnection::reachabilityWithHostName("photos.example");
  for (const Row& row : rows) {
    change(row.flags);
    EXPECT_EQ(connection->currentReachabilityStatus(), row.status) << row.reason;
    EXPECT_EQ(connection->connectionRequired(), (row.flags.value_or(0) & kRequired) != 0) << row.reason;
  }
  EXPECT_THAT(platform.systemLog.lines(), IsEmpty());
}

TEST_F(InternetConnectionTest, LocalWiFiWantsADirectRouteAndLogsTheFlags) {
  const auto connection = InternetConnection::reachabilityForLocalWiFi();
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

TEST_F(InternetConnectionTest, SharesOneStartedMonitorForAsLongAsThePlatformLives) {
  const auto shared = InternetConnection::sharedInstance();
  EXPECT_EQ(InternetConnection::sharedInstance(), shared);
  InternetConnection::reachabilityForLocalWiFi();
  EXPECT_THAT(platform.reachability.created(), ElementsAre("0.0.0.0", "169.254.0.0"));
  change(0);
  EXPECT_THAT(posters, ElementsAre(shared.get()));
}

TEST_F(InternetConnectionTest, KeepsARefusalForGood) {
  EXPECT_FALSE(InternetConnection::reachabilityWithHostName(""));
  EXPECT_FALSE(InternetConnection::reachabilityWithAddress(nullptr));
  platform.reachability.setRefusals({.creation = true});
  EXPECT_FALSE(InternetConnection::sharedInstance());
  platform.reachability.setRefusals({});
  EXPECT_FALSE(InternetConnection::sharedInstance());
}

TEST_F(InternetConnectionTest, PostsEachChangeUntilStoppedOrGone) {
  auto connection = InternetConnection::reachabilityForInternetConnection();
  change(0);
  EXPECT_THAT(posters, IsEmpty()) << "made, but not started";
  ASSERT_TRUE(connection->startNotifier());
  change(kReachable);
  EXPECT_THAT(posters, ElementsAre(connection.get()));
  connection->stopNotifier();
  change(0);
  EXPECT_EQ(posters.size(), 1u);
  ASSERT_TRUE(connection->startNotifier());
  platform.reachability.setFlags(kReachable);
  connection = nullptr;
  platform.runUntilIdle();
  EXPECT_EQ(posters.size(), 1u) << "word was on its way when the monitor went";
  EXPECT_EQ(platform.reachability.scheduledCount(), 0u);
}

TEST_F(InternetConnectionTest, PostsOnTheThreadThatStartedIt) {
  memory::LoopThread thread;
  std::shared_ptr<InternetConnection> connection;
  std::thread::id starter;
  thread.performAndWait([&] {
    connection = InternetConnection::reachabilityForInternetConnection();
    starter = std::this_thread::get_id();
    EXPECT_TRUE(connection->startNotifier());
  });
  platform.reachability.fire();
  thread.performAndWait([&] { connection = nullptr; });
  EXPECT_EQ(posted, starter);
}

TEST_F(InternetConnectionTest, SaysWhenFollowingIsRefused) {
  const auto connection = InternetConnection::reachabilityForInternetConnection();
  platform.reachability.setRefusals({.callback = true});
  EXPECT_FALSE(connection->startNotifier());
  EXPECT_EQ(platform.reachability.scheduledCount(), 0u) << "what cannot be told is not scheduled";
  platform.reachability.setRefusals({.scheduling = true});
  EXPECT_FALSE(connection->startNotifier());
  platform.reachability.setRefusals({});
  std::thread([&] { EXPECT_FALSE(connection->startNotifier()) << "this thread runs no loop"; }).join();
}

TEST_F(InternetConnectionTest, AssertsItsPreconditions) {
  const char signature[] = "void ReachabilityCallback(SCNetworkReachabilityRef, SCNetworkReachabilityFlags, void *)";
  const struct {
    std::function<void()> misuse;
    const char *text, *function;
  } rows[] = {
      {[] { ReachabilityCallback(nullptr, kReachable, nullptr); }, "info was NULL in ReachabilityCallback", signature},
      {[] {
         NSObject foreign;
         ReachabilityCallback(nullptr, kReachable, &foreign);
       },
       "info was wrong class in ReachabilityCallback", signature},
      {[] { InternetConnection().connectionRequired(); }, "connectionRequired called with NULL reachabilityRef",
       "connectionRequired"},
      {[] { InternetConnection().currentReachabilityStatus(); },
       "currentNetworkStatus called with NULL SCNetworkReachabilityRef", "currentReachabilityStatus"},
      {[] { NSAssertionFailed(nullptr, "", 7, "names are not at hand"); }, "names are not at hand",
       "<Unknown Function>"},
  };
  for (const auto& row : rows) {
    EXPECT_THROW(row.misuse(), NSException) << row.text;
    platform.systemLog.setAssertionsThrow(false);
    row.misuse();  // a handler that returns leaves nothing behind it that could crash
    platform.systemLog.setAssertionsThrow(true);
    const auto assertion = platform.systemLog.assertions().back();
    EXPECT_EQ(assertion.description, row.text);
    EXPECT_THAT(assertion.function, testing::HasSubstr(row.function));
  }
  EXPECT_EQ(platform.systemLog.assertions().back().file, "<Unknown File>");
  EXPECT_THAT(posters, IsEmpty());
}

}  // namespace
}  // namespace tlx
