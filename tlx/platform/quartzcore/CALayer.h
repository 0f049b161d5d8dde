#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tlx/platform/coregraphics/CGContext.h"
#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/dispatch/DisplayClockPort.h"

namespace tlx {

/// One number of a layer that moves from a value to another, evenly in time.
struct CABasicAnimation {
  std::string keyPath;
  double duration = 0;  ///< seconds
  float fromValue = 0, toValue = 0;

  static CABasicAnimation animationWithKeyPath(std::string keyPath) { return {std::move(keyPath), 0, 0, 0}; }
};

/// Draws by recorded operations. Its animatable numbers are reached by key, so that the platform can set them on
/// the copies that it draws while an animation runs. Main thread only.
class CALayer : public std::enable_shared_from_this<CALayer> {
 public:
  CALayer() = default;
  virtual ~CALayer();
  CALayer(const CALayer&) = delete;
  CALayer& operator=(const CALayer&) = delete;

  /// A copy to be drawn in flight: a new layer of the same class, to which `initWithLayer` has been applied. Nothing
  /// for a class that does not draw.
  virtual std::shared_ptr<CALayer> makeCopy() const { return nullptr; }
  /// Takes over the other layer's drawn state.
  virtual void initWithLayer(const CALayer& layer);
  virtual void drawInContext(CGContext& context) {}
  /// Nothing for a key that the layer does not have.
  virtual std::optional<float> valueForKey(const std::string& key) const { return std::nullopt; }
  virtual void setValueForKey(const std::string& key, float value) {}
  /// Whether the layer draws differently when that key's value changes: an animation of any other key draws nothing.
  virtual bool needsDisplayForKey(const std::string& key) const { return false; }

  const CGRect& bounds() const { return bounds_; }
  void setBounds(const CGRect& bounds);
  /// Pixels to a point for which the layer was made; copies take it over. A renderer may draw finer: the window's own
  /// scale changes when it moves to another screen.
  double contentsScale() const { return contentsScale_; }
  void setContentsScale(double scale) { contentsScale_ = scale; }

  /// Replaces a running animation of that key. The model's own value is the caller's to set. While it runs, each
  /// display tick copies the layer, sets the interpolated value on the copy and draws that; when it has ended, the
  /// layer itself is drawn once more. Where the person asked for less motion, or the duration is not above 0, it has
  /// ended at once.
  void addAnimation_forKey(const CABasicAnimation& animation, const std::string& key);
  bool hasAnimationForKey(const std::string& key) const { return running_.count(key) != 0; }
  /// Asks to be drawn anew before the next frame.
  void setNeedsDisplay();

  /// What is on the screen now: the layer's drawing with running animations applied. Drawn again only when something
  /// changed.
  const CGContext& displayedContents();
  /// Called when `displayedContents` would differ; set by the renderer.
  void setDisplayHandler(std::function<void()> handler) { display_ = std::move(handler); }

 private:
  struct Running {
    CABasicAnimation animation;
    double start = 0;
  };
  void tick(double now);
  void stopListening();

  CGRect bounds_;
  double contentsScale_ = 1, now_ = 0;
  std::map<std::string, Running> running_;
  DisplayClockPort::ListenerId listener_ = 0;
  bool drawing_ = false;
  std::optional<CGContext> contents_;
  std::function<void()> display_;
};

}  // namespace tlx
