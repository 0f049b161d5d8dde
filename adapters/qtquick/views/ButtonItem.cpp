#include "adapters/qtquick/views/ButtonItem.h"

#include <QKeyEvent>
#include <QKeySequence>
#include <algorithm>
#include <utility>

#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/UIButton.h"
#include "tlx/platform/uikit/UIStoryboard.h"

namespace tlx::qtquick {

ButtonItem::ButtonItem(QQuickItem* parent) : ViewItem(parent) {
  setAcceptedMouseButtons(Qt::LeftButton);
  setActiveFocusOnTab(true);
  connect(this, &ButtonItem::colorChanged, this, &ButtonItem::tint);
}

std::shared_ptr<UIView> ButtonItem::makeView() {
  return std::make_shared<UIButton>();
}

void ButtonItem::seed(UIView& view) {
  auto* button = dynamic_cast<UIButton*>(&view);
  if (!button) return;
  if (!seedTitle_.isEmpty()) button->setTitle_forState(seedTitle_.toStdString(), UIControlStateNormal);
  if (!seedImage_.isEmpty()) {
    button->setImage_forState(imageNamed_inBundle(seedImage_.toStdString(), {kTLXMediaPickerBundle}),
                              UIControlStateNormal);
  }
  if (seedImageLeft_ != 0) button->setImageEdgeInsets({0, seedImageLeft_, 0, 0});
  if (seedSize_ > 0) {
    button->titleLabel()->setFont(UIFont::fontWithName_size(seedFontName_.toStdString(), seedSize_));
  }
}

void ButtonItem::attached() {
  tint();
  Q_EMIT titleChanged();
}

void ButtonItem::tint() {
  auto button = viewAs<UIButton>();
  if (!button || !titleColor_.isValid()) return;
  button->titleLabel()->setTextColor(
      UIColor{titleColor_.redF(), titleColor_.greenF(), titleColor_.blueF(), titleColor_.alphaF()});
}

QString ButtonItem::shownTitle() const {
  auto button = viewAs<UIButton>();
  return button ? QString::fromStdString(button->titleForState(UIControlStateNormal)) : seedTitle_;
}

void ButtonItem::apply(UIView& view, UIViewChange change) {
  if (change == UIViewChange::Title) {
    Q_EMIT titleChanged();
    return;
  }
  ViewItem::apply(view, change);
  if (auto* control = dynamic_cast<UIControl*>(&view); control && !control->isEnabled()) setEnabled(false);
}

bool ButtonItem::press() {
  auto button = viewAs<UIButton>();
  return button && isEnabled() && button->press();
}

bool ButtonItem::hasShortcut(QKeyCombination key) const {
  return std::any_of(shortcuts_.begin(), shortcuts_.end(), [&](const QString& name) {
    return QKeySequence(name, QKeySequence::PortableText) == QKeySequence(key);
  });
}

void ButtonItem::setDown(bool down) {
  if (std::exchange(down_, down) != down) Q_EMIT downChanged();
}

void ButtonItem::mousePressEvent(QMouseEvent* event) {
  event->accept();
  setDown(true);
}

void ButtonItem::mouseMoveEvent(QMouseEvent* event) {
  setDown(contains(event->position()));
}

void ButtonItem::mouseReleaseEvent(QMouseEvent* event) {
  const bool inside = contains(event->position());
  setDown(false);
  if (inside) press();
}

void ButtonItem::keyPressEvent(QKeyEvent* event) {
  const bool plain = !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
  if (plain && !event->isAutoRepeat() &&
      (event->key() == Qt::Key_Space || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
    press();
  } else {
    ViewItem::keyPressEvent(event);
  }
}

}  // namespace tlx::qtquick
