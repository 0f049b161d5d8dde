#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tlx/platform/quartzcore/CALayer.h"
#include "tlx/platform/uikit/UIColor.h"

namespace tlx {

/// A ring around a pie that shrinks as the progress grows: a full disc at 0, the ring alone at 1.
class CERoundProgressLayer : public CALayer {
 public:
  std::shared_ptr<CALayer> makeCopy() const override;
  void initWithLayer(const CALayer& layer) override;
  /// Draws into the bounds, less 5 points at each edge. A progress of 0 becomes 0.000001 and the start angle straight
  /// up, in this layer too.
  void drawInContext(CGContext& context) override;
  std::optional<float> valueForKey(const std::string& key) const override;
  void setValueForKey(const std::string& key, float value) override;
  /// So for "progress".
  bool needsDisplayForKey(const std::string& key) const override;

  /// Part of the whole, from 0 to 1.
  float progress() const { return progress_; }
  void setProgress(float progress) { progress_ = progress; }
  /// In radians. The next drawing replaces it.
  float startAngle() const { return startAngle_; }
  void setStartAngle(float angle) { startAngle_ = angle; }
  /// Of ring and pie.
  const UIColor& tintColor() const { return tintColor_; }
  void setTintColor(const UIColor& color) { tintColor_ = color; }
  /// Kept, never drawn.
  const UIColor& trackColor() const { return trackColor_; }
  void setTrackColor(const UIColor& color) { trackColor_ = color; }

 private:
  float progress_ = 0, startAngle_ = 0;
  UIColor tintColor_, trackColor_;
};

}  // namespace tlx
