#include "adapters/qtquick/window/Appearance.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlContext>
#include <utility>

namespace tlx::qtquick {
namespace {

constexpr char kProperty[] = "appearance";
constexpr char kPortal[] = "org.freedesktop.portal.Desktop";
constexpr char kPortalPath[] = "/org/freedesktop/portal/desktop";
constexpr char kPortalSettings[] = "org.freedesktop.portal.Settings";

constexpr char kAppearanceSpace[] = "org.freedesktop.appearance";
constexpr char kGnomeSpace[] = "org.gnome.desktop.interface";
constexpr char kKdeSpace[] = "org.kde.kdeglobals.KDE";

enum ColorScheme : unsigned { NoPreference = 0, PrefersDark = 1, PrefersLight = 2 };

using SettingsBySpace = QMap<QString, QVariantMap>;

std::optional<bool> fromEnvironment(const char* name, const char* yes, const char* no) {
  const QByteArray value = qgetenv(name);
  if (value == yes) return true;
  if (value == no) return false;
  return std::nullopt;
}

bool hasDarkPalette() {
  return QGuiApplication::palette().color(QPalette::Active, QPalette::Window).lightnessF() < 0.5f;
}

}  // namespace

Appearance::Appearance(QObject* parent) : QObject(parent) {
  qGuiApp->installEventFilter(this);
  connect(qGuiApp, &QGuiApplication::layoutDirectionChanged, this, &Appearance::changed);
  decide();
  askDesktop();
}

Appearance* Appearance::create(QQmlEngine* engine, QJSEngine*) {
  return qobject_cast<Appearance*>(engine->property(kProperty).value<QObject*>());
}

void Appearance::giveTo(QQmlEngine& engine) {
  QQmlEngine::setObjectOwnership(this, QQmlEngine::CppOwnership);
  engine.setProperty(kProperty, QVariant::fromValue<QObject*>(this));
}

bool Appearance::eventFilter(QObject*, QEvent* event) {
  if (event->type() == QEvent::ApplicationPaletteChange) decide();
  return false;
}

bool Appearance::isMirrored() const {
  return QGuiApplication::isRightToLeft();
}

void Appearance::askDesktop() {
  // Where the environment names no session bus, none is asked, and the bus library may not start one.
  if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) return;
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  bus.connect(kPortal, kPortalPath, kPortalSettings, QStringLiteral("SettingChanged"), this,
              SLOT(settingChanged(QDBusMessage)));
  QDBusMessage question =
      QDBusMessage::createMethodCall(kPortal, kPortalPath, kPortalSettings, QStringLiteral("ReadAll"));
  question << QStringList{kAppearanceSpace, kGnomeSpace, kKdeSpace};
  auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
    answer->deleteLater();
    const QDBusMessage reply = answer->reply();
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return;
    const auto spaces = qdbus_cast<SettingsBySpace>(reply.arguments().constFirst());
    for (auto space = spaces.begin(); space != spaces.end(); ++space) {
      for (auto setting = space->begin(); setting != space->end(); ++setting) {
        applySetting(space.key(), setting.key(), setting.value());
      }
    }
  });
}

void Appearance::settingChanged(const QDBusMessage& signal) {
  const QVariantList said = signal.arguments();
  if (said.size() != 3) return;
  applySetting(said[0].toString(), said[1].toString(), qvariant_cast<QDBusVariant>(said[2]).variant());
}

void Appearance::applySetting(const QString& nameSpace, const QString& key, const QVariant& value) {
  const auto is = [&](const char* wantedSpace, const char* wantedKey) {
    return nameSpace == QLatin1String(wantedSpace) && key == QLatin1String(wantedKey);
  };
  if (is(kAppearanceSpace, "color-scheme")) {
    const unsigned scheme = value.toUInt();
    desktopPrefersDark_ = scheme == NoPreference ? std::nullopt : std::optional(scheme == PrefersDark);
  } else if (is(kAppearanceSpace, "reduced-motion")) {
    desktopReducesMotion_ = value.toUInt() == 1;
  } else if (is(kGnomeSpace, "enable-animations")) {
    desktopReducesMotion_ = !value.toBool();
  } else if (is(kKdeSpace, "AnimationDurationFactor")) {
    desktopReducesMotion_ = value.toDouble() == 0;
  } else {
    return;
  }
  decide();
}

void Appearance::decide() {
  const bool dark = fromEnvironment("TLX_APPEARANCE", "dark", "light")
                        .value_or(hasDarkPalette() || desktopPrefersDark_.value_or(false));
  const bool reducesMotion =
      fromEnvironment("TLX_REDUCED_MOTION", "1", "0").value_or(desktopReducesMotion_.value_or(false));
  const bool same = dark == dark_ && reducesMotion == reducesMotion_;
  dark_ = dark;
  reducesMotion_ = reducesMotion;
  if (!same) Q_EMIT changed();
}

}  // namespace tlx::qtquick
