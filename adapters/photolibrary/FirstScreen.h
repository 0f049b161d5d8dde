#pragma once

#include <cstddef>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/photos/ImageManagerPort.h"

#include "adapters/photolibrary/PhotoLibrary.h"

namespace tlx::photolibrary {

/// Makes the thumbnails of the newest items ready, as cells ask for them: `target` in points, filled. For a window that
/// has opened and whose album list has not chosen an album yet. Without access there is nothing to make. Main thread;
/// returns at once.
void preheatNewest(const PhotoLibrary& library, ImageManagerPort& images, CGSize target, std::size_t count);

/// How many cells of that size a window shows at most.
std::size_t cellsIn(CGSize window, CGSize cell);

}  // namespace tlx::photolibrary
