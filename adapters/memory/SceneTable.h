#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tlx/platform/coregraphics/CGGeometry.h"

namespace tlx::memory {

/// One view of a scene, and what stands in it.
struct SceneView {
  std::string className;
  std::string outlet = {};  ///< the owner's outlet that it is connected to
  CGRect frame = {};        ///< in the superview, as the scene is drawn
  std::int64_t tag = 0;
  std::string text = {};    ///< of a label, or the title of a button
  std::string action = {};  ///< sent to the owner when the control is pressed
  bool hidden = false;
  double alpha = 1;
  bool takesTouches = true;
  std::uint64_t autoresizing = 0;
  std::vector<SceneView> subviews = {};
};

/// A cell, header or footer, with its outlets in itself.
struct ScenePrototype {
  enum Kind { Cell, Header, Footer } kind;
  std::string reuseIdentifier;
  SceneView view;
};

/// One controller's screen, or one interface file, whose view is its own owner.
struct Scene {
  std::string identifier;  ///< the class's name
  SceneView view;
  std::vector<ScenePrototype> prototypes = {};
};

/// The picker's scenes for 375 × 667 points. Classes, outlets, actions, tags, texts, order and what is seen at the
/// start are those of the files that are drawn, which the window's tests check; the frames are no more careful than
/// code and tests need.
std::vector<Scene> pickerScenes();
/// The picker's interface files.
std::vector<Scene> pickerInterfaceFiles();

}  // namespace tlx::memory
