#pragma once

#include "tlx/platform/coregraphics/CGColor.h"

namespace tlx {

/// Views and contexts colour with the same values.
using UIColor = CGColor;

}  // namespace tlx
