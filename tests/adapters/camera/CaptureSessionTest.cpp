#include <cmath>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UIImage.h"

#include "adapters/camera/GstCamera.h"
#include "adapters/memory/MemoryPlatform.h"
#include "tests/contracts/CameraContract.h"
#include "tests/support/TemporaryFolder.h"

namespace tlx::camera {
namespace {

using testing::ElementsAre;

/// A machine with GStreamer's own test pictures in place of cameras.
struct Machine {
  Machine() {
    options.test = true;
    options.folder = folder / "captures";
    options.spareBytes = 0;
  }
  GstCamera& camera() { return made.emplace(options, platform.loop); }

  const support::TemporaryFolder folder;
  memory::MemoryPlatform platform;
  GstCamera::Options options;
  std::optional<GstCamera> made;
};

class GstCameraWorld final : public contracts::CameraWorld, private Machine {
 public:
  MainQueuePort& mainQueue() override { return platform.loop; }
  bool runUntil(const std::function<bool()>& done) override { return platform.loop.runUntil(done); }
  void settle() override { platform.runUntilIdle(); }
  CameraPort* camera(Cameras cameras) override {
    if (cameras == Cameras::None && std::filesystem::exists("/dev/video0")) return nullptr;
    options.test = cameras != Cameras::None;
    if (cameras == Cameras::GoWhileRecording)
      options.testPictures = "videotestsrc is-live=true ! identity error-after=60";
    return &Machine::camera();
  }
};

std::unique_ptr<contracts::CameraWorld> makeCameraWorld() {
  return std::make_unique<GstCameraWorld>();
}

class CaptureSessionTest : public testing::Test, protected Machine {
 protected:
  void open(CaptureKind kind, const std::string& device = "") {
    session.reset();
    session = camera().makeSession(listener);
    session->open(kind, device);
  }
  template <class Done>
  bool wait(Done done) {
    return platform.loop.runUntil(done);
  }
  bool sees() {
    return wait([&] { return session->preview() != nullptr; });
  }
  /// Records until so much is in the can, then stops.
  void record(double seconds) {
    ASSERT_TRUE(sees());
    session->startRecording();
    ASSERT_TRUE(wait([&] {
      session->preview();  // who has seen one picture is told of the next
      return listener.recordings > 0 || session->recordedSeconds().value_or(0) >= seconds;
    }));
    session->stopRecording();
    ASSERT_TRUE(wait([&] { return listener.recordings > 0; }));
  }
  std::ptrdiff_t filesLeft() const {
    return std::filesystem::exists(options.folder)
               ? std::distance(std::filesystem::directory_iterator(options.folder), {})
               : 0;
  }

