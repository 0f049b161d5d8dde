#include <cmath>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include "tlx/platform/uikit/UIImage.h"

#include "adapters/camera/GstCamera.h"
#include "adapters/memory/MemoryPlatform.h"

namespace tlx::camera {
namespace {

using testing::ElementsAre;

/// Hears everything, and keeps it.
struct Listener final : CaptureSessionListener {
  void previewChanged() override { ++previews; }
  void devicesChanged() override { ++deviceChanges; }
  void photoTaken(const std::shared_ptr<const UIImage>& taken) override { photo = taken; }
  void recordingEnded(const std::optional<AVRecording>& made, const std::optional<NSError>& why) override {
    ++recordings;
    recording = made;
    error = why;
  }
  void failed(const NSError& why) override { failure = why; }
  int previews = 0, deviceChanges = 0, recordings = 0;
  std::shared_ptr<const UIImage> photo;
  std::optional<AVRecording> recording;
  std::optional<NSError> error, failure;
};

class CaptureSessionTest : public testing::Test {
 protected:
  CaptureSessionTest() {
    std::string name = (std::filesystem::temp_directory_path() / "tlx-camera-XXXXXX").string();
    folder = ::mkdtemp(name.data());
    options.test = true;
    options.folder = folder / "captures";
    options.spareBytes = 0;
  }
  ~CaptureSessionTest() override {
    session.reset();
    std::filesystem::remove_all(folder);
  }
  void open(CaptureKind kind, const std::string& device = "") {
    camera.emplace(options, platform.loop);
    session = camera->makeSession(listener);
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
  std::size_t filesLeft() const {
    return std::filesystem::exists(folder / "captures")
               ? static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder / "captures"), {}))
               : 0;
  }

  memory::MemoryPlatform platform;
  std::filesystem::path folder;
  GstCamera::Options options;
  std::optional<GstCamera> camera;
  Listener listener;
  std::unique_ptr<CaptureSession> session;
};

TEST_F(CaptureSessionTest, PhotosHaveTheSensorsPixelsAndPreviewsAScreens) {
  open(CaptureKind::Photo, "test:front");
  ASSERT_TRUE(sees());
  EXPECT_EQ(session->devices().size(), 2u);
  EXPECT_EQ(session->device(), 1u);
  EXPECT_EQ(session->devices()[1].facing, CaptureDevice::Facing::Front);
  EXPECT_EQ(session->preview()->width(), 1280u);
  EXPECT_EQ(session->preview()->height(), 960u);
  session->takePhoto();
  ASSERT_TRUE(wait([&] { return listener.photo != nullptr; }));
  EXPECT_EQ(listener.photo->size(), CGSizeMake(2048, 1536));
  EXPECT_EQ(listener.photo->imageOrientation(), UIImageOrientationUp);
  session->open(CaptureKind::Photo, "test:back");
  ASSERT_TRUE(wait([&] { return session->device() == 0; }));
  EXPECT_TRUE(sees()) << "the other camera";
  EXPECT_FALSE(session->isRecording());
  EXPECT_FALSE(listener.failure);
}

TEST_F(CaptureSessionTest, AMachineWithoutACameraSaysSo) {
  if (std::filesystem::exists("/dev/video0")) GTEST_SKIP() << "this one has a camera";
  options.test = false;
  open(CaptureKind::Photo);
  ASSERT_TRUE(wait([&] { return listener.failure.has_value(); }));
  EXPECT_EQ(listener.failure->code, CameraErrorNoDevice);
  EXPECT_TRUE(session->devices().empty());
}

