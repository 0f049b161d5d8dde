#include "adapters/qtquick/window/QtPresentation.h"

#include <QPropertyAnimation>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QUrl>
#include <QVariantList>

#include "adapters/qtquick/views/ViewItem.h"
#include "adapters/qtquick/window/QtWindow.h"
#include "tlx/platform/Platform.h"
#include "tlx/platform/uikit/UIAlertController.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/platform/uikit/UIPopoverPresentationController.h"

namespace tlx::qtquick {
namespace {

constexpr int kDuration = static_cast<int>(UIPresentationAnimationDuration * 1000);

QQuickItem* create(QQmlEngine& engine, const char* file, const QVariantMap& properties) {
  QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/tlx/mediapicker/TLX/MediaPicker/") + QLatin1String(file)));
  auto* item = qobject_cast<QQuickItem*>(component.createWithInitialProperties(properties));
  if (!item) qFatal("%s", qPrintable(component.errorString()));
  QQmlEngine::setObjectOwnership(item, QQmlEngine::CppOwnership);
  return item;
}

}  // namespace

QtPresentation::~QtPresentation() {
  for (auto& [controller, shown] : shown_) delete shown.frame;
}

void QtPresentation::setWindow(QtWindow* window) {
  window_ = window;
  if (window) {
    connect(window, &QtWindow::resized, this, [this] {
      for (const auto& [controller, shown] : shown_) place(shown);
    });
  }
}

void QtPresentation::present(const std::shared_ptr<UIViewController>& presented, bool animated) {
  if (!window_) return;
  Shown shown{presented, nullptr, nullptr};
  if (auto alert = std::dynamic_pointer_cast<UIAlertController>(presented)) {
    QVariantList actions;
    for (const auto& action : alert->actions()) {
      actions.append(QVariantMap{{QStringLiteral("title"), QString::fromStdString(action->title())},
                                 {QStringLiteral("cancels"), action->style() == UIAlertActionStyleCancel}});
    }
    shown.frame = create(engine_, "Alert.qml",
                         {{QStringLiteral("title"), QString::fromStdString(alert->title())},
                          {QStringLiteral("message"), QString::fromStdString(alert->message())},
                          {QStringLiteral("actions"), actions}});
    connect(shown.frame, SIGNAL(chosen(int)), this, SLOT(alertChosen(int)));
    shown.frame->setParentItem(&window_->rootItem());
    shown.frame->forceActiveFocus();
  } else if (auto popover = presented->popoverPresentationController()) {
    shown.content = itemForView(presented->view(), &engine_);
    shown.frame = create(engine_, "PopoverFrame.qml", {});
    connect(shown.frame, SIGNAL(pressedOutside()), this, SLOT(pressedOutside()));
    shown.frame->setParentItem(&window_->rootItem());
    if (shown.content) shown.frame->stackBefore(shown.content);
  } else {
    shown.content = itemForView(presented->view(), &engine_);
  }
  shown_[presented.get()] = shown;
  place(shown);
  fade(shown.frame, 0, 1, animated, false);
  fade(shown.content, 0, 1, animated, false);
}

void QtPresentation::place(const Shown& shown) {
  auto controller = shown.controller.lock();
  if (!controller || !window_) return;
  const CGSize size = window_->model()->frame().size;
  if (shown.frame) shown.frame->setSize({size.width, size.height});
  auto popover = controller->popoverPresentationController();
  if (!popover || !shown.frame) return;
  const CGRect content = popover->frameInWindow(size);
  controller->view()->setFrame(content);
  auto source = popover->sourceView();
  const CGRect anchor = source ? source->convertRectToWindow(popover->sourceRect()) : popover->sourceRect();
  shown.frame->setProperty("content", QRectF(content.origin.x, content.origin.y, content.size.width, content.size.height));
  shown.frame->setProperty("arrowX", CGRectGetMidX(anchor));
}

void QtPresentation::dismiss(const std::shared_ptr<UIViewController>& presented, bool animated) {
  auto found = shown_.find(presented.get());
  if (found == shown_.end()) return;
  const Shown shown = found->second;
  shown_.erase(found);
  fade(shown.frame, 1, 0, animated, true);
  fade(shown.content, 1, 0, animated, false);
  // The keyboard goes back to what was beneath.
  if (window_ && shown_.empty()) window_->rootItem().forceActiveFocus();
}

void QtPresentation::fade(QQuickItem* item, double from, double to, bool animated, bool destroy) {
  if (!item) return;
  if (!animated || Platform::current().ports().application.reduceMotion()) {
    item->setOpacity(to);
    if (destroy) item->deleteLater();
    return;
  }
  auto* motion = new QPropertyAnimation(item, "opacity", item);
  motion->setDuration(kDuration);
  motion->setStartValue(from);
  motion->setEndValue(to);
  motion->setEasingCurve(QEasingCurve::OutCubic);
  if (destroy) {
    item->setEnabled(false);
    connect(motion, &QPropertyAnimation::finished, item, &QObject::deleteLater);
  }
  motion->start(QAbstractAnimation::DeleteWhenStopped);
}

void QtPresentation::alertChosen(int index) {
  for (const auto& [key, shown] : std::map(shown_)) {
    if (shown.frame != sender()) continue;
    if (auto alert = std::dynamic_pointer_cast<UIAlertController>(shown.controller.lock()); alert && index >= 0) {
      alert->perform(static_cast<std::size_t>(index));
    }
  }
}

void QtPresentation::pressedOutside() {
  for (const auto& [key, shown] : std::map(shown_)) {
    if (shown.frame != sender()) continue;
    if (auto controller = shown.controller.lock()) controller->popoverPresentationController()->requestDismissal();
  }
}

bool QtPresentation::cancelTopmost() {
  for (const auto& [key, shown] : std::map(shown_)) {
    auto controller = shown.controller.lock();
    if (auto alert = std::dynamic_pointer_cast<UIAlertController>(controller)) {
      for (std::size_t i = 0; i < alert->actions().size(); ++i) {
        if (alert->actions()[i]->style() == UIAlertActionStyleCancel) return alert->perform(i);
      }
      return true;
    }
  }
  for (const auto& [key, shown] : std::map(shown_)) {
    auto controller = shown.controller.lock();
    if (auto popover = controller ? controller->popoverPresentationController() : nullptr) {
      popover->requestDismissal();
      return true;
    }
  }
  return false;
}

}  // namespace tlx::qtquick
