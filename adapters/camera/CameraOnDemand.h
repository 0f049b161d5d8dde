#pragma once

#include <functional>
#include <memory>
#include <string>

#include "adapters/camera/GstCamera.h"

namespace tlx::camera {

/// A `GstCamera` whose libraries are loaded when somebody first wants to look through a camera. Where they cannot be,
/// that is told once in the log, and it is a machine without cameras: nothing is refused, and the capture screen says
/// that there is none. Main thread.
class CameraOnDemand final : public CameraPort {
 public:
  using Log = std::function<void(const std::string& line)>;
  /// The queue outlives the camera. `module` is the file to open, for tests; the program's own when empty.
  CameraOnDemand(GstCamera::Options options, MainQueuePort& mainQueue, Log log, std::string module = {});

  AVAuthorizationStatus authorizationStatus() const override { return real().authorizationStatus(); }
  void requestAccess(AccessHandler handler) override { real().requestAccess(std::move(handler)); }
  std::unique_ptr<CaptureSession> makeSession(CaptureSessionListener& listener) override {
    return real().makeSession(listener);
  }

 private:
  CameraPort& real() const;

  const GstCamera::Options options_;
  MainQueuePort& mainQueue_;
  const Log log_;
  const std::string module_;
  mutable std::unique_ptr<CameraPort> real_;
};

}  // namespace tlx::camera
