#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include "adapters/photolibrary/decoding/ConfinedDecoders.h"
#include "adapters/photolibrary/images/pixels/FittedSize.h"

namespace tlx::photolibrary::test {
namespace {

/// A file that tells the hostile worker what to do.
FileDescriptor order(const std::string& deed) {
  FileDescriptor file(memfd_create("order", MFD_CLOEXEC));
  EXPECT_EQ(write(file.get(), deed.data(), deed.size()), static_cast<ssize_t>(deed.size()));
  return file;
}

std::vector<pid_t> children() {
  std::vector<pid_t> found;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream list(thread.path() / "children");
    for (pid_t child = 0; list >> child;) found.push_back(child);
  }
  return found;
}

class ConfinedDecoding : public testing::Test {
 protected:
  ConfinedDecoders::Settings settings() {
    ConfinedDecoders::Settings settings;
    settings.folder = TLX_HOSTILE_WORKERS;
    settings.log = [this](const std::string& line) {
      const std::lock_guard lock(mutex_);
      log_.push_back(line);
    };
    return settings;
  }
  Picture decode(ConfinedDecoders& decoders, const std::string& deed, std::stop_token cancelled = {}) {
    const FileDescriptor file = order(deed);
    return decoders.decode({file.get(), {{}, PHImageContentModeAspectFit, std::move(cancelled)}});
  }
  static std::string told(const Picture& picture) {
    const NSError* error = std::get_if<NSError>(&picture);
    return error ? std::to_string(error->code) + " " + error->localizedDescription : "a picture";
  }
  /// Whether it is the painted one of that size, whole and turned.
  static std::string flaw(const Picture& picture, PixelSize stored, std::int32_t turn) {
    const auto* image = std::get_if<0>(&picture);
    if (!image) return told(picture);
    const PixelSize upright = turn >= 5 ? stored.turned() : stored;
    const CGImage& made = **image;
    if (std::pair(made.width(), made.height()) != std::pair<std::size_t, std::size_t>(upright.width, upright.height)) {
      return "a picture of another size";
    }
    for (std::int32_t y = 0; y < upright.height; ++y) {
      for (std::int32_t x = 0; x < upright.width; ++x) {
        // Orientation 6 puts the stored picture's first row at the right edge.
        const std::int32_t column = turn == 6 ? y : x, row = turn == 6 ? stored.height - 1 - x : y;
        const std::uint8_t* pixel = made.row(static_cast<std::size_t>(y)) + x * 4;
        if (pixel[0] != static_cast<std::uint8_t>(column) || pixel[1] != static_cast<std::uint8_t>(row) ||
            pixel[2] != static_cast<std::uint8_t>(stored.width)) {
          return "another pixel at " + std::to_string(x) + ", " + std::to_string(y);
        }
      }
    }
    return "";
  }

