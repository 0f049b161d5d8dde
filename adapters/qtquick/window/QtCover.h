#pragma once

#include <QObject>
#include <QPointer>
#include <QVariantMap>

#include "adapters/qtquick/views/ViewItem.h"
#include "adapters/qtquick/window/QtWindow.h"

class QQuickItem;

namespace tlx::qtquick {

/// A piece of QML over everything else in a window, as large as it; faded in when made. While it lives it alone has the
/// mouse, the keyboard and assistive technology. When destroyed it fades out by itself, and gives the keyboard back to
/// what had it. One at a time.
class QtCover final : public QObject {
  Q_OBJECT

 public:
  /// `file` is one of the module's own; that it cannot be made is a programming error. The window outlives the cover.
  QtCover(QtWindow& window, QQmlEngine& engine, const char* file, const QVariantMap& properties);
  ~QtCover() override;

  /// To read its properties and connect to its signals.
  QQuickItem& item() const { return *item_; }

  bool eventFilter(QObject* object, QEvent* event) override;

 Q_SIGNALS:
  /// Escape, which nothing in the piece has taken.
  void escaped();

 private:
  void fill();

  QPointer<QtWindow> window_;
  QPointer<QQuickItem> item_;
  QPointer<QQuickItem> before_;  ///< had the keyboard
};

}  // namespace tlx::qtquick
