#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tlx/platform/avfoundation/CameraPort.h"
#include "tlx/platform/uikit/UIImage.h"

#include "tests/contracts/ContractWorld.h"

namespace tlx::contracts {

/// A machine with two cameras that may be used, the better one first.
class CameraWorld : public ContractWorld {
 public:
  enum class Cameras { Work, GoWhileRecording, None };
  /// The port, with cameras of that kind from now on. Nothing where there is no such machine.
  virtual CameraPort* camera(Cameras cameras) = 0;
};

using CameraWorldFactory = std::unique_ptr<CameraWorld> (*)();

/// Hears everything and keeps it, and how it was told.
class CameraListener final : public CaptureSessionListener {
 public:
  explicit CameraListener(MainQueuePort& queue) : queue_(queue) {}
  void previewChanged() override {
    hear();
    ++previews;
  }
  void devicesChanged() override { hear(); }
  void photoTaken(const std::shared_ptr<const UIImage>& taken) override {
    hear();
    ++photos;
    photo = taken;
  }
  void recordingEnded(const std::optional<AVRecording>& made, const std::optional<NSError>& why) override {
    hear();
    ++recordings;
    recording = made;
    error = why;
  }
  void failed(const NSError& why) override {
    hear();
    EXPECT_TRUE(recordings > 0 || !isRecording) << "what is being recorded comes to its end first";
    failure = why;
  }
  /// A call to the session.
  template <class Call>
  void during(Call call) {
    calling_ = true;
    call();
    calling_ = false;
  }

  int previews = 0, photos = 0, recordings = 0;
  bool isRecording = false;
  std::shared_ptr<const UIImage> photo;
  std::optional<AVRecording> recording;
  std::optional<NSError> error, failure;

 private:
  void hear() const {
    EXPECT_TRUE(queue_.isMainThread());
    EXPECT_FALSE(calling_) << "never from within a call to the session";
  }
  MainQueuePort& queue_;
  bool calling_ = false;
};

/// Somebody at a camera.
class Capturing {
 protected:
  explicit Capturing(std::unique_ptr<CameraWorld> world) : world_(std::move(world)) {}

  void open(CaptureKind kind, const std::string& device = "") {
    listener.during([&] { session->open(kind, device); });
  }
  bool wait(const std::function<bool()>& done) { return world_->runUntil(done); }
  bool sees() {
    return wait([&] { return session->preview() != nullptr; });
  }
  void record(double seconds) {
    ASSERT_TRUE(sees());
    listener.isRecording = true;
    listener.during([&] { session->startRecording(); });
    ASSERT_TRUE(wait([&] {
      session->preview();  // who has seen one picture is told of the next
      return listener.recordings > 0 || session->recordedSeconds().value_or(0) >= seconds;
    }));
  }
  void stop() {
    listener.during([&] { session->stopRecording(); });
    ASSERT_TRUE(wait([&] { return listener.recordings > 0; }));
  }

  const std::unique_ptr<CameraWorld> world_;
  CameraListener listener{world_->mainQueue()};
  std::unique_ptr<CaptureSession> session;
};

class CameraContract : public testing::TestWithParam<CameraWorldFactory>, protected Capturing {
 protected:
  using Cameras = CameraWorld::Cameras;

  CameraContract() : Capturing(GetParam()()) {}
  void look(Cameras cameras, CaptureKind kind) {
    CameraPort* const camera = world_->camera(cameras);
    if (!camera) GTEST_SKIP() << "no such machine";
    session = camera->makeSession(listener);
    open(kind);
  }
};

TEST_P(CameraContract, ShowsTheBestCameraOrTheOneThatIsNamedAndTakesPhotos) {
  look(Cameras::Work, CaptureKind::Photo);
  ASSERT_TRUE(sees());
  ASSERT_EQ(session->devices().size(), 2u);
  EXPECT_EQ(session->device(), 0u);
  EXPECT_FALSE(session->isRecording());
  open(CaptureKind::Photo, session->devices()[1].identifier);
  ASSERT_TRUE(wait([&] { return session->device() == 1; }));
  EXPECT_TRUE(sees());
  open(CaptureKind::Photo, "unplugged long ago");
  EXPECT_TRUE(wait([&] { return session->device() == 0; })) << "the best one instead";
  ASSERT_TRUE(sees());
  for (int taken = 1; taken <= 2; ++taken) {
    listener.during([&] { session->takePhoto(); });
    ASSERT_TRUE(wait([&] { return listener.photos == taken; })) << "the camera stays open";
    ASSERT_TRUE(listener.photo && listener.photo->bitmap());
    EXPECT_NE(listener.photo->imageOrientation(), UIImageOrientationLeftMirrored);
    EXPECT_NE(listener.photo->imageOrientation(), UIImageOrientationRightMirrored);
  }
  EXPECT_TRUE(sees());
  EXPECT_FALSE(listener.failure);
  session.reset();
  const int told = listener.previews;
  world_->settle();
  EXPECT_EQ(listener.previews, told) << "whoever has left hears nothing";
  EXPECT_EQ(listener.photos, 2) << "each is answered once";
}

TEST_P(CameraContract, ARecordingLastsUntilItIsStoppedAndAnotherMayFollow) {
  look(Cameras::Work, CaptureKind::Movie);
  for (int movie = 0; movie < 2; ++movie) {
    record(0.3);
    EXPECT_TRUE(session->isRecording());
    stop();
    EXPECT_EQ(std::exchange(listener.recordings, 0), 1);
    EXPECT_FALSE(session->isRecording());
    EXPECT_FALSE(listener.error);
    ASSERT_TRUE(listener.recording);
    EXPECT_GE(listener.recording->duration, 0.3);
    EXPECT_FALSE(listener.recording->tracks.empty());
  }
}

TEST_P(CameraContract, ACameraThatGoesEndsTheRecordingAndMayComeBack) {
  look(Cameras::GoWhileRecording, CaptureKind::Movie);
  record(1000);
  ASSERT_TRUE(wait([&] { return listener.failure.has_value(); }));
  EXPECT_EQ(listener.failure->code, CameraErrorDisconnected);
  EXPECT_EQ(listener.recordings, 1);
  EXPECT_TRUE(listener.recording) << "what was recorded until then";
  ASSERT_TRUE(listener.error);
  EXPECT_EQ(listener.error->code, CameraErrorDisconnected);
  EXPECT_FALSE(session->isRecording());
  open(CaptureKind::Movie);
  EXPECT_TRUE(sees()) << "plugged in again";
}

TEST_P(CameraContract, WithoutACameraEverythingIsRefused) {
  look(Cameras::None, CaptureKind::Photo);
  if (!session) return;
  ASSERT_TRUE(wait([&] { return listener.failure.has_value(); }));
  EXPECT_EQ(listener.failure->code, CameraErrorNoDevice);
  EXPECT_TRUE(session->devices().empty());
  listener.failure.reset();
  listener.during([&] { session->takePhoto(); });
  EXPECT_TRUE(wait([&] { return listener.failure.has_value(); }));
  listener.during([&] { session->startRecording(); });
  ASSERT_TRUE(wait([&] { return listener.recordings > 0; }));
  EXPECT_FALSE(listener.recording);
  ASSERT_TRUE(listener.error);
  EXPECT_EQ(listener.error->code, CameraErrorNoDevice);
}

}  // namespace tlx::contracts
