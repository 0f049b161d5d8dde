#include "adapters/photolibrary/decoding/WorkerPool.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>

#include "adapters/photolibrary/decoding/Conversation.h"

namespace tlx::photolibrary {
namespace {

constexpr std::chrono::milliseconds shortestPause{25};
constexpr std::chrono::milliseconds longestPause{2000};
constexpr unsigned mostFailedStarts = 8;  // in a row, after which none is tried for a while
constexpr std::chrono::seconds restAfterFailures{30};

}  // namespace

WorkerPool::WorkerPool(Settings settings, Log log)
    : settings_(std::move(settings)),
      log_(std::move(log)),
      program_(open(settings_.program.c_str(), O_RDONLY | O_CLOEXEC)),
      spawner_([this](const std::stop_token& stop) { spawn(stop); }) {
  if (!program_) {
    impossibleUntil_ = Clock::time_point::max();
    tell("The decoders' program " + settings_.program + " cannot be opened: " + std::strerror(errno));
  }
}

WorkerPool::~WorkerPool() {
  spawner_.request_stop();
  spawner_.join();
}

std::unique_ptr<WorkerPool::Worker> WorkerPool::borrow(const std::stop_token& stop, bool canWait) {
  std::unique_lock lock(mutex_);
  if (!canWait && free_.empty()) return nullptr;
  ++wanted_;
  changed_.notify_all();
  changed_.wait(lock, stop, [this] { return isImpossible() || !free_.empty(); });
  --wanted_;
  if (free_.empty()) return nullptr;
  auto worker = std::move(free_.back());
  free_.pop_back();
  return worker;
}

void WorkerPool::giveBack(std::unique_ptr<Worker> worker, unsigned served) {
  worker->served += served;
  worker->since = Clock::now();
  const bool old = worker->served >= settings_.lifetime;
  if (old) worker.reset();
  const std::lock_guard lock(mutex_);
  failures_ = 0;
  if (old) {
    --living_;
  } else {
    free_.push_back(std::move(worker));
  }
  changed_.notify_all();
}

void WorkerPool::lose(std::unique_ptr<Worker> worker, bool crashed) {
  worker.reset();
  const std::lock_guard lock(mutex_);
  --living_;
  if (crashed) backOff();
  changed_.notify_all();
}

void WorkerPool::warmUp() {
  const std::lock_guard lock(mutex_);
  if (living_ > 0 || wanted_ > 0) return;
  // Like someone who wants one and does not come for it.
  spareWanted_ = true;
  changed_.notify_all();
}

void WorkerPool::backOff() {
  const auto pause = std::min(longestPause, shortestPause * (1 << std::min(failures_, 10u)));
  // The first crash costs nothing: one bad picture is no crash loop.
  if (failures_ > 0) notBefore_ = Clock::now() + pause;
  ++failures_;
}

void WorkerPool::tell(const std::string& line) {
  if (line == told_) return;
  told_ = line;
  if (log_) log_(line);
}

void WorkerPool::spawn(const std::stop_token& stop) {
  std::unique_lock lock(mutex_);
  const auto isShort = [this] {
    return !isImpossible() && living_ < settings_.most && (wanted_ > free_.size() || (spareWanted_ && living_ == 0));
  };
  while (!stop.stop_requested()) {
    if (isShort()) {
      if (changed_.wait_until(lock, stop, notBefore_, [] { return false; }); stop.stop_requested()) break;
      if (!isShort()) continue;
      spareWanted_ = false;
      ++living_;
      lock.unlock();
      auto worker = startOne();
      lock.lock();
      if (worker) {
        failedStarts_ = 0;
        free_.push_back(std::move(worker));
      } else {
        --living_;
        backOff();
        // A program that never starts would keep every picture waiting.
        if (++failedStarts_ >= mostFailedStarts) impossibleUntil_ = Clock::now() + restAfterFailures;
      }
      changed_.notify_all();
      continue;
    }
    const auto oldest =
        settings_.idle.count() > 0 && !free_.empty() ? free_.front()->since + settings_.idle : Clock::time_point::max();
    if (oldest == Clock::time_point::max()) {
      changed_.wait(lock, stop, isShort);
    } else if (!changed_.wait_until(lock, stop, oldest, isShort) && !free_.empty() &&
               free_.front()->since + settings_.idle <= Clock::now()) {
      auto ended = std::move(free_.front());
      free_.erase(free_.begin());
      --living_;
      lock.unlock();
      ended.reset();
      lock.lock();
    }
  }
  // They die with this thread anyway; this way they are waited for.
  auto free = std::move(free_);
  free_.clear();
  lock.unlock();
}

std::unique_ptr<WorkerPool::Worker> WorkerPool::startOne() {
  auto started = WorkerProcess::start(program_.get(), settings_.program, settings_.arguments);
  if (const int* error = std::get_if<int>(&started)) {
    tell("The decoders' program " + settings_.program + " cannot be started: " + std::strerror(*error));
    return nullptr;
  }
  auto worker = std::make_unique<Worker>();
  worker->process = std::get<0>(std::move(started));
  wire::Hello hello;
  if (!Conversation::greet(*worker->process, settings_.start, hello)) {
    tell("The decoders' program " + settings_.program + " does not answer.");
    return nullptr;
  }
  if (!hello.filtered) {
    tell("This kernel filters no system calls: decoders are bounded by their limits alone.");
  }
  worker->mapped = hello.addressSpace;
  worker->since = Clock::now();
  return worker;
}

}  // namespace tlx::photolibrary
