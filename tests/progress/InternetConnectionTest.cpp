#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/foundation/NSNotificationCenter.h"
#include "tlx/progress/InternetConnection.h"

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using memory::MemoryPlatform;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kReachable = kSCNetworkReachabilityFlagsReachable;
constexpr auto kRequired = kSCNetworkReachabilityFlagsConnectionRequired;
constexpr auto kOnTraffic = kSCNetworkReachabilityFlagsConnectionOnTraffic;
constexpr auto kOnDemand = kSCNetworkReachabilityFlagsConnectionOnDemand;
constexpr auto kIntervention = kSCNetworkReachabilityFlagsInterventionRequired;
constexpr auto kCellular = kSCNetworkReachabilityFlagsIsWWAN;
constexpr auto kDirect = kSCNetworkReachabilityFlagsIsDirect;

/// Writes down who posts a change of reachability, while it lives.
class ChangeListener {
 public:
  explicit ChangeListener(std::vector<const void*>& posters)
      : id_(NSNotificationCenter::defaultCenter()->addObserverForName(
            kInternetConnectionChangedNotification,
            [&posters](const std::string&, const void* poster) { posters.push_back(poster); })) {}
  ~ChangeListener() { NSNotificationCenter::defaultCenter()->removeObserver(id_); }

 private:
  NSNotificationCenter::ObserverId id_;
};

TEST(InternetConnection, ClassifiesFlags) {
  struct Row {
    std::optional<SCNetworkReachabilityFlags> flags;
    NetworkStatus status;
    const char* reason;
  };
  const Row rows[] = {
      {std::nullopt, NetworkStatusNotReachable, "flags that cannot be read count as no network"},
      {0, NetworkStatusNotReachable, "nothing is set"},
      {kCellular, NetworkStatusNotReachable, "a cellular route that leads nowhere"},
      {kReachable, NetworkStatusViaWiFi, "a plain route"},
      {kReachable | kRequired, NetworkStatusNotReachable, "somebody has to connect first"},
      {kReachable | kRequired | kOnTraffic, NetworkStatusViaWiFi, "it connects by itself with the first packet"},
      {kReachable | kRequired | kOnDemand, NetworkStatusViaWiFi, "it connects by itself when an address is asked for"},
      {kReachable | kRequired | kOnTraffic | kIntervention, NetworkStatusNotReachable, "it would ask the person first"},
      {kReachable | kIntervention, NetworkStatusViaWiFi, "nothing has to be connected, so nobody is asked"},
      {kReachable | kCellular, NetworkStatusViaWWAN, "a cellular route"},
      {kReachable | kRequired | kCellular, NetworkStatusViaWWAN, "cellular wins even where a connection is required"},
  };
  MemoryPlatform platform;
  const auto connection = InternetConnection::reachabilityForInternetConnection();
  for (const Row& row : rows) {
    platform.reachability.setFlags(row.flags);
    EXPECT_EQ(connection->currentReachabilityStatus(), row.status) << row.reason;
    EXPECT_EQ(connection->connectionRequired(), (row.flags.value_or(0) & kRequired) != 0) << row.reason;
  }
  EXPECT_THAT(platform.systemLog.lines(), IsEmpty());
}

TEST(InternetConnection, LocalWiFiWantsADirectRouteAndLogsTheFlags) {
  MemoryPlatform platform;
  const auto connection = InternetConnection::reachabilityForLocalWiFi();
  const struct {
    SCNetworkReachabilityFlags flags;
    NetworkStatus status;
    const char* line;
  } rows[] = {
      {0x20002, NetworkStatusViaWiFi, "Reachability Flag Status: -R ------d localWiFiStatusForFlags\n"},
      {kReachable | kCellular, NetworkStatusNotReachable,
       "Reachability Flag Status: WR ------- localWiFiStatusForFlags\n"},
      {kDirect | 0x1003D, NetworkStatusNotReachable, "Reachability Flag Status: -- tcCiDld localWiFiStatusForFlags\n"},
  };
  std::vector<std::string> lines;
  for (const auto& row : rows) {
    platform.reachability.setFlags(row.flags);
    EXPECT_EQ(connection->currentReachabilityStatus(), row.status) << row.line;
    lines.push_back(row.line);
  }
  EXPECT_EQ(platform.systemLog.lines(), lines);
}

TEST(InternetConnection, WatchesTheTargetsItIsMadeFor) {
  MemoryPlatform platform;
  EXPECT_TRUE(InternetConnection::reachabilityWithHostName("photos.example"));
  EXPECT_TRUE(InternetConnection::reachabilityForInternetConnection());
  EXPECT_TRUE(InternetConnection::reachabilityForLocalWiFi());
  EXPECT_THAT(platform.reachability.created(), ElementsAre("photos.example", "0.0.0.0", "169.254.0.0"));
  EXPECT_FALSE(InternetConnection::reachabilityWithHostName("")) << "a target that the platform refuses";
  EXPECT_FALSE(InternetConnection::reachabilityWithAddress(nullptr));
}

