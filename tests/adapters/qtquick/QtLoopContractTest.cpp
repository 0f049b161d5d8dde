#include <QCoreApplication>
#include <QThread>

#include <QtTest/QTest>

#include "adapters/qtquick/loop/QtLoop.h"
#include "tests/contracts/LoopContract.h"

namespace tlx::contracts {
namespace {

constexpr int kPatience = 20'000;

class QtLoopWorld final : public LoopWorld {
 public:
  QtLoopWorld() {
    worker_.moveToThread(&thread_);
    thread_.start();
  }
  ~QtLoopWorld() override { endLoopThread(); }

  MainQueuePort& mainQueue() override { return queue_; }
  bool runUntil(const std::function<bool()>& done) override { return QTest::qWaitFor(done, kPatience); }
  void settle() override { QCoreApplication::processEvents(); }

  TimerPort& timers() override { return timers_; }
  DisplayClockPort& displayClock() override { return clock_; }
  RunLoopPort& runLoops() override { return loops_; }
  void performOnLoopThread(const std::function<void()>& step) override {
    QMetaObject::invokeMethod(&worker_, step, Qt::BlockingQueuedConnection);
  }
  void endLoopThread() override {
    thread_.quit();
    thread_.wait();
  }

 private:
  qtquick::QtMainQueue queue_;
  qtquick::QtTimers timers_;
  qtquick::QtDisplayClock clock_{timers_};
  qtquick::QtRunLoops loops_;
  QThread thread_;
  QObject worker_;
};

INSTANTIATE_TEST_SUITE_P(Qt, LoopContract, testing::Values(&makeWorld<LoopWorld, QtLoopWorld>));

}  // namespace
}  // namespace tlx::contracts
