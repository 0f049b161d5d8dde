#include "adapters/netlink/NetlinkTarget.h"

#include <mutex>
#include <utility>

#include "adapters/netlink/NetworkWatch.h"

namespace tlx::netlink {

/// What the watch's thread and the loop share of a target. May outlive it by a look or a step, and then tells nobody.
class NetlinkTarget::Following final : public NetworkFollower, public std::enable_shared_from_this<Following> {
 public:
  explicit Following(std::unique_ptr<Destination> destination) : destination_(std::move(destination)) {}

  const Destination& destination() const { return *destination_; }

  void setCallback(Callback callback) {
    // The former callback is destroyed after the lock is released, as `callback`.
    std::lock_guard lock(mutex_);
    callback_.swap(callback);
  }

  void begin(const std::shared_ptr<RunLoop>& loop) {
    // No look may come between the reading of the flags and the loop that hears of others.
    std::lock_guard looking(looking_);
    told_ = destination_->flags();
    std::lock_guard lock(mutex_);
    loop_ = loop;
    ++turn_;
  }

  void end(const std::shared_ptr<RunLoop>& loop) {
    std::shared_ptr<RunLoop> former;
    std::lock_guard lock(mutex_);
    if (loop_ == loop) former = std::exchange(loop_, nullptr);
  }

  void abandon() {
    Callback callback;
    std::shared_ptr<RunLoop> former;
    std::lock_guard lock(mutex_);
    callback_.swap(callback);
    loop_.swap(former);
  }

  bool look(bool networkChanged) override {
    if (networkChanged) destination_->networkChanged();
    std::shared_ptr<RunLoop> loop;
    std::uint64_t turn = 0;
    std::optional<SCNetworkReachabilityFlags> flags;
    {
      std::lock_guard looking(looking_);
      {
        std::lock_guard lock(mutex_);
        loop = loop_;
        turn = turn_;
      }
      if (!loop) return true;
      flags = destination_->flags();
      if (!flags) return false;
      if (std::exchange(told_, flags) == flags) return true;
    }
    loop->perform([weak = weak_from_this(), turn, flags = *flags] {
      if (const auto following = weak.lock()) following->tell(turn, flags);
    });
    return true;
  }

 private:
  /// On the loop's thread.
  void tell(std::uint64_t turn, SCNetworkReachabilityFlags flags) {
    Callback callback;
    {
      std::lock_guard lock(mutex_);
      if (loop_ && turn_ == turn) callback = callback_;
    }
    if (callback) callback(flags);
  }

  const std::unique_ptr<Destination> destination_;
  std::mutex looking_;  // taken before the other one
  std::optional<SCNetworkReachabilityFlags> told_;
  std::mutex mutex_;
  Callback callback_;
  std::shared_ptr<RunLoop> loop_;
  std::uint64_t turn_ = 0;  // counts the schedulings: what was meant for one is not told in the next
};

NetlinkTarget::NetlinkTarget(std::shared_ptr<NetworkWatch> watch, std::unique_ptr<Destination> destination)
    : watch_(std::move(watch)), following_(std::make_shared<Following>(std::move(destination))) {}

NetlinkTarget::~NetlinkTarget() {
  watch_->remove(following_.get());
  following_->abandon();
}

std::optional<SCNetworkReachabilityFlags> NetlinkTarget::flags() const {
  return following_->destination().flags();
}

bool NetlinkTarget::setCallback(Callback callback) {
  following_->setCallback(std::move(callback));
  return true;
}

bool NetlinkTarget::schedule(const std::shared_ptr<RunLoop>& loop) {
  if (!loop || !watch_->add(following_)) return false;
  following_->begin(loop);
  return true;
}

void NetlinkTarget::unschedule(const std::shared_ptr<RunLoop>& loop) {
  following_->end(loop);
}

bool NetlinkTarget::keepCurrent() {
  return watch_->add(following_);
}

}  // namespace tlx::netlink
