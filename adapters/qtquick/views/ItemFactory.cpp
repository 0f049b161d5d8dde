#include "adapters/qtquick/views/ItemFactory.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QUrl>

#include "tlx/platform/uikit/UIButton.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/platform/uikit/UILabel.h"

namespace tlx::qtquick {
namespace {

ViewItem* fromFile(QQmlEngine& engine, const char* name) {
  QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/tlx/mediapicker/TLX/MediaPicker/") + QLatin1String(name)));
  QObject* object = component.create();
  auto* item = qobject_cast<ViewItem*>(object);
  if (!item) {
    qWarning("%s", qPrintable(component.errorString()));
    delete object;
    return nullptr;
  }
  QQmlEngine::setObjectOwnership(item, QQmlEngine::CppOwnership);
  return item;
}

}  // namespace

ViewItem* makeItemFor(const UIView& view, QQmlEngine& engine) {
  if (dynamic_cast<const UIButton*>(&view)) return fromFile(engine, "Button.qml");
  if (dynamic_cast<const UILabel*>(&view)) return fromFile(engine, "Label.qml");
  if (dynamic_cast<const UIImageView*>(&view)) return fromFile(engine, "ImageView.qml");
  return fromFile(engine, "PlainView.qml");
}

}  // namespace tlx::qtquick