  std::mutex mutex_;
  std::vector<std::string> log_;
  PixelStore pixels_{std::filesystem::temp_directory_path() / "tlx-confined-test"};
};

TEST_F(ConfinedDecoding, BringsPicturesWholeAndUprightHoweverLarge) {
  ConfinedDecoders decoders(pixels_, settings());
  const struct {
    PixelSize size;
    std::int32_t turn;
    const char* reason;
  } rows[] = {{{1, 1}, 1, "the smallest"},
              {{120, 80}, 6, "a cell's, turned by the picker"},
              {{3001, 1999}, 1, "many times the ring, which no number of rows fills exactly"},
              {{2000, 1500}, 6, "turned, and larger than the ring"},
              {{1 << 18, 3}, 1, "the longest row"}};
  for (const auto& [size, turn, reason] : rows) {
    std::ostringstream deed;
    deed << "paint " << size.width << ' ' << size.height << ' ' << turn;
    EXPECT_EQ(flaw(decode(decoders, deed.str()), size, turn), "") << reason;
  }
  EXPECT_TRUE(log_.empty()) << log_.front();
}

TEST_F(ConfinedDecoding, WhateverADecoderDoesEndsWithItsOwnPicture) {
  ConfinedDecoders decoders(pixels_, settings());
  const std::pair<const char*, std::vector<const char*>> rows[] = {
      {"3 its decoder crashed",
       {"null", "abort", "recurse", "exit", "exec", "fork", "socket", "kill", "code", "shrink", "lie-size", "lie-turn",
        "lie-id", "lie-end", "lie-rows", "lie-many-rows", "lie-info", "lie-short"}},
      {"5 it needs more memory than a picture may take", {"eat"}},
      {"4 held", {"open", "reopen", "environment", "needs-memory"}},
  };
  for (const auto& [result, deeds] : rows) {
    for (const char* deed : deeds) {
      EXPECT_EQ(told(decode(decoders, deed)), result) << deed;
      EXPECT_EQ(flaw(decode(decoders, "paint 40 30"), {40, 30}, 1), "") << "after " << deed;
    }
  }
  for (int i = 0; i < 60; ++i) EXPECT_EQ(told(decode(decoders, "give-up")), "4 held");
  EXPECT_EQ(flaw(decode(decoders, "paint 1000 900"), {1000, 900}, 1), "") << "what came to nothing takes no room";
  EXPECT_THAT(log_, testing::Each(testing::StartsWith("A decoder ")));
  EXPECT_THAT(log_, testing::Contains("A decoder went: it was killed by signal 11."));
}

TEST_F(ConfinedDecoding, WhoNeverEndsIsEnded) {
  auto impatient = settings();
  impatient.processorSeconds = 0;
  ConfinedDecoders bounded(pixels_, impatient);
  EXPECT_EQ(told(decode(bounded, "spin")), "5 it takes too long to decode") << "by its processor time";
  impatient.patience = std::chrono::milliseconds(50);
  ConfinedDecoders hurried(pixels_, impatient);
  EXPECT_EQ(told(decode(hurried, "sleep")), "2 it takes too long to read") << "by the clock";
}

TEST_F(ConfinedDecoding, TakesBackWhatItWasToldWithTheSameWords) {
  ConfinedDecoders decoders(pixels_, settings());
  std::stop_source cancelled;
  std::jthread cancel([&] { cancelled.request_stop(); });
  EXPECT_EQ(told(decode(decoders, "until-cancelled", cancelled.get_token())), "6 cancelled");
}

TEST_F(ConfinedDecoding, OneOfManyThatCrashesTakesNoneOfTheOthersAlong) {
  ConfinedDecoders decoders(pixels_, settings());
  std::vector<FileDescriptor> files(24);
  std::vector<DecodersPort::Wanted> wanted(24);
  for (std::size_t i = 0; i < 24; ++i) {
    files[i] = order(i % 8 == 5 ? "null" : "paint 60 40");
    wanted[i].file = files[i].get();
  }
  const auto pictures = decoders.decodeEmbedded(wanted);
  ASSERT_EQ(pictures.size(), 24u);
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    EXPECT_EQ(flaw(pictures[i], {60, 40}, 1), i % 8 == 5 ? "3 its decoder crashed" : "") << i;
  }
}

TEST_F(ConfinedDecoding, TwoHundredKillsLoseNoPicture) {
  ConfinedDecoders decoders(pixels_, settings());
  std::atomic<int> made{0}, wrong{0}, kills{0};
  {
    std::vector<std::jthread> threads(2);
    for (std::jthread& thread : threads) {
      thread = std::jthread([&] {
        while (made < 1000 || kills < 200) {
          if (!flaw(decode(decoders, "paint 200 150"), {200, 150}, 1).empty()) ++wrong;
          ++made;
        }
      });
    }
    std::mt19937 random(7);
    while (kills < 200) {
      const auto living = children();
      if (!living.empty() && kill(living[random() % living.size()], SIGKILL) == 0) ++kills;
      // The next one comes a few pictures later.
      for (const int seen = made; kills < 200 && made < seen + 4;) std::this_thread::yield();
    }
  }
  EXPECT_EQ(wrong, 0);
}

TEST_F(ConfinedDecoding, WithoutAProgramPicturesFailAndTheReasonIsSaidOnce) {
  auto nowhere = settings();
  nowhere.folder = "/nowhere";
  ConfinedDecoders decoders(pixels_, nowhere);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(told(decode(decoders, "paint 4 4")), "2 the decoders' program is not to be had");
  }
  EXPECT_EQ(log_.size(), workerKinds);
}

TEST_F(ConfinedDecoding, WorkersGoWithTheProcessThatStartedThem) {
  int pipes[2];
  ASSERT_EQ(pipe(pipes), 0);
  const pid_t host = fork();
  if (host == 0) {
    ConfinedDecoders decoders(pixels_, settings());
    std::jthread busy([&] { decode(decoders, "spin"); });
    pid_t worker = 0;
    while (worker == 0) {
      const auto living = children();
      if (!living.empty()) worker = living.front();
    }
    [[maybe_unused]] const ssize_t written = write(pipes[1], &worker, sizeof(worker));
    pause();
  }
  pid_t worker = 0;
  ASSERT_EQ(read(pipes[0], &worker, sizeof(worker)), static_cast<ssize_t>(sizeof(worker)));
  const FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, worker, 0)));
  ASSERT_TRUE(process);
  kill(host, SIGKILL);
  waitpid(host, nullptr, 0);
  pollfd gone{process.get(), POLLIN, 0};
  EXPECT_EQ(poll(&gone, 1, 30'000), 1);
}

}  // namespace
}  // namespace tlx::photolibrary::test
