#include "tests/apps/ScreenTest.h"

#include <QElapsedTimer>
#include <utility>

namespace tlx::program::test {

void ScreenTest::SetUp() {
  display_ = std::make_unique<Display>(top_ / "screen");
  if (!display_->error().empty()) GTEST_SKIP() << display_->error();
  environment = {"DISPLAY=" + display_->name(), "QT_QPA_PLATFORM=xcb", "TLX_APPEARANCE=light"};
}

void ScreenTest::TearDown() {
  if (!process_) return;
  process_->kill();
  waitFor(*process_);
}

bool ScreenTest::see(const char* what, const std::function<bool(const Frame&)>& isThere) {
  constexpr int kBetweenLooks = 15, kPatience = 120'000;  // milliseconds
  QElapsedTimer waited;
  waited.start();
  bool seen = false;
  for (bool running = true; !seen && running && !waited.hasExpired(kPatience);) {
    seen = isThere(display_->frame());
    running = !process_->waitForFinished(kBetweenLooks);
  }
  EXPECT_TRUE(seen) << what << "\n" << contentOf(top_ / "err");
  return seen;
}

Outcome ScreenTest::end() {
  Outcome outcome;
  outcome.status = waitFor(*std::exchange(process_, nullptr));
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
