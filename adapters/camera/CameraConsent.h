#pragma once

#include <functional>
#include <optional>

namespace tlx::camera {

/// What the person says about the cameras on behalf of one host program: remembers it, and puts the question. A window
/// implements it with a dialogue.
class CameraConsent {
 public:
  using Answer = std::function<void(bool allowed)>;

  virtual ~CameraConsent() = default;
  /// Main thread. What the person decided; nothing when they were not asked.
  virtual std::optional<bool> cameraAllowed() const = 0;
  /// Main thread, at most once at a time and never when the person has decided. Remembers what they say, then calls
  /// `answer`, which may outlive the camera; only its first call counts. Dropping it uncalled leaves the question
  /// open.
  virtual void askForCamera(Answer answer) = 0;
};

}  // namespace tlx::camera
