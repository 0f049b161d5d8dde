#pragma once

#include <string>

#include "tlx/platform/foundation/Class.h"

namespace tlx {

/// Where a library keeps its resources. A bundle is found through a class that lives in it, so that a host's resources
/// of the same name are never met.
struct NSBundle {
  std::string identifier;

  static NSBundle bundleForClass(const Class& classObject) { return {std::string(classObject.bundle)}; }
  friend bool operator==(const NSBundle&, const NSBundle&) = default;
};

/// Identifier of the bundle that holds the picker's own classes, scenes and images.
inline constexpr char kTLXMediaPickerBundle[] = "tlx.mediapicker";

}  // namespace tlx
