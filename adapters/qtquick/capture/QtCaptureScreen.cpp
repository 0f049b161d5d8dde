#include "adapters/qtquick/capture/QtCaptureScreen.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QUrl>

#include "adapters/qtquick/capture/CaptureModel.h"
#include "adapters/qtquick/views/ViewItem.h"

namespace tlx::qtquick {

QtCaptureScreen::QtCaptureScreen(QQmlEngine& engine) : engine_(engine) {}

QtCaptureScreen::~QtCaptureScreen() {
  for (auto& [screen, shown] : shown_) delete shown.item;
}

void QtCaptureScreen::open(const std::shared_ptr<UIImagePickerController>& screen) {
  ViewItem* const view = itemForView(screen->view(), &engine_);
  if (!view) return;
  Shown& shown = shown_[screen.get()];
  shown.model = std::make_unique<CaptureModel>(screen);
  QQmlComponent component(&engine_, QUrl(QStringLiteral("qrc:/tlx/mediapicker/TLX/MediaPicker/CaptureScreen.qml")));
  shown.item = qobject_cast<QQuickItem*>(component.createWithInitialProperties(
      {{QStringLiteral("model"), QVariant::fromValue<QObject*>(shown.model.get())}}));
  if (!shown.item) qFatal("%s", qPrintable(component.errorString()));
  QQmlEngine::setObjectOwnership(shown.item, QQmlEngine::CppOwnership);
  shown.item->setParent(view);  // what fades out goes with the view
  shown.item->setParentItem(view);
  shown.item->forceActiveFocus(Qt::PopupFocusReason);
  shown.model->start(*shown.item->findChild<CapturePreview*>());
}

void QtCaptureScreen::close(const UIImagePickerController& screen) {
  const auto found = shown_.find(&screen);
  if (found == shown_.end()) return;
  found->second.model->stop();
  // The picture stays while the screen fades; nothing can be done on it any more.
  if (QQuickItem* const item = found->second.item) {
    item->setEnabled(false);
    found->second.model.release()->setParent(item);
  }
  shown_.erase(found);
}

}  // namespace tlx::qtquick
