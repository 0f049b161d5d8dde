#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/coregraphics/CGAffineTransform.h"
#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/foundation/Class.h"
#include "tlx/platform/uikit/UIColor.h"
#include "tlx/platform/uikit/ViewRendererPort.h"

namespace tlx {

class CALayer;
class UIWindow;

enum UIViewContentMode : std::int64_t {
  UIViewContentModeScaleToFill = 0,
  UIViewContentModeScaleAspectFit = 1,
  UIViewContentModeScaleAspectFill = 2,
};

/// How a view follows its superview's size; flags may be joined.
enum UIViewAutoresizing : std::uint64_t {
  UIViewAutoresizingNone = 0,
  UIViewAutoresizingFlexibleWidth = 1 << 1,
  UIViewAutoresizingFlexibleHeight = 1 << 4,
};

/// What assistive technology is told of a view's state; flags may be joined.
enum UIAccessibilityTraits : std::uint64_t {
  UIAccessibilityTraitNone = 0,
  UIAccessibilityTraitSelected = 1 << 3,
};

/// A rectangle of the screen: what code has set, retained, whether or not anything draws it. Main thread only.
class UIView : public NSObject {
 public:
  static const Class& classObject();

  UIView() = default;
  explicit UIView(const CGRect& frame) : frame_(frame) {}
  ~UIView() override;

  /// In the superview's coordinates, as it is without the transform.
  const CGRect& frame() const { return frame_; }
  void setFrame(const CGRect& frame);
  CGPoint center() const { return {CGRectGetMidX(frame_), CGRectGetMidY(frame_)}; }
  void setCenter(const CGPoint& center);
  /// In the view's own coordinates; a scroll view's origin is its offset.
  virtual CGRect bounds() const { return CGRectMake(0, 0, frame_.size.width, frame_.size.height); }

  double alpha() const { return alpha_; }
  void setAlpha(double alpha);
  bool isHidden() const { return hidden_; }
  void setHidden(bool hidden);
  const CGAffineTransform& transform() const { return transform_; }
  void setTransform(const CGAffineTransform& transform);
  /// The turn of the transform in radians as it adds up over all transforms set: each new one is reached the shortest
  /// way, an exact half turn towards increasing angle. What a renderer animates to.
  double rotation() const { return rotation_; }
  const UIColor& backgroundColor() const { return backgroundColor_; }
  void setBackgroundColor(const UIColor& color);
  bool isOpaque() const { return opaque_; }
  void setOpaque(bool opaque) { opaque_ = opaque; }
  bool clipsToBounds() const { return clipsToBounds_; }
  void setClipsToBounds(bool clips);
  double cornerRadius() const { return cornerRadius_; }
  void setCornerRadius(double radius);
  UIViewContentMode contentMode() const { return contentMode_; }
  void setContentMode(UIViewContentMode mode);
  bool isUserInteractionEnabled() const { return userInteractionEnabled_; }
  void setUserInteractionEnabled(bool enabled);
  /// What the superview's size gains or loses, a flexible side gains or loses as well.
  void setAutoresizingMask(std::uint64_t mask) { autoresizingMask_ = mask; }
  std::int64_t tag() const { return tag_; }
  void setTag(std::int64_t tag);

  /// What assistive technology reads out for the view and all that stands on it; empty for a view whose parts speak for
  /// themselves.
  const std::string& accessibilityLabel() const { return accessibilityLabel_; }
  void setAccessibilityLabel(std::string label);
  std::uint64_t accessibilityTraits() const { return accessibilityTraits_; }
  void setAccessibilityTraits(std::uint64_t traits);

  const std::vector<std::shared_ptr<UIView>>& subviews() const { return subviews_; }
  /// Nothing when the superview is gone.
  std::shared_ptr<UIView> superview() const { return superview_.lock(); }
  /// On top of the others; leaves its former superview. Nothing happens for nothing.
  void addSubview(const std::shared_ptr<UIView>& view);
  void removeFromSuperview();
  /// This view or the first below it, depth first, with that tag.
  std::shared_ptr<UIView> viewWithTag(std::int64_t tag);
  /// The window that the view stands in, hidden or not.
  virtual std::shared_ptr<UIWindow> window();
  /// A rectangle of this view's own coordinates in those of the window's root, transforms left aside.
  CGRect convertRectToWindow(const CGRect& rect) const;

  /// The layer whose drawing this view shows; made on first read by `makeLayer`. Nothing for a plain view.
  const std::shared_ptr<CALayer>& layer();

  /// Asks for a layout pass before the next frame.
  void setNeedsLayout();
  /// Runs the pass now if one was asked for, here and below.
  void layoutIfNeeded();
  bool needsLayout() const { return needsLayout_; }

  /// At most one; not retained: it takes itself out before it dies.
  void setRenderer(ViewRendererPort* renderer) { renderer_ = renderer; }
  ViewRendererPort* renderer() const { return renderer_; }
  /// The renderer's report of a frame that its own layout gave; not told back.
  void layoutFrame(const CGRect& frame);

  // Animations. Within the block, changes are to be seen over the duration; the model holds each new value at once.

  static void setAnimationsEnabled(bool enabled);
  static bool areAnimationsEnabled();
  /// Runs `animations` now. `completion` runs once on the main run loop, after the duration, in order, whether or not
  /// anything changed or is drawn; it is told false when a later write took a property over. With animations disabled
  /// it runs before the call returns.
  static void animateWithDuration_animations_completion(double seconds, const std::function<void()>& animations,
                                                        std::function<void(bool finished)> completion = nullptr);
  static void animateWithDuration_animations(double seconds, const std::function<void()>& animations) {
    animateWithDuration_animations_completion(seconds, animations);
  }

 protected:
  /// The layout pass of this view.
  virtual void layoutSubviews() {}
  virtual void sizeChanged() {}
  virtual std::shared_ptr<CALayer> makeLayer() { return nullptr; }
  virtual void didMoveToWindow() {}
  /// Tells the renderer, with the animation that is under way.
  void changed(UIViewChange change);

 private:
  friend class UIWindow;
  void assignFrame(const CGRect& frame);
  void tellMovedToWindow();

  CGRect frame_;
  CGAffineTransform transform_;
  double rotation_ = 0;
  double alpha_ = 1, cornerRadius_ = 0;
  std::int64_t tag_ = 0;
  std::uint64_t autoresizingMask_ = UIViewAutoresizingNone, accessibilityTraits_ = UIAccessibilityTraitNone;
  std::string accessibilityLabel_;
  UIColor backgroundColor_;
  UIViewContentMode contentMode_ = UIViewContentModeScaleToFill;
  bool hidden_ = false, opaque_ = true, clipsToBounds_ = false, userInteractionEnabled_ = true, needsLayout_ = true;
  bool layerMade_ = false;
  std::vector<std::shared_ptr<UIView>> subviews_;
  std::weak_ptr<UIView> superview_;
  std::shared_ptr<CALayer> layer_;
  ViewRendererPort* renderer_ = nullptr;  // unretained: a renderer takes itself out before it dies
};

}  // namespace tlx
