#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tlx {

/// The root of everything that a scene can hold.
class NSObject : public std::enable_shared_from_this<NSObject> {
 public:
  NSObject() = default;
  virtual ~NSObject() = default;
  NSObject(const NSObject&) = delete;
  NSObject& operator=(const NSObject&) = delete;

  /// Runs right after construction for an object that comes out of a scene or an interface file, before outlets.
  virtual void initWithCoder() {}
  /// Runs when the outlets are connected.
  virtual void awakeFromNib() {}

 protected:
  /// This object as a reference of the given type; nothing while it is being constructed or destroyed.
  template <class T>
  std::shared_ptr<T> sharedAs(T* self) {
    auto strong = weak_from_this().lock();
    return strong ? std::shared_ptr<T>(std::move(strong), self) : nullptr;
  }
};

/// A property that a scene connects to one of its views.
struct Outlet {
  std::string name;
  /// Name of the class that the target must be, or derive from; used in the error when it is not.
  std::string targetClass;
  /// False when the target is of another class. `target` is never nothing.
  std::function<bool(NSObject& owner, const std::shared_ptr<NSObject>& target)> connect;
};

/// A message that a scene's controls may send to their owner, such as "btnPressed:".
struct Action {
  std::string name;
  std::function<void(NSObject& owner, const std::shared_ptr<NSObject>& sender)> perform;
};

/// What a scene needs to know of a class: its name, how to make one, and what to connect.
struct Class {
  std::string name;
  std::string superclass;
  std::string bundle;
  std::function<std::shared_ptr<NSObject>()> alloc;
  std::vector<Outlet> outlets;
  std::vector<Action> actions;
};

inline const std::string& NSStringFromClass(const Class& classObject) {
  return classObject.name;
}

/// Makes the class known by name. Main thread; the object lives as long as the process. Registering twice changes
/// nothing.
void registerClass(const Class& classObject);
/// Nothing for a name that was not registered.
const Class* NSClassFromString(std::string_view name);

/// An outlet that is held weakly, or strongly, in a member of the class: `outlet("btnDone", &Controller::btnDone,
/// "UIButton")`.
template <class Owner, class Holder>
Outlet outlet(std::string name, Holder Owner::*member, std::string targetClass) {
  using Target = typename Holder::element_type;
  return {std::move(name), std::move(targetClass), [member](NSObject& owner, const std::shared_ptr<NSObject>& target) {
            auto typed = std::dynamic_pointer_cast<Target>(target);
            if (!typed) return false;
            dynamic_cast<Owner&>(owner).*member = typed;
            return true;
          }};
}

/// An action that takes its sender.
template <class Owner, class Sender>
Action action(std::string name, void (Owner::*method)(const std::shared_ptr<Sender>&)) {
  return {std::move(name), [method](NSObject& owner, const std::shared_ptr<NSObject>& sender) {
            (dynamic_cast<Owner&>(owner).*method)(std::dynamic_pointer_cast<Sender>(sender));
          }};
}

}  // namespace tlx
