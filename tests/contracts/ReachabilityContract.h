#pragma once

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "tlx/platform/systemconfiguration/ReachabilityPort.h"

#include "tests/contracts/ContractWorld.h"

namespace tlx::contracts {

/// A network that is reachable at first.
class ReachabilityWorld : public ContractWorld {
 public:
  virtual ReachabilityPort& reachability() = 0;
  /// Takes the default route away or brings it back; the port may learn of it later.
  virtual void setReachable(bool reachable) = 0;
  /// A loop on another thread, which lives as long as the world, and steps run there while the caller waits.
  virtual std::shared_ptr<RunLoop> otherLoop() = 0;
  virtual void performOnOtherLoop(const std::function<void()>& step) = 0;
};

/// Answers nothing where no test may touch the network.
using ReachabilityWorldFactory = std::unique_ptr<ReachabilityWorld> (*)();

class ReachabilityContract : public testing::TestWithParam<ReachabilityWorldFactory> {
 protected:
  void SetUp() override {
    if (!world_) GTEST_SKIP() << "no test may touch this network";
  }

  static sockaddr_in address(const char* text) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, text, &address.sin_addr);
    return address;
  }

  std::unique_ptr<ReachabilityTarget> defaultRoute() {
    const auto any = address("0.0.0.0");
    return world_->reachability().createWithAddress(reinterpret_cast<const sockaddr*>(&any));
  }

  using Told = Heard<SCNetworkReachabilityFlags>;
  static ReachabilityTarget::Callback tell(Told& told) {
    return [&told](SCNetworkReachabilityFlags flags) { told.add(flags); };
  }

  static bool isReachable(const std::optional<SCNetworkReachabilityFlags>& flags) {
    return flags && (*flags & kSCNetworkReachabilityFlagsReachable);
  }

  std::unique_ptr<ReachabilityWorld> world_ = GetParam()();
};

TEST_P(ReachabilityContract, TellsFlagsOfEveryKindOfTargetOnAnyThreadAndRefusesTheRest) {
  auto& port = world_->reachability();
  const auto local = address("169.254.0.0");
  sockaddr_in6 six{};
  six.sin6_family = AF_INET6;
  std::vector<std::unique_ptr<ReachabilityTarget>> targets;
  targets.push_back(defaultRoute());
  targets.push_back(port.createWithAddress(reinterpret_cast<const sockaddr*>(&local)));
  targets.push_back(port.createWithAddress(reinterpret_cast<const sockaddr*>(&six)));
  targets.push_back(port.createWithName("localhost"));
  for (const auto& target : targets) {
    ASSERT_TRUE(target);
    std::thread([&] { EXPECT_TRUE(target->flags().has_value()); }).join();
  }
  EXPECT_TRUE(isReachable(targets[0]->flags()));

  sockaddr_in strange{};
  strange.sin_family = 250;
  EXPECT_FALSE(port.createWithName(""));
  EXPECT_FALSE(port.createWithAddress(reinterpret_cast<const sockaddr*>(&strange)));
  EXPECT_FALSE(port.createWithAddress(nullptr));
}

TEST_P(ReachabilityContract, ChangesAreToldOnTheLoopOnlyWhileScheduled) {
  Told heard(world_->mainQueue()), replaced(world_->mainQueue());
  std::unique_ptr<ReachabilityTarget> target;
  const auto loop = world_->otherLoop();
  world_->performOnOtherLoop([&] {
    target = defaultRoute();
    ASSERT_TRUE(target);
    EXPECT_TRUE(target->setCallback(tell(replaced)));
    EXPECT_TRUE(target->setCallback(tell(heard)));
    EXPECT_TRUE(target->schedule(loop));
  });
  ASSERT_TRUE(target);
  world_->setReachable(false);
  ASSERT_TRUE(world_->runUntil([&] { return heard.count() > 0 && !isReachable(target->flags()); }));
  world_->settle();
  world_->performOnOtherLoop([&] {
    EXPECT_THAT(heard.threads(), testing::ElementsAre(std::this_thread::get_id()));
    EXPECT_FALSE(isReachable(heard.all().back()));
    target->unschedule(loop);
  });
  const std::size_t before = heard.count();
  world_->setReachable(true);
  world_->settle();
  world_->performOnOtherLoop([] {});
  EXPECT_EQ(heard.count(), before) << "not scheduled any more";
  EXPECT_TRUE(isReachable(target->flags())) << "flags are read afresh all the same";

  world_->performOnOtherLoop([&] { EXPECT_TRUE(target->schedule(loop)); });
  world_->setReachable(false);
  ASSERT_TRUE(world_->runUntil([&] { return heard.count() > before; }));
  world_->performOnOtherLoop([&] { target.reset(); });
  const std::size_t last = heard.count();
  world_->setReachable(true);
  world_->settle();
  world_->performOnOtherLoop([] {});
  EXPECT_EQ(heard.count(), last) << "the target is gone";
  EXPECT_EQ(replaced.count(), 0u);
}

}  // namespace tlx::contracts
