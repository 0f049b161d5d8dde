#include <fstream>

#include <gmock/gmock.h>

#include "tlx/platform/uikit/UIImage.h"

#include "adapters/camera/GstCamera.h"
#include "adapters/memory/MemoryPlatform.h"
#include "tests/contracts/CameraContract.h"
#include "tests/support/TemporaryFolder.h"

namespace tlx::camera {
namespace {

using testing::ElementsAre;

/// A machine with GStreamer's own test pictures in place of cameras.
class Machine final : public contracts::CameraWorld {
 public:
  Machine() {
    options.test = true;
    options.folder = folder / "captures";
    options.spareBytes = 0;
  }
  MainQueuePort& mainQueue() override { return platform.loop; }
  bool runUntil(const std::function<bool()>& done) override { return platform.loop.runUntil(done); }
  void settle() override { platform.runUntilIdle(); }
  CameraPort* camera(Cameras cameras) override {
    if (cameras == Cameras::None && std::filesystem::exists("/dev/video0")) return nullptr;
    options.test = cameras != Cameras::None;
    if (cameras == Cameras::GoWhileRecording)
      options.testPictures = "videotestsrc is-live=true ! identity error-after=60";
    return &made.emplace(options, platform.loop);
  }

  const support::TemporaryFolder folder;
  memory::MemoryPlatform platform;
  GstCamera::Options options;
  std::optional<GstCamera> made;
};

std::unique_ptr<contracts::CameraWorld> makeCameraWorld() {
  return std::make_unique<Machine>();
}

class CaptureSessionTest : public testing::Test, protected contracts::Capturing {
 protected:
  CaptureSessionTest() : Capturing(makeCameraWorld()) {}
  /// At a camera made anew, having heard nothing.
  void start(CaptureKind kind) {
    session.reset();
    listener.photo = nullptr;
    listener.recording.reset();
    listener.error = listener.failure = {};
    listener.recordings = 0;
    listener.isRecording = false;
    session = machine.camera(Machine::Cameras::Work)->makeSession(listener);
    open(kind);
  }
  std::ptrdiff_t filesLeft() const {
    return std::filesystem::exists(options.folder)
               ? std::distance(std::filesystem::directory_iterator(options.folder), {})
               : 0;
  }

