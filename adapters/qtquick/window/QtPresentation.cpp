#include "adapters/qtquick/window/QtPresentation.h"

#include <QPropertyAnimation>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QUrl>
#include <QVariantList>
#include <algorithm>
#include <utility>

#include "tlx/platform/ApplicationPort.h"
#include "tlx/platform/Platform.h"
#include "tlx/platform/uikit/UIAlertController.h"
#include "tlx/platform/uikit/UIPopoverPresentationController.h"

#include "adapters/qtquick/views/ViewItem.h"
#include "adapters/qtquick/window/QtWindow.h"

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

/// The first item in the screen that takes the keyboard, or the screen itself.
void takeFocus(QQuickItem& screen) {
  QQuickItem* item = &screen;
  if (!screen.isFocusScope() && !screen.activeFocusOnTab()) {
    QQuickItem* first = screen.nextItemInFocusChain();
    for (QQuickItem* above = first; above; above = above->parentItem()) {
      if (above == &screen) item = first;
    }
  }
  item->forceActiveFocus(Qt::PopupFocusReason);
}

}  // namespace

QtPresentation::~QtPresentation() {
  for (const Shown& shown : shown_) delete shown.frame;
}

void QtPresentation::setWindow(QtWindow* window) {
  window_ = window;
  if (window) {
    connect(window, &QtWindow::resized, this, [this] {
      for (const Shown& shown : shown_) place(shown);
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
    shown.frame->setParent(&window_->rootItem());  // what still fades at the end goes with the window
    shown.frame->setParentItem(&window_->rootItem());
  } else if (auto popover = presented->popoverPresentationController()) {
    shown.content = itemForView(presented->view(), &engine_);
    shown.frame = create(engine_, "PopoverFrame.qml", {});
    connect(shown.frame, SIGNAL(pressedOutside()), this, SLOT(pressedOutside()));
    shown.frame->setParent(&window_->rootItem());  // what still fades at the end goes with the window
    shown.frame->setParentItem(&window_->rootItem());
    if (shown.content) shown.frame->stackBefore(shown.content);
  } else {
    shown.content = itemForView(presented->view(), &engine_);
  }
  if (shown_.empty() && !owesFocus_) focusBeneath_ = window_->quickWindow().activeFocusItem();
  held_ = false;
  shown_.push_back(shown);
  std::erase(leaving_, shown.content);
  setReachable();
  takeFocus(shown.content ? *shown.content : *shown.frame);
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
  shown.frame->setProperty("content",
                           QRectF(content.origin.x, content.origin.y, content.size.width, content.size.height));
  shown.frame->setProperty("arrowX", CGRectGetMidX(anchor));
}

void QtPresentation::dismiss(const std::shared_ptr<UIViewController>& presented, bool animated) {
  const auto found = std::find_if(shown_.begin(), shown_.end(),
                                  [&](const Shown& shown) { return shown.controller.lock() == presented; });
  if (found == shown_.end()) return;
  const Shown shown = *found;
  shown_.erase(found);
  if (shown.content) leaving_.push_back(shown.content);
  std::erase(leaving_, nullptr);
  owesFocus_ = true;
  // The frame goes on catching presses while it fades: the second half of a double click is not meant for what is
  // beneath.
  fade(shown.frame, 1, 0, animated, true);
  fade(shown.content, 1, 0, animated, false);
}

void QtPresentation::inputMoved(const std::shared_ptr<UIViewController>& screen) {
  held_ = !screen;
  setReachable();
  if (!window_ || held_ || !shown_.empty()) return;
  // A page that the choice has opened keeps the keys, and gives them back itself.
  if (!std::exchange(owesFocus_, false) || !window_->rootItem().isEnabled()) return;
  QQuickItem& beneath = focusBeneath_ && focusBeneath_->isVisible() ? *focusBeneath_ : window_->rootItem();
  beneath.forceActiveFocus(Qt::PopupFocusReason);
}

void QtPresentation::setReachable() {
  if (!window_) return;
  const QQuickItem* top = topmost();
  for (QQuickItem* item : window_->rootItem().childItems()) {
    const bool presented = find(item) || std::any_of(shown_.begin(), shown_.end(),
                                                     [&](const Shown& shown) { return shown.content == item; });
    if (!qobject_cast<ViewItem*>(item) && !presented) continue;
    item->setEnabled(!held_ && std::find(leaving_.begin(), leaving_.end(), item) == leaving_.end() &&
                     (!top || item == top || item == shown_.back().frame));
  }
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
    connect(motion, &QPropertyAnimation::finished, item, &QObject::deleteLater);
  }
  motion->start(QAbstractAnimation::DeleteWhenStopped);
}

const QtPresentation::Shown* QtPresentation::find(const QObject* frame) const {
  const auto found =
      std::find_if(shown_.begin(), shown_.end(), [&](const Shown& shown) { return shown.frame == frame; });
  return found == shown_.end() ? nullptr : &*found;
}

void QtPresentation::alertChosen(int index) {
  const Shown* shown = find(sender());
  auto alert = shown ? std::dynamic_pointer_cast<UIAlertController>(shown->controller.lock()) : nullptr;
  if (alert && index >= 0) alert->perform(static_cast<std::size_t>(index));
}

void QtPresentation::pressedOutside() {
  const Shown* shown = find(sender());
  auto controller = shown ? shown->controller.lock() : nullptr;
  if (controller) controller->popoverPresentationController()->requestDismissal();
}

QQuickItem* QtPresentation::topmost() const {
  if (shown_.empty()) return nullptr;
  const Shown& top = shown_.back();
  return top.content ? static_cast<QQuickItem*>(top.content) : top.frame.data();
}

bool QtPresentation::cancelTopmost() {
  auto controller = shown_.empty() ? nullptr : shown_.back().controller.lock();
  if (auto alert = std::dynamic_pointer_cast<UIAlertController>(controller)) {
    for (std::size_t i = 0; i < alert->actions().size(); ++i) {
      if (alert->actions()[i]->style() == UIAlertActionStyleCancel) return alert->perform(i);
    }
    return true;
  }
  auto popover = controller ? controller->popoverPresentationController() : nullptr;
  if (!popover) return false;
  popover->requestDismissal();
  return true;
}

}  // namespace tlx::qtquick
