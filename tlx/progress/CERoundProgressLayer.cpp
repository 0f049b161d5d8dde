#include "tlx/progress/CERoundProgressLayer.h"

#include <algorithm>

namespace tlx {
namespace {

constexpr char kProgressKey[] = "progress";
constexpr double kPi = 3.141592653589793;
/// Straight up, since y grows downward.
constexpr float kTop = static_cast<float>(3 * kPi / 2);
/// Drawn in place of none: an arc of exactly a full turn would start where it ends and draw nothing.
constexpr float kLeastProgress = 0.000001f;
constexpr double kMargins = 10.0;
/// Of the radius.
constexpr double kRingWidth = 0.1;
constexpr double kPieRadius = 0.78;

}  // namespace

std::shared_ptr<CALayer> CERoundProgressLayer::makeCopy() const {
  auto copy = std::make_shared<CERoundProgressLayer>();
  copy->initWithLayer(*this);
  return copy;
}

void CERoundProgressLayer::initWithLayer(const CALayer& layer) {
  CALayer::initWithLayer(layer);
  const auto* round = dynamic_cast<const CERoundProgressLayer*>(&layer);
  if (!round) return;
  setProgress(round->progress());
  setStartAngle(round->startAngle());
  setTintColor(round->tintColor());
  setTrackColor(round->trackColor());
}

void CERoundProgressLayer::drawInContext(CGContext& context) {
  const CGSize area = bounds().size;
  const double radius = std::min(area.width - kMargins, area.height - kMargins) / 2.0;
  const CGPoint center{area.width / 2.0, area.height / 2.0};

  context.addEllipseInRect(CGRectMake(center.x - radius, center.y - radius, 2.0 * radius, 2.0 * radius));
  context.setStrokeColor(tintColor_);
  context.setLineWidth(kRingWidth * radius);
  context.strokePath();

  if (progress_ == 0.0f) setProgress(kLeastProgress);
  setStartAngle(kTop);
  const double top = startAngle_;
  context.addArc(center, kPieRadius * radius, top + static_cast<double>(progress_) * 2.0 * kPi, top, false);
  context.addLineToPoint(center);
  context.closePath();
  context.setFillColor(tintColor_);
  context.fillPath();
}

std::optional<float> CERoundProgressLayer::valueForKey(const std::string& key) const {
  return key == kProgressKey ? progress_ : CALayer::valueForKey(key);
}

void CERoundProgressLayer::setValueForKey(const std::string& key, float value) {
  if (key == kProgressKey) {
    setProgress(value);
  } else {
    CALayer::setValueForKey(key, value);
  }
}

bool CERoundProgressLayer::needsDisplayForKey(const std::string& key) const {
  return key == kProgressKey || CALayer::needsDisplayForKey(key);
}

}  // namespace tlx