  Machine& machine = static_cast<Machine&>(*world_);
  GstCamera::Options& options = machine.options;
};

TEST_F(CaptureSessionTest, PhotosHaveTheSensorsPixelsAndSayHowItLies) {
  const CGSize wide{2048, 1536}, tall{1536, 2048}, wideScreen{1280, 960}, tallScreen{960, 1280};
  const struct {
    const char* tag;
    UIImageOrientation told;
    CGSize photo, preview;
    const char* reason;
  } rows[] = {
      {"rotate-0", UIImageOrientationUp, wide, wideScreen, "a preview has no more pixels than a screen"},
      {"rotate-90", UIImageOrientationRight, wide, tallScreen, "whoever shows it turns it; a preview is turned"},
      {"flip-rotate-90", UIImageOrientationUp, tall, tallScreen, "mirrored as well, it is turned here"},
      {"flip-rotate-270", UIImageOrientationUp, tall, tallScreen, "and so to the other side"},
  };
  const auto sizeOf = [](const CGImage& of) { return CGSize{double(of.width()), double(of.height())}; };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    options.testPictures = std::string("videotestsrc is-live=true ! taginject tags=image-orientation=") + row.tag;
    start(CaptureKind::Photo);
    ASSERT_TRUE(sees());
    const auto preview = session->preview();
    EXPECT_EQ(sizeOf(*preview), row.preview);
    session->takePhoto();
    ASSERT_TRUE(wait([&] { return listener.photo != nullptr; }));
    EXPECT_EQ(listener.photo->imageOrientation(), row.told);
    const auto& bitmap = *listener.photo->bitmap();
    EXPECT_EQ(sizeOf(bitmap), row.photo);
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
  const std::vector<std::string> noH264 = {"vah264enc",   "vah264lpenc", "vaapih264enc", "nvh264enc",  "qsvh264enc",
                                           "v4l2h264enc", "omxh264enc",  "x264enc",      "openh264enc"};
  const struct {
    const char* why;
    bool sound;
    std::vector<std::string> without;
    std::string ending;
    std::vector<std::string> codecs;
  } rows[] = {
      {"H.264 and AAC", true, {}, ".mp4", {"h264", "aac"}},
      {"no microphone", false, {}, ".mp4", {"h264"}},
      {"no H.264", true, noH264, ".webm", {"vp8", "opus"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    options.testSound = row.sound;
    options.withoutEncoders = row.without;
    start(CaptureKind::Movie);
    record(1);
    stop();
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
  listener.recording.reset();
  EXPECT_EQ(filesLeft(), 0) << "and nobody else does";
}

TEST_F(CaptureSessionTest, WhatCutsARecordingShortIsTold) {
  options.testPictures = "videotestsrc is-live=true num-buffers=60";
  start(CaptureKind::Movie);
  record(1000);
  stop();
  ASSERT_TRUE(listener.error);
  EXPECT_EQ(listener.error->code, CameraErrorDisconnected) << "the driver stops";
  ASSERT_TRUE(listener.recording);

  options.testPictures = "";
  options.spareBytes = ~std::uint64_t{0};
  start(CaptureKind::Movie);
  record(1000);
  stop();
  ASSERT_TRUE(listener.error);
  EXPECT_EQ(listener.error->code, CameraErrorNoSpace) << "the disk is nearly full";
  EXPECT_FALSE(listener.failure) << "it goes on showing pictures";
}

TEST_F(CaptureSessionTest, NothingIsLeftOfWhatCameToNothing) {
  options.testPictures = "videotestsrc is-live=true ! identity error-after=1";
  start(CaptureKind::Movie);
  session->startRecording();
  ASSERT_TRUE(wait([&] { return listener.recordings > 0; }));
  EXPECT_FALSE(listener.recording);
  EXPECT_TRUE(listener.error);
  session->takePhoto();
  ASSERT_TRUE(wait([&] { return listener.failure.has_value(); }));
  options.testPictures = "";
  start(CaptureKind::Movie);
  ASSERT_TRUE(sees());
  session->startRecording();
  ASSERT_TRUE(wait([&] { return session->preview() && session->recordedSeconds().value_or(0) > 0.3; }));
  session.reset();  // left in the middle
  EXPECT_EQ(filesLeft(), 0);
  // A program that was killed left this one.
  const auto abandoned = std::filesystem::path(options.folder) / "recording-abc.mp4";
  std::ofstream(abandoned) << "half a movie";
  std::filesystem::last_write_time(abandoned, std::filesystem::file_time_type::clock::now() - std::chrono::minutes(5));
  start(CaptureKind::Photo);
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
    GstCamera asking(options, machine.platform.loop);
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
  options.devicesFolder = machine.folder.path();
  const GstCamera guarded(options, machine.platform.loop);
  EXPECT_EQ(guarded.authorizationStatus(), AVAuthorizationStatusNotDetermined) << "no camera refuses nothing";
  // Rights do not bind root: what cannot be opened by anybody is a link to nowhere.
  std::filesystem::create_symlink(machine.folder / "nowhere", machine.folder / "video0");
  EXPECT_EQ(guarded.authorizationStatus(), AVAuthorizationStatusRestricted);
  std::ofstream(machine.folder / "video1") << "";
  EXPECT_EQ(guarded.authorizationStatus(), AVAuthorizationStatusNotDetermined) << "one may be opened";
}

}  // namespace
}  // namespace tlx::camera

namespace tlx::contracts {
INSTANTIATE_TEST_SUITE_P(Gstreamer, CameraContract, testing::Values(&camera::makeCameraWorld));
}  // namespace tlx::contracts
