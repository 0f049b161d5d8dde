#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QQmlEngine>
#include <QVariant>
#include <optional>

namespace tlx::qtquick {

/// How the person's desktop wants programs to look and move. Each is taken from the first that says something:
/// - the environment: `TLX_APPEARANCE` is "dark" or "light", `TLX_REDUCED_MOTION` is "1" or "0";
/// - for dark also Qt's palette, when its windows are dark;
/// - the settings portal on the session bus, asked without waiting and followed while the program runs.
/// Without any of them: light, with motion. Whether the person reads from the right is the application's to say. Main
/// thread.
class Appearance final : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool dark READ isDark NOTIFY changed)
  Q_PROPERTY(bool reducesMotion READ reducesMotion NOTIFY changed)
  Q_PROPERTY(bool mirrored READ isMirrored NOTIFY changed)
  QML_ELEMENT
  QML_SINGLETON

 public:
  /// No default parent: without a default constructor the QML engine cannot make an instance of its own.
  explicit Appearance(QObject* parent);
  /// For scenes: the engine's own, which was given to it by `giveTo`.
  static Appearance* create(QQmlEngine* engine, QJSEngine*);
  /// Once, before the engine loads anything. The engine does not own it.
  void giveTo(QQmlEngine& engine);

  bool isDark() const { return dark_; }
  bool reducesMotion() const { return reducesMotion_; }
  /// For QML, which would look through all of Qt's enumerations for the name of one direction.
  bool isMirrored() const;

  /// What the desktop says in its settings, by name space and key.
  void applySetting(const QString& nameSpace, const QString& key, const QVariant& value);

  bool eventFilter(QObject* watched, QEvent* event) override;

 Q_SIGNALS:
  void changed();

 private Q_SLOTS:
  void settingChanged(const QDBusMessage& signal);

 private:
  void askDesktop();
  void decide();

  std::optional<bool> desktopPrefersDark_, desktopReducesMotion_;
  bool dark_ = false, reducesMotion_ = false;
};

}  // namespace tlx::qtquick
