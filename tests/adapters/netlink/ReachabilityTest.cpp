#include <condition_variable>

#include <arpa/inet.h>

#include "adapters/memory/LoopThread.h"
#include "adapters/netlink/NetlinkReachability.h"
#include "tests/adapters/memory/OnMemory.h"
#include "tests/contracts/ReachabilityContract.h"
#include "tests/support/OwnNetwork.h"

namespace tlx::contracts {
namespace {

using test::OwnNetwork;

std::unique_ptr<ReachabilityTarget> defaultRoute(ReachabilityPort& port) {
  sockaddr_in any{};
  any.sin_family = AF_INET;
  return port.createWithAddress(reinterpret_cast<const sockaddr*>(&any));
}

/// A machine with one cable and a default route over it.
class NetlinkWorld final : public OnMemory<ReachabilityWorld> {
 public:
  NetlinkWorld() {
    network_.run(OwnNetwork::cable("wire", "10.1.0.1/24") + "link set lo up\nroute add default via 10.1.0.2\n");
  }
  ~NetlinkWorld() override {
    performOnOtherLoop([this] { witness_.reset(); });
  }

  void settle() override {
    ASSERT_TRUE(runUntil([this] { return witnessed_.load(); }));
    platform_.runUntilIdle();
  }

  ReachabilityPort& reachability() override { return port_; }
  void setReachable(bool reachable) override {
    // Made anew, it is the last to be told: what the others are told of this change was on its way before.
    performOnOtherLoop([this] {
      witness_ = defaultRoute(port_);
      witness_->setCallback([this](SCNetworkReachabilityFlags) {
        witnessed_ = true;
        platform_.loop.post([] {});
      });
      witnessed_ = false;
      witness_->schedule(thread_.loop());
    });
    ASSERT_TRUE(network_.run(reachable ? "route add default via 10.1.0.2\n" : "route del default\n"));
  }
  std::shared_ptr<RunLoop> otherLoop() override { return thread_.loop(); }
  void performOnOtherLoop(const std::function<void()>& step) override { thread_.performAndWait(step); }

 private:
  OwnNetwork network_;
  memory::LoopThread thread_;
  netlink::NetlinkReachability port_;
  std::unique_ptr<ReachabilityTarget> witness_;
  std::atomic<bool> witnessed_ = true;
};

/// Values in the order they came in, for a thread that waits for them.
template <class T>
class Mailbox {
 public:
  void put(T value) {
    std::lock_guard lock(mutex_);
    values_.push_back(std::move(value));
    changed_.notify_all();
  }
  /// The next value; nothing when none comes within 20 seconds.
  std::optional<T> take() {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, std::chrono::seconds(20), [this] { return !values_.empty(); })) return std::nullopt;
    T value = std::move(values_.front());
    values_.erase(values_.begin());
    return value;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<T> values_;
};

class NetlinkReachability : public testing::Test {
 protected:
  using Flags = std::optional<SCNetworkReachabilityFlags>;

  void SetUp() override {
    if (!OwnNetwork::entered()) GTEST_SKIP() << "no network namespaces are allowed here";
    ASSERT_TRUE(network.run(OwnNetwork::cable("wire", "10.1.0.1/24") + "route add default via 10.1.0.2\n"));
  }
  void TearDown() override {
    loop.performAndWait([&] { target.reset(); });
  }
  void listen(std::unique_ptr<ReachabilityTarget> made, const std::shared_ptr<RunLoop>& on) {
    target = std::move(made);
    target->setCallback([this](SCNetworkReachabilityFlags flags) { heard.put(flags); });
    ASSERT_TRUE(target->schedule(on));
  }
  static std::vector<sockaddr_storage> addresses(const char* text) {
    std::vector<sockaddr_storage> list(1);
    auto& address = reinterpret_cast<sockaddr_in&>(list.front());
    address.sin_family = AF_INET;
    inet_pton(AF_INET, text, &address.sin_addr);
    return list;
  }

