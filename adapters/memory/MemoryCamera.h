#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "tlx/platform/avfoundation/CameraPort.h"
#include "tlx/platform/uikit/CaptureScreenPort.h"
#include "tlx/platform/uikit/UIImagePickerController.h"

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MemoryCaptureSession.h"

namespace tlx::memory {

/// Cameras that a test holds: access as it says, looks through them that go as it says, and a capture screen of its own
/// on which it presses the buttons.
class MemoryCamera final : public CameraPort, public CaptureScreenPort {
 public:
  /// Both outlive the camera, which outlives its sessions.
  MemoryCamera(Background& background, MainQueuePort& mainQueue) : background_(background), mainQueue_(mainQueue) {}

  AVAuthorizationStatus authorizationStatus() const override;
  bool offersAccessRequest() const override { return offersAccessRequest_; }
  /// Answers on the adapters' own thread.
  void requestAccess(AccessHandler handler) override;
  /// One at a time.
  std::unique_ptr<CaptureSession> makeSession(CaptureSessionListener& listener) override {
    return std::make_unique<MemoryCaptureSession>(bench, mainQueue_, listener);
  }
  void open(const std::shared_ptr<UIImagePickerController>& screen) override { screen_ = screen; }
  void close(const UIImagePickerController& screen) override;

  // What follows is the test's side, on the main thread.

  /// What sessions find; its `session` is the look that somebody takes, nothing while nobody does.
  MemoryCameraBench bench;
  void plugIn(CaptureDevice device);
  void unplug(const std::string& identifier);

  /// Authorized at first.
  void setStatus(AVAuthorizationStatus status);
  void setOffersAccessRequest(bool offers) { offersAccessRequest_ = offers; }
  /// What the person will answer when asked; nothing leaves the question open until `answer`. Allowed at first.
  void setAnswer(std::optional<bool> allowed) { answer_ = allowed; }
  /// The person answers the open question.
  void answer(bool allowed);
  int questionCount() const { return questionCount_; }

  /// The capture screen that is open; nothing while none is.
  std::shared_ptr<UIImagePickerController> screen() const { return screen_.lock(); }
  /// A person takes something on the open screen and keeps it, or leaves. False when no screen is open.
  bool take(const UIImagePickerControllerInfo& info);
  bool takePhoto(std::shared_ptr<const UIImage> photo);
  bool takeVideo(AVRecording video);
  bool cancel();

  /// Lets go of those who wait for an answer.
  void clear();

 private:
  Background& background_;
  MainQueuePort& mainQueue_;
  bool offersAccessRequest_ = true;
  std::optional<bool> answer_ = true;
  int questionCount_ = 0;
  std::weak_ptr<UIImagePickerController> screen_;

  mutable std::mutex mutex_;  ///< guards what follows
  AVAuthorizationStatus status_ = AVAuthorizationStatusAuthorized;
  std::vector<AccessHandler> waiting_;
};

}  // namespace tlx::memory
