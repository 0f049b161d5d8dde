#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

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
  void forget() {
    previews = photos = recordings = 0;
    isRecording = false;
    photo = nullptr;
    recording.reset();
    error.reset();
    failure.reset();
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

class CameraContract : public testing::TestWithParam<CameraWorldFactory> {
 protected:
  using Cameras = CameraWorld::Cameras;

  void look(Cameras cameras, CaptureKind kind) {
    CameraPort* const camera = world_->camera(cameras);
    if (!camera) GTEST_SKIP() << "no such machine";
    session_ = camera->makeSession(listener_);
    ASSERT_TRUE(session_);
    open(kind, "");
  }
  void open(CaptureKind kind, const std::string& device) {
    listener_.during([&] { session_->open(kind, device); });
  }
  bool sees() {
    return world_->runUntil([&] { return session_->preview() != nullptr; });
  }
  void record(double seconds) {
    ASSERT_TRUE(sees());
    listener_.isRecording = true;
    listener_.during([&] { session_->startRecording(); });
    ASSERT_TRUE(world_->runUntil([&] {
      session_->preview();  // who has seen one picture is told of the next
      return listener_.recordings > 0 || session_->recordedSeconds().value_or(0) >= seconds;
    }));
  }

  const std::unique_ptr<CameraWorld> world_ = GetParam()();
  CameraListener listener_{world_->mainQueue()};
  std::unique_ptr<CaptureSession> session_;
};

TEST_P(CameraContract, ShowsTheBestCameraOrTheOneThatIsNamed) {
  look(Cameras::Work, CaptureKind::Photo);
  ASSERT_TRUE(sees());
  ASSERT_EQ(session_->devices().size(), 2u);
  EXPECT_EQ(session_->device(), 0u);
  EXPECT_FALSE(session_->isRecording());
  open(CaptureKind::Photo, session_->devices()[1].identifier);
  ASSERT_TRUE(world_->runUntil([&] { return session_->device() == 1; }));
  EXPECT_TRUE(sees());
  open(CaptureKind::Photo, "unplugged long ago");
  EXPECT_TRUE(world_->runUntil([&] { return session_->device() == 0; })) << "the best one instead";
  EXPECT_TRUE(sees());
  EXPECT_FALSE(listener_.failure);
  session_.reset();
  const int told = listener_.previews;
  world_->settle();
  EXPECT_EQ(listener_.previews, told) << "whoever has left hears nothing";
}

TEST_P(CameraContract, APhotoIsAnsweredOnceAndCanBeTurnedUpright) {
  look(Cameras::Work, CaptureKind::Photo);
  ASSERT_TRUE(sees());
  for (int taken = 1; taken <= 2; ++taken) {
    listener_.during([&] { session_->takePhoto(); });
    ASSERT_TRUE(world_->runUntil([&] { return listener_.photos > 0; }));
    EXPECT_EQ(std::exchange(listener_.photos, 0), 1);
    ASSERT_TRUE(listener_.photo && listener_.photo->bitmap());
    EXPECT_NE(listener_.photo->imageOrientation(), UIImageOrientationLeftMirrored);
    EXPECT_NE(listener_.photo->imageOrientation(), UIImageOrientationRightMirrored);
  }
  EXPECT_TRUE(sees()) << "the camera stays open";
}

TEST_P(CameraContract, ARecordingLastsUntilItIsStoppedAndAnotherMayFollow) {
  look(Cameras::Work, CaptureKind::Movie);
  for (int movie = 0; movie < 2; ++movie) {
    record(0.3);
    EXPECT_TRUE(session_->isRecording());
    listener_.during([&] { session_->stopRecording(); });
    ASSERT_TRUE(world_->runUntil([&] { return listener_.recordings > 0; }));
    EXPECT_EQ(std::exchange(listener_.recordings, 0), 1);
    EXPECT_FALSE(session_->isRecording());
    EXPECT_FALSE(listener_.error);
    ASSERT_TRUE(listener_.recording);
    EXPECT_GE(listener_.recording->duration, 0.3);
    EXPECT_FALSE(listener_.recording->tracks.empty());
  }
}

TEST_P(CameraContract, ACameraThatGoesEndsTheRecordingAndMayComeBack) {
  look(Cameras::GoWhileRecording, CaptureKind::Movie);
  record(1000);
  ASSERT_TRUE(world_->runUntil([&] { return listener_.failure.has_value(); }));
  EXPECT_EQ(listener_.failure->code, CameraErrorDisconnected);
  EXPECT_EQ(listener_.recordings, 1);
  EXPECT_TRUE(listener_.recording) << "what was recorded until then";
  ASSERT_TRUE(listener_.error);
  EXPECT_EQ(listener_.error->code, CameraErrorDisconnected);
  EXPECT_FALSE(session_->isRecording());
  open(CaptureKind::Movie, "");
  EXPECT_TRUE(sees()) << "plugged in again";
}

TEST_P(CameraContract, WithoutACameraEverythingIsRefused) {
  look(Cameras::None, CaptureKind::Photo);
  if (!session_) return;
  ASSERT_TRUE(world_->runUntil([&] { return listener_.failure.has_value(); }));
  EXPECT_EQ(listener_.failure->code, CameraErrorNoDevice);
  EXPECT_TRUE(session_->devices().empty());
  EXPECT_EQ(session_->device(), 0u);
  listener_.failure.reset();
  listener_.during([&] { session_->takePhoto(); });
  EXPECT_TRUE(world_->runUntil([&] { return listener_.failure.has_value(); }));
  listener_.during([&] { session_->startRecording(); });
  ASSERT_TRUE(world_->runUntil([&] { return listener_.recordings > 0; }));
  EXPECT_FALSE(listener_.recording);
  ASSERT_TRUE(listener_.error);
  EXPECT_EQ(listener_.error->code, CameraErrorNoDevice);
}

}  // namespace tlx::contracts
