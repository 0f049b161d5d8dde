#include "tlx/platform/uikit/UICollectionView.h"

#include <algorithm>
#include <utility>

namespace tlx {

const Class& UICollectionReusableView::classObject() {
  static const Class object{
      "UICollectionReusableView", "UIView", "", [] { return std::make_shared<UICollectionReusableView>(); }, {}, {}};
  return object;
}

const Class& UICollectionViewCell::classObject() {
  static const Class object{"UICollectionViewCell",
                            "UICollectionReusableView",
                            "",
                            [] { return std::make_shared<UICollectionViewCell>(); },
                            {},
                            {}};
  return object;
}

const Class& UICollectionView::classObject() {
  static const Class object{
      "UICollectionView", "UIScrollView", "", [] { return std::make_shared<UICollectionView>(); }, {}, {}};
  return object;
}

UICollectionView::UICollectionView() : layout_(std::make_shared<UICollectionViewFlowLayout>()) {
  watchLayout();
}

UICollectionView::~UICollectionView() {
  layout_->setInvalidationHandler(nullptr);
}

void UICollectionView::watchLayout() {
  layout_->setInvalidationHandler([this] {
    layoutChanged_ = true;
    setNeedsLayout();
  });
}

void UICollectionView::setDataSource(std::weak_ptr<UICollectionViewDataSource> dataSource) {
  dataSource_ = std::move(dataSource);
  reloadData();
}

void UICollectionView::setDelegate(std::weak_ptr<UICollectionViewDelegate> delegate) {
  delegate_ = std::move(delegate);
  setScrollDelegate(delegate_);
}

void UICollectionView::setCollectionViewLayout(std::shared_ptr<UICollectionViewFlowLayout> layout) {
  layout_->setInvalidationHandler(nullptr);
  layout_ = layout ? std::move(layout) : std::make_shared<UICollectionViewFlowLayout>();
  watchLayout();
  layoutChanged_ = true;
  setNeedsLayout();
}

void UICollectionView::reloadItemsAtIndexPaths(const std::vector<NSIndexPath>& indexPaths) {
  for (const NSIndexPath& path : indexPaths) {
    reloadAt(path);
  }
}

std::shared_ptr<UICollectionViewCell> UICollectionView::dequeueReusableCellWithReuseIdentifier_forIndexPath(
    const std::string& identifier, const NSIndexPath&) {
  return dequeue(identifier, layout_->itemSize());
}

std::shared_ptr<UICollectionReusableView>
UICollectionView::dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(const std::string& kind,
                                                                                          const std::string& identifier,
                                                                                          const NSIndexPath&) {
  const bool isHeader = kind == UICollectionElementKindSectionHeader;
  return std::dynamic_pointer_cast<UICollectionReusableView>(
      queues_.dequeue(identifier, {{}, (isHeader ? layout_->headerFrame() : layout_->footerFrame()).size}));
}

std::shared_ptr<UICollectionReusableView> UICollectionView::supplementaryViewForElementKind(
    const std::string& kind) const {
  auto found = supplementary_.find(kind);
  return found == supplementary_.end() ? nullptr : found->second;
}

bool UICollectionView::tappedAt(const NSIndexPath& indexPath) {
  const auto delegate = canBeTappedAt(indexPath) ? delegate_.lock() : nullptr;
  if (!delegate) return false;
  delegate->collectionView_didSelectItemAtIndexPath(*this, indexPath);
  return true;
}

void UICollectionView::scrollToItemAtIndexPath(const NSIndexPath& indexPath) {
  if (!exists(indexPath)) return;
  const CGRect item = layout_->frameForItemAtIndex(indexPath.item);
  CGPoint offset = contentOffset();
  offset.y = std::max(offset.y, CGRectGetMaxY(item) + contentInset().bottom - frame().size.height);
  offset.y = std::min(offset.y, CGRectGetMinY(item) - contentInset().top);
  setContentOffset(offset);
}

void UICollectionView::layOut() {
  const auto dataSource = dataSource_.lock();
  const auto askForCount = [&] { return dataSource ? dataSource->collectionView_numberOfItemsInSection(*this, 0) : 0; };
  if (reloads(askForCount)) {
    for (const auto& [kind, view] : std::exchange(supplementary_, {})) queues_.recycle(view);
    moved_ = layoutChanged_ = true;
  }
  if (mustReload()) return;
  if (std::exchange(layoutChanged_, false) || laidOutSize_ != sizeForLayout()) prepareLayout();
  if (mustReload()) return;

  const auto [first, last] = layout_->itemsOfRowsInRect(bounds());
  showCells(
      first, last,
      [&](std::int64_t item) {
        return dataSource ? dataSource->collectionView_cellForItemAtIndexPath(*this, {0, item}) : nullptr;
      },
      [this](std::int64_t item) { return layout_->frameForItemAtIndex(item); });
  if (mustReload()) return;
  showSupplementary(dataSource.get(), UICollectionElementKindSectionHeader, layout_->headerFrame());
  if (mustReload()) return;
  showSupplementary(dataSource.get(), UICollectionElementKindSectionFooter, layout_->footerFrame());
}

CGSize UICollectionView::sizeForLayout() const {
  return {frame().size.width - contentInset().left - contentInset().right, frame().size.height};
}

void UICollectionView::prepareLayout() {
  laidOutSize_ = sizeForLayout();
  layout_->prepareLayout(count_, laidOutSize_.width);
  for (const auto& [item, cell] : visibleCells()) stand(cell, layout_->frameForItemAtIndex(item));
  for (const auto& [kind, view] : supplementary_) {
    const bool isHeader = kind == UICollectionElementKindSectionHeader;
    if (view) stand(view, isHeader ? layout_->headerFrame() : layout_->footerFrame());
  }
  moved_ = true;
  setContentSize(layout_->collectionViewContentSize());
}

void UICollectionView::showSupplementary(UICollectionViewDataSource* dataSource, const std::string& kind,
                                         const CGRect& place) {
  const bool visible = place.size.height > 0 && CGRectIntersectsRect(place, bounds());
  auto shown = supplementary_.find(kind);
  if (visible == (shown != supplementary_.end())) return;
  moved_ = true;
  if (!visible) {
    queues_.recycle(shown->second);
    supplementary_.erase(shown);
    return;
  }
  auto view = dataSource ? dataSource->collectionView_viewForSupplementaryElementOfKind_atIndexPath(*this, kind, {0, 0})
                         : nullptr;
  queues_.answered(view);
  if (mustReload()) {
    queues_.recycle(view);
    return;
  }
  if (view) stand(view, place);
  supplementary_[kind] = std::move(view);
}

}  // namespace tlx
