#include "adapters/qtquick/window/QtWindow.h"

#include <QKeyEvent>
#include <QQmlEngine>
#include <utility>

#include "adapters/qtquick/scenes/QtScenes.h"
#include "adapters/qtquick/views/ViewItem.h"

namespace tlx::qtquick {

/// What everything stands in, and where keys arrive that nothing above has taken.
class QtWindow::RootItem final : public ViewItem {
 public:
  RootItem() {
    setFlag(ItemIsFocusScope);
    setFocus(true);
  }
  KeyHandler keyHandler;

 protected:
  void keyPressEvent(QKeyEvent* event) override { event->setAccepted(keyHandler && keyHandler(*event)); }
};

QtWindow::QtWindow(QQuickWindow& window, QQmlEngine& engine, QtScenes& scenes)
    : window_(window),
      scenes_(scenes),
      model_(std::make_shared<UIWindow>(CGRectMake(0, 0, window.width(), window.height()))),
      root_(new RootItem) {
  QQmlEngine::setContextForObject(root_, engine.rootContext());
  scenes_.setSize(model_->frame().size);
  root_->setParentItem(window_.contentItem());
  root_->attach(model_);
  connect(&window_, &QQuickWindow::widthChanged, this, &QtWindow::follow);
  connect(&window_, &QQuickWindow::heightChanged, this, &QtWindow::follow);
}

QtWindow::~QtWindow() {
  model_->setRootViewController(nullptr);
  model_.reset();
  delete root_;
}

ViewItem& QtWindow::rootItem() const {
  return *root_;
}

void QtWindow::setKeyHandler(KeyHandler handler) {
  root_->keyHandler = std::move(handler);
}

void QtWindow::follow() {
  const CGRect frame = CGRectMake(0, 0, window_.width(), window_.height());
  if (frame == model_->frame() || window_.width() <= 0 || window_.height() <= 0) return;
  scenes_.setSize(frame.size);
  model_->setFrame(frame);
  Q_EMIT resized();
}

}  // namespace tlx::qtquick
