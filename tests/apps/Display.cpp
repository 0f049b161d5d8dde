#include "tests/apps/Display.h"

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/apps/ProgramRun.h"

namespace tlx::program::test {
namespace {

constexpr int kClose = 6;  // steps of a channel

pid_t spawn(std::vector<std::string> words, posix_spawn_file_actions_t* files, std::vector<std::string> variables) {
  std::vector<char*> arguments, settings;
  for (std::string& word : words) arguments.push_back(word.data());
  for (std::string& variable : variables) settings.push_back(variable.data());
  arguments.push_back(nullptr);
  settings.push_back(nullptr);
  pid_t process = -1;
  if (posix_spawn(&process, words[0].c_str(), files, nullptr, arguments.data(), settings.data()) != 0) return -1;
  return process;
}

}  // namespace

std::string onPath(const std::string& program) {
  const char* const path = std::getenv("PATH");
  std::istringstream folders(path ? path : "/usr/bin");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (const std::string file = folder + "/" + program; access(file.c_str(), X_OK) == 0) return file;
  }
  return {};
}

Frame::Colour Frame::at(int x, int y) const {
  const auto* pixel = pixels_.data() + 4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                                            static_cast<std::size_t>(x));
  return {pixel[2], pixel[1], pixel[0]};
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
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) {
      if (at(x, y) != other.at(x, y)) return false;
    }
  }
  return true;
}

Display::Display(const std::string& folder) : folder_(folder) {
  const std::string server = onPath("Xvfb");
  if (server.empty() || onPath("xdotool").empty()) {
    error_ = server.empty() ? "Xvfb is not installed" : "xdotool is not installed";
    return;
  }
  std::filesystem::create_directories(folder);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    error_ = "no pipe";
    return;
  }
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, ends[1], 3);
  posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&files, 2, "/dev/null", O_WRONLY, 0);
  server_ = spawn({server, "-displayfd", "3", "-screen", "0", "1024x768x24", "-nolisten", "tcp", "-fbdir", folder},
                  &files, {"PATH=/usr/bin:/bin"});
  posix_spawn_file_actions_destroy(&files);
  close(ends[1]);
  // The server writes its number once it takes connections, or closes the pipe when it cannot.
  for (char digit; read(ends[0], &digit, 1) == 1 && digit != '\n';) name_ += digit;
  close(ends[0]);
  if (name_.empty()) {
    error_ = "Xvfb did not start";
  } else {
    name_ = ":" + name_;
  }
}

Display::~Display() {
  if (server_ < 0) return;
  kill(server_, SIGTERM);
  waitpid(server_, nullptr, 0);
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
  const std::size_t width = number(kWidth), height = number(kHeight);
  std::vector<std::uint8_t> pixels;
  for (std::size_t y = 0; y < height; ++y) {
    const std::size_t row = number(kHeaderSize) + number(kColours) * kColourSize + y * number(kRow);
    pixels.insert(pixels.end(), dump.begin() + static_cast<std::ptrdiff_t>(row),
                  dump.begin() + static_cast<std::ptrdiff_t>(row + 4 * width));
  }
  return {static_cast<int>(width), static_cast<int>(height), std::move(pixels)};
}

void Display::click(int x, int y) const {
  act({"mousemove", std::to_string(x), std::to_string(y), "click", "1"});
}

void Display::key(const std::string& name) const {
  act({"key", name});
}

void Display::act(std::vector<std::string> words) const {
  words.insert(words.begin(), onPath("xdotool"));
  const pid_t hand = spawn(words, nullptr, {"DISPLAY=" + name_, "PATH=/usr/bin:/bin"});
  if (hand > 0) waitpid(hand, nullptr, 0);
}

}  // namespace tlx::program::test
