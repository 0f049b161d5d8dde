#pragma once

namespace tlx {

/// Makes the view model's classes known by name, for whoever loads scenes. May be called again.
void registerPlatformClasses();

}  // namespace tlx
