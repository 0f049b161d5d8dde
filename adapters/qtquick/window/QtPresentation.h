#pragma once

#include <QObject>
#include <QPointer>
#include <memory>
#include <vector>

#include "tlx/platform/uikit/PresentationPort.h"

#include "adapters/qtquick/views/ViewItem.h"
#include "adapters/qtquick/window/QtWindow.h"

class QQmlEngine;
class QQuickItem;

namespace tlx::qtquick {

/// Draws alerts and what surrounds a popover, and moves screens in and out. What is beneath the topmost one hears
/// neither keys nor assistive technology, and has the keyboard again when all have gone.
class QtPresentation final : public QObject, public PresentationPort {
  Q_OBJECT

 public:
  explicit QtPresentation(QQmlEngine& engine) : engine_(engine) {}
  ~QtPresentation() override;

  /// Where presentations appear; nothing takes them away.
  void setWindow(QtWindow* window);

  void present(const std::shared_ptr<UIViewController>& presented, bool animated) override;
  void dismiss(const std::shared_ptr<UIViewController>& presented, bool animated) override;
  void inputMoved(const std::shared_ptr<UIViewController>& screen) override;

  /// Escape, or the system's back: closes a popover when its screen agrees, or chooses an alert's cancel-style action.
  /// False when neither is shown.
  bool cancelTopmost();
  /// Where keys may look for what they press while anything is presented: the presented screen, or an alert. Nothing
  /// else.
  QQuickItem* topmost() const;

 private Q_SLOTS:
  void alertChosen(int index);
  void pressedOutside();

 private:
  struct Shown {
    std::weak_ptr<UIViewController> controller;
    QPointer<QQuickItem> frame;  ///< the alert's box, or what surrounds the popover
    QPointer<ViewItem> content;  ///< the presented view's item
  };
  const Shown* find(const QObject* frame) const;
  void setReachable();
  void place(const Shown& shown);
  void fade(QQuickItem* item, double from, double to, bool animated, bool destroy);

  QQmlEngine& engine_;  // unretained: the platform owns both, the engine outlives this
  QPointer<QtWindow> window_;
  std::vector<Shown> shown_;                 // the topmost last
  std::vector<QPointer<ViewItem>> leaving_;  // screens that fade out
  QPointer<QQuickItem> focusBeneath_;        // had the keyboard before the first of them came
  bool owesFocus_ = false;                   // it gets the keyboard back as soon as something takes input again
  bool held_ = false;                        // nothing takes input
};

}  // namespace tlx::qtquick
