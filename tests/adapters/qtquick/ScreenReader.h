#pragma once

#include <QAccessible>

#include "tests/adapters/qtquick/PickerWindow.h"

namespace tlx::test {

/// A person who hears the window and presses what it names.
class ScreenReader {
 public:
  explicit ScreenReader(PickerWindow& session) : session_(session) {}

  /// What is to be found, in its order; of one role alone, if wanted.
  Names names(std::optional<QAccessible::Role> role = std::nullopt) const {
    Names names;
    for (auto* element : elements()) {
      if (!role || element->role() == *role) names.push_back(element->text(QAccessible::Name).toStdString());
    }
    return names;
  }
  void press(const std::string& name) {
    for (auto* element : elements()) {
      if (element->text(QAccessible::Name).toStdString() != name) continue;
      ASSERT_TRUE(element->actionInterface()) << name;
      element->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
      session_.wait(1);
      return;
    }
    ADD_FAILURE() << "nothing is called " << name;
  }

 private:
  std::vector<QAccessibleInterface*> elements() const {
    return below(QAccessible::queryAccessibleInterface(&session_.window));
  }
  static std::vector<QAccessibleInterface*> below(QAccessibleInterface* above) {
    std::vector<QAccessibleInterface*> found;
    for (int child = 0; above && child < above->childCount(); ++child) {
      QAccessibleInterface* element = above->child(child);
      if (!element || element->state().invisible || element->state().disabled) continue;
      found.push_back(element);
      const auto more = below(element);
      found.insert(found.end(), more.begin(), more.end());
    }
    return found;
  }

  PickerWindow& session_;
};

}  // namespace tlx::test
