#pragma once

#include <QImage>
#include <QProcess>
#include <QStringList>
#include <array>
#include <string>
#include <utility>

namespace tlx::program::test {

/// What a screen showed at one moment.
class Frame {
 public:
  using Colour = std::array<int, 3>;
  struct Area {
    int x, y, width, height;
  };

  explicit Frame(QImage image) : image_(std::move(image)) {}

  Colour at(int x, int y) const;
  /// How many pixels of the area are, within a few steps, of this colour.
  int count(const Area& area, const Colour& colour) const;
  /// How many different colours, coarsely told apart, an area has: a photo has many, a surface one.
  int variety(const Area& area) const;
  bool sameIn(const Area& area, const Frame& other) const;

 private:
  QImage image_;
};

/// An X server of the test's own, on no screen.
class Display {
 public:
  /// `folder` is where the server keeps what it shows. Check `error`.
  explicit Display(const std::string& folder);
  ~Display();
  Display(const Display&) = delete;
  Display& operator=(const Display&) = delete;

  /// Why there is none; empty when there is.
  const std::string& error() const { return error_; }
  /// As the environment variable has it, ":7".
  const std::string& name() const { return name_; }

  Frame frame() const;
  /// A press and release of the left button there.
  void click(int x, int y) const;
  /// A press and release of the key of that name, such as "Escape".
  void key(const std::string& name) const;

 private:
  void act(const QStringList& words) const;

  std::string folder_, error_, name_;
  QProcess server_;
};

}  // namespace tlx::program::test