TEST_F(CaptureSessionTest, ASensorThatLiesOnItsSideSaysSo) {
  struct Row {
    const char* tag;
    UIImageOrientation told;
    const char* reason;
  };
  const Row rows[] = {
      {"rotate-90", UIImageOrientationRight, "whoever shows it turns it"},
      {"flip-rotate-90", UIImageOrientationUp, "mirrored as well, it is turned here"},
      {"flip-rotate-270", UIImageOrientationUp, "and so to the other side"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    listener = {};
    options.testPictures = std::string("videotestsrc is-live=true ! taginject tags=image-orientation=") + row.tag;
    open(CaptureKind::Photo);
    ASSERT_TRUE(sees());
    const auto preview = session->preview();
    EXPECT_EQ(preview->width(), 960u) << "a preview stands upright already";
    session->takePhoto();
    ASSERT_TRUE(wait([&] { return listener.photo != nullptr; }));
    EXPECT_EQ(listener.photo->imageOrientation(), row.told);
    EXPECT_EQ(listener.photo->size(), CGSizeMake(1536, 2048));
    if (row.told != UIImageOrientationUp) continue;
    // Away from the corner of the pattern that never looks the same twice.
    const auto& photo = *listener.photo->bitmap();
    for (const auto& [x, y] : {std::pair(0.1, 0.1), {0.1, 0.4}, {0.1, 0.9}, {0.4, 0.1}, {0.4, 0.9}, {0.9, 0.1}}) {
      const auto pixel = [x = x, y = y](const CGImage& of, std::size_t channel) {
        return int{of.row(static_cast<std::size_t>(
            y * static_cast<double>(
                    of.height())))[4 * static_cast<std::size_t>(x * static_cast<double>(of.width())) + channel]};
      };
      for (std::size_t channel = 0; channel < 3; ++channel) {
        EXPECT_NEAR(pixel(photo, channel), pixel(*preview, channel), 8) << x << " " << y;
      }
    }
  }
}

TEST_F(CaptureSessionTest, MoviesAreWrittenAsThisMachineCan) {
  struct Row {
    const char* why;
    bool sound;
    std::vector<std::string> without;
    std::string ending, video;
    std::vector<std::string> audio;
  };
  const std::vector<std::string> noH264 = {"vah264enc",   "vah264lpenc", "vaapih264enc", "nvh264enc",  "qsvh264enc",
                                           "v4l2h264enc", "omxh264enc",  "x264enc",      "openh264enc"};
  const Row rows[] = {
      {"H.264 and AAC", true, {}, ".mp4", "h264", {"aac"}},
      {"no microphone", false, {}, ".mp4", "h264", {}},
      {"no H.264", true, noH264, ".webm", "vp8", {"opus"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    listener = {};
    options.testSound = row.sound;
    options.withoutEncoders = row.without;
    open(CaptureKind::Movie);
    record(1.5);
    ASSERT_TRUE(listener.recording) << (listener.error ? listener.error->localizedDescription : "");
    EXPECT_FALSE(listener.error);
    const AVRecording& made = *listener.recording;
    EXPECT_EQ(std::filesystem::path(made.path).extension(), row.ending);
    EXPECT_NEAR(made.duration, 1.5, 0.5);
    const auto asset = AVURLAsset::URLAssetWithURL_options(made);
    const auto pictures = asset->tracksWithMediaType(AVMediaTypeVideo);
    ASSERT_EQ(pictures.size(), 1u);
    EXPECT_EQ(pictures[0].codec, row.video);
    EXPECT_EQ(pictures[0].width, 1280);
    EXPECT_EQ(pictures[0].height, 720);
    std::vector<std::string> audio;
    for (const auto& track : asset->tracksWithMediaType(AVMediaTypeAudio)) audio.push_back(track.codec);
    EXPECT_EQ(audio, row.audio);
    EXPECT_EQ(filesLeft(), 1u);
    session.reset();
    EXPECT_EQ(filesLeft(), 1u) << "whoever holds the recording keeps its file";
  }
  listener = {};
  EXPECT_EQ(filesLeft(), 0u) << "and nobody else does";
}

TEST_F(CaptureSessionTest, WhatCutsARecordingShortIsToldAndWhatWasRecordedCanBePlayed) {
  struct Row {
    const char* why;
    const char* pictures;
    std::uint64_t spare;
    CameraErrorCode code;
    bool recorded;
    bool cameraLost;
  };
  const Row rows[] = {
      {"unplugged", "videotestsrc is-live=true ! identity error-after=60", 0, CameraErrorDisconnected, true, true},
      {"the driver stops", "videotestsrc is-live=true num-buffers=60", 0, CameraErrorDisconnected, true, true},
      {"the disk is nearly full", "", ~std::uint64_t{0}, CameraErrorNoSpace, false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    listener = {};
    options.testPictures = row.pictures;
    options.spareBytes = row.spare;
    open(CaptureKind::Movie);
    record(1000);
    ASSERT_TRUE(listener.error);
    EXPECT_EQ(listener.error->code, row.code) << listener.error->localizedDescription;
    if (row.recorded) {
      ASSERT_TRUE(listener.recording);
      EXPECT_GT(listener.recording->duration, 0.5);
      EXPECT_LT(listener.recording->duration, 2.5);
      EXPECT_FALSE(listener.recording->tracks.empty());
    }
    if (!row.cameraLost) {
      EXPECT_FALSE(listener.failure) << "it goes on showing pictures";
      continue;
    }
    ASSERT_TRUE(wait([&] { return listener.failure.has_value(); }));
    session->open(CaptureKind::Movie, "");
    EXPECT_TRUE(sees()) << "plugged in again";
  }
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
  EXPECT_EQ(filesLeft(), 0u);
  // A program that was killed left this one.
  const auto abandoned = folder / "captures" / "recording-abc.mp4";
  std::ofstream(abandoned) << "half a movie";
  std::filesystem::last_write_time(abandoned, std::filesystem::file_time_type::clock::now() - std::chrono::minutes(5));
  open(CaptureKind::Photo);
  ASSERT_TRUE(sees());
  EXPECT_EQ(filesLeft(), 0u);
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
  options.devicesFolder = folder;
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
