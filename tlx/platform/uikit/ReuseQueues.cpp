#include "tlx/platform/uikit/ReuseQueues.h"

#include <algorithm>
#include <utility>

#include "tlx/platform/NSException.h"

namespace tlx {

void ReuseQueues::registerPrototype(const std::string& identifier, Prototype prototype) {
  kinds_[identifier].prototype = std::move(prototype);
}

std::shared_ptr<ReusableView> ReuseQueues::dequeue(const std::string& identifier, const CGRect& frame) {
  const auto found = kinds_.find(identifier);
  if (found == kinds_.end() || !found->second.prototype) {
    throw NSException(NSInternalInconsistencyException,
                      "No prototype is registered for the reuse identifier \"" + identifier + "\"");
  }
  Kind& kind = found->second;
  std::shared_ptr<ReusableView> view;
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

void ReuseQueues::answered(const std::shared_ptr<ReusableView>& answer) {
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

void ReuseQueues::recycle(const std::shared_ptr<ReusableView>& view) {
  if (!view) return;
  const auto found = kinds_.find(view->reuseIdentifier_);
  if (found == kinds_.end() || view->reuseIdentifier_.empty()) {
    view->removeFromSuperview();
  } else {
    found->second.waiting.push_back(view);
  }
}

void ReuseQueues::detachWaiting() {
  for (auto& [identifier, kind] : kinds_) {
    while (kind.detached < kind.waiting.size()) kind.waiting[kind.detached++]->removeFromSuperview();
  }
}

}  // namespace tlx
