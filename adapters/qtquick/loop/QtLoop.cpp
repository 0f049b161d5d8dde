#include "adapters/qtquick/loop/QtLoop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>
#include <vector>

namespace tlx::qtquick {
namespace {

constexpr double kFrame = 1.0 / 60;

QEvent::Type stepEvent() {
  static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
  return type;
}

/// Performs steps on the thread that made it, while that thread's event loop runs. Keeps its own queue, so that it can
/// be emptied when the thread ends: events posted to an ended thread would keep what they hold for ever.
class ThreadLoop final : public QObject, public RunLoop {
 public:
  ThreadLoop() { connect(thread(), &QThread::finished, this, &ThreadLoop::close, Qt::DirectConnection); }

  void perform(std::function<void()> step) override {
    std::lock_guard lock(mutex_);
    if (!open_) return;
    steps_.push_back(std::move(step));
    QCoreApplication::postEvent(this, new QEvent(stepEvent()));
  }
  bool isOpen() const {
    std::lock_guard lock(mutex_);
    return open_;
  }
  void close() {
    std::deque<std::function<void()>> dropped;
    std::lock_guard lock(mutex_);
    open_ = false;
    dropped.swap(steps_);
    // `dropped` is destroyed after the lock is released: destroying a step may call this loop again.
  }

 protected:
  bool event(QEvent* event) override {
    if (event->type() != stepEvent()) return QObject::event(event);
    std::function<void()> step;
    {
      std::lock_guard lock(mutex_);
      if (steps_.empty()) return true;
      step = std::move(steps_.front());
      steps_.pop_front();
    }
    step();
    return true;
  }

 private:
  mutable std::mutex mutex_;
  std::deque<std::function<void()>> steps_;
  bool open_ = true;
};

}  // namespace

QtMainQueue::QtMainQueue() {
  stepEvent();
}

QtMainQueue::~QtMainQueue() {
  // Steps are destroyed on this thread, and what they hold may post once more from its destructor.
  for (;;) {
    std::deque<std::function<void()>> left;
    {
      std::lock_guard lock(mutex_);
      left.swap(steps_);
      woken_ = true;
    }
    if (left.empty()) break;
  }
}

void QtMainQueue::post(std::function<void()> step) {
  std::lock_guard lock(mutex_);
  steps_.push_back(std::move(step));
  if (std::exchange(woken_, true)) return;
  QCoreApplication::postEvent(this, new QEvent(stepEvent()));
}

bool QtMainQueue::isMainThread() const {
  return QThread::currentThread() == thread();
}

bool QtMainQueue::event(QEvent* event) {
  if (event->type() != stepEvent()) return QObject::event(event);
  // Steps posted meanwhile wait for the next turn, so that input and frames come in between.
  std::size_t count = 0;
  {
    std::lock_guard lock(mutex_);
    count = steps_.size();
    woken_ = false;
  }
  while (count-- > 0) {
    std::function<void()> step;
    {
      std::lock_guard lock(mutex_);
      if (steps_.empty()) break;  // a step ran an event loop of its own, which took the rest
      step = std::move(steps_.front());
      steps_.pop_front();
      // A step may spin an event loop: what is left must be reachable from there.
      if (!steps_.empty() && !std::exchange(woken_, true)) {
        QCoreApplication::postEvent(this, new QEvent(stepEvent()));
      }
    }
    step();
  }
  return true;
}

QtTimers::QtTimers() {
  clock_.setSingleShot(true);
  clock_.setTimerType(Qt::PreciseTimer);
  connect(&clock_, &QTimer::timeout, this, &QtTimers::fireDue);
}

double QtTimers::now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

TimerPort::TimerId QtTimers::start(double seconds, bool repeats, std::function<void()> fire) {
  const TimerId id = ++last_;
  // A repeating timer of no length would never let the loop breathe.
  const double interval = repeats ? std::max(seconds, 0.001) : std::max(seconds, 0.0);
  const double due = now() + interval;
  entries_[id] = {due, interval, repeats, std::make_shared<std::function<void()>>(std::move(fire))};
  order_.insert({due, id});
  arm();
  return id;
}

void QtTimers::cancel(TimerId timer) {
  auto found = entries_.find(timer);
  if (found == entries_.end()) return;
  order_.erase({found->second.due, timer});
  const auto keep = found->second.fire;  // destroying the closure may cancel other timers
  entries_.erase(found);
  arm();
}

void QtTimers::arm() {
  if (order_.empty()) {
    clock_.stop();
    return;
  }
  const double wait = std::max(0.0, order_.begin()->first - now());
  clock_.start(static_cast<int>(std::ceil(wait * 1000)));
}

void QtTimers::fireDue() {
  const double time = now();
  std::vector<TimerId> due;
  for (const auto& [when, id] : order_) {
    if (when > time) break;
    due.push_back(id);
  }
  for (TimerId id : due) {
    auto found = entries_.find(id);
    if (found == entries_.end()) continue;
    const auto fire = found->second.fire;
    order_.erase({found->second.due, id});
    if (found->second.repeats) {
      found->second.due = std::max(found->second.due + found->second.interval, time);
      order_.insert({found->second.due, id});
    } else {
      entries_.erase(found);
    }
    (*fire)();
  }
  arm();
}

QtDisplayClock::QtDisplayClock(const TimerPort& timers) : timers_(timers) {
  clock_.setTimerType(Qt::PreciseTimer);
  clock_.setInterval(static_cast<int>(kFrame * 1000));
  connect(&clock_, &QTimer::timeout, this, &QtDisplayClock::beat);
}

DisplayClockPort::ListenerId QtDisplayClock::addListener(std::function<void(double)> tick) {
  listeners_[++last_] = std::make_shared<std::function<void(double)>>(std::move(tick));
  if (!clock_.isActive()) clock_.start();
  return last_;
}

void QtDisplayClock::removeListener(ListenerId listener) {
  listeners_.erase(listener);
  if (listeners_.empty()) clock_.stop();
}

void QtDisplayClock::beat() {
  const auto told = listeners_;
  for (const auto& [id, tick] : told) {
    if (listeners_.count(id)) (*tick)(timers_.now());
  }
}

std::shared_ptr<RunLoop> QtRunLoops::current() {
  if (!QAbstractEventDispatcher::instance()) return nullptr;
  std::lock_guard lock(mutex_);
  auto& kept = loops_[std::this_thread::get_id()];
  // The system reuses thread ids: the loop kept under this id may be that of a thread that has ended.
  auto loop = std::static_pointer_cast<ThreadLoop>(kept.lock());
  if (!loop || !loop->isOpen()) {
    // The last reference may be dropped on any thread. An open loop is deleted on its own thread; one whose thread has
    // ended is deleted at once, since nobody would serve the request.
    loop = std::shared_ptr<ThreadLoop>(new ThreadLoop, [](ThreadLoop* object) {
      if (object->isOpen()) {
        object->deleteLater();
      } else {
        delete object;
      }
    });
    kept = loop;
  }
  return loop;
}

}  // namespace tlx::qtquick
