#include "adapters/camera/CameraOnDemand.h"

#include <utility>

#include "adapters/camera/CameraModule.h"
#include "adapters/modules/Module.h"

namespace tlx::camera {
namespace {

/// A machine to which no camera is plugged in.
class NothingPluggedIn final : public CameraPort {
 public:
  AVAuthorizationStatus authorizationStatus() const override { return AVAuthorizationStatusAuthorized; }
  void requestAccess(AccessHandler handler) override { handler(true); }
  std::unique_ptr<CaptureSession> makeSession(CaptureSessionListener&) override { return nullptr; }
};

}  // namespace

CameraOnDemand::CameraOnDemand(GstCamera::Options options, MainQueuePort& mainQueue, Log log, std::string module)
    : options_(std::move(options)),
      mainQueue_(mainQueue),
      log_(std::move(log)),
      module_(module.empty() ? modules::moduleFile(kCameraModule) : std::move(module)) {}

CameraPort& CameraOnDemand::real() const {
  if (real_) return *real_;
  std::string error;
  if (void* const found = modules::openModule(module_, kCameraModuleFunction, error)) {
    real_.reset(reinterpret_cast<OpenCamera*>(found)(TLX_BUILD_VERSION, options_, mainQueue_));
    if (!real_) error = module_ + " is of another version";
  }
  if (!real_) {
    log_("There is no camera: " + error);
    real_ = std::make_unique<NothingPluggedIn>();
  }
  return *real_;
}

}  // namespace tlx::camera
