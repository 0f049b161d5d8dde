#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "tlx/platform/uikit/UIView.h"

namespace tlx {

enum UIControlEvents : std::uint64_t { UIControlEventTouchUpInside = 64 };
enum UIControlState : std::uint64_t { UIControlStateNormal = 0 };

/// Something that a person operates. The same target, action and events is one registration, however often it is made.
class UIControl : public UIView {
 public:
  static const Class& classObject();

  bool isEnabled() const { return enabled_; }
  void setEnabled(bool enabled);

  /// The target is held weakly. `method` takes the sender.
  template <class Target, class Sender>
  void addTarget_action_forControlEvents(const std::shared_ptr<Target>& target,
                                         void (Target::*method)(const std::shared_ptr<Sender>&),
                                         UIControlEvents events) {
    // What a pointer to a member function points to shows only in its bytes, once its type is forgotten.
    using Method = void (Target::*)(const std::shared_ptr<Sender>&);
    static_assert(sizeof(Method) <= sizeof(Registration::method));
    Registration registration;
    registration.target = target;
    registration.identity = target.get();
    registration.events = events;
    const Method key = method;
    __builtin_memcpy(registration.method, &key, sizeof key);
    std::weak_ptr<Target> weakTarget = target;
    registration.send = [weakTarget, method](const std::shared_ptr<UIControl>& sender) {
      auto typed = std::dynamic_pointer_cast<Sender>(sender);
      if (auto strongTarget = weakTarget.lock(); strongTarget && typed) ((*strongTarget).*method)(typed);
    };
    add(std::move(registration));
  }
  /// For scenes: sends `action` of the owner's class.
  void addSceneAction(const std::weak_ptr<NSObject>& owner, const Action& action, UIControlEvents events);

  /// Runs the actions registered for the events, in order. Does not look at whether the control is enabled.
  void sendActionsForControlEvents(UIControlEvents events);
  /// A person's press, from a renderer, the keyboard or assistive technology: sends touch-up-inside when the control
  /// can be operated: enabled, taking interaction, within reach (`UIViewController::inputReaches`), and neither it nor
  /// anything above it is hidden, refuses interaction or is all but transparent (alpha below 0.01). Answers whether it
  /// did.
  bool press();
  bool canBeOperated() const;

 private:
  struct Registration {
    std::weak_ptr<const void> target;
    const void* identity = nullptr;
    alignas(16) unsigned char method[32] = {};
    std::string sceneAction;
    UIControlEvents events{};
    std::function<void(const std::shared_ptr<UIControl>&)> send;
  };
  void add(Registration registration);

  bool enabled_ = true;
  std::vector<Registration> registrations_;
};

}  // namespace tlx
