#include "bench/qtquick/Frames.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QQuickWindow>
#include <QTimer>
#include <algorithm>
#include <cstdio>

namespace tlx::bench {
namespace {

constexpr double kFrame = 1000.0 / 60;
constexpr int kUncounted = 5;

/// Milliseconds that this thread was ready to run and another had the processor, since it began.
double waitedForProcessor() {
  long long ran = 0, waited = 0;
  if (FILE* file = std::fopen("/proc/thread-self/schedstat", "r")) {
    if (std::fscanf(file, "%lld %lld", &ran, &waited) != 2) waited = 0;
    std::fclose(file);
  }
  return static_cast<double>(waited) / 1e6;
}

}  // namespace

bool spin(double seconds, const std::function<bool()>& done) {
  QElapsedTimer clock;
  clock.start();
  while (!done || !done()) {
    const double left = seconds * 1000 - static_cast<double>(clock.nsecsElapsed()) / 1e6;
    if (left <= 0) return false;
    QEventLoop loop;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(done ? 1 : static_cast<int>(left + 0.5));
    loop.exec();
  }
  return true;
}

void drawFrame(QQuickWindow& window) {
  QEventLoop loop;
  const auto connection =
      QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit, Qt::QueuedConnection);
  window.update();
  loop.exec();
  QObject::disconnect(connection);
}

void Frames::next(ScrolledScreen& screen, bool counts) {
  const double waitedBefore = waitedForProcessor();
  QElapsedTimer clock;
  clock.start();
  offset_ += direction_ * pace_.step;
  if (offset_ > screen.end() || offset_ < 0) {
    direction_ = -direction_;
    offset_ += 2 * direction_ * pace_.step;
  }
  screen.scrollTo(offset_);
  drawFrame(screen.window());
  const double taken = static_cast<double>(clock.nsecsElapsed()) / 1e6;
  if (counts) {
    const double waited = waitedForProcessor() - waitedBefore;
    milliseconds_.push_back(taken - waited);
    waited_ += waited;
    const auto [empty, all] = screen.blanks();
    blank_ += empty;
    visible_ += all;
  }
  if (pace_.paced && taken < kFrame) spin((kFrame - taken) / 1000);
}

void Frames::run(ScrolledScreen& screen, int count) {
  for (int i = 0; i < kUncounted; ++i) next(screen, false);
  for (int i = 0; i < count; ++i) next(screen, true);
}

void Frames::rewind() {
  offset_ = pace_.start;
  direction_ = 1;
}

double Frames::at(double part) const {
  auto sorted = milliseconds_;
  std::sort(sorted.begin(), sorted.end());
  return sorted.empty() ? 0 : sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
}

double Frames::blankPercent() const {
  return visible_ ? 100.0 * static_cast<double>(blank_) / static_cast<double>(visible_) : 0;
}

void Frames::print(const char* name) const {
  std::printf("  %-16s median %5.2f ms  p95 %5.2f  p99 %5.2f  worst %5.2f  blank %.2f %%  waited %.2f ms a frame\n",
              name, at(0.5), at(0.95), at(0.99), at(1), blankPercent(),
              milliseconds_.empty() ? 0 : waited_ / static_cast<double>(milliseconds_.size()));
}

long residentKilobytes() {
  long pages = 0, resident = 0;
  if (FILE* file = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(file);
  }
  return resident * 4;
}

}  // namespace tlx::bench
