#pragma once

#include "adapters/qtquick/views/ViewItem.h"

namespace tlx::qtquick {

/// Shows a button and brings presses back, from a finger, a mouse, the keyboard or assistive technology. The file draws
/// the ground; title and picture are views of their own.
class ButtonItem : public ViewItem {
  Q_OBJECT
  Q_PROPERTY(QString title MEMBER seedTitle_)
  Q_PROPERTY(QString image MEMBER seedImage_)
  Q_PROPERTY(qreal imageLeft MEMBER seedImageLeft_)
  Q_PROPERTY(qreal pointSize MEMBER seedSize_)
  Q_PROPERTY(QString fontName MEMBER seedFontName_)
  Q_PROPERTY(QColor color MEMBER titleColor_ NOTIFY colorChanged)
  Q_PROPERTY(QStringList shortcuts MEMBER shortcuts_)
  Q_PROPERTY(bool down READ isDown NOTIFY downChanged)
  Q_PROPERTY(QString shownTitle READ shownTitle NOTIFY titleChanged)
  QML_NAMED_ELEMENT(ButtonView)

 public:
  explicit ButtonItem(QQuickItem* parent = nullptr);
  bool isDown() const { return down_; }
  QString shownTitle() const;
  /// Whether the key presses the button from anywhere in its window; `shortcuts` names such keys, as in "Ctrl+Return".
  bool hasShortcut(QKeyCombination key) const;
  /// What the keyboard and assistive technology call. Nothing happens while something covers the button.
  Q_INVOKABLE bool press();

 Q_SIGNALS:
  void downChanged();
  void titleChanged();
  void colorChanged();

 protected:
  std::shared_ptr<UIView> makeView() override;
  void seed(UIView& view) override;
  void attached() override;
  void apply(UIView& view, UIViewChange change) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseUngrabEvent() override { setDown(false); }
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void setDown(bool down);
  void tint();

  QString seedTitle_, seedImage_, seedFontName_;
  QStringList shortcuts_;
  qreal seedSize_ = 0, seedImageLeft_ = 0;
  QColor titleColor_;
  bool down_ = false;
};

}  // namespace tlx::qtquick
