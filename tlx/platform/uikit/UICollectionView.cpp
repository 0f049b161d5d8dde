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

void UICollectionView::registerPrototype(const std::string& reuseIdentifier, Prototype prototype) {
  queues_.registerPrototype(reuseIdentifier, std::move(prototype));
}

void UICollectionView::reloadData() {
  shown_.invalidate();
  setNeedsLayout();
}

void UICollectionView::reloadItemsAtIndexPaths(const std::vector<NSIndexPath>& indexPaths) {
  for (const NSIndexPath& path : indexPaths) {
    if (path.section == 0 && shown_.invalidate(path.item)) setNeedsLayout();
  }
}

std::shared_ptr<UICollectionViewCell> UICollectionView::dequeueReusableCellWithReuseIdentifier_forIndexPath(
    const std::string& identifier, const NSIndexPath&) {
  auto cell = std::dynamic_pointer_cast<UICollectionViewCell>(queues_.dequeue(identifier, {{}, layout_->itemSize()}));
  if (!cell) throw NSException(NSInternalInconsistencyException, "\"" + identifier + "\" is not a cell");
  return cell;
}

std::shared_ptr<UICollectionReusableView>
UICollectionView::dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(const std::string& kind,
                                                                                          const std::string& identifier,
                                                                                          const NSIndexPath&) {
  const bool isHeader = kind == UICollectionElementKindSectionHeader;
  return queues_.dequeue(identifier, {{}, (isHeader ? layout_->headerFrame() : layout_->footerFrame()).size});
}

CGSize UICollectionView::contentSize() const {
  return UIScrollView::contentSize();
}

std::shared_ptr<UICollectionViewCell> UICollectionView::cellForItemAtIndexPath(const NSIndexPath& indexPath) const {
  return indexPath.section == 0 ? shown_.cellAt(indexPath.item) : nullptr;
}

std::shared_ptr<UICollectionReusableView> UICollectionView::supplementaryViewForElementKind(
    const std::string& kind) const {
  auto found = supplementary_.find(kind);
  return found == supplementary_.end() ? nullptr : found->second;
}

std::vector<NSIndexPath> UICollectionView::indexPathsForVisibleItems() const {
  std::vector<NSIndexPath> paths;
  paths.reserve(shown_.cells().size());
  for (const auto& [item, cell] : shown_.cells()) paths.push_back({0, item});
  return paths;
}

bool UICollectionView::tappedAt(const NSIndexPath& indexPath) {
  if (!layingOut_) layoutIfNeeded();
  auto delegate = delegate_.lock();
  if (!delegate || indexPath.section != 0 || indexPath.item < 0 || indexPath.item >= itemCount_) return false;
  if (!UIViewController::inputReaches(*this)) return false;
  delegate->collectionView_didSelectItemAtIndexPath(*this, indexPath);
  return true;
}

void UICollectionView::scrollToItemAtIndexPath(const NSIndexPath& indexPath) {
  if (!layingOut_) layoutIfNeeded();
  if (indexPath.section != 0 || indexPath.item < 0 || indexPath.item >= itemCount_) return;
  const CGRect item = layout_->frameForItemAtIndex(indexPath.item);
  CGPoint offset = contentOffset();
  offset.y = std::max(offset.y, CGRectGetMaxY(item) + contentInset().bottom - frame().size.height);
  offset.y = std::min(offset.y, CGRectGetMinY(item) - contentInset().top);
  setContentOffset(offset);
}

void UICollectionView::sizeChanged() {
  setNeedsLayout();
}

void UICollectionView::didMoveToWindow() {
  setNeedsLayout();
}

void UICollectionView::layoutSubviews() {
  if (layingOut_) {
    // The data source asked for a pass while it is being asked: it comes when this one has ended.
    setNeedsLayout();
    return;
  }
  if (!window()) return;
  const auto self = sharedAs(this);  // an answer may let go of the grid
  const auto dataSource = dataSource_.lock();
  layingOut_ = true;
  try {
    layOut(dataSource.get());
  } catch (...) {
    layingOut_ = false;
    queues_.answered(nullptr);
    shown_.invalidate();
    throw;
  }
  layingOut_ = false;
  queues_.detachWaiting();
  if (std::exchange(itemsMoved_, false)) changed(UIViewChange::Items);
}

