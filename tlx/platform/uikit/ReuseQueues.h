#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tlx/platform/NSException.h"
#include "tlx/platform/coregraphics/CGGeometry.h"

namespace tlx {

/// Views of a grid or a list that wait to be used again, by reuse identifier. A view that waits leaves its superview
/// only when the layout pass has found no use for it, so that a row which goes out at the top comes in at the bottom as
/// it is. Main thread only.
template <class View>
class ReuseQueues {
 public:
  /// Makes a view: constructed with the given frame, outlets connected, awake.
  using Prototype = std::function<std::shared_ptr<View>(const CGRect& frame)>;

  void registerPrototype(const std::string& identifier, Prototype prototype) {
    kinds_[identifier].prototype = std::move(prototype);
  }

  /// The view that went last into the queue, prepared for reuse, or else a new one with that frame. It counts as handed
  /// out until `answered`. An identifier without a prototype is a programming error, as is a prototype that makes
  /// nothing.
  std::shared_ptr<View> dequeue(const std::string& identifier, const CGRect& frame) {
    auto found = kinds_.find(identifier);
    if (found == kinds_.end() || !found->second.prototype) {
      throw NSException(NSInternalInconsistencyException,
                        "No prototype is registered for the reuse identifier \"" + identifier + "\"");
    }
    Kind& kind = found->second;
    std::shared_ptr<View> view;
    if (kind.waiting.empty()) {
      view = kind.prototype(frame);
      if (!view) {
        throw NSException(NSInternalInconsistencyException,
                          "The prototype for the reuse identifier \"" + identifier + "\" made nothing");
      }
      view->reuseIdentifier_ = identifier;
      handedOut_.push_back(view);
    } else {
      view = std::move(kind.waiting.back());
      kind.waiting.pop_back();
      kind.detached = std::min(kind.detached, kind.waiting.size());
      handedOut_.push_back(view);
      view->prepareForReuse();
    }
    return view;
  }

  /// The data source has answered: what it was handed out and did not answer goes back. Raises an `NSException` for an
  /// answer that stands somewhere already.
  void answered(const std::shared_ptr<View>& answer) {
    const auto mine = std::exchange(handedOut_, {});
    bool fresh = !answer || !answer->superview();
    for (const auto& view : mine) {
      if (view == answer) {
        fresh = true;
      } else {
        recycle(view);
      }
    }
    if (!fresh) {
      throw NSException(NSInternalInconsistencyException, "The data source answered a view that is in use already");
    }
  }

  /// A view that no prototype made is let go.
  void recycle(const std::shared_ptr<View>& view) {
    auto found = kinds_.find(view->reuseIdentifier_);
    if (found == kinds_.end() || view->reuseIdentifier_.empty()) {
      view->removeFromSuperview();
    } else {
      found->second.waiting.push_back(view);
    }
  }

  /// At the end of a pass.
  void detachWaiting() {
    for (auto& [identifier, kind] : kinds_) {
      while (kind.detached < kind.waiting.size()) kind.waiting[kind.detached++]->removeFromSuperview();
    }
  }

 private:
  struct Kind {
    Prototype prototype;
    std::vector<std::shared_ptr<View>> waiting;
    std::size_t detached = 0;  // so many at the front have left their superview
  };
  std::map<std::string, Kind> kinds_;
  std::vector<std::shared_ptr<View>> handedOut_;
};

}  // namespace tlx