TEST(InternetConnection, SharesOneStartedMonitorForEachPlatform) {
  {
    MemoryPlatform platform;
    const auto shared = InternetConnection::sharedInstance();
    ASSERT_TRUE(shared);
    EXPECT_EQ(InternetConnection::sharedInstance(), shared);
    EXPECT_THAT(platform.reachability.created(), ElementsAre("0.0.0.0"));
    EXPECT_EQ(platform.reachability.scheduledCount(), 1u);
  }
  MemoryPlatform platform;
  platform.reachability.setRefusals({.creation = true});
  EXPECT_FALSE(InternetConnection::sharedInstance());
  platform.reachability.setRefusals({});
  EXPECT_FALSE(InternetConnection::sharedInstance()) << "a refusal is kept for good";
}

TEST(InternetConnection, PostsEachChangeUntilStoppedOrGone) {
  MemoryPlatform platform;
  std::vector<const void*> posters;
  const ChangeListener listener(posters);
  auto connection = InternetConnection::reachabilityForInternetConnection();
  platform.reachability.setFlags(0);
  platform.runUntilIdle();
  EXPECT_THAT(posters, IsEmpty()) << "made, but not started";

  ASSERT_TRUE(connection->startNotifier());
  platform.reachability.setFlags(kReachable);
  platform.runUntilIdle();
  platform.reachability.fire();
  platform.runUntilIdle();
  EXPECT_THAT(posters, ElementsAre(connection.get(), connection.get())) << "whatever the flags are";

  connection->stopNotifier();
  platform.reachability.setFlags(0);
  platform.runUntilIdle();
  EXPECT_EQ(posters.size(), 2u);

  ASSERT_TRUE(connection->startNotifier());
  platform.reachability.setFlags(kReachable);
  connection = nullptr;
  platform.runUntilIdle();
  EXPECT_EQ(posters.size(), 2u) << "word was on its way when the monitor went";
  EXPECT_EQ(platform.reachability.scheduledCount(), 0u);
}

TEST(InternetConnection, TellsOnTheThreadThatStartedIt) {
  MemoryPlatform platform;
  memory::LoopThread thread;
  std::thread::id told;
  const auto observer = NSNotificationCenter::defaultCenter()->addObserverForName(
      kInternetConnectionChangedNotification,
      [&](const std::string&, const void*) { told = std::this_thread::get_id(); });
  std::shared_ptr<InternetConnection> connection;
  std::thread::id starter;
  thread.performAndWait([&] {
    connection = InternetConnection::reachabilityForInternetConnection();
    starter = std::this_thread::get_id();
    EXPECT_TRUE(connection->startNotifier());
  });
  platform.reachability.fire();
  thread.performAndWait([&] { connection = nullptr; });
  EXPECT_EQ(told, starter);
  NSNotificationCenter::defaultCenter()->removeObserver(observer);
}

TEST(InternetConnection, SaysWhenFollowingIsRefused) {
  MemoryPlatform platform;
  const auto connection = InternetConnection::reachabilityForInternetConnection();
  platform.reachability.setRefusals({.callback = true});
  EXPECT_FALSE(connection->startNotifier());
  EXPECT_EQ(platform.reachability.scheduledCount(), 0u) << "what cannot be told is not scheduled";
  platform.reachability.setRefusals({.scheduling = true});
  EXPECT_FALSE(connection->startNotifier());
  platform.reachability.setRefusals({});
  std::thread([&] { EXPECT_FALSE(connection->startNotifier()) << "this thread runs no loop"; }).join();
}

TEST(InternetConnection, AssertsItsPreconditions) {
  MemoryPlatform platform;
  std::vector<const void*> posters;
  const ChangeListener listener(posters);
  const char signature[] = "void ReachabilityCallback(SCNetworkReachabilityRef, SCNetworkReachabilityFlags, void *)";
  const struct {
    std::function<void()> misuse;
    const char* text;
    const char* function;  // nothing: any
  } rows[] = {
      {[] { ReachabilityCallback(nullptr, kReachable, nullptr); }, "info was NULL in ReachabilityCallback", signature},
      {[] {
         NSObject foreign;
         ReachabilityCallback(nullptr, kReachable, &foreign);
       },
       "info was wrong class in ReachabilityCallback", signature},
      {[] { InternetConnection().connectionRequired(); }, "connectionRequired called with NULL reachabilityRef",
       nullptr},
      {[] { InternetConnection().currentReachabilityStatus(); },
       "currentNetworkStatus called with NULL SCNetworkReachabilityRef", nullptr},
      {[] { NSAssertionFailed(nullptr, "", 7, "names are not at hand"); }, "names are not at hand",
       "<Unknown Function>"},
  };
  for (const bool throws : {true, false}) {
    platform.systemLog.setAssertionsThrow(throws);
    for (const auto& row : rows) {
      if (throws) {
        EXPECT_THROW(row.misuse(), NSException) << row.text;
      } else {
        row.misuse();
      }
      const auto assertion = platform.systemLog.assertions().back();
      EXPECT_EQ(assertion.description, row.text);
      EXPECT_EQ(assertion.function, row.function ? row.function : assertion.function) << row.text;
    }
  }
  EXPECT_EQ(platform.systemLog.assertions().size(), 2 * std::size(rows));
  EXPECT_EQ(platform.systemLog.assertions().back().file, "<Unknown File>");
  EXPECT_THAT(posters, IsEmpty());
}

}  // namespace
}  // namespace tlx
