#pragma once

#include <memory>
#include <string>

#include "tlx/platform/uikit/UIImage.h"

namespace tlx {

/// The named image of the picker's own bundle, whatever the host has under that name; nothing when there is none. Main
/// thread.
std::shared_ptr<const UIImage> tlx_imageWithName(const std::string& name);

/// The picture redrawn so that its pixels stand upright, at scale 1 and with no more pixels than it has points: an
/// image of scale 2 or 3 comes out at its point size, one of scale 1 is never shrunk. A side that is no whole number of
/// pixels is rounded up, its last pixels partly covered.
///
/// The orientations 6 and 7 come out right only for square pictures: of any other shape they lose the pixels beyond the
/// square at one end and leave as many clear.
///
/// Nothing for an absent image and for one without a bitmap. Throws an `NSException` named
/// `NSInternalInconsistencyException`, "Invalid image orientation", for an orientation without a name.
std::shared_ptr<const UIImage> scaleAndRotate(const std::shared_ptr<const UIImage>& image);

}  // namespace tlx
