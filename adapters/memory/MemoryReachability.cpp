#include "adapters/memory/MemoryReachability.h"

#include <algorithm>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace tlx::memory {
namespace {

struct Following {
  std::mutex mutex;
  ReachabilityTarget::Callback callback;
  std::shared_ptr<RunLoop> loop;
};

/// Asks for the callback on the loop it is scheduled on; there it is called only if it is still wanted.
void tell(const std::shared_ptr<Following>& following, SCNetworkReachabilityFlags flags) {
  std::shared_ptr<RunLoop> loop;
  {
    std::lock_guard lock(following->mutex);
    loop = following->loop;
  }
  if (!loop) return;
  loop->perform([weak = std::weak_ptr(following), loop = std::weak_ptr(loop), flags] {
    const auto wanted = weak.lock();
    if (!wanted) return;
    ReachabilityTarget::Callback callback;
    {
      std::lock_guard lock(wanted->mutex);
      if (wanted->loop && wanted->loop == loop.lock()) callback = wanted->callback;
    }
    if (callback) callback(flags);
  });
}

}  // namespace

struct MemoryReachability::Network {
  mutable std::mutex mutex;
  std::optional<SCNetworkReachabilityFlags> flags = kSCNetworkReachabilityFlagsReachable;
  Refusals refusals;
  std::vector<std::string> created;
  std::vector<std::weak_ptr<Following>> followings;

  std::vector<std::shared_ptr<Following>> live() const {
    std::lock_guard lock(mutex);
    std::vector<std::shared_ptr<Following>> all;
    for (const auto& weak : followings) {
      if (auto following = weak.lock()) all.push_back(std::move(following));
    }
    return all;
  }
};

class MemoryReachability::Target final : public ReachabilityTarget {
 public:
  explicit Target(std::shared_ptr<Network> network) : network_(std::move(network)) {
    std::lock_guard lock(network_->mutex);
    std::erase_if(network_->followings, [](const auto& weak) { return weak.expired(); });
    network_->followings.push_back(following_);
  }
  ~Target() override {
    std::lock_guard lock(following_->mutex);
    following_->loop = nullptr;
  }

  std::optional<SCNetworkReachabilityFlags> flags() const override {
    std::lock_guard lock(network_->mutex);
    return network_->flags;
  }
  bool setCallback(Callback callback) override {
    if (refusals().callback) return false;
    std::lock_guard lock(following_->mutex);
    following_->callback.swap(callback);
    return true;
  }
  bool schedule(const std::shared_ptr<RunLoop>& loop) override {
    if (refusals().scheduling || !loop) return false;
    std::lock_guard lock(following_->mutex);
    following_->loop = loop;
    return true;
  }
  void unschedule(const std::shared_ptr<RunLoop>& loop) override {
    std::lock_guard lock(following_->mutex);
    if (following_->loop == loop) following_->loop = nullptr;
  }

 private:
  Refusals refusals() const {
    std::lock_guard lock(network_->mutex);
    return network_->refusals;
  }

  std::shared_ptr<Network> network_;
  std::shared_ptr<Following> following_ = std::make_shared<Following>();
};

MemoryReachability::MemoryReachability() : network_(std::make_shared<Network>()) {}
MemoryReachability::~MemoryReachability() = default;

std::unique_ptr<ReachabilityTarget> MemoryReachability::create(std::string name) {
  {
    std::lock_guard lock(network_->mutex);
    network_->created.push_back(std::move(name));
    if (network_->refusals.creation) return nullptr;
  }
  return std::make_unique<Target>(network_);
}

std::unique_ptr<ReachabilityTarget> MemoryReachability::createWithName(const std::string& hostName) {
  return hostName.empty() ? nullptr : create(hostName);
}

std::unique_ptr<ReachabilityTarget> MemoryReachability::createWithAddress(const sockaddr* address) {
  if (!address) return nullptr;
  char text[INET6_ADDRSTRLEN] = {};
  if (address->sa_family == AF_INET) {
    inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text, sizeof text);
  } else if (address->sa_family == AF_INET6) {
    inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr, text, sizeof text);
  } else {
    return nullptr;
  }
  return create(text);
}

void MemoryReachability::setFlags(std::optional<SCNetworkReachabilityFlags> flags) {
  {
    std::lock_guard lock(network_->mutex);
    if (network_->flags == flags) return;
    network_->flags = flags;
  }
  fire();
}

void MemoryReachability::fire() {
  SCNetworkReachabilityFlags flags = 0;
  {
    std::lock_guard lock(network_->mutex);
    flags = network_->flags.value_or(0);
  }
  for (const auto& following : network_->live()) tell(following, flags);
}

void MemoryReachability::setRefusals(Refusals refusals) {
  std::lock_guard lock(network_->mutex);
  network_->refusals = refusals;
}

std::vector<std::string> MemoryReachability::created() const {
  std::lock_guard lock(network_->mutex);
  return network_->created;
}

std::size_t MemoryReachability::scheduledCount() const {
  const auto live = network_->live();
  return static_cast<std::size_t>(std::count_if(live.begin(), live.end(), [](const auto& following) {
    std::lock_guard lock(following->mutex);
    return following->loop != nullptr;
  }));
}

}  // namespace tlx::memory
