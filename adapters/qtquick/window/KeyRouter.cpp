#include "adapters/qtquick/window/KeyRouter.h"

#include <QKeyEvent>
#include <QQuickItem>
#include <algorithm>
#include <functional>

#include "adapters/qtquick/views/ButtonItem.h"
#include "adapters/qtquick/views/ScrollItem.h"
#include "adapters/qtquick/window/QtPresentation.h"

namespace tlx::qtquick {
namespace {

enum class Visit { GoOn, Stop };

constexpr double kLeastVisibleOpacity = 0.01;

/// From the topmost item down, as a finger would meet them.
Visit visitFromTop(QQuickItem& item, const std::function<Visit(QQuickItem&)>& visit) {
  if (!item.isVisible() || !item.isEnabled() || item.opacity() < kLeastVisibleOpacity) return Visit::GoOn;
  QList<QQuickItem*> children = item.childItems();
  std::stable_sort(children.begin(), children.end(), [](auto* one, auto* other) { return one->z() < other->z(); });
  for (auto child = children.rbegin(); child != children.rend(); ++child) {
    if (visitFromTop(**child, visit) == Visit::Stop) return Visit::Stop;
  }
  return visit(item);
}

}  // namespace

bool KeyRouter::press(const QKeyEvent& event) const {
  const QKeyCombination key(event.modifiers() & ~Qt::KeypadModifier, static_cast<Qt::Key>(event.key()));
  if (key == QKeyCombination(Qt::Key_Escape) && presentation_.cancelTopmost()) return true;
  QQuickItem* screen = presentation_.topmost();
  bool taken = false;
  const auto offer = [&](QQuickItem& item) {
    if (auto* button = qobject_cast<ButtonItem*>(&item); button && button->hasShortcut(key)) {
      taken = !event.isAutoRepeat() && button->press();
    } else if (auto* scroll = qobject_cast<ScrollItem*>(&item); scroll && scroll->pressKey(event)) {
      scroll->forceActiveFocus(Qt::ShortcutFocusReason);
      taken = true;
    }
    return taken ? Visit::Stop : Visit::GoOn;
  };
  visitFromTop(screen ? *screen : root_, offer);
  return taken;
}

}  // namespace tlx::qtquick
