#pragma once

#include <cstdint>

namespace tlx {

class UIView;

/// What of a view changed. The renderer reads the new value from the view.
enum class UIViewChange {
  Frame,
  ContentOffset,  ///< of a scroll view: its offset, the content's size or the inset
  Alpha,
  Hidden,
  Transform,
  BackgroundColor,
  ClipsToBounds,
  CornerRadius,
  ContentMode,
  UserInteraction,
  Tag,
  Subviews,
  Layer,
  Accessibility,
  Text,
  Font,
  TextColor,
  Image,
  Title,
  Enabled,
  Items,  ///< of a collection or table: which cells stand where
};

/// The block of animated changes that a change belongs to.
struct UIViewAnimation {
  std::uint64_t id = 0;
  double duration = 0;  ///< seconds
};

/// Draws one view. Main thread. A view tells its renderer of each change after it holds it.
class ViewRendererPort {
 public:
  virtual ~ViewRendererPort() = default;
  /// `animation` is nothing for a change that is to be seen at once.
  virtual void viewChanged(UIView& view, UIViewChange change, const UIViewAnimation* animation) = 0;
  /// The view wants its layout pass before the next frame.
  virtual void setNeedsLayout(UIView& view) = 0;
  /// The view is being destroyed; it must not be read any more.
  virtual void viewDestroyed() {}
};

}  // namespace tlx
