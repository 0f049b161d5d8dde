#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/photos/PHImageRequest.h"
#include "tlx/platform/uikit/UIImage.h"

namespace tlx::memory {

/// An opaque picture of one colour, given as 0xRRGGBB; sides in pixels, at least 1.
std::shared_ptr<const UIImage> solidPicture(std::size_t width, std::size_t height, std::uint32_t colour,
                                            UIImageOrientation orientation = UIImageOrientationUp, double scale = 1);

/// The size in whole pixels at which an item of `original` pixels answers a request; never larger than the original,
/// and the original's for a target without an area.
CGSize answeredSize(CGSize original, CGSize target, PHImageContentMode mode);

}  // namespace tlx::memory