void UICollectionView::layOut(UICollectionViewDataSource* dataSource) {
  const auto recycle = [this](const std::shared_ptr<UICollectionReusableView>& view) { queues_.recycle(view); };
  if (shown_.beginReload()) reloadCount(dataSource);
  if (shown_.mustReload()) return;
  if (std::exchange(layoutChanged_, false) || laidOutSize_ != sizeForLayout()) prepareLayout();
  if (shown_.mustReload()) return;

  const auto [first, last] = layout_->itemsOfRowsInRect(bounds());
  itemsMoved_ |=
      shown_.show(first, last, recycle, [this, dataSource](std::int64_t item) { return askForCell(dataSource, item); });
  if (shown_.mustReload()) return;
  showSupplementary(dataSource, UICollectionElementKindSectionHeader, layout_->headerFrame());
  if (shown_.mustReload()) return;
  showSupplementary(dataSource, UICollectionElementKindSectionFooter, layout_->footerFrame());
}

void UICollectionView::reloadCount(UICollectionViewDataSource* dataSource) {
  const std::int64_t count = dataSource ? dataSource->collectionView_numberOfItemsInSection(*this, 0) : 0;
  if (shown_.mustReload()) return;
  itemCount_ = std::max<std::int64_t>(count, 0);
  const auto recycle = [this](const std::shared_ptr<UICollectionReusableView>& view) {
    if (view) queues_.recycle(view);
  };
  shown_.clear(recycle);
  for (const auto& [kind, view] : std::exchange(supplementary_, {})) recycle(view);
  itemsMoved_ = layoutChanged_ = true;
}

CGSize UICollectionView::sizeForLayout() const {
  return {frame().size.width - contentInset().left - contentInset().right, frame().size.height};
}

void UICollectionView::prepareLayout() {
  laidOutSize_ = sizeForLayout();
  layout_->prepareLayout(itemCount_, laidOutSize_.width);
  for (const auto& [item, cell] : shown_.cells()) stand(cell, layout_->frameForItemAtIndex(item));
  for (const auto& [kind, view] : supplementary_) {
    const bool isHeader = kind == UICollectionElementKindSectionHeader;
    if (view) stand(view, isHeader ? layout_->headerFrame() : layout_->footerFrame());
  }
  itemsMoved_ = true;
  setContentSize(layout_->collectionViewContentSize());
}

std::shared_ptr<UICollectionViewCell> UICollectionView::askForCell(UICollectionViewDataSource* dataSource,
                                                                   std::int64_t item) {
  if (!dataSource) return nullptr;
  auto cell = dataSource->collectionView_cellForItemAtIndexPath(*this, {0, item});
  queues_.answered(cell);
  if (cell) stand(cell, layout_->frameForItemAtIndex(item));
  return cell;
}

void UICollectionView::showSupplementary(UICollectionViewDataSource* dataSource, const std::string& kind,
                                         const CGRect& place) {
  const bool visible = place.size.height > 0 && CGRectIntersectsRect(place, bounds());
  auto shown = supplementary_.find(kind);
  if (visible == (shown != supplementary_.end())) return;
  itemsMoved_ = true;
  if (!visible) {
    if (shown->second) queues_.recycle(shown->second);
    supplementary_.erase(shown);
    return;
  }
  auto view = dataSource ? dataSource->collectionView_viewForSupplementaryElementOfKind_atIndexPath(*this, kind, {0, 0})
                         : nullptr;
  queues_.answered(view);
  if (shown_.mustReload()) {
    if (view) queues_.recycle(view);
    return;
  }
  if (view) stand(view, place);
  supplementary_[kind] = std::move(view);
}

void UICollectionView::stand(const std::shared_ptr<UICollectionReusableView>& view, const CGRect& place) {
  if (view->frame() != place) view->setFrame(place);
  if (view->superview().get() != this) addSubview(view);
}

}  // namespace tlx
