#include "adapters/qtquick/window/QtCover.h"

#include <QKeyEvent>
#include <QPropertyAnimation>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

#include "tlx/platform/ApplicationPort.h"
#include "tlx/platform/Platform.h"

namespace tlx::qtquick {
namespace {

constexpr int kFade = 200;  // milliseconds

QPropertyAnimation* fade(QQuickItem* item, qreal from, qreal to) {
  auto* motion = new QPropertyAnimation(item, "opacity", item);
  const bool still = !Platform::installed() || Platform::current().ports().application.reduceMotion();
  motion->setDuration(still ? 0 : kFade);
  motion->setStartValue(from);
  motion->setEndValue(to);
  motion->setEasingCurve(QEasingCurve::OutCubic);
  return motion;
}

}  // namespace

QtCover::QtCover(QtWindow& window, QQmlEngine& engine, const char* file, const QVariantMap& properties)
    : window_(&window), before_(window.quickWindow().activeFocusItem()) {
  QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/tlx/mediapicker/TLX/MediaPicker/") + QLatin1String(file)));
  if (component.isReady()) item_ = qobject_cast<QQuickItem*>(component.createWithInitialProperties(properties));
  if (!item_) qFatal("%s", qPrintable(component.errorString()));
  QQmlEngine::setObjectOwnership(item_, QQmlEngine::CppOwnership);
  item_->setParent(&window.rootItem());  // what still fades then goes with the window
  // Beside the views' root, not in it: keys that nothing here takes must not reach what is covered.
  item_->setParentItem(window.quickWindow().contentItem());
  item_->installEventFilter(this);
  window.rootItem().setEnabled(false);
  fill();
  connect(&window, &QtWindow::resized, this, &QtCover::fill);
  item_->forceActiveFocus();
  fade(item_, 0, 1)->start(QAbstractAnimation::DeleteWhenStopped);
}

QtCover::~QtCover() {
  if (!item_) return;
  item_->removeEventFilter(this);
  item_->setEnabled(false);
  if (window_) window_->rootItem().setEnabled(true);
  auto* motion = fade(item_, item_->opacity(), 0);
  connect(motion, &QPropertyAnimation::finished, item_, &QObject::deleteLater);
  motion->start(QAbstractAnimation::DeleteWhenStopped);
  if (before_ && before_->isVisible() && before_->isEnabled()) {
    before_->forceActiveFocus();
  } else if (window_) {
    window_->rootItem().forceActiveFocus();
  }
}

bool QtCover::eventFilter(QObject*, QEvent* event) {
  if (event->type() != QEvent::KeyPress || static_cast<QKeyEvent*>(event)->key() != Qt::Key_Escape) return false;
  event->accept();
  Q_EMIT escaped();
  return true;
}

void QtCover::fill() {
  if (item_ && window_) item_->setSize(window_->rootItem().size());
}

}  // namespace tlx::qtquick
