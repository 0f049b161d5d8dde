#pragma once

#include <string>

#include "tlx/platform/avfoundation/CameraPort.h"

namespace tlx {

/// Whether the host may use the cameras. Main thread; the contract is `CameraPort`'s.
class AVCaptureDevice {
 public:
  /// Of `AVMediaTypeVideo`; of any other type it is undecided and never asked about.
  static AVAuthorizationStatus authorizationStatusForMediaType(const std::string& mediaType);
  /// Whether access can be asked for at all.
  static bool respondsToRequestAccess();
  static void requestAccessForMediaType_completionHandler(const std::string& mediaType,
                                                          CameraPort::AccessHandler handler);
};

}  // namespace tlx
