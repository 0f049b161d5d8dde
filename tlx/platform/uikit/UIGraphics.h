#pragma once

#include <memory>

#include "tlx/platform/coregraphics/CGBitmapContext.h"
#include "tlx/platform/uikit/UIImage.h"

namespace tlx {

/// Each thread has a stack of bitmap contexts; the one that was begun last is its current one. One point is one pixel.

/// Begins a clear context (see `CGBitmapContext`).
void UIGraphicsBeginImageContext(CGSize size);
/// The thread's current context, valid until it is ended; nothing without one.
CGBitmapContext* UIGraphicsGetCurrentContext();
/// What has been drawn so far, orientation up, scale 1; nothing without a context and from one of no size.
std::shared_ptr<const UIImage> UIGraphicsGetImageFromCurrentImageContext();
/// Ends the current context; without one does nothing.
void UIGraphicsEndImageContext();

}  // namespace tlx
