#include "tlx/platform/quartzcore/CALayer.h"

#include <algorithm>
#include <utility>

#include "tlx/platform/ApplicationPort.h"
#include "tlx/platform/Platform.h"
#include "tlx/platform/dispatch/TimerPort.h"

namespace tlx {

CALayer::~CALayer() {
  stopListening();
}

void CALayer::initWithLayer(const CALayer& layer) {
  bounds_ = layer.bounds_;
  contentsScale_ = layer.contentsScale_;
}

void CALayer::setBounds(const CGRect& bounds) {
  if (bounds == bounds_) return;
  bounds_ = bounds;
  setNeedsDisplay();
}

void CALayer::setNeedsDisplay() {
  // What a drawing writes back into the layer is part of that drawing.
  if (drawing_) return;
  contents_.reset();
  if (auto display = display_) display();
}

void CALayer::addAnimation_forKey(const CABasicAnimation& animation, const std::string& key) {
  const Platform::Ports& ports = Platform::current().ports();
  if (!(animation.duration > 0) || ports.application.reduceMotion()) {
    if (running_.erase(key) != 0 && running_.empty()) stopListening();
    setNeedsDisplay();
    return;
  }
  now_ = ports.timers.now();
  running_[key] = {animation, now_};
  if (listener_ == 0) listener_ = ports.displayClock.addListener([this](double now) { tick(now); });
  if (needsDisplayForKey(animation.keyPath)) setNeedsDisplay();
}

void CALayer::tick(double now) {
  const auto self = weak_from_this().lock();  // whoever is told may let go of the layer
  now_ = now;
  bool redraw = false;
  for (const auto& [key, running] : running_) redraw |= needsDisplayForKey(running.animation.keyPath);
  std::erase_if(running_,
                [now](const auto& entry) { return now >= entry.second.start + entry.second.animation.duration; });
  if (running_.empty()) stopListening();
  if (redraw) setNeedsDisplay();
}

void CALayer::stopListening() {
  if (listener_ == 0) return;
  if (Platform* platform = Platform::installed()) platform->ports().displayClock.removeListener(listener_);
  listener_ = 0;
}

const CGContext& CALayer::displayedContents() {
  if (contents_) return *contents_;
  CGContext context;
  const auto flying = running_.empty() ? nullptr : makeCopy();
  if (flying) {
    for (const auto& [key, running] : running_) {
      const CABasicAnimation& animation = running.animation;
      const double passed = std::clamp((now_ - running.start) / animation.duration, 0.0, 1.0);
      const double from = animation.fromValue, to = animation.toValue;
      flying->setValueForKey(animation.keyPath, static_cast<float>(from + (to - from) * passed));
    }
    flying->drawInContext(context);
  } else {
    drawing_ = true;
    drawInContext(context);
    drawing_ = false;
  }
  return contents_.emplace(std::move(context));
}

}  // namespace tlx
