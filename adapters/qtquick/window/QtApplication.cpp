#include "adapters/qtquick/window/QtApplication.h"

#include <QDesktopServices>
#include <QFontMetricsF>
#include <QQuickWindow>
#include <QUrl>
#include <algorithm>

#include "tlx/platform/uikit/UIWindow.h"

#include "adapters/qtquick/views/LabelItem.h"
#include "adapters/qtquick/window/Appearance.h"

namespace tlx::qtquick {
namespace {

/// From this many points on its shorter side a window counts as a pad's.
constexpr int kPadSide = 600;

}  // namespace

QtApplication::QtApplication(QQuickWindow& window, const Appearance& appearance)
    : quickWindow_(window),
      appearance_(appearance),
      idiom_(std::min(window.width(), window.height()) >= kPadSide ? UIUserInterfaceIdiomPad
                                                                   : UIUserInterfaceIdiomPhone) {}

bool QtApplication::reduceMotion() const {
  return appearance_.reducesMotion();
}

double QtApplication::screenScale() const {
  return std::max(1.0, quickWindow_.effectiveDevicePixelRatio());
}

bool QtApplication::openURL(const std::string& url) {
  if (url == UIApplicationOpenSettingsURLString) return settings_ && settings_();
  return QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
}

CGSize QtText::sizeOfText(const std::string& text, const UIFontRef& font) {
  if (text.empty()) return {};
  const QFontMetricsF metrics(toQFont(font));
  return {metrics.horizontalAdvance(QString::fromStdString(text)), metrics.height()};
}

}  // namespace tlx::qtquick
