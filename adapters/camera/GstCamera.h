#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/avfoundation/CameraPort.h"
#include "tlx/platform/dispatch/MainQueuePort.h"

#include "adapters/camera/CameraConsent.h"

namespace tlx::camera {

class GlibLoop;

/// The machine's cameras by GStreamer.
///
/// Access. Inside a sandbox the desktop's camera service asks the person, remembers, and hands the cameras out. Outside
/// of one the devices' own rights count first: where there are cameras and none may be opened, access is restricted;
/// else the person's consent decides. A machine without a camera restricts nothing: the capture screen says that there
/// is none.
class GstCamera final : public CameraPort {
 public:
  struct Options {
    bool test = false;                     ///< cameras that are made up, for machines without one
    CameraConsent* consent = nullptr;      ///< unretained: outlives the camera; without one nobody is asked: refused
    std::string folder;                    ///< for recordings, while somebody refers to them
    std::uint64_t spareBytes = 64u << 20;  ///< what a recording leaves free on the disk

    // For tests.
    std::string devicesFolder = "/dev";  ///< where the devices lie whose rights count
    std::string portalBus;               ///< as if inside a sandbox, with the service on this bus
    std::string testPictures;            ///< in place of the made-up cameras' pictures, as for gst-launch
    bool testSound = true;
    std::vector<std::string> withoutEncoders = {};
  };
  /// The queue outlives the camera. Main thread.
  GstCamera(Options options, MainQueuePort& mainQueue);
  /// Questions stay unanswered. Main thread, after its sessions.
  ~GstCamera() override;

  AVAuthorizationStatus authorizationStatus() const override;
  void requestAccess(AccessHandler handler) override;
  std::unique_ptr<CaptureSession> makeSession(CaptureSessionListener& listener) override;

 private:
  struct Asking;

  bool isLockedIn() const;
  bool devicesRefuse() const;
  void answered(bool allowed);

  const Options options_;
  MainQueuePort& mainQueue_;
  std::shared_ptr<Asking> asking_;
  std::unique_ptr<GlibLoop> portalLoop_;  ///< while the desktop is asked
  std::optional<bool> portalAllows_;      ///< what it said in this run
};

}  // namespace tlx::camera
