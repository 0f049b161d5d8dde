#include "adapters/camera/CameraModule.h"

#include <cstring>

tlx::CameraPort* tlxOpenCamera(const char* version, const tlx::camera::GstCamera::Options& options,
                               tlx::MainQueuePort& mainQueue) {
  if (std::strcmp(version, TLX_BUILD_VERSION) != 0) return nullptr;
  return new tlx::camera::GstCamera(options, mainQueue);
}
