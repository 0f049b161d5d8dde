#include "tests/apps/ScreenTest.h"

#include <chrono>
#include <utility>

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tlx::program::test {

void ScreenTest::SetUp() {
  display_ = std::make_unique<Display>(top_ / "screen");
  if (!display_->error().empty()) GTEST_SKIP() << display_->error();
  environment = {"DISPLAY=" + display_->name(), "QT_QPA_PLATFORM=xcb", "TLX_APPEARANCE=light"};
}

void ScreenTest::TearDown() {
  if (process_ < 0) return;
  kill(process_, SIGKILL);
  waitFor(process_);
}

bool ScreenTest::see(const char* what, const std::function<bool(const Frame&)>& isThere) {
  const int ended = static_cast<int>(syscall(SYS_pidfd_open, process_, 0));
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  bool seen = false;
  for (bool running = true; !seen && running && std::chrono::steady_clock::now() < deadline;) {
    seen = isThere(display_->frame());
    constexpr int kBetweenLooks = 15;  // milliseconds
    pollfd end = {ended, POLLIN, 0};
    running = poll(&end, 1, kBetweenLooks) == 0;
  }
  close(ended);
  EXPECT_TRUE(seen) << what << "\n" << contentOf(top_ / "err");
  return seen;
}

Outcome ScreenTest::end() {
  Outcome outcome;
  outcome.status = waitFor(std::exchange(process_, -1));
  outcome.out = contentOf(top_ / "out");
  outcome.err = contentOf(top_ / "err");
  return outcome;
}

bool isPhoto(const Frame& frame, const Frame::Area& area) {
  return frame.variety(area) > 12;
}

bool isPicked(const Frame& frame, int column) {
  return frame.count(place::edge(column), kAccent) > 300;
}

}  // namespace tlx::program::test
