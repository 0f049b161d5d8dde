#pragma once

#include <QString>
#include <functional>
#include <utility>
#include <vector>

class QQuickWindow;

namespace tlx::bench {

/// A screen that can be scrolled frame by frame.
class ScrolledScreen {
 public:
  virtual ~ScrolledScreen() = default;
  virtual QQuickWindow& window() = 0;
  virtual void scrollTo(double offset) = 0;
  /// The greatest offset.
  virtual double end() const = 0;
  /// Visible cells without any picture, and all visible cells.
  virtual std::pair<int, int> blanks() const = 0;
};

/// How frames are asked for.
struct Pace {
  double step;       ///< points a frame; at an end the way goes back
  bool paced;        ///< sixty frames a second, else as fast as they come
  double start = 0;  ///< the first offset
};

/// Wall time of frames, from the demand to the screen, less the time that the thread waited for a processor: on a
/// machine that is busy otherwise, that is what other programs take, and it hides all the rest. How long it waited is
/// printed beside it.
class Frames {
 public:
  explicit Frames(Pace pace) : pace_(pace), offset_(pace.start) {}
  /// Scrolls on and waits for so many more frames. A few that come before are not counted.
  void run(ScrolledScreen& screen, int count);
  /// The way begins anew, for another screen that shows the same.
  void rewind();
  /// Milliseconds; 0.5 is the median.
  double at(double part) const;
  double blankPercent() const;
  void print(const char* name) const;

 private:
  void next(ScrolledScreen& screen, bool counts);

  const Pace pace_;
  double offset_ = 0, direction_ = 1;
  std::vector<double> milliseconds_;
  double waited_ = 0;
  long blank_ = 0, visible_ = 0;
};

/// Lets the event loop run for so long, or until `done` answers true. Answers whether it did.
bool spin(double seconds, const std::function<bool()>& done = nullptr);
/// Draws the window once.
void drawFrame(QQuickWindow& window);
long residentKilobytes();

}  // namespace tlx::bench
