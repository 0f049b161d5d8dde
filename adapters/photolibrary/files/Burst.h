#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace tlx::photolibrary {

/// Says when a burst of events is to be acted on: once no event has come for `quiet`, and at the latest `longest` after
/// the first. It reads no clock; times are handed in.
class Burst {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  Burst(Duration quiet, Duration longest) : quiet_(quiet), longest_(longest) {}

  void happened(Time now) {
    if (!first_) first_ = now;
    last_ = now;
  }
  /// Nothing when no event has come since the last `over`.
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
