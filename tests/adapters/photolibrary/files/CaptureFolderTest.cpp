#include <csignal>
#include <cstdlib>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "adapters/photolibrary/files/CaptureFolder.h"
#include "adapters/photolibrary/images/headers/PhotoFacts.h"
#include "adapters/photolibrary/images/writing/CaptureExif.h"
#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {
namespace {

using testing::EndsWith;

constexpr double kTaken = 1'714'557'600.25;  // 2024-05-01 10:00:00.25 UTC

UIImage picture(std::size_t width, std::size_t height) {
  std::vector<std::uint8_t> pixels(width * height * 4, 255);
  for (std::size_t i = 0; i < width * height; ++i) pixels[4 * i] = static_cast<std::uint8_t>(i % width * 255 / width);
  return UIImage(CGImage::create(width, height, std::move(pixels)));
}

std::string pathOf(const std::variant<std::string, NSError>& saved) {
  const auto* error = std::get_if<NSError>(&saved);
  EXPECT_FALSE(error) << error->localizedDescription;
  return error ? std::string() : std::get<std::string>(saved);
}

TEST(CaptureFolder, PhotosAreWholeDatedAndNeverReplaceAnything) {
  ::setenv("TZ", "Asia/Tokyo", 1);
  ::tzset();
  const LibraryFolder folder;
  const CaptureFolder camera(folder.pictures());
  const std::string first = pathOf(camera.savePhoto(picture(300, 200), kTaken));
  EXPECT_THAT(first, EndsWith("/Camera/2024-05-01 19.00.00.jpg")) << "by the clock on the wall";
  EXPECT_THAT(pathOf(camera.savePhoto(picture(30, 20), kTaken)), EndsWith("/2024-05-01 19.00.00 (2).jpg"));
  const auto info = std::get<MediaInfo>(probe(first));
  ::unsetenv("TZ");
  ::tzset();
  EXPECT_EQ(info.format, MediaFormat::Jpeg);
  EXPECT_EQ(info.width, 300);
  EXPECT_EQ(info.height, 200);
  EXPECT_EQ(info.captureDate, kTaken);
  struct stat status;
  ASSERT_EQ(::stat(first.c_str(), &status), 0);
  EXPECT_EQ(status.st_mtim.tv_sec, static_cast<time_t>(kTaken));
  EXPECT_EQ(status.st_mode & 0600, 0600u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(camera.path()), {}), 2) << "nothing hidden is left";
}

TEST(CaptureExif, SaysToOthersWhenItWas) {
  struct Row {
    double taken;
    std::optional<double> said;
    const char *zone, *reason;
  };
  const Row rows[] = {
      {kTaken, kTaken, "Newfoundland", "hours and a half behind"},
      {-86'400.5, -86'400.5, "Asia/Tokyo", "a scan of an old print"},
      {-6e10, -6e10, "UTC", "four digits of the year 68"},
      {4e11, std::nullopt, "UTC", "a year of five digits has no place"},
  };
  for (const Row& row : rows) {
    ::setenv("TZ", row.zone, 1);
    ::tzset();
    const auto block = captureExif(row.taken);
    ::setenv("TZ", "EST5", 1);
    ::tzset();
    PhotoFacts facts;
    facts.orientation = 0;
    readExif(block, facts);
    EXPECT_EQ(facts.captureDate, row.said) << row.reason;
    EXPECT_EQ(facts.orientation, 1) << row.reason;
  }
  ::unsetenv("TZ");
  ::tzset();
}

TEST(CaptureFolder, AVideoIsTheSameFileUntilTheCaptureGoes) {
  const LibraryFolder folder;
  const CaptureFolder camera(folder.pictures());
  folder.put("../capture.tmp", sampleVideo(3));
  const std::string capture = folder.pictures() / ".." / "capture.tmp";
  ::chmod(capture.c_str(), 0600);
  const std::string saved = pathOf(camera.saveVideo(capture, kTaken));
  EXPECT_THAT(saved, EndsWith(".mp4")) << "by what is in it";
  EXPECT_EQ(std::filesystem::hard_link_count(saved), 2u) << "a long video takes no time";
  std::filesystem::remove(capture);
  EXPECT_EQ(std::filesystem::file_size(saved), sampleVideo(3).size());
  // From another file system it is copied.
  const std::string elsewhere = "/dev/shm/tlx-capture-" + std::to_string(::getpid());
  if (!std::filesystem::exists("/dev/shm")) return;
  writeFile(elsewhere, sampleVideo(2));
  const std::string copied = pathOf(camera.saveVideo(elsewhere, kTaken));
  EXPECT_EQ(readFile(copied), sampleVideo(2));
  EXPECT_EQ(std::filesystem::status(copied).permissions(), std::filesystem::status(saved).permissions());
  std::filesystem::remove(elsewhere);
}

TEST(CaptureFolder, WhatCannotBeSavedLeavesNothingBehind) {
  const LibraryFolder folder;
  const auto code = [](const std::variant<std::string, NSError>& saved) {
    const auto* error = std::get_if<NSError>(&saved);
    return error ? error->code : 0;
  };
  // A file stands where the folder should be.
  folder.put("blocked/Camera", {1});
  EXPECT_EQ(code(CaptureFolder(folder.pictures() / "blocked").savePhoto(picture(9, 9), kTaken)),
            PhotoLibraryErrorUnreadable);
  const CaptureFolder camera(folder.pictures());
  EXPECT_EQ(code(camera.savePhoto(UIImage(nullptr), kTaken)), PhotoLibraryErrorUnsupported);
  EXPECT_EQ(code(camera.saveVideo(folder.pictures() / "missing", kTaken)), PhotoLibraryErrorNotFound);
  folder.put("empty.mp4", {});
  EXPECT_EQ(code(camera.saveVideo(folder.pictures() / "empty.mp4", kTaken)), PhotoLibraryErrorDamaged);
  // A file may grow no larger, which is what a full disk looks like to whoever writes.
  rlimit before;
  ::getrlimit(RLIMIT_FSIZE, &before);
  ::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{1000, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &small);
  const auto full = code(camera.savePhoto(picture(900, 900), kTaken));
  ::setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(full, PhotoLibraryErrorNoSpace);
  EXPECT_TRUE(std::filesystem::is_empty(camera.path()));
}

}  // namespace
}  // namespace tlx::photolibrary::test
