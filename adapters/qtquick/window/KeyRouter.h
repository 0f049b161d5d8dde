#pragma once

class QKeyEvent;
class QQuickItem;

namespace tlx::qtquick {

class QtPresentation;

/// What keys do that no item took for itself: Escape leaves what is presented; else a key presses the topmost button
/// that has it as a shortcut, or goes to the topmost grid or list, which then has the keyboard. Hidden, disabled and
/// covered ones are passed over.
class KeyRouter {
 public:
  KeyRouter(QQuickItem& root, QtPresentation& presentation) : root_(root), presentation_(presentation) {}
  /// Answers whether the key did anything.
  bool press(const QKeyEvent& event) const;

 private:
  QQuickItem& root_;              // unretained: the window owns both
  QtPresentation& presentation_;  // unretained: the platform owns both
};

}  // namespace tlx::qtquick
