#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "adapters/photolibrary/decoding/WorkerProcess.h"

namespace tlx::photolibrary {

/// The worker processes of one kind: started when first needed, lent to one thread at a time, replaced now and then,
/// ended when nobody has asked for a while. Any thread.
class WorkerPool {
 public:
  struct Settings {
    std::string program;                      ///< path of the executable
    std::vector<std::string> arguments;       ///< beside those that every worker gets
    unsigned most = 1;                        ///< at a time
    std::chrono::seconds idle{30};            ///< after which an unused one ends; zero keeps it
    std::chrono::milliseconds start{10'000};  ///< within which a worker must be ready
    unsigned lifetime = 1000;                 ///< pictures after which one is replaced, for what libraries hoard
  };
  using Log = std::function<void(const std::string& line)>;

  /// `log` is called on any thread, at most once for each cause.
  WorkerPool(Settings settings, Log log);
  /// Nobody may hold a worker any more.
  ~WorkerPool();

  /// A worker, and how it was last used.
  struct Worker {
    std::unique_ptr<WorkerProcess> process;
    std::int64_t mapped = 0;  ///< bytes of address space before its first job
    unsigned served = 0;
    std::chrono::steady_clock::time_point since;
  };

  /// Waits for one that is free, or starts it. Nothing when there is none to be had: the program is missing or does not
  /// start, or `stop` was requested; or at once where none is free and the caller cannot wait.
  std::unique_ptr<Worker> borrow(const std::stop_token& stop, bool canWait = true);
  /// It has answered `served` more jobs and is ready for others.
  void giveBack(std::unique_ptr<Worker> worker, unsigned served);
  /// It is of no more use. `crashed` says that this was its own doing: too many of those in a row make the next ones
  /// wait.
  void lose(std::unique_ptr<Worker> worker, bool crashed);
  /// Starts one now, for whoever borrows first; returns at once.
  void warmUp();

 private:
  using Clock = std::chrono::steady_clock;

  void spawn(const std::stop_token& stop);
  std::unique_ptr<Worker> startOne();
  bool isImpossible() const { return Clock::now() < impossibleUntil_; }
  void backOff();
  void tell(const std::string& line);

  const Settings settings_;
  const Log log_;
  FileDescriptor program_;
  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::vector<std::unique_ptr<Worker>> free_;  ///< the one used last at the end
  unsigned living_ = 0, wanted_ = 0;
  unsigned failures_ = 0;      ///< crashes in a row
  unsigned failedStarts_ = 0;  ///< in a row
  Clock::time_point notBefore_{};
  Clock::time_point impossibleUntil_{};  ///< none is started before, and nobody waits for one
  bool spareWanted_ = false;
  std::string told_;
  std::jthread spawner_;  ///< starts every worker, since a worker ends with the thread that started it
};

}  // namespace tlx::photolibrary
