#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include "tlx/platform/foundation/NSError.h"
#include "tlx/platform/uikit/UIImage.h"

namespace tlx::photolibrary {

/// The upright image as a JPEG file that a camera might have written: all its pixels, with the capture date by the
/// clock on the wall here and its distance from universal time. What is transparent comes out black. `created` in
/// seconds since 1970 UTC. Any thread.
std::variant<std::vector<std::uint8_t>, NSError> encodePhoto(const UIImage& image, double created);

}  // namespace tlx::photolibrary
