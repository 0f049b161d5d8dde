#pragma once

#include <QObject>
#include <QPointer>
#include <map>
#include <memory>

#include "adapters/qtquick/views/ViewItem.h"
#include "adapters/qtquick/window/QtWindow.h"
#include "tlx/platform/uikit/PresentationPort.h"

class QQmlEngine;
class QQuickItem;

namespace tlx::qtquick {


/// Draws alerts and what surrounds a popover, and moves screens in and out.
class QtPresentation final : public QObject, public PresentationPort {
  Q_OBJECT

 public:
  explicit QtPresentation(QQmlEngine& engine) : engine_(engine) {}
  ~QtPresentation() override;

  /// Where presentations appear; nothing takes them away.
  void setWindow(QtWindow* window);

  void present(const std::shared_ptr<UIViewController>& presented, bool animated) override;
  void dismiss(const std::shared_ptr<UIViewController>& presented, bool animated) override;

  /// Escape, or the system's back: closes a popover when its screen agrees, or chooses an alert's cancel-style action. False when
  /// neither is shown.
  bool cancelTopmost();

 private Q_SLOTS:
  void alertChosen(int index);
  void pressedOutside();

 private:
  struct Shown {
    std::weak_ptr<UIViewController> controller;
    QPointer<QQuickItem> frame;    ///< the alert's box, or what surrounds the popover
    QPointer<ViewItem> content;    ///< the presented view's item
  };
  void place(const Shown& shown);
  void fade(QQuickItem* item, double from, double to, bool animated, bool destroy);

  QQmlEngine& engine_;  // unretained: the platform owns both, the engine outlives this
  QPointer<QtWindow> window_;
  std::map<const UIViewController*, Shown> shown_;
};

}  // namespace tlx::qtquick
