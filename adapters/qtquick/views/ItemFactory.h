#pragma once

#include "adapters/qtquick/views/ViewItem.h"

class QQmlEngine;

namespace tlx::qtquick {

/// A new item, not yet attached, of the kind that draws views like this one: a label, a picture, a button or a plain
/// view.
ViewItem* makeItemFor(const UIView& view, QQmlEngine& engine);

}  // namespace tlx::qtquick
