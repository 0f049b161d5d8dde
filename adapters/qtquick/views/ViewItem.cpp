#include "adapters/qtquick/views/ViewItem.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <algorithm>
#include <cmath>
#include <utility>

#include "tlx/platform/ApplicationPort.h"
#include "tlx/platform/NSException.h"
#include "tlx/platform/Platform.h"
#include "tlx/platform/quartzcore/CALayer.h"

#include "adapters/qtquick/views/ItemFactory.h"
#include "adapters/qtquick/views/LayerItem.h"

namespace tlx::qtquick {
namespace {

constexpr double kDegrees = 180.0 / 3.141592653589793;

QColor toQColor(const UIColor& color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

}  // namespace

ViewItem::ViewItem(QQuickItem* parent) : QQuickItem(parent) {}

ViewItem::~ViewItem() {
  if (renderedView_ && renderedView_->renderer() == this) renderedView_->setRenderer(nullptr);
}

void ViewItem::componentComplete() {
  QQuickItem::componentComplete();
}

std::shared_ptr<UIView> ViewItem::makeView() {
  return std::make_shared<UIView>();
}

void ViewItem::build(Built& built) {
  std::shared_ptr<UIView> view;
  if (customClass_.isEmpty()) {
    view = makeView();
  } else if (const Class* known = NSClassFromString(customClass_.toStdString()); known && known->alloc) {
    view = std::dynamic_pointer_cast<UIView>(known->alloc());
  }
  if (!view) {
    throw NSException(NSInvalidArgumentException, "A scene names the unknown view class " + customClass_.toStdString());
  }
  view->initWithCoder();
  view->setFrame(modelFrame());
  view->setTag(tag_);
  // What is disabled from above is so only as long as that is.
  view->setUserInteractionEnabled(isEnabled() || (parentItem() && !parentItem()->isEnabled()));
  view->setHidden(startsHidden_);
  view->setAlpha(startsAlpha_);
  view->setClipsToBounds(clip());
  seed(*view);
  for (QQuickItem* child : childItems()) collect(*child, built, *view);
  attach(view);
  built.view = view;
  if (!outlet_.isEmpty()) built.parts.outlets.emplace_back(outlet_.toStdString(), view);
  addOutlets(*view, built.parts);
  if (!action_.isEmpty()) built.parts.actions.emplace_back(action_.toStdString(), view);
  built.parts.objects.push_back(view);
}

// Items that are no views may stand between, for layout; a view below them belongs to the nearest view above.
void ViewItem::collect(QQuickItem& item, Built& built, UIView& above) {
  if (auto* child = qobject_cast<ViewItem*>(&item)) {
    child->build(built);
    above.addSubview(built.view);
    subviewItems_.push_back(child);
    return;
  }
  for (QQuickItem* child : item.childItems()) collect(*child, built, above);
}

void ViewItem::attach(const std::shared_ptr<UIView>& view) {
  view_ = view;
  renderedView_ = view.get();
  view->setRenderer(this);
  attached();
  for (UIViewChange change : {UIViewChange::Frame, UIViewChange::Alpha, UIViewChange::Hidden, UIViewChange::Transform,
                              UIViewChange::Subviews, UIViewChange::ClipsToBounds, UIViewChange::UserInteraction,
                              UIViewChange::Layer, UIViewChange::BackgroundColor, UIViewChange::Accessibility}) {
    apply(*view, change);
  }
  if (view->needsLayout()) polish();
}

int ViewItem::tag() const {
  auto shown = view();
  return shown ? static_cast<int>(shown->tag()) : tag_;
}

void ViewItem::setTag(int tag) {
  tag_ = tag;
  if (auto shown = view()) shown->setTag(tag);
}

void ViewItem::setStartsHidden(bool hidden) {
  startsHidden_ = hidden;
  if (!view()) setVisible(!hidden);
}

QColor ViewItem::background() const {
  auto shown = view();
  return shown ? toQColor(shown->backgroundColor()) : QColor(Qt::transparent);
}

qreal ViewItem::cornerRadius() const {
  auto shown = view();
  return shown ? shown->cornerRadius() : 0;
}

bool ViewItem::isInteractive() const {
  auto shown = view();
  return !shown || shown->isUserInteractionEnabled();
}

void ViewItem::setMirrorsSubviews(bool mirrors) {
  if (std::exchange(mirrorsSubviews_, mirrors) == mirrors) return;
  placeMirrored();
  Q_EMIT mirrorsSubviewsChanged();
}

QString ViewItem::spokenLabel() const {
  auto shown = view();
  if (!shown || shown->accessibilityLabel().empty()) return {};
  const QString label = QString::fromStdString(shown->accessibilityLabel());
  return isSelected() ? label + QStringLiteral(", selected") : label;
}

bool ViewItem::isSelected() const {
  auto shown = view();
  return shown && (shown->accessibilityTraits() & UIAccessibilityTraitSelected);
}

bool ViewItem::activate() {
  auto shown = view();
  auto* above = itemAbove();
  return shown && above && isEnabled() && above->activateSubview(*shown);
}

void ViewItem::viewChanged(UIView& view, UIViewChange change, const UIViewAnimation* animation) {
  stop(change);
  if (animation && animation->duration > 0 && !Platform::current().ports().application.reduceMotion()) {
    animate(change, *animation);
  } else {
    apply(view, change);
  }
}

void ViewItem::setNeedsLayout(UIView&) {
  polish();
}

void ViewItem::viewDestroyed() {
  renderedView_ = nullptr;
  setVisible(false);
  setParentItem(nullptr);
  Q_EMIT viewGone();
  deleteLater();
}

void ViewItem::updatePolish() {
  if (auto shown = view()) shown->layoutIfNeeded();
}

ViewItem* ViewItem::itemAbove() const {
  for (QQuickItem* item = parentItem(); item; item = item->parentItem()) {
    if (auto* above = qobject_cast<ViewItem*>(item)) return above;
  }
  return nullptr;
}

double ViewItem::mirrored(double x, double width) const {
  auto* above = qobject_cast<ViewItem*>(parentItem());
  return above && above->mirrorsSubviews_ ? above->width() - x - width : x;
}

CGRect ViewItem::modelFrame() const {
  return CGRectMake(mirrored(x(), width()), y(), width(), height());
}

void ViewItem::placeMirrored() {
  for (const auto& item : subviewItems_) {
    auto shown = item ? item->view() : nullptr;
    if (shown) item->applyFrame(shown->frame());
  }
}

void ViewItem::applyFrame(const CGRect& frame) {
  applying_ = true;
  const double left = mirrored(frame.origin.x, frame.size.width);
  // Only what differs is written, so that a binding on the other components survives.
  if (x() != left) setX(left);
  if (y() != frame.origin.y) setY(frame.origin.y);
  if (width() != frame.size.width) setWidth(frame.size.width);
  if (height() != frame.size.height) setHeight(frame.size.height);
  applying_ = false;
}

void ViewItem::apply(UIView& view, UIViewChange change) {
  switch (change) {
    case UIViewChange::Frame:
      if (auto* above = itemAbove(); !above || !above->placesSubviews()) applyFrame(view.frame());
      break;
    case UIViewChange::Alpha:
      setOpacity(view.alpha());
      break;
    case UIViewChange::Hidden:
      setVisible(!view.isHidden());
      break;
    case UIViewChange::Transform:
      setRotation(view.rotation() * kDegrees);
      break;
    case UIViewChange::ClipsToBounds:
      setClip(view.clipsToBounds());
      break;
    case UIViewChange::UserInteraction:
    case UIViewChange::Enabled:
      setEnabled(view.isUserInteractionEnabled());
      Q_EMIT modelChanged();
      break;
    case UIViewChange::Subviews:
      syncSubviews();
      break;
    case UIViewChange::Layer:
      if (view.layer() && !layerItem_) {
        layerItem_ = new LayerItem(view.layer(), this);
        layerItem_->setSize(size());
      }
      break;
    case UIViewChange::Accessibility:
      Q_EMIT accessibilityChanged();
      break;
    case UIViewChange::Tag:
    case UIViewChange::BackgroundColor:
    case UIViewChange::CornerRadius:
      Q_EMIT modelChanged();
      break;
    default:
      break;
  }
}

void ViewItem::syncSubviews() {
  auto shown = view();
  if (!shown || placesSubviews()) return;
  std::vector<QPointer<ViewItem>> now;
  for (const auto& subview : shown->subviews()) {
    ViewItem* item = itemForView(subview, qmlEngine(this));
    if (!item) continue;
    const bool known = std::find(subviewItems_.begin(), subviewItems_.end(), item) != subviewItems_.end();
    if (!known) {
      item->setParentItem(subviewParent());
      item->apply(*subview, UIViewChange::Frame);
    }
    now.push_back(item);
  }
  for (const auto& item : subviewItems_) {
    if (item && std::find(now.begin(), now.end(), item) == now.end() && item->parentItem() == subviewParent()) {
      item->setParentItem(nullptr);
    }
  }
  subviewItems_ = std::move(now);
}

void ViewItem::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  if (layerItem_) layerItem_->setSize(now.size());
  if (mirrorsSubviews_ && now.width() != before.width()) placeMirrored();
  auto shown = view();
  if (!shown || applying_) return;
  auto* above = itemAbove();
  if (above && above->placesSubviews()) return;
  shown->layoutFrame(modelFrame());
}

void ViewItem::stop(UIViewChange change) {
  auto running = animations_.find(change);
  if (running == animations_.end()) return;
  if (running->second) running->second->stop();
  animations_.erase(running);
}

void ViewItem::animate(UIViewChange change, const UIViewAnimation& animation) {
  auto shown = view();
  if (!shown) return;
  auto* motion = new QVariantAnimation(this);
  motion->setDuration(static_cast<int>(animation.duration * 1000));
  motion->setEasingCurve(QEasingCurve::InOutCubic);
  switch (change) {
    case UIViewChange::Alpha:
      motion->setStartValue(opacity());
      motion->setEndValue(shown->alpha());
      connect(motion, &QVariantAnimation::valueChanged, this,
              [this](const QVariant& value) { setOpacity(value.toReal()); });
      break;
    case UIViewChange::Transform:
      motion->setStartValue(rotation());
      motion->setEndValue(shown->rotation() * kDegrees);
      connect(motion, &QVariantAnimation::valueChanged, this,
              [this](const QVariant& value) { setRotation(value.toReal()); });
      break;
    case UIViewChange::Frame: {
      const CGRect& frame = shown->frame();
      const CGRect from = modelFrame();
      motion->setStartValue(QRectF(from.origin.x, from.origin.y, from.size.width, from.size.height));
      motion->setEndValue(QRectF(frame.origin.x, frame.origin.y, frame.size.width, frame.size.height));
      connect(motion, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        const QRectF rect = value.toRectF();
        applyFrame(CGRectMake(rect.x(), rect.y(), rect.width(), rect.height()));
      });
      break;
    }
    default:
      delete motion;
      apply(*shown, change);
      return;
  }
  animations_[change] = motion;
  motion->start(QAbstractAnimation::DeleteWhenStopped);
}

ViewItem* itemForView(const std::shared_ptr<UIView>& view, QQmlEngine* engine) {
  if (!view) return nullptr;
  if (auto* item = dynamic_cast<ViewItem*>(view->renderer())) return item;
  if (!engine) return nullptr;
  ViewItem* item = makeItemFor(*view, *engine);
  if (item) item->attach(view);
  return item;
}

}  // namespace tlx::qtquick
