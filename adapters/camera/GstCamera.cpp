#include "adapters/camera/GstCamera.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "adapters/camera/CameraPortal.h"
#include "adapters/camera/GlibLoop.h"
#include "adapters/camera/GstCaptureSession.h"

namespace tlx::camera {

/// Those who wait for the one question that is open. Answers come from anywhere and at any time; the camera cuts the
/// link when it goes.
struct GstCamera::Asking {
  GstCamera* camera;  // main thread
  std::vector<AccessHandler> waiting;
  std::shared_ptr<CameraPortal> portal;
};

GstCamera::GstCamera(Options options, MainQueuePort& mainQueue) : options_(std::move(options)), mainQueue_(mainQueue) {}

GstCamera::~GstCamera() {
  if (asking_) asking_->camera = nullptr;
  portalLoop_.reset();
}

bool GstCamera::isLockedIn() const {
  return !options_.portalBus.empty() || (!options_.test && CameraPortal::isNeeded());
}

bool GstCamera::devicesRefuse() const {
  if (options_.test && options_.devicesFolder == "/dev") return false;
  bool any = false;
  std::error_code failed;
  for (const auto& entry : std::filesystem::directory_iterator(options_.devicesFolder, failed)) {
    if (!entry.path().filename().string().starts_with("video")) continue;
    if (::access(entry.path().c_str(), R_OK | W_OK) == 0) return false;
    any = true;
  }
  return any;
}

AVAuthorizationStatus GstCamera::authorizationStatus() const {
  if (isLockedIn()) {
    return portalAllows_ == true    ? AVAuthorizationStatusAuthorized
           : portalAllows_ == false ? AVAuthorizationStatusDenied
                                    : AVAuthorizationStatusNotDetermined;
  }
  if (devicesRefuse()) return AVAuthorizationStatusRestricted;
  if (!options_.consent) return AVAuthorizationStatusDenied;
  const std::optional<bool> allowed = options_.consent->cameraAllowed();
  return !allowed   ? AVAuthorizationStatusNotDetermined
         : *allowed ? AVAuthorizationStatusAuthorized
                    : AVAuthorizationStatusDenied;
}

void GstCamera::requestAccess(AccessHandler handler) {
  if (const auto status = authorizationStatus(); status != AVAuthorizationStatusNotDetermined) {
    mainQueue_.post([handler = std::move(handler), status] { handler(status == AVAuthorizationStatusAuthorized); });
    return;
  }
  if (asking_) {
    asking_->waiting.push_back(std::move(handler));
    return;
  }
  asking_ = std::make_shared<Asking>(Asking{this, {std::move(handler)}, nullptr});
  if (isLockedIn()) {
    portalLoop_ = std::make_unique<GlibLoop>();
    asking_->portal = std::make_shared<CameraPortal>(options_.portalBus);
    // The link alone goes along: whoever gets the answer is still there, or nobody is.
    portalLoop_->post([asking = asking_, portal = asking_->portal, &queue = mainQueue_] {
      portal->ask([asking, &queue](bool allowed) {
        queue.post([asking, allowed] {
          if (!asking->camera) return;
          asking->camera->portalAllows_ = allowed;
          asking->camera->answered(allowed);
        });
      });
    });
  } else {
    options_.consent->askForCamera([asking = asking_, &queue = mainQueue_](bool allowed) {
      queue.post([asking, allowed] {
        if (asking->camera) asking->camera->answered(allowed);
      });
    });
  }
}

void GstCamera::answered(bool allowed) {
  const auto asking = std::exchange(asking_, nullptr);
  if (!asking) return;
  asking->camera = nullptr;  // a second answer counts for nothing
  if (asking->portal) {
    // Its own thread lets go of it, then ends.
    portalLoop_->post([portal = std::move(asking->portal)] {});
    portalLoop_.reset();
  }
  for (const AccessHandler& handler : asking->waiting) handler(allowed);
}

std::unique_ptr<CaptureSession> GstCamera::makeSession(CaptureSessionListener& listener) {
  GstCaptureSession::Options options;
  options.devices = {options_.test, options_.testPictures, options_.testSound, nullptr};
  if (isLockedIn()) {
    options.devices.openRemote = [bus = options_.portalBus] { return CameraPortal::openRemote(bus); };
  }
  options.folder = options_.folder;
  options.spareBytes = options_.spareBytes;
  options.without = options_.withoutEncoders;
  return std::make_unique<GstCaptureSession>(options, mainQueue_, listener);
}

}  // namespace tlx::camera