  contracts::CameraListener listener{platform.loop};
  std::unique_ptr<CaptureSession> session;
};

TEST_F(CaptureSessionTest, PhotosHaveTheSensorsPixelsAndSayHowItLies) {
  struct Row {
    const char* tag;
    UIImageOrientation told;
    CGSize photo, preview;
    const char* reason;
  };
  const CGSize wide{2048, 1536}, tall{1536, 2048}, wideScreen{1280, 960}, tallScreen{960, 1280};
  const Row rows[] = {
      {"rotate-0", UIImageOrientationUp, wide, wideScreen, "a preview has no more pixels than a screen"},
      {"rotate-90", UIImageOrientationRight, wide, tallScreen, "whoever shows it turns it; a preview is turned"},
      {"flip-rotate-90", UIImageOrientationUp, tall, tallScreen, "mirrored as well, it is turned here"},
      {"flip-rotate-270", UIImageOrientationUp, tall, tallScreen, "and so to the other side"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    listener.forget();
    options.testPictures = std::string("videotestsrc is-live=true ! taginject tags=image-orientation=") + row.tag;
    open(CaptureKind::Photo);
    ASSERT_TRUE(sees());
    const auto preview = session->preview();
    EXPECT_EQ(CGSizeMake(static_cast<double>(preview->width()), static_cast<double>(preview->height())), row.preview);
    session->takePhoto();
    ASSERT_TRUE(wait([&] { return listener.photo != nullptr; }));
    EXPECT_EQ(listener.photo->imageOrientation(), row.told);
    const auto& bitmap = *listener.photo->bitmap();
    EXPECT_EQ(CGSizeMake(static_cast<double>(bitmap.width()), static_cast<double>(bitmap.height())), row.photo);
    if (row.told != UIImageOrientationUp) continue;
    // Away from the corners into which the part of the pattern comes that never looks the same twice.
    const auto at = [](const CGImage& of, std::size_t x, std::size_t y) {
      return of.row(of.height() * y / 10) + 4 * (of.width() * x / 10);
    };
    for (const auto& [x, y] : {std::pair(1u, 9u), {9u, 1u}, {1u, 4u}, {4u, 1u}, {4u, 9u}, {9u, 4u}}) {
      for (int channel = 0; channel < 3; ++channel) {
        EXPECT_NEAR(at(bitmap, x, y)[channel], at(*preview, x, y)[channel], 8) << x << " " << y;
      }
    }
  }
}

TEST_F(CaptureSessionTest, MoviesAreWrittenAsThisMachineCan) {
  struct Row {
    const char* why;
    bool sound;
    std::vector<std::string> without;
    std::string ending;
    std::vector<std::string> codecs;
  };
  const std::vector<std::string> noH264 = {"vah264enc",   "vah264lpenc", "vaapih264enc", "nvh264enc",  "qsvh264enc",
                                           "v4l2h264enc", "omxh264enc",  "x264enc",      "openh264enc"};
  const Row rows[] = {
      {"H.264 and AAC", true, {}, ".mp4", {"h264", "aac"}},
      {"no microphone", false, {}, ".mp4", {"h264"}},
      {"no H.264", true, noH264, ".webm", {"vp8", "opus"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    listener.forget();
    options.testSound = row.sound;
    options.withoutEncoders = row.without;
    open(CaptureKind::Movie);
    record(1);
    ASSERT_TRUE(listener.recording) << (listener.error ? listener.error->localizedDescription : "");
    EXPECT_FALSE(listener.error);
    EXPECT_EQ(std::filesystem::path(listener.recording->path).extension(), row.ending);
    EXPECT_GE(listener.recording->duration, 1);
    std::vector<std::string> codecs;
    for (const AVAssetTrack& track : listener.recording->tracks) {
      codecs.push_back(track.codec);
      if (track.mediaType == AVMediaTypeVideo) {
        EXPECT_EQ(std::pair(track.width, track.height), std::pair(1280, 720));
      }
    }
    EXPECT_THAT(codecs, testing::UnorderedElementsAreArray(row.codecs));
    EXPECT_EQ(filesLeft(), 1);
    session.reset();
    EXPECT_EQ(filesLeft(), 1) << "whoever holds the recording keeps its file";
  }
  listener.forget();
  EXPECT_EQ(filesLeft(), 0) << "and nobody else does";
}

TEST_F(CaptureSessionTest, WhatCutsARecordingShortIsTold) {
  options.testPictures = "videotestsrc is-live=true num-buffers=60";
  open(CaptureKind::Movie);
  record(1000);
  ASSERT_TRUE(listener.error);
  EXPECT_EQ(listener.error->code, CameraErrorDisconnected) << "the driver stops";
  ASSERT_TRUE(listener.recording);

  listener.forget();
  options.testPictures = "";
  options.spareBytes = ~std::uint64_t{0};
  open(CaptureKind::Movie);
  record(1000);
  ASSERT_TRUE(listener.error);
  EXPECT_EQ(listener.error->code, CameraErrorNoSpace) << "the disk is nearly full";
  EXPECT_FALSE(listener.failure) << "it goes on showing pictures";
}

TEST_F(CaptureSessionTest, NothingIsLeftOfWhatCameToNothing) {
  options.testPictures = "videotestsrc is-live=true ! identity error-after=1";
  open(CaptureKind::Movie);
  session->startRecording();
  ASSERT_TRUE(wait([&] { return listener.recordings > 0; }));
  EXPECT_FALSE(listener.recording);
  EXPECT_TRUE(listener.error);
  session->takePhoto();
  ASSERT_TRUE(wait([&] { return listener.failure.has_value(); }));
  options.testPictures = "";
  open(CaptureKind::Movie);
  ASSERT_TRUE(sees());
  session->startRecording();
  ASSERT_TRUE(wait([&] { return session->preview() && session->recordedSeconds().value_or(0) > 0.3; }));
  session.reset();  // left in the middle
  EXPECT_EQ(filesLeft(), 0);
  // A program that was killed left this one.
  const auto abandoned = std::filesystem::path(options.folder) / "recording-abc.mp4";
  std::ofstream(abandoned) << "half a movie";
  std::filesystem::last_write_time(abandoned, std::filesystem::file_time_type::clock::now() - std::chrono::minutes(5));
  open(CaptureKind::Photo);
  ASSERT_TRUE(sees());
  EXPECT_EQ(filesLeft(), 0);
}

/// Says what a test tells it to, and remembers being asked.
struct Person final : CameraConsent {
  std::optional<bool> cameraAllowed() const override { return decided; }
  void askForCamera(Answer answer) override {
    ++asked;
    answer(*(decided = says));
    answer(!says);
  }
  std::optional<bool> decided;
  bool says = true;
  int asked = 0;
};

TEST_F(CaptureSessionTest, ThePersonAndTheDevicesRightsDecide) {
  for (const bool says : {true, false}) {
    Person person;
    person.says = says;
    options.consent = &person;
    GstCamera asking(options, platform.loop);
    EXPECT_EQ(asking.authorizationStatus(), AVAuthorizationStatusNotDetermined);
    std::vector<bool> answers;
    for (int i = 0; i < 2; ++i) asking.requestAccess([&](bool granted) { answers.push_back(granted); });
    EXPECT_TRUE(wait([&] { return answers.size() == 2; }));
    asking.requestAccess([&](bool granted) { answers.push_back(granted); });
    EXPECT_TRUE(wait([&] { return answers.size() == 3; }));
    EXPECT_THAT(answers, ElementsAre(says, says, says));
    EXPECT_EQ(person.asked, 1);
    EXPECT_EQ(asking.authorizationStatus(), says ? AVAuthorizationStatusAuthorized : AVAuthorizationStatusDenied);
  }
  Person person;
  options.consent = &person;
  options.devicesFolder = folder.path();
  const GstCamera guarded(options, platform.loop);
  EXPECT_EQ(guarded.authorizationStatus(), AVAuthorizationStatusNotDetermined) << "no camera refuses nothing";
  // Rights do not bind root: what cannot be opened by anybody is a link to nowhere.
  std::filesystem::create_symlink(folder / "nowhere", folder / "video0");
  EXPECT_EQ(guarded.authorizationStatus(), AVAuthorizationStatusRestricted);
  std::ofstream(folder / "video1") << "";
  EXPECT_EQ(guarded.authorizationStatus(), AVAuthorizationStatusNotDetermined) << "one may be opened";
}

}  // namespace
}  // namespace tlx::camera

namespace tlx::contracts {
INSTANTIATE_TEST_SUITE_P(Gstreamer, CameraContract, testing::Values(&camera::makeCameraWorld));
}  // namespace tlx::contracts
