#pragma once

#include "tlx/platform/coregraphics/CGColor.h"

namespace tlx {

/// Views take the same colours as drawing contexts.
using UIColor = CGColor;

}  // namespace tlx
