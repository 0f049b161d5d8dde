#pragma once

#include <memory>

#include "tlx/platform/uikit/UIView.h"
#include "tlx/progress/CERoundProgressLayer.h"

namespace tlx {

/// Seconds that a rising progress takes to be reached: 0.25.
extern "C" const double CERoundProgressLayerDefaultAnimationDuration;

/// A round progress indicator. What it draws is kept in its layer. Main thread only.
class CERoundProgressView : public UIView {
 public:
  static const Class& classObject();
  using layerClass = CERoundProgressLayer;

  static std::shared_ptr<CERoundProgressView> initWithFrame(const CGRect& frame);
  void initWithCoder() override;

  float progress();
  /// A rising value is animated, any other jumps.
  void setProgress(float progress);
  /// Values beyond 0 and 1 count as these.
  void setProgress_animated(float progress, bool animated);
  const UIColor& tintColor();
  void setTintColor(const UIColor& color);
  const UIColor& trackColor();
  void setTrackColor(const UIColor& color);
  float startAngle();
  void setStartAngle(float angle);
  /// In seconds.
  double animationDuration() const { return _animationDuration; }
  void setAnimationDuration(double seconds) { _animationDuration = seconds; }

 protected:
  std::shared_ptr<CALayer> makeLayer() override;

 private:
  void _initIVars();
  layerClass& roundLayer();

  double _animationDuration = 0;
};

}  // namespace tlx
