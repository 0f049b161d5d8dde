#pragma once

#include "adapters/camera/GstCamera.h"

/// The camera as a module that is opened when it is first needed: GStreamer takes longer to load than a window without
/// pictures takes to open.
namespace tlx::camera {

inline constexpr char kCameraModule[] = "tlx-media-camera";
inline constexpr char kCameraModuleFunction[] = "tlxOpenCamera";
/// The module's only function: a camera, which the caller deletes, or nothing where `version` is not the one that the
/// module was built for, since what goes through here has the shape of one version.
using OpenCamera = CameraPort*(const char* version, const GstCamera::Options& options, MainQueuePort& mainQueue);

}  // namespace tlx::camera

extern "C" tlx::camera::OpenCamera tlxOpenCamera;
