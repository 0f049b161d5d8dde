#include "tlx/platform/uikit/UIView.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "tlx/platform/Platform.h"
#include "tlx/platform/foundation/NSTimer.h"
#include "tlx/platform/quartzcore/CALayer.h"
#include "tlx/platform/uikit/UIWindow.h"

namespace tlx {
namespace {

constexpr double kPi = 3.141592653589793;

/// Which animation owns which property of which view, so that a completion can tell whether its changes came to rest.
struct AnimationState {
  struct Running {
    UIViewAnimation animation;
    bool finished = true;
  };
  using Property = std::pair<const UIView*, UIViewChange>;

  bool enabled = true;
  std::uint64_t lastId = 0;
  std::vector<std::shared_ptr<Running>> open;  // the blocks being run, innermost last
  std::map<Property, std::shared_ptr<Running>> owners;

  static AnimationState* installed() {
    Platform* platform = Platform::installed();
    return platform ? platform->once<AnimationState>([] { return std::make_shared<AnimationState>(); }).get() : nullptr;
  }
};

bool isAnimatable(UIViewChange change) {
  switch (change) {
    case UIViewChange::Frame:
    case UIViewChange::ContentOffset:
    case UIViewChange::Alpha:
    case UIViewChange::Transform:
    case UIViewChange::BackgroundColor:
      return true;
    default:
      return false;
  }
}

double angleOf(const CGAffineTransform& t) {
  return std::atan2(t.b, t.a);
}

// An exact half turn is ambiguous; it goes towards increasing angle. The tolerance takes in the rounding of sines.
double shortestTurn(double from, double to) {
  double turn = std::remainder(to - from, 2 * kPi);
  if (std::abs(std::abs(turn) - kPi) < 1e-9) turn = kPi;
  return std::abs(turn) < 1e-9 ? 0 : turn;
}

}  // namespace

const Class& UIView::classObject() {
  static const Class object{"UIView", "", "", [] { return std::make_shared<UIView>(); }, {}, {}};
  return object;
}

UIView::~UIView() {
  if (renderer_) renderer_->viewDestroyed();
  if (AnimationState* state = AnimationState::installed(); state && !state->owners.empty()) {
    std::erase_if(state->owners, [this](const auto& owner) { return owner.first.first == this; });
  }
}

void UIView::changed(UIViewChange change) {
  const UIViewAnimation* animation = nullptr;
  if (isAnimatable(change)) {
    if (AnimationState* state = AnimationState::installed()) {
      const auto running = state->enabled && !state->open.empty() ? state->open.back() : nullptr;
      if (running || !state->owners.empty()) {
        const AnimationState::Property property{this, change};
        auto owner = state->owners.find(property);
        if (owner != state->owners.end() && owner->second != running) {
          owner->second->finished = false;
          state->owners.erase(owner);
        }
        if (running) state->owners[property] = running;
      }
      if (running) animation = &running->animation;
    }
  }
  if (renderer_) renderer_->viewChanged(*this, change, animation);
}

void UIView::assignFrame(const CGRect& frame) {
  const CGSize before = frame_.size;
  frame_ = frame;
  if (frame.size == before) return;
  const double wider = frame.size.width - before.width;
  const double higher = frame.size.height - before.height;
  for (const auto& view : std::vector(subviews_)) {
    CGRect follow = view->frame();
    if (view->autoresizingMask_ & UIViewAutoresizingFlexibleWidth) follow.size.width += wider;
    if (view->autoresizingMask_ & UIViewAutoresizingFlexibleHeight) follow.size.height += higher;
    if (!(follow == view->frame())) view->setFrame(follow);
  }
  if (layer_) layer_->setBounds(CGRectMake(0, 0, frame.size.width, frame.size.height));
  sizeChanged();
}

void UIView::setFrame(const CGRect& frame) {
  assignFrame(frame);
  changed(UIViewChange::Frame);
}

void UIView::layoutFrame(const CGRect& frame) {
  if (frame == frame_) return;
  assignFrame(frame);
}

void UIView::setCenter(const CGPoint& center) {
  CGRect moved = frame_;
  moved.origin = {center.x - moved.size.width / 2.0, center.y - moved.size.height / 2.0};
  setFrame(moved);
}

void UIView::setAlpha(double alpha) {
  alpha_ = alpha;
  changed(UIViewChange::Alpha);
}

void UIView::setHidden(bool hidden) {
  hidden_ = hidden;
  changed(UIViewChange::Hidden);
}

void UIView::setTransform(const CGAffineTransform& transform) {
  rotation_ += shortestTurn(angleOf(transform_), angleOf(transform));
  transform_ = transform;
  changed(UIViewChange::Transform);
}

void UIView::setBackgroundColor(const UIColor& color) {
  backgroundColor_ = color;
  changed(UIViewChange::BackgroundColor);
}

void UIView::setClipsToBounds(bool clips) {
  clipsToBounds_ = clips;
  changed(UIViewChange::ClipsToBounds);
}

void UIView::setCornerRadius(double radius) {
  cornerRadius_ = radius;
  changed(UIViewChange::CornerRadius);
}

void UIView::setContentMode(UIViewContentMode mode) {
  contentMode_ = mode;
  changed(UIViewChange::ContentMode);
}

void UIView::setUserInteractionEnabled(bool enabled) {
  userInteractionEnabled_ = enabled;
  changed(UIViewChange::UserInteraction);
}

void UIView::setTag(std::int64_t tag) {
  tag_ = tag;
  changed(UIViewChange::Tag);
}

void UIView::setAccessibilityLabel(std::string label) {
  if (label == accessibilityLabel_) return;
  accessibilityLabel_ = std::move(label);
  changed(UIViewChange::Accessibility);
}

void UIView::setAccessibilityTraits(std::uint64_t traits) {
  if (traits == accessibilityTraits_) return;
  accessibilityTraits_ = traits;
  changed(UIViewChange::Accessibility);
}

void UIView::addSubview(const std::shared_ptr<UIView>& view) {
  if (!view || view.get() == this) return;
  view->removeFromSuperview();
  view->superview_ = sharedAs(this);
  subviews_.push_back(view);
  changed(UIViewChange::Subviews);
  if (window()) view->tellMovedToWindow();
  setNeedsLayout();
}

void UIView::removeFromSuperview() {
  auto above = superview_.lock();
  if (!above) return;
  const auto self = sharedAs(this);
  superview_.reset();
  std::erase(above->subviews_, self);
  above->changed(UIViewChange::Subviews);
  tellMovedToWindow();
}

void UIView::tellMovedToWindow() {
  didMoveToWindow();
  for (const auto& view : std::vector(subviews_)) view->tellMovedToWindow();
}

std::shared_ptr<UIView> UIView::viewWithTag(std::int64_t tag) {
  if (tag_ == tag) return sharedAs(this);
  for (const auto& view : subviews_) {
    if (auto found = view->viewWithTag(tag)) return found;
  }
  return nullptr;
}

std::shared_ptr<UIWindow> UIView::window() {
  auto above = superview_.lock();
  return above ? above->window() : nullptr;
}

CGRect UIView::convertRectToWindow(const CGRect& rect) const {
  CGRect converted = rect;
  converted.origin.x += frame_.origin.x - bounds().origin.x;
  converted.origin.y += frame_.origin.y - bounds().origin.y;
  auto above = superview_.lock();
  return above ? above->convertRectToWindow(converted) : converted;
}

const std::shared_ptr<CALayer>& UIView::layer() {
  if (!layerMade_) {
    layerMade_ = true;
    layer_ = makeLayer();
    if (layer_) {
      layer_->setBounds(CGRectMake(0, 0, frame_.size.width, frame_.size.height));
      changed(UIViewChange::Layer);
    }
  }
  return layer_;
}

void UIView::setNeedsLayout() {
  needsLayout_ = true;
  if (renderer_) renderer_->setNeedsLayout(*this);
}

void UIView::layoutIfNeeded() {
  // A pass may ask for another one; a view that always does must not hang the program.
  for (int pass = 0; pass < 8 && needsLayout_; ++pass) {
    needsLayout_ = false;
    layoutSubviews();
  }
  for (const auto& view : std::vector(subviews_)) view->layoutIfNeeded();
}

void UIView::setAnimationsEnabled(bool enabled) {
  if (AnimationState* state = AnimationState::installed()) state->enabled = enabled;
}

bool UIView::areAnimationsEnabled() {
  AnimationState* state = AnimationState::installed();
  return !state || state->enabled;
}

void UIView::animateWithDuration_animations_completion(double seconds, const std::function<void()>& animations,
                                                       std::function<void(bool)> completion) {
  AnimationState* state = AnimationState::installed();
  if (!state || !state->enabled) {
    if (animations) animations();
    if (completion) completion(true);
    return;
  }
  auto running = std::make_shared<AnimationState::Running>();
  running->animation = {++state->lastId, seconds};
  state->open.push_back(running);
  if (animations) animations();
  std::erase(state->open, running);
  performAfterDelay(seconds, [running, completion = std::move(completion)] {
    if (AnimationState* now = AnimationState::installed()) {
      std::erase_if(now->owners, [&](const auto& owner) { return owner.second == running; });
    }
    if (completion) completion(running->finished);
  });
}

}  // namespace tlx
