#pragma once

#include "adapters/camera/GstObjects.h"

namespace tlx::camera {

/// One of the formats that a device offers, fixed: for photos the largest pictures, and among those one that moves well
/// enough to aim by; for movies the largest up to 1920 × 1080 that moves smoothly. Nothing when the device does not
/// tell, or offers nothing that can be read here (pictures in memory, raw or as JPEG).
Gst<GstCaps> chooseFormat(const GstCaps* offered, CaptureKind kind);

}  // namespace tlx::camera
