#pragma once

#include <memory>

#include "tlx/platform/uikit/UIImage.h"

#include "adapters/camera/GstObjects.h"

namespace tlx::camera {

/// The sample's pixels, which must be RGBA, where they are; it stays while the picture does. Nothing when it cannot be
/// read.
std::shared_ptr<const CGImage> mappedPicture(GstSample& sample);

/// A copy of the sample's picture of whatever raw format, opaque, with the orientation that the pipeline's device says
/// it was taken in; one that lies on its side and is mirrored stands upright already, as a session's listener wants it.
/// Nothing when it cannot be read. Any thread.
std::shared_ptr<const UIImage> uprightablePicture(GstSample& sample, GstElement& pipeline);

}  // namespace tlx::camera
