#include "tests/apps/ScreenTest.h"

#include <QElapsedTimer>
#include <QStandardPaths>
#include <cstdlib>
#include <set>
#include <utility>

#include <X11/Xlib.h>

namespace tlx::program::test {

int Frame::count(const QRect& area, QRgb colour) const {
  constexpr int kClose = 6;  // steps of a channel
  int found = 0;
  for (int y = area.top(); y <= area.bottom(); ++y) {
    for (int x = area.left(); x <= area.right(); ++x) {
      const QRgb here = image.pixel(x, y);
      found += std::abs(qRed(here) - qRed(colour)) < kClose && std::abs(qGreen(here) - qGreen(colour)) < kClose &&
               std::abs(qBlue(here) - qBlue(colour)) < kClose;
    }
  }
  return found;
}

int Frame::variety(const QRect& area) const {
  std::set<QRgb> colours;
  for (int y = area.top(); y <= area.bottom(); ++y) {
    for (int x = area.left(); x <= area.right(); ++x) colours.insert(image.pixel(x, y) & 0xf8f8f8);
  }
  return static_cast<int>(colours.size());
}

bool Frame::showsPhotos(int upTo) const {
  for (int column = 0; column <= upTo; ++column) {
    if (variety(place::cell(column)) <= 12) return false;
  }
  return true;
}

bool Frame::showsPicked(int column) const {
  // The edge of the cell has a frame then.
  return count({place::cell(column).x() - 12, 192, 6, 100}, kAccent) > 300;
}

void ScreenTest::SetUp() {
  for (const char* const needed : {"Xvfb", "xdotool"}) {
    if (QStandardPaths::findExecutable(QLatin1String(needed)).isEmpty()) GTEST_SKIP() << needed << " is not installed";
  }
  // Told not to begin anew when a program goes: the next one would sometimes wait for its answer for ever.
  server_.start(QStringLiteral("Xvfb"), {"-noreset", "-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten",
                                         "tcp", "-fbdir", QString::fromStdString(top_.path())});
  while (!server_.canReadLine() && server_.waitForReadyRead(-1)) {
  }
  display_ = ":" + server_.readLine().trimmed().toStdString();
  if (display_ == ":") GTEST_SKIP() << "Xvfb did not start";
  environment = {"DISPLAY=" + display_, "QT_QPA_PLATFORM=xcb", "TLX_APPEARANCE=light"};
}

void ScreenTest::TearDown() {
  if (process_) {
    process_->kill();
    waitFor(*process_);
  }
  server_.terminate();
  server_.waitForFinished(-1);
}

// The server keeps a window dump there: a header of 32-bit numbers, highest byte first, a colour table, and the rows.
Frame ScreenTest::frame() const {
  const std::string dump = contentOf(top_ / "Xvfb_screen0");
  const auto number = [&](std::size_t index) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(dump.at(4 * index + i));
    return value;
  };
  constexpr std::size_t kHeaderSize = 0, kWidth = 4, kHeight = 5, kRow = 12, kColours = 19, kColourSize = 12;
  const auto* rows = reinterpret_cast<const uchar*>(dump.data()) + number(kHeaderSize) + number(kColours) * kColourSize;
  return {QImage(rows, static_cast<int>(number(kWidth)), static_cast<int>(number(kHeight)),
                 static_cast<qsizetype>(number(kRow)), QImage::Format_RGB32)
              .copy()};
}

bool ScreenTest::see(const char* what, const std::function<bool(const Frame&)>& isThere) {
  constexpr int kBetweenLooks = 15, kPatience = 120'000;  // milliseconds
  QElapsedTimer waited;
  waited.start();
  bool seen = false;
  for (bool running = true; !seen && running && !waited.hasExpired(kPatience);) {
    seen = isThere(frame());
    running = !process_->waitForFinished(kBetweenLooks);
  }
  EXPECT_TRUE(seen) << what << "\n" << contentOf(top_ / "err");
  return seen;
}

void ScreenTest::click(const QPoint& point) const {
  act({"mousemove", QString::number(point.x()), QString::number(point.y()), "click", "1"});
}

bool ScreenTest::pick(int column) {
  click(place::cell(column).center());
  return see("the mark on a picked photo", [&](const Frame& frame) { return frame.showsPicked(column); });
}

void ScreenTest::act(const QStringList& words) const {
  QProcess hand;
  hand.setEnvironment({QString::fromStdString("DISPLAY=" + display_)});
  hand.start(QStringLiteral("xdotool"), words);
  hand.waitForFinished(-1);
}

void ScreenTest::closeWindow() const {
  Display* const screen = XOpenDisplay(display_.c_str());
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.message_type = XInternAtom(screen, "WM_PROTOCOLS", False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(XInternAtom(screen, "WM_DELETE_WINDOW", False));
  Window root = 0, parent = 0, *windows = nullptr;
  unsigned count = 0;
  XQueryTree(screen, DefaultRootWindow(screen), &root, &parent, &windows, &count);
  for (unsigned at = 0; at < count; ++at) {
    event.xclient.window = windows[at];
    XSendEvent(screen, windows[at], False, NoEventMask, &event);
  }
  XFree(windows);
  XCloseDisplay(screen);
}

Outcome ScreenTest::end() {
  Outcome outcome;
  outcome.status = waitFor(*std::exchange(process_, nullptr));
  outcome.out = contentOf(top_ / "out");
  outcome.err = contentOf(top_ / "err");
  return outcome;
}

}  // namespace tlx::program::test
