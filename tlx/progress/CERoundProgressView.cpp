#include "tlx/progress/CERoundProgressView.h"

#include <algorithm>

#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/UIApplication.h"

namespace tlx {
namespace {

constexpr UIColor kTintColor{0.2, 0.45, 0.8, 1.0};

}  // namespace

extern "C" const double CERoundProgressLayerDefaultAnimationDuration = 0.25;

const Class& CERoundProgressView::classObject() {
  static const Class object{"CERoundProgressView",
                            "UIView",
                            kTLXMediaPickerBundle,
                            [] { return std::make_shared<CERoundProgressView>(); },
                            {},
                            {}};
  return object;
}

std::shared_ptr<CERoundProgressView> CERoundProgressView::initWithFrame(const CGRect& frame) {
  auto view = std::make_shared<CERoundProgressView>();
  view->setFrame(frame);
  view->_initIVars();
  return view;
}

void CERoundProgressView::initWithCoder() {
  UIView::initWithCoder();
  _initIVars();
}

void CERoundProgressView::_initIVars() {
  _animationDuration = CERoundProgressLayerDefaultAnimationDuration;
  setBackgroundColor(UIColor::clearColor());
  setOpaque(false);
  setTintColor(kTintColor);
  setTrackColor(UIColor::whiteColor());
  roundLayer().setContentsScale(UIScreen::mainScreen().scale());
}

std::shared_ptr<CALayer> CERoundProgressView::makeLayer() {
  return std::make_shared<layerClass>();
}

CERoundProgressView::layerClass& CERoundProgressView::roundLayer() {
  return static_cast<layerClass&>(*layer());
}

float CERoundProgressView::progress() {
  return roundLayer().progress();
}

void CERoundProgressView::setProgress(float progress) {
  setProgress_animated(progress, progress > this->progress());
}

void CERoundProgressView::setProgress_animated(float progress, bool animated) {
  const float clamped = progress > 0 ? std::min(progress, 1.0f) : 0;  // 0 also for what is not a number
  layerClass& layer = roundLayer();
  if (animated) {
    auto animation = CABasicAnimation::animationWithKeyPath("progress");
    animation.duration = animationDuration();
    animation.fromValue = layer.progress();
    animation.toValue = clamped;
    layer.addAnimation_forKey(animation, "progressAnimation");
    layer.setProgress(clamped);
  } else {
    layer.setProgress(clamped);
    layer.setNeedsDisplay();
  }
}

const UIColor& CERoundProgressView::tintColor() {
  return roundLayer().tintColor();
}

void CERoundProgressView::setTintColor(const UIColor& color) {
  roundLayer().setTintColor(color);
  roundLayer().setNeedsDisplay();
}

const UIColor& CERoundProgressView::trackColor() {
  return roundLayer().trackColor();
}

void CERoundProgressView::setTrackColor(const UIColor& color) {
  roundLayer().setTrackColor(color);
  roundLayer().setNeedsDisplay();
}

float CERoundProgressView::startAngle() {
  return roundLayer().startAngle();
}

void CERoundProgressView::setStartAngle(float angle) {
  roundLayer().setStartAngle(angle);
  roundLayer().setNeedsDisplay();
}

}  // namespace tlx
