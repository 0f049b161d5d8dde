#include "tlx/platform/uikit/SceneParts.h"

#include <algorithm>

#include "tlx/platform/NSException.h"
#include "tlx/platform/uikit/UIControl.h"

namespace tlx {
namespace {

[[noreturn]] void complain(const std::string& scene, const std::string& what) {
  throw NSException(NSInternalInconsistencyException, "The scene " + scene + " " + what);
}

/// What the class or one of its superclasses declares under that name; nothing when none does.
template <class Declared>
const Declared* declared(const std::string& className, std::vector<Declared> Class::*list, const std::string& name) {
  for (const Class* known = NSClassFromString(className); known; known = NSClassFromString(known->superclass)) {
    const auto& all = known->*list;
    const auto found = std::find_if(all.begin(), all.end(), [&](const Declared& each) { return each.name == name; });
    if (found != all.end()) return &*found;
  }
  return nullptr;
}

}  // namespace

void connectScene(const std::string& scene, NSObject& owner, const std::string& ownerClass, const SceneParts& parts) {
  for (const auto& [name, object] : parts.outlets) {
    const Outlet* outlet = declared(ownerClass, &Class::outlets, name);
    if (!outlet) complain(scene, "connects the outlet " + name + ", which " + ownerClass + " does not declare");
    if (!outlet->connect(owner, object)) {
      complain(scene, "gives the outlet " + name + " an object that is no " + outlet->targetClass);
    }
  }
  for (const Class* known = NSClassFromString(ownerClass); known; known = NSClassFromString(known->superclass)) {
    for (const Outlet& outlet : known->outlets) {
      const auto given = [&](const auto& each) { return each.first == outlet.name; };
      if (std::none_of(parts.outlets.begin(), parts.outlets.end(), given)) {
        complain(scene, "lacks the outlet " + outlet.name + " of " + known->name);
      }
    }
  }
  for (const auto& [name, sender] : parts.actions) {
    const Action* action = declared(ownerClass, &Class::actions, name);
    const auto control = std::dynamic_pointer_cast<UIControl>(sender);
    if (!action || !control) complain(scene, "cannot send the action " + name);
    control->addSceneAction(owner.weak_from_this(), *action, UIControlEventTouchUpInside);
  }
  for (const auto& object : parts.objects) object->awakeFromNib();
}

}  // namespace tlx
