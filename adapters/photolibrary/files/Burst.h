#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace tlx::photolibrary {

/// When a burst of events counts as over: after a while of quiet, or, for one that does not end, a while after its
/// first. Knows no clock.
class Burst {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  Burst(Duration quiet, Duration longest) : quiet_(quiet), longest_(longest) {}

  void happened(Time now) {
    if (!first_) first_ = now;
    last_ = now;
  }
  /// When to act on it; nothing while nothing happens.
  std::optional<Time> due() const {
    if (!first_) return std::nullopt;
    return std::min(last_ + quiet_, *first_ + longest_);
  }
  void over() { first_.reset(); }

 private:
  Duration quiet_, longest_;
  std::optional<Time> first_;
  Time last_;
};

}  // namespace tlx::photolibrary
