#include "tlx/platform/avfoundation/AVCaptureDevice.h"

#include <utility>

#include "tlx/platform/Platform.h"

namespace tlx {
namespace {

CameraPort& port() {
  return Platform::current().ports().camera;
}

}  // namespace

AVAuthorizationStatus AVCaptureDevice::authorizationStatusForMediaType(const std::string& mediaType) {
  return mediaType == AVMediaTypeVideo ? port().authorizationStatus() : AVAuthorizationStatusNotDetermined;
}

bool AVCaptureDevice::respondsToRequestAccess() {
  return port().offersAccessRequest();
}

void AVCaptureDevice::requestAccessForMediaType_completionHandler(const std::string& mediaType,
                                                                  CameraPort::AccessHandler handler) {
  if (mediaType == AVMediaTypeVideo) {
    port().requestAccess(std::move(handler));
  } else {
    handler(false);
  }
}

}  // namespace tlx
