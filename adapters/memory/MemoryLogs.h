#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "tlx/platform/NSException.h"
#include "tlx/platform/foundation/SystemLogPort.h"

namespace tlx::memory {

/// What a test writes down while messages arrive, so that it can read their order afterwards. Any thread.
class MessageLog {
 public:
  void add(std::string text) {
    std::lock_guard lock(mutex_);
    messages_.push_back(std::move(text));
  }
  std::vector<std::string> messages() const {
    std::lock_guard lock(mutex_);
    return messages_;
  }
  /// What was written since the last call.
  std::vector<std::string> take() {
    std::lock_guard lock(mutex_);
    return std::exchange(messages_, {});
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> messages_;
};

/// Keeps what the picker tells the system log. Any thread.
class MemorySystemLog final : public SystemLogPort {
 public:
  struct Assertion {
    std::string function, file;
    int line = 0;
    std::string description;
  };

  void log(const std::string& line) override { lines_.add(line); }
  void assertionFailed(const std::string& function, const std::string& file, int line,
                       const std::string& description) override {
    {
      std::lock_guard lock(mutex_);
      assertions_.push_back({function, file, line, description});
      if (!throws_) return;
    }
    throw NSException(NSInternalInconsistencyException, description);
  }

  std::vector<std::string> lines() const { return lines_.messages(); }
  std::vector<Assertion> assertions() const {
    std::lock_guard lock(mutex_);
    return assertions_;
  }
  /// Whether a failed assertion, once recorded, throws an `NSException` with its description. It does at first.
  void setAssertionsThrow(bool throws) {
    std::lock_guard lock(mutex_);
    throws_ = throws;
  }

 private:
  MessageLog lines_;
  mutable std::mutex mutex_;
  std::vector<Assertion> assertions_;
  bool throws_ = true;
};

}  // namespace tlx::memory
