#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tlx/platform/foundation/Class.h"

namespace tlx {

/// What a loader made of a scene, a cell or an interface file, before anything of it is connected.
struct SceneParts {
  /// Which object is which of the owner's outlets, and which control sends which of its actions, by name.
  std::vector<std::pair<std::string, std::shared_ptr<NSObject>>> outlets, actions;
  /// All objects, in the order in which they awake: children before what they stand in.
  std::vector<std::shared_ptr<NSObject>> objects;
};

/// Connects the outlets and actions that `ownerClass` and its superclasses declare, then awakes the objects: each finds
/// every outlet connected in its `awakeFromNib`. Main thread. For all loaders of scenes, so that none can differ.
///
/// An `NSException` that names the scene when the two sides disagree: an outlet that is declared and not given, given
/// and not declared, or of another class; an action that is not declared, or sent by what is no control. Nothing awakes
/// then.
void connectScene(const std::string& scene, NSObject& owner, const std::string& ownerClass, const SceneParts& parts);

}  // namespace tlx
