#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "tlx/platform/dispatch/DisplayClockPort.h"
#include "tlx/platform/dispatch/MainQueue.h"
#include "tlx/platform/dispatch/MainQueuePort.h"
#include "tlx/platform/dispatch/RunLoopPort.h"
#include "tlx/platform/dispatch/TimerPort.h"

namespace tlx::qtquick {

/// The main queue on Qt's event loop of the thread that makes it.
class QtMainQueue final : public QObject, public MainQueuePort {
  Q_OBJECT

 public:
  QtMainQueue();
  ~QtMainQueue() override;
  void post(std::function<void()> step) override;
  bool isMainThread() const override;

 protected:
  bool event(QEvent* event) override;

 private:
  std::mutex mutex_;
  std::deque<std::function<void()>> steps_;
  bool woken_ = false;
};

/// Serves all timers with one QTimer, so that those due together fire in the order they were started.
class QtTimers final : public QObject, public TimerPort {
  Q_OBJECT

 public:
  QtTimers();
  TimerId start(double seconds, bool repeats, std::function<void()> fire) override;
  void cancel(TimerId timer) override;
  double now() const override;

 private:
  struct Entry {
    double due;
    double interval;
    bool repeats;
    std::shared_ptr<std::function<void()>> fire;
  };
  void arm();
  void fireDue();

  QTimer clock_;
  TimerId last_ = 0;
  std::map<TimerId, Entry> entries_;
  std::set<std::pair<double, TimerId>> order_;
};

/// Beats about sixty times a second while anybody listens.
class QtDisplayClock final : public QObject, public DisplayClockPort {
  Q_OBJECT

 public:
  explicit QtDisplayClock(const TimerPort& timers);
  ListenerId addListener(std::function<void(double)> tick) override;
  void removeListener(ListenerId listener) override;

 private:
  void beat();

  const TimerPort& timers_;
  QTimer clock_;
  ListenerId last_ = 0;
  std::map<ListenerId, std::shared_ptr<std::function<void(double)>>> listeners_;
};

/// The event loop of whatever thread asks; nothing for a thread without one.
class QtRunLoops final : public RunLoopPort {
 public:
  std::shared_ptr<RunLoop> current() override;

 private:
  std::mutex mutex_;
  std::map<std::thread::id, std::weak_ptr<RunLoop>> loops_;
};

}  // namespace tlx::qtquick
