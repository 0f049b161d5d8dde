#pragma once

#include <QImage>
#include <QProcess>
#include <functional>

#include "tests/apps/ProgramRun.h"

namespace tlx::program::test {

/// What a screen showed at one moment.
struct Frame {
  QImage image;

  /// How many pixels of the area are, within a few steps, of this colour.
  int count(const QRect& area, QRgb colour) const;
  bool isAll(const QRect& area, QRgb colour) const { return count(area, colour) == area.width() * area.height(); }
  /// How many different colours, coarsely told apart, an area has: a photo has many, a surface one.
  int variety(const QRect& area) const;
  bool sameIn(const QRect& area, const Frame& other) const { return image.copy(area) == other.image.copy(area); }

  /// Whether the first row's cells up to that one show their photos. A tile that still waits is of one colour.
  bool showsPhotos(int upTo) const;
  bool showsPicked(int column) const;
};

/// The program in a window on an X server of the test's own, at its corner, and a person who looks and clicks. Skipped
/// where no server is to be had.
class ScreenTest : public ProgramTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  void open(const std::vector<std::string>& words) { process_ = start(words, top_ / "out"); }
  Frame frame() const;
  /// Waits until the screen shows what is looked for. False, and a failed test, when the program ends before or never
  /// gets there.
  bool see(const char* what, const std::function<bool(const Frame&)>& isThere);
  void click(const QPoint& point) const;
  /// Clicks that photo of the first row and waits for its mark. False, and a failed test, without one.
  bool pick(int column);
  /// A press and release of the key of that name, such as "Escape".
  void key(const char* name) const { act({"key", name}); }
  /// Asks the one window to close, as the button on its frame would.
  void closeWindow() const;
  Outcome end();

  std::unique_ptr<QProcess> process_;

 private:
  void act(const QStringList& words) const;

  std::string display_;  ///< as the environment variable has it, ":7"
  QProcess server_;
};

/// Where things are in a window of 1024 x 720, as a person sees them.
namespace place {
constexpr QPoint kDone = {984, 30};
/// Well within the cell of the first row, counted from the left.
constexpr QRect cell(int column) {
  return {26 + column * 399 / 2 + 12, 192, 150, 100};
}
}  // namespace place

constexpr QRgb kAccent = qRgb(62, 193, 199), kWhite = qRgb(255, 255, 255);

}  // namespace tlx::program::test
