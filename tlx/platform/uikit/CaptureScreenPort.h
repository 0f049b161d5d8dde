#pragma once

#include <memory>

namespace tlx {

class UIImagePickerController;

/// Draws the camera's screen. Main thread.
class CaptureScreenPort {
 public:
  virtual ~CaptureScreenPort() = default;
  /// The screen is about to appear; its view stands in a window. From now on the person's doings are told to it, by
  /// `UIImagePickerController::finish` and `cancel`. It is not to be kept alive.
  virtual void open(const std::shared_ptr<UIImagePickerController>& screen) = 0;
  /// Once for each that was opened, when it begins to leave, or is destroyed: the camera is let go of. What was drawn
  /// may stay until the view goes.
  virtual void close(const UIImagePickerController& screen) = 0;
};

}  // namespace tlx