  OwnNetwork network;
  memory::LoopThread loop;
  Mailbox<SCNetworkReachabilityFlags> heard;
  std::unique_ptr<ReachabilityTarget> target;
};

TEST_F(NetlinkReachability, TellsOfEachWayInWhichARouteGoesAndOfNothingElse) {
  std::optional<netlink::NetlinkReachability> port(std::in_place);
  listen(defaultRoute(*port), loop.loop());
  port.reset();  // a target may outlive it
  const char* const rows[][2] = {
      {"route del default\n", "route add default via 10.1.0.2\n"},
      {"link set wirex down\n", "link set wirex up\n"},
      {"rule add pref 100 prohibit\n", "rule del pref 100\n"},
      {"route replace blackhole default\n", "route replace default via 10.1.0.2\n"},
      {"addr del 10.1.0.1/24 dev wire\n", "addr add 10.1.0.1/24 dev wire\nroute add default via 10.1.0.2\n"},
  };
  for (const auto& row : rows) {
    // What makes no difference is not told, or the flags would not alternate.
    ASSERT_TRUE(network.run("route replace 10.8.0.0/24 via 10.1.0.2\n"));
    ASSERT_TRUE(network.run(row[0]));
    EXPECT_EQ(heard.take(), Flags(0)) << row[0];
    ASSERT_TRUE(network.run(row[1]));
    EXPECT_EQ(heard.take(), Flags(2)) << row[1];
  }
}

/// A loop that takes its time.
class SlowLoop final : public RunLoop {
 public:
  void perform(std::function<void()> step) override {
    entered.put(true);
    leave.take();
    step();
  }
  Mailbox<bool> entered, leave;
};

TEST_F(NetlinkReachability, ReadsAfreshWhenTheKernelToldMoreThanItCouldKeep) {
  netlink::NetlinkReachability port;
  const auto slow = std::make_shared<SlowLoop>();
  listen(defaultRoute(port), slow);
  ASSERT_TRUE(network.run("route del default\n"));
  ASSERT_TRUE(slow->entered.take());
  std::string storm;
  for (int i = 0; i < 4000; ++i)
    storm += "route add 11." + std::to_string(i / 250) + "." + std::to_string(i % 250) + ".0/24 dev wire\n";
  ASSERT_TRUE(network.run(storm + "route add default via 10.1.0.2\n"));
  slow->leave.put(true);
  EXPECT_EQ(heard.take(), Flags(0));
  ASSERT_TRUE(slow->entered.take());
  slow->leave.put(true);
  EXPECT_EQ(heard.take(), Flags(2));
  target.reset();
}

TEST_F(NetlinkReachability, ResolvesNamesWithoutWaitingAndAgainAfterChanges) {
  // Shared with the resolver's thread, which may outlive all that is here.
  const auto answers = std::make_shared<Mailbox<std::vector<sockaddr_storage>>>();
  const auto asked = std::make_shared<Mailbox<std::string>>();
  const auto resolve = [answers, asked](const std::string& name) {
    asked->put(name);
    return answers->take().value_or(std::vector<sockaddr_storage>());
  };
  netlink::NetlinkReachability port("/sys", resolve);
  listen(port.createWithName("photos.example"), loop.loop());
  ASSERT_EQ(asked->take(), "photos.example");
  EXPECT_EQ(target->flags(), Flags(0)) << "nobody has answered yet";
  answers->put({});
  ASSERT_TRUE(asked->take()) << "a name without an answer is asked for again";
  answers->put(addresses("10.1.0.9"));
  EXPECT_EQ(heard.take(), Flags(0x20002));
  ASSERT_TRUE(network.run("addr add 10.9.0.1/24 dev wire\n"));
  ASSERT_TRUE(asked->take()) << "the network changed";
  EXPECT_EQ(target->flags(), Flags(0x20002)) << "the former address counts until there is another";
  answers->put(addresses("192.0.2.1"));
  EXPECT_EQ(heard.take(), Flags(2));
  ASSERT_TRUE(network.run("route del default\n"));
  EXPECT_EQ(heard.take(), Flags(0));
  ASSERT_TRUE(asked->take());
  loop.performAndWait([&] { target.reset(); });  // while a resolver is at work, which nobody waits for
  answers->put({});
}

TEST_F(NetlinkReachability, AsksTheSystemsResolver) {
  ASSERT_TRUE(network.run("link set lo up\n"));
  netlink::NetlinkReachability port;
  listen(port.createWithName("::1"), loop.loop());
  EXPECT_TRUE(target->flags() == Flags(0x30002) || heard.take() == Flags(0x30002));
}

TEST_F(NetlinkReachability, TargetsComeAndGoWhileTheNetworkChanges) {
  netlink::NetlinkReachability port;
  std::atomic<bool> over = false;
  std::thread weather([&] {
    while (!over) network.run("route del default\nroute add default via 10.1.0.2\n");
  });
  std::atomic<int> wrong = 0;
  for (int i = 0; i < 300; ++i) {
    loop.performAndWait([&] {
      target = i % 3 == 0 ? port.createWithName("10.1.0.9") : defaultRoute(port);
      target->setCallback([&, thread = std::this_thread::get_id()](SCNetworkReachabilityFlags) {
        if (thread != std::this_thread::get_id() || !target) ++wrong;
      });
      target->schedule(loop.loop());
      if (i % 5 == 0) target->unschedule(loop.loop());
    });
    for (int reads = 0; reads < 5; ++reads) target->flags();
    loop.performAndWait([&] { target.reset(); });
  }
  over = true;
  weather.join();
  EXPECT_EQ(wrong, 0);
}

std::unique_ptr<ReachabilityWorld> makeNetlinkWorld() {
  return OwnNetwork::entered() ? std::make_unique<NetlinkWorld>() : nullptr;
}

INSTANTIATE_TEST_SUITE_P(Netlink, ReachabilityContract, testing::Values(&makeNetlinkWorld));

}  // namespace
}  // namespace tlx::contracts
