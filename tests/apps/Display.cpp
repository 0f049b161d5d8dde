#include "tests/apps/Display.h"

#include <QStandardPaths>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "tests/apps/ProgramRun.h"

namespace tlx::program::test {
namespace {

constexpr int kClose = 6;  // steps of a channel

}  // namespace

Frame::Colour Frame::at(int x, int y) const {
  const QRgb pixel = image_.pixel(x, y);
  return {qRed(pixel), qGreen(pixel), qBlue(pixel)};
}

int Frame::count(const Area& area, const Colour& colour) const {
  int found = 0;
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      const Colour here = at(x, y);
      found += std::abs(here[0] - colour[0]) < kClose && std::abs(here[1] - colour[1]) < kClose &&
               std::abs(here[2] - colour[2]) < kClose;
    }
  }
  return found;
}

int Frame::variety(const Area& area) const {
  std::set<int> colours;
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      const Colour here = at(x, y);
      colours.insert(here[0] / 8 * 1024 + here[1] / 8 * 32 + here[2] / 8);
    }
  }
  return static_cast<int>(colours.size());
}

bool Frame::sameIn(const Area& area, const Frame& other) const {
  const QRect place(area.x, area.y, area.width, area.height);
  return image_.copy(place) == other.image_.copy(place);
}

Display::Display(const std::string& folder) : folder_(folder) {
  for (const char* const needed : {"Xvfb", "xdotool"}) {
    if (QStandardPaths::findExecutable(QLatin1String(needed)).isEmpty()) {
      error_ = std::string(needed) + " is not installed";
      return;
    }
  }
  std::filesystem::create_directories(folder);
  // The server writes its number once it takes connections, or ends when it cannot.
  server_.start(QStringLiteral("Xvfb"), {"-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp", "-fbdir",
                                         QString::fromStdString(folder)});
  while (!server_.canReadLine() && server_.waitForReadyRead(-1)) {
  }
  name_ = ":" + server_.readLine().trimmed().toStdString();
  if (name_ == ":") error_ = "Xvfb did not start";
}

Display::~Display() {
  server_.terminate();
  server_.waitForFinished(-1);
}

// The server keeps a window dump there: a header of 32-bit numbers, highest byte first, a colour table, and the rows.
Frame Display::frame() const {
  const std::string dump = contentOf(folder_ + "/Xvfb_screen0");
  const auto number = [&](std::size_t index) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<unsigned char>(dump.at(4 * index + i));
    return value;
  };
  constexpr std::size_t kHeaderSize = 0, kWidth = 4, kHeight = 5, kRow = 12, kColours = 19, kColourSize = 12;
  const auto* rows = reinterpret_cast<const uchar*>(dump.data()) + number(kHeaderSize) + number(kColours) * kColourSize;
  return Frame(QImage(rows, static_cast<int>(number(kWidth)), static_cast<int>(number(kHeight)),
                      static_cast<qsizetype>(number(kRow)), QImage::Format_RGB32)
                   .copy());
}

void Display::click(int x, int y) const {
  act({"mousemove", QString::number(x), QString::number(y), "click", "1"});
}

void Display::key(const std::string& name) const {
  act({"key", QString::fromStdString(name)});
}

void Display::act(const QStringList& words) const {
  QProcess hand;
  hand.setEnvironment({QString::fromStdString("DISPLAY=" + name_)});
  hand.start(QStringLiteral("xdotool"), words);
  hand.waitForFinished(-1);
}

}  // namespace tlx::program::test
