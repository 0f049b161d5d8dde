#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <functional>
#include <memory>

#include "tlx/platform/uikit/UIWindow.h"

class QKeyEvent;
class QQmlEngine;

namespace tlx::qtquick {

class QtScenes;
class ViewItem;

/// A window of the program's, or an item in one, as the platform's window.
class QtWindow final : public QObject {
  Q_OBJECT

 public:
  /// The scene items stand in the window's content, as large as it. The quick window is the program's and outlives
  /// this.
  QtWindow(QQuickWindow& window, QQmlEngine& engine, QtScenes& scenes);
  ~QtWindow() override;

  const std::shared_ptr<UIWindow>& model() const { return model_; }
  QQuickWindow& quickWindow() const { return window_; }
  ViewItem& rootItem() const;

  /// Told of each key that no item took for itself; answers whether it takes it.
  using KeyHandler = std::function<bool(const QKeyEvent&)>;
  void setKeyHandler(KeyHandler handler);

 Q_SIGNALS:
  void resized();

 private:
  class RootItem;
  void follow();

  QQuickWindow& window_;
  QtScenes& scenes_;
  std::shared_ptr<UIWindow> model_;
  QPointer<RootItem> root_;
};

}  // namespace tlx::qtquick
