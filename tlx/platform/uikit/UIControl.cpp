#include "tlx/platform/uikit/UIControl.h"

#include <algorithm>
#include <cstring>

#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {
namespace {

constexpr double kLeastOperableAlpha = 0.01;

bool takesTouches(const UIView& view) {
  return !view.isHidden() && view.isUserInteractionEnabled() && view.alpha() >= kLeastOperableAlpha;
}

}  // namespace

const Class& UIControl::classObject() {
  static const Class object{"UIControl", "UIView", "", [] { return std::make_shared<UIControl>(); }, {}, {}};
  return object;
}

void UIControl::setEnabled(bool enabled) {
  if (enabled == enabled_) return;
  enabled_ = enabled;
  changed(UIViewChange::Enabled);
}

void UIControl::addSceneAction(const std::weak_ptr<NSObject>& owner, const Action& action, UIControlEvents events) {
  Registration registration;
  registration.target = owner;
  registration.identity = owner.lock().get();
  registration.sceneAction = action.name;
  registration.events = events;
  registration.send = [owner, perform = action.perform](const std::shared_ptr<UIControl>& sender) {
    if (auto strongOwner = owner.lock(); strongOwner && perform) perform(*strongOwner, sender);
  };
  add(std::move(registration));
}

void UIControl::add(Registration registration) {
  // A dead target's address may be given to a new one, which must not be taken for it.
  std::erase_if(registrations_, [](const Registration& known) { return known.target.expired(); });
  const bool known = std::any_of(registrations_.begin(), registrations_.end(), [&](const Registration& other) {
    return other.identity == registration.identity && other.events == registration.events &&
           other.sceneAction == registration.sceneAction &&
           std::memcmp(other.method, registration.method, sizeof registration.method) == 0;
  });
  if (!known) registrations_.push_back(std::move(registration));
}

void UIControl::sendActionsForControlEvents(UIControlEvents events) {
  auto self = sharedAs(this);
  const auto registrations = registrations_;  // an action may register further ones
  for (const Registration& registration : registrations) {
    if (registration.events & events) registration.send(self);
  }
}

bool UIControl::canBeOperated() const {
  if (!enabled_ || !takesTouches(*this) || !UIViewController::inputReaches(*this)) return false;
  for (auto view = superview(); view; view = view->superview()) {
    if (!takesTouches(*view)) return false;
  }
  return true;
}

bool UIControl::press() {
  if (!canBeOperated()) return false;
  sendActionsForControlEvents(UIControlEventTouchUpInside);
  return true;
}

}  // namespace tlx
