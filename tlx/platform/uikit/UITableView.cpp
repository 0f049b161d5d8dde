#include "tlx/platform/uikit/UITableView.h"

#include <algorithm>
#include <cmath>

namespace tlx {

const Class& UITableViewCell::classObject() {
  static const Class object{
      "UITableViewCell", "UIView", "", [] { return std::make_shared<UITableViewCell>(); }, {}, {}};
  return object;
}

const Class& UITableView::classObject() {
  static const Class object{"UITableView", "UIScrollView", "", [] { return std::make_shared<UITableView>(); }, {}, {}};
  return object;
}

void UITableView::setDataSource(std::weak_ptr<UITableViewDataSource> dataSource) {
  dataSource_ = std::move(dataSource);
  reloadData();
}

void UITableView::setDelegate(std::weak_ptr<UITableViewDelegate> delegate) {
  delegate_ = std::move(delegate);
  setScrollDelegate(delegate_);
  reloadData();
}

void UITableView::registerPrototype(const std::string& reuseIdentifier, Prototype prototype) {
  queues_.registerPrototype(reuseIdentifier, std::move(prototype));
}

void UITableView::reloadData() {
  shown_.invalidate();
  setNeedsLayout();
}

void UITableView::reloadRowsAtIndexPaths_withRowAnimation(const std::vector<NSIndexPath>& indexPaths,
                                                          UITableViewRowAnimation) {
  for (const NSIndexPath& path : indexPaths) {
    if (path.section != 0 || !shown_.invalidate(path.row())) continue;
    if (selectedRow_ == path.row()) selectedRow_.reset();
    setNeedsLayout();
  }
}

std::optional<NSIndexPath> UITableView::indexPathForSelectedRow() const {
  return selectedRow_ ? std::optional(NSIndexPath{0, *selectedRow_}) : std::nullopt;
}

void UITableView::deselectRowAtIndexPath_animated(const NSIndexPath& indexPath, bool) {
  if (indexPath.section != 0 || selectedRow_ != indexPath.row()) return;
  selectedRow_.reset();
  changed(UIViewChange::Items);
}

void UITableView::setTableFooterView(std::shared_ptr<UIView> view) {
  if (view == footer_) return;
  if (footer_) footer_->removeFromSuperview();
  footer_ = std::move(view);
  if (footer_) addSubview(footer_);
  rowsMoved_ = true;
  placeFooter();
  setNeedsLayout();
}

std::shared_ptr<UITableViewCell> UITableView::dequeueReusableCellWithIdentifier_forIndexPath(
    const std::string& identifier, const NSIndexPath&) {
  return queues_.dequeue(identifier, CGRectMake(0, 0, contentWidth(), rowHeight_));
}

CGSize UITableView::contentSize() const {
  return UIScrollView::contentSize();
}

std::shared_ptr<UITableViewCell> UITableView::cellForRowAtIndexPath(const NSIndexPath& indexPath) const {
  return indexPath.section == 0 ? shown_.cellAt(indexPath.row()) : nullptr;
}

bool UITableView::tappedAt(const NSIndexPath& indexPath) {
  if (!layingOut_) layoutIfNeeded();
  auto delegate = delegate_.lock();
  if (!delegate || indexPath.section != 0 || indexPath.row() < 0 || indexPath.row() >= rowCount_) return false;
  if (!UIViewController::inputReaches(*this)) return false;
  selectedRow_ = indexPath.row();
  changed(UIViewChange::Items);
  delegate->tableView_didSelectRowAtIndexPath(*this, indexPath);
  return true;
}

void UITableView::sizeChanged() {
  setNeedsLayout();
}

void UITableView::didMoveToWindow() {
  setNeedsLayout();
}

double UITableView::contentWidth() const {
  return std::max(0.0, frame().size.width - contentInset().left - contentInset().right);
}

CGRect UITableView::frameForRow(std::int64_t row) const {
  return CGRectMake(0, static_cast<double>(row) * rowHeight_, contentWidth(), rowHeight_);
}

void UITableView::placeFooter() {
  const double bottom = static_cast<double>(rowCount_) * rowHeight_;
  double footerHeight = 0;
  if (footer_) {
    footerHeight = footer_->frame().size.height;
    const CGRect place = CGRectMake(0, bottom, contentWidth(), footerHeight);
    if (footer_->frame() != place) footer_->setFrame(place);
  }
  setContentSize({contentWidth(), bottom + footerHeight});
}

std::pair<std::int64_t, std::int64_t> UITableView::rowsInBounds() const {
  const CGRect visible = bounds();
  if (!(rowHeight_ > 0) || !(visible.size.height > 0) || !(visible.size.width > 0)) return {0, 0};
  const auto rows = static_cast<double>(rowCount_);
  const double first = std::clamp(std::floor(CGRectGetMinY(visible) / rowHeight_), 0.0, rows);
  const double last = std::clamp(std::ceil(CGRectGetMaxY(visible) / rowHeight_), first, rows);
  return {static_cast<std::int64_t>(first), static_cast<std::int64_t>(last)};
}

void UITableView::layoutSubviews() {
  if (layingOut_) {
    // The data source asked for a pass while it is being asked: it comes when this one has ended.
    setNeedsLayout();
    return;
  }
  if (!window()) return;
  const auto self = sharedAs(this);  // an answer may let go of the table
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
  if (std::exchange(rowsMoved_, false)) changed(UIViewChange::Items);
}

void UITableView::layOut(UITableViewDataSource* dataSource) {
  const auto recycle = [this](const std::shared_ptr<UITableViewCell>& cell) { queues_.recycle(cell); };
  const bool reload = shown_.beginReload();
  if (reload) {
    const std::int64_t count = dataSource ? dataSource->tableView_numberOfRowsInSection(*this, 0) : 0;
    if (shown_.mustReload()) return;
    rowCount_ = std::max<std::int64_t>(count, 0);
    selectedRow_.reset();
    shown_.clear(recycle);
  }
  if (const CGSize size{contentWidth(), frame().size.height}; reload || laidOutSize_ != size) {
    laidOutSize_ = size;
    auto delegate = delegate_.lock();
    if (delegate && rowCount_ > 0) {
      const double height = delegate->tableView_heightForRowAtIndexPath(*this, {0, 0});
      rowHeight_ = std::isfinite(height) && height > 0 ? height : 0;
    }
    for (const auto& [row, cell] : shown_.cells()) {
      if (cell->frame() != frameForRow(row)) cell->setFrame(frameForRow(row));
    }
    rowsMoved_ = true;
    placeFooter();
  }
  if (shown_.mustReload()) return;
  const auto [first, last] = rowsInBounds();
  rowsMoved_ |=
      shown_.show(first, last, recycle, [this, dataSource](std::int64_t row) { return askForCell(dataSource, row); });
}

std::shared_ptr<UITableViewCell> UITableView::askForCell(UITableViewDataSource* dataSource, std::int64_t row) {
  if (!dataSource) return nullptr;
  auto cell = dataSource->tableView_cellForRowAtIndexPath(*this, {0, row});
  queues_.answered(cell);
  if (cell) {
    if (cell->frame() != frameForRow(row)) cell->setFrame(frameForRow(row));
    if (cell->superview().get() != this) addSubview(cell);
  }
  return cell;
}

}  // namespace tlx
