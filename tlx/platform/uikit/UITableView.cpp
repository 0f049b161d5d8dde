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

void UITableView::reloadRowsAtIndexPaths_withRowAnimation(const std::vector<NSIndexPath>& indexPaths,
                                                          UITableViewRowAnimation) {
  for (const NSIndexPath& path : indexPaths) {
    if (reloadAt(path) && selectedRow_ == path.row()) selectedRow_.reset();
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
  moved_ = true;
  placeFooter();
  setNeedsLayout();
}

std::shared_ptr<UITableViewCell> UITableView::dequeueReusableCellWithIdentifier_forIndexPath(
    const std::string& identifier, const NSIndexPath&) {
  return dequeue(identifier, {contentWidth(), rowHeight_});
}

bool UITableView::tappedAt(const NSIndexPath& indexPath) {
  const auto delegate = canBeTappedAt(indexPath) ? delegate_.lock() : nullptr;
  if (!delegate) return false;
  selectedRow_ = indexPath.row();
  changed(UIViewChange::Items);
  delegate->tableView_didSelectRowAtIndexPath(*this, indexPath);
  return true;
}

double UITableView::contentWidth() const {
  return std::max(0.0, frame().size.width - contentInset().left - contentInset().right);
}

CGRect UITableView::frameForRow(std::int64_t row) const {
  return CGRectMake(0, static_cast<double>(row) * rowHeight_, contentWidth(), rowHeight_);
}

void UITableView::placeFooter() {
  const double bottom = static_cast<double>(count_) * rowHeight_;
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
  const auto rows = static_cast<double>(count_);
  const double first = std::clamp(std::floor(CGRectGetMinY(visible) / rowHeight_), 0.0, rows);
  const double last = std::clamp(std::ceil(CGRectGetMaxY(visible) / rowHeight_), first, rows);
  return {static_cast<std::int64_t>(first), static_cast<std::int64_t>(last)};
}

void UITableView::layOut() {
  const auto dataSource = dataSource_.lock();
  const bool reload = reloads([&] { return dataSource ? dataSource->tableView_numberOfRowsInSection(*this, 0) : 0; });
  if (mustReload()) return;
  if (reload) selectedRow_.reset();
  if (const CGSize size{contentWidth(), frame().size.height}; reload || laidOutSize_ != size) {
    laidOutSize_ = size;
    const auto delegate = delegate_.lock();
    if (delegate && count_ > 0) {
      const double height = delegate->tableView_heightForRowAtIndexPath(*this, {0, 0});
      rowHeight_ = std::isfinite(height) && height > 0 ? height : 0;
    }
    for (const auto& [row, cell] : visibleCells()) stand(cell, frameForRow(row));
    moved_ = true;
    placeFooter();
  }
  if (mustReload()) return;
  const auto [first, last] = rowsInBounds();
  showCells(
      first, last,
      [&](std::int64_t row) {
        return dataSource ? dataSource->tableView_cellForRowAtIndexPath(*this, {0, row}) : nullptr;
      },
      [this](std::int64_t row) { return frameForRow(row); });
}

}  // namespace tlx
