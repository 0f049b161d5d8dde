#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tlx/platform/NSException.h"
#include "tlx/platform/foundation/NSIndexPath.h"
#include "tlx/platform/uikit/ReuseQueues.h"
#include "tlx/platform/uikit/ShownCells.h"
#include "tlx/platform/uikit/UIScrollView.h"
#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {

/// What a grid and a list of one section have in common: they ask a data source for what is visible, and recycle the
/// rest. They ask only in their layout pass and only while they stand in a window. Cells are subviews; their frames are
/// in the content's coordinates. The renderer is told `Items` once for each pass in which a cell came, went or moved.
///
/// A reloaded element gets the cell it had, prepared for reuse, so that nothing is taken off the screen before its
/// successor is there. The data source may demand a reload while it is being asked: the pass is then begun anew. What
/// it throws ends the pass and goes on to whoever asked for it; the next pass asks for everything.
template <class Cell>
class CellScrollView : public UIScrollView {
 public:
  using Prototype = ReuseQueues::Prototype;

  /// For scenes: what makes the views of that reuse identifier.
  void registerPrototype(const std::string& reuseIdentifier, Prototype prototype) {
    queues_.registerPrototype(reuseIdentifier, std::move(prototype));
  }
  /// Everything is asked anew in the next layout pass. Cells go back to their reuse queues, the offset stays within the
  /// content.
  void reloadData() {
    shown_.invalidate();
    setNeedsLayout();
  }
  /// The cells that are shown, by their index.
  const std::map<std::int64_t, std::shared_ptr<Cell>>& visibleCells() const { return shown_.cells(); }

 protected:
  /// One pass: `reloads`, then whatever places the content, then `showCells`; to be left where `mustReload` says so.
  virtual void layOut() = 0;

  /// Begins the pass: where everything is to be asked anew, takes the count that `ask()` answers and lets go of all
  /// cells. Answers whether it did.
  template <class AskForCount>
  bool reloads(AskForCount ask) {
    if (!shown_.beginReload()) return false;
    const std::int64_t count = ask();
    if (mustReload()) return false;
    count_ = std::max<std::int64_t>(count, 0);
    shown_.clear([this](const std::shared_ptr<Cell>& cell) { queues_.recycle(cell); });
    return true;
  }
  /// Whether everything was demanded anew since the pass began.
  bool mustReload() const { return shown_.mustReload(); }
  /// Shows the elements from `first` to before `last`: `ask(index)` answers a cell, or nothing for a place that stays
  /// empty, and `place(index)` its frame.
  template <class Ask, class Place>
  void showCells(std::int64_t first, std::int64_t last, Ask ask, Place place) {
    moved_ |= shown_.show(
        first, last, [this](const std::shared_ptr<Cell>& cell) { queues_.recycle(cell); },
        [&](std::int64_t index) {
          std::shared_ptr<Cell> cell = ask(index);
          queues_.answered(cell);
          if (cell) stand(cell, place(index));
          return cell;
        });
  }
  void stand(const std::shared_ptr<ReusableView>& view, const CGRect& place) {
    if (view->frame() != place) view->setFrame(place);
    if (view->superview().get() != this) addSubview(view);
  }

  /// The element is asked anew in the next pass. False where it is not shown.
  bool reloadAt(const NSIndexPath& path) {
    if (path.section != 0 || !shown_.invalidate(path.item)) return false;
    setNeedsLayout();
    return true;
  }
  std::shared_ptr<Cell> cellAt(const NSIndexPath& path) const {
    return path.section == 0 ? shown_.cellAt(path.item) : nullptr;
  }
  /// Whether there is such an element when what is waiting has been laid out.
  bool exists(const NSIndexPath& path) {
    if (!layingOut_) layoutIfNeeded();
    return path.section == 0 && path.item >= 0 && path.item < count_;
  }
  /// `exists`, and a person's hand gets there.
  bool canBeTappedAt(const NSIndexPath& path) { return exists(path) && UIViewController::inputReaches(*this); }
  std::shared_ptr<Cell> dequeue(const std::string& identifier, const CGSize& size) {
    auto cell = std::dynamic_pointer_cast<Cell>(queues_.dequeue(identifier, {{}, size}));
    if (!cell) throw NSException(NSInternalInconsistencyException, "\"" + identifier + "\" is not a cell");
    return cell;
  }

  void layoutSubviews() final {
    if (layingOut_) {
      // The data source asked for a pass while it is being asked: it comes when this one has ended.
      setNeedsLayout();
      return;
    }
    if (!window()) return;
    const auto self = sharedAs(this);  // an answer may let go of this view
    layingOut_ = true;
    try {
      layOut();
    } catch (...) {
      layingOut_ = false;
      queues_.answered(nullptr);
      shown_.invalidate();
      throw;
    }
    layingOut_ = false;
    queues_.detachWaiting();
    if (std::exchange(moved_, false)) changed(UIViewChange::Items);
  }
  void sizeChanged() final { setNeedsLayout(); }
  void didMoveToWindow() final { setNeedsLayout(); }

  std::int64_t count_ = 0;  // as of the last pass
  bool moved_ = false;      // a cell came, went or moved in this pass
  ReuseQueues queues_;

 private:
  ShownCells<Cell> shown_;
  bool layingOut_ = false;
};

}  // namespace tlx
