#include "adapters/qtquick/window/ModalScope.h"

#include <QQuickWindow>
#include <utility>

namespace tlx::qtquick {

ModalScope::~ModalScope() {
  for (const auto& item : covered_) {
    if (item) item->setEnabled(true);
  }
}

void ModalScope::componentComplete() {
  QQuickItem::componentComplete();
  follow();
}

void ModalScope::itemChange(ItemChange change, const ItemChangeData& data) {
  QQuickItem::itemChange(change, data);
  if (change == ItemVisibleHasChanged || change == ItemSceneChange) follow();
}

void ModalScope::follow() {
  const bool covers = isComponentComplete() && window() && isVisible();
  if (std::exchange(covers_, covers) == covers) return;
  if (covers) {
    cover();
  } else {
    uncover();
  }
}

void ModalScope::cover() {
  before_ = window()->activeFocusItem();
  for (QQuickItem* item = parentItem(); item && item->parentItem(); item = item->parentItem()) {
    // Later children lie above this one and stay enabled: a question, or a page of the program's.
    for (QQuickItem* beside : item->parentItem()->childItems()) {
      if (beside == item) break;
      if (!beside->isEnabled()) continue;
      beside->setEnabled(false);
      covered_.emplace_back(beside);
    }
  }
  parentItem()->forceActiveFocus(Qt::PopupFocusReason);
}

void ModalScope::uncover() {
  for (const auto& item : std::exchange(covered_, {})) {
    if (item) item->setEnabled(true);
  }
  QQuickItem* here = parentItem();
  QQuickItem* now = window() ? window()->activeFocusItem() : nullptr;
  const bool free = !now || now == here || !here || now->isAncestorOf(here) || here->isAncestorOf(now);
  if (free && before_ && before_->isVisible() && before_->isEnabled()) before_->forceActiveFocus(Qt::PopupFocusReason);
}

}  // namespace tlx::qtquick
