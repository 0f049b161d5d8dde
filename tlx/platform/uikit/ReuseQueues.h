#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/uikit/UIView.h"

namespace tlx {

/// A cell, row, header or footer that is used for one element after the other.
class ReusableView : public UIView {
 public:
  /// Runs before the view is used for another element.
  virtual void prepareForReuse() {}

 private:
  friend class ReuseQueues;
  std::string reuseIdentifier_;
};

/// Views of a grid or a list that wait to be used again, by reuse identifier. A view that waits leaves its superview
/// only when the layout pass has found no use for it, so that a row which goes out at the top comes in at the bottom as
/// it is. Main thread only.
class ReuseQueues {
 public:
  /// Makes a view: constructed with the given frame, outlets connected, awake.
  using Prototype = std::function<std::shared_ptr<ReusableView>(const CGRect& frame)>;

  void registerPrototype(const std::string& identifier, Prototype prototype);
  /// The view that went last into the queue, prepared for reuse, or else a new one with that frame. It counts as handed
  /// out until `answered`. An identifier without a prototype is a programming error, as is a prototype that makes
  /// nothing (`NSException`).
  std::shared_ptr<ReusableView> dequeue(const std::string& identifier, const CGRect& frame);
  /// The data source has answered: what it was handed out and did not answer goes back. Raises an `NSException` for an
  /// answer that stands somewhere already.
  void answered(const std::shared_ptr<ReusableView>& answer);
  /// Takes a view back. One that no prototype made is let go; nothing is passed over.
  void recycle(const std::shared_ptr<ReusableView>& view);
  /// At the end of a pass: what waits leaves its superview.
  void detachWaiting();

 private:
  struct Kind {
    Prototype prototype;
    std::vector<std::shared_ptr<ReusableView>> waiting;
    std::size_t detached = 0;  // so many at the front have left their superview
  };
  std::map<std::string, Kind> kinds_;
  std::vector<std::shared_ptr<ReusableView>> handedOut_;
};

}  // namespace tlx
