#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/apps/Display.h"
#include "tests/apps/ProgramRun.h"

namespace tlx::program::test {

/// The program in a window on an X server of the test's own, at its corner, and a person who looks and clicks. Skipped
/// where no server is to be had.
class ScreenTest : public ProgramTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  void open(const std::vector<std::string>& words) { process_ = start(words, top_ / "out"); }
  /// Waits until the screen shows what is looked for. False, and a failed test, when the program ends before or never
  /// gets there.
  bool see(const char* what, const std::function<bool(const Frame&)>& isThere);
  void click(int x, int y) { display_->click(x, y); }
  /// Waits for the program's end.
  Outcome end();

  std::unique_ptr<Display> display_;
  std::unique_ptr<QProcess> process_;
};

/// Where things are in a window of 1024 x 720, as a person sees them.
namespace place {
constexpr int kDoneX = 984, kBarY = 30;
/// Well within the cell of the first row, counted from the left; and its edge, which has a frame when picked.
constexpr Frame::Area cell(int column) {
  return {26 + column * 399 / 2 + 12, 192, 150, 100};
}
constexpr Frame::Area edge(int column) {
  return {26 + column * 399 / 2, 192, 6, 100};
}
}  // namespace place

constexpr Frame::Colour kAccent = {62, 193, 199};

/// The photo's own pixels vary; a tile that still waits is of one colour.
bool isPhoto(const Frame& frame, const Frame::Area& area);
bool isPicked(const Frame& frame, int column);

}  // namespace tlx::program::test
