#include "tlx/platform/uikit/UICollectionViewFlowLayout.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tlx {
namespace {

double length(double value) {
  return std::isfinite(value) && value > 0 ? value : 0;
}
CGSize lengths(const CGSize& size) {
  return {length(size.width), length(size.height)};
}

/// `value` rounded down to a whole number between 0 and `limit`, whatever it is.
std::int64_t wholeWithin(double value, std::int64_t limit) {
  if (!(value > 0)) return 0;
  return value >= static_cast<double>(limit) ? limit : static_cast<std::int64_t>(value);
}

/// Above any number of items that fit a screen, below where arithmetic would suffer.
constexpr std::int64_t kMostItemsPerRow = 1'000'000;
/// What rounding may take from a row that fits exactly.
constexpr double kFit = 1e-9;

bool meets(const CGRect& frame, const CGRect& rect) {
  return frame.size.width > 0 && frame.size.height > 0 && CGRectIntersectsRect(frame, rect);
}

}  // namespace

const Class& UICollectionViewFlowLayout::classObject() {
  static const Class object{
      "UICollectionViewFlowLayout", "", "", [] { return std::make_shared<UICollectionViewFlowLayout>(); }, {}, {}};
  return object;
}

void UICollectionViewFlowLayout::setItemSize(const CGSize& size) {
  itemSize_ = lengths(size);
  invalidate();
}

void UICollectionViewFlowLayout::setMinimumInteritemSpacing(double spacing) {
  interitemSpacing_ = length(spacing);
  invalidate();
}

void UICollectionViewFlowLayout::setMinimumLineSpacing(double spacing) {
  lineSpacing_ = length(spacing);
  invalidate();
}

void UICollectionViewFlowLayout::setHeaderReferenceSize(const CGSize& size) {
  headerSize_ = lengths(size);
  invalidate();
}

void UICollectionViewFlowLayout::setFooterReferenceSize(const CGSize& size) {
  footerSize_ = lengths(size);
  invalidate();
}

void UICollectionViewFlowLayout::setSectionInset(const UIEdgeInsets& inset) {
  inset_ = {length(inset.top), length(inset.left), length(inset.bottom), length(inset.right)};
  invalidate();
}

void UICollectionViewFlowLayout::invalidate() {
  if (invalidated_) invalidated_();
}

void UICollectionViewFlowLayout::prepareLayout(std::int64_t itemCount, double width) {
  itemCount_ = std::max<std::int64_t>(itemCount, 0);
  width_ = length(width);
}

std::int64_t UICollectionViewFlowLayout::itemsPerRow() const {
  const double fitting = (rowWidth() + interitemSpacing_) / (itemSize_.width + interitemSpacing_);
  return std::max<std::int64_t>(1, wholeWithin(fitting + kFit, kMostItemsPerRow));
}

std::int64_t UICollectionViewFlowLayout::rowCount() const {
  const std::int64_t perRow = itemsPerRow();
  return itemCount_ / perRow + (itemCount_ % perRow != 0);
}

double UICollectionViewFlowLayout::rowWidth() const {
  return std::max(0.0, width_ - inset_.left - inset_.right);
}

double UICollectionViewFlowLayout::rowTop(std::int64_t row) const {
  return headerSize_.height + inset_.top + static_cast<double>(row) * (itemSize_.height + lineSpacing_);
}

double UICollectionViewFlowLayout::itemsBottom() const {
  const std::int64_t rows = rowCount();
  return (rows == 0 ? headerSize_.height + inset_.top : rowTop(rows - 1) + itemSize_.height) + inset_.bottom;
}

CGRect UICollectionViewFlowLayout::frameForItemAtIndex(std::int64_t index) const {
  const std::int64_t perRow = itemsPerRow();
  const double left = rowWidth() - static_cast<double>(perRow) * itemSize_.width;
  const auto column = static_cast<double>(index % perRow);
  const double x =
      perRow == 1 ? std::max(0.0, left / 2.0) : column * (itemSize_.width + left / static_cast<double>(perRow - 1));
  return {{inset_.left + x, rowTop(index / perRow)}, itemSize_};
}

CGRect UICollectionViewFlowLayout::headerFrame() const {
  return CGRectMake(0, 0, width_, headerSize_.height);
}

CGRect UICollectionViewFlowLayout::footerFrame() const {
  return CGRectMake(0, itemsBottom(), width_, footerSize_.height);
}

CGSize UICollectionViewFlowLayout::collectionViewContentSize() const {
  return {width_, itemsBottom() + footerSize_.height};
}

std::pair<std::int64_t, std::int64_t> UICollectionViewFlowLayout::itemsOfRowsInRect(const CGRect& rect) const {
  const double top = CGRectGetMinY(rect), bottom = CGRectGetMaxY(rect);
  const double height = itemSize_.height, step = height + lineSpacing_;
  if (!(height > 0) || !(itemSize_.width > 0) || !(top < bottom)) return {0, 0};
  const std::int64_t rows = rowCount();
  // The division may be a row off where an edge lies on the rectangle's; the frames themselves decide.
  std::int64_t first = wholeWithin((top - rowTop(0)) / step, rows);
  while (first > 0 && rowTop(first - 1) + height > top) --first;
  while (first < rows && rowTop(first) + height <= top) ++first;
  std::int64_t last = std::max(first, wholeWithin((bottom - rowTop(0)) / step, rows));
  while (last > first && rowTop(last - 1) >= bottom) --last;
  while (last < rows && rowTop(last) < bottom) ++last;
  const std::int64_t perRow = itemsPerRow();
  return {std::min(first * perRow, itemCount_), std::min(last * perRow, itemCount_)};
}

std::vector<UICollectionViewLayoutAttributes> UICollectionViewFlowLayout::layoutAttributesForElementsInRect(
    const CGRect& rect) const {
  std::vector<UICollectionViewLayoutAttributes> found;
  const auto [first, last] = itemsOfRowsInRect(rect);
  found.reserve(static_cast<std::size_t>(last - first) + 2);
  const auto add = [&](std::int64_t item, const CGRect& frame, const char* kind) {
    if (meets(frame, rect)) found.push_back({{0, item}, frame, kind});
  };
  add(0, headerFrame(), UICollectionElementKindSectionHeader);
  for (std::int64_t item = first; item < last; ++item) add(item, frameForItemAtIndex(item), "");
  add(0, footerFrame(), UICollectionElementKindSectionFooter);
  return found;
}

std::int64_t UICollectionViewFlowLayout::indexOfItemAtPoint(const CGPoint& point) const {
  const double justBelow = std::nextafter(point.y, std::numeric_limits<double>::infinity());
  const auto [first, last] = itemsOfRowsInRect(CGRectMake(point.x, point.y, 0, justBelow - point.y));
  for (std::int64_t item = first; item < last; ++item) {
    if (CGRectContainsPoint(frameForItemAtIndex(item), point)) return item;
  }
  return -1;
}

}  // namespace tlx
