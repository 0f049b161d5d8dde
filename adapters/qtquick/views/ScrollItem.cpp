#include "adapters/qtquick/views/ScrollItem.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>
#include <algorithm>
#include <cmath>
#include <utility>

#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UIDataSourceModelAssociation.h"
#include "tlx/platform/uikit/UITableView.h"

#include "adapters/qtquick/views/CellSource.h"
#include "adapters/qtquick/views/GapsItem.h"

namespace tlx::qtquick {
namespace {

/// The canvas's origin follows the offset in steps of this many points, far below where single precision would show.
constexpr double kOriginStep = 8192;

/// Nothing for an engine whose files use no scenes.
CellSource* cellSource(QQmlEngine* engine) {
  if (!engine) return nullptr;
  return dynamic_cast<CellSource*>(engine->rootContext()->contextProperty(QStringLiteral("scenes")).value<QObject*>());
}

}  // namespace

ScrollItem::ScrollItem(QQuickItem* parent)
    : ViewItem(parent), canvas_(new QQuickItem(this)), gapsItem_(new GapsItem(canvas_)) {
  setClip(true);
  setActiveFocusOnTab(true);
  // Above the scroller: a button in a cell is pressed before the scroller sees the finger, a cell lets it through.
  canvas_->setZ(1);
  connect(qGuiApp, &QGuiApplication::layoutDirectionChanged, this, &ScrollItem::moveCells);
  connect(this, &ScrollItem::groundChanged, this, &ScrollItem::moveCells);
  QAccessible::installActivationObserver(this);
}

ScrollItem::~ScrollItem() {
  QAccessible::removeActivationObserver(this);
}

void ScrollItem::accessibilityActiveChanged(bool active) {
  readAloud_ = active;
  if (active) moveCells();
}

void ScrollItem::setScroller(QQuickItem* scroller) {
  scroller_ = scroller;
  Q_EMIT scrollerChanged();
}

void ScrollItem::attached() {
  Q_EMIT extentChanged();
  Q_EMIT offsetChanged();
}

qreal ScrollItem::offset() const {
  auto scrolled = viewAs<UIScrollView>();
  return scrolled ? scrolled->contentOffset().y + scrolled->contentInset().top : 0;
}

void ScrollItem::setOffset(qreal offset) {
  auto scrolled = viewAs<UIScrollView>();
  if (!scrolled) return;
  scrolled->scrolledTo({0, offset - scrolled->contentInset().top});
  placeCanvas();
}

qreal ScrollItem::extent() const {
  auto scrolled = viewAs<UIScrollView>();
  return scrolled ? scrolled->contentSize().height : 0;
}

qreal ScrollItem::topInset() const {
  auto scrolled = viewAs<UIScrollView>();
  return scrolled ? scrolled->contentInset().top : 0;
}

qreal ScrollItem::bottomInset() const {
  auto scrolled = viewAs<UIScrollView>();
  return scrolled ? scrolled->contentInset().bottom : 0;
}

void ScrollItem::apply(UIView& view, UIViewChange change) {
  switch (change) {
    case UIViewChange::Subviews:  // a pass adds and removes one by one, so all are placed when it has ended
    case UIViewChange::Items:
      moveCells();
      break;
    case UIViewChange::ContentOffset:
      placeCanvas();
      Q_EMIT offsetChanged();
      break;
    default:
      ViewItem::apply(view, change);
  }
}

void ScrollItem::moveCells() {
  cellsMoved_ = true;
  if (!polishing_) polish();
}

void ScrollItem::updatePolish() {
  polishing_ = true;
  ViewItem::updatePolish();
  polishing_ = false;
  auto scrolled = viewAs<UIScrollView>();
  if (!scrolled) return;
  if (std::exchange(shownExtent_, scrolled->contentSize().height) != scrolled->contentSize().height) {
    Q_EMIT extentChanged();
  }
  if (!cellsMoved_) return;
  followCurrent();
  placeCells();
}

void ScrollItem::geometryChange(const QRectF& now, const QRectF& before) {
  ViewItem::geometryChange(now, before);
  canvas_->setSize(now.size());
  if (now.size() != before.size()) moveCells();
}

void ScrollItem::itemChange(ItemChange change, const ItemChangeData& data) {
  ViewItem::itemChange(change, data);
  if (change != ItemDevicePixelRatioHasChanged && !(change == ItemSceneChange && data.window)) return;
  placeCanvas();
  moveCells();
}

void ScrollItem::placeCanvas() {
  auto scrolled = viewAs<UIScrollView>();
  if (!scrolled) return;
  const double offset = scrolled->contentOffset().y;
  const bool far = std::abs(offset - origin_) > kOriginStep;
  if (far) origin_ = std::floor(offset / kOriginStep) * kOriginStep;
  canvas_->setPosition({0, onPixel(origin_ - offset)});
  if (far) placeCells();
}

double ScrollItem::onPixel(double place) const {
  const double pixelsPerPoint = window() ? window()->effectiveDevicePixelRatio() : 1;
  return std::round(place * pixelsPerPoint) / pixelsPerPoint;
}

double ScrollItem::placeFromLeft(const CGRect& frame) const {
  return QGuiApplication::isRightToLeft() ? width() - frame.origin.x - frame.size.width : frame.origin.x;
}

QRectF ScrollItem::onCanvas(const CGRect& frame) const {
  return {onPixel(placeFromLeft(frame)), onPixel(frame.origin.y - origin_), frame.size.width, frame.size.height};
}

void ScrollItem::placeCells() {
  auto scrolled = viewAs<UIScrollView>();
  if (!scrolled || std::exchange(placing_, true)) return;
  cellsMoved_ = false;
  std::map<UIView*, QPointer<ViewItem>> now;
  std::vector<ViewItem*> items;
  for (const auto& subview : scrolled->subviews()) {
    ViewItem* item = itemForView(subview, qmlEngine(this));
    if (!item) continue;
    if (item->parentItem() != canvas_) item->setParentItem(canvas_);
    const QRectF place = onCanvas(subview->frame());
    item->setPosition(place.topLeft());
    item->setSize(place.size());
    item->setVisible(!subview->isHidden());
    now[subview.get()] = item;
    items.push_back(item);
    cellItems_.erase(subview.get());
  }
  // Cells that wait to be used again stay where they are, unseen: parting and joining items costs more than hiding
  // them.
  for (const auto& [view, item] : cellItems_) {
    if (item && item->parentItem() == canvas_) item->setVisible(false);
  }
  cellItems_ = std::move(now);
  gapsItem_->show(gaps(), ground_);
  if (readAloud_) sortForReading(items);
  placing_ = false;
  updateFocusFrame();
}

// Assistive technology reads children in their order, which is that of their making: cells are used again elsewhere.
void ScrollItem::sortForReading(const std::vector<ViewItem*>& items) {
  std::vector<std::pair<CGPoint, ViewItem*>> order;
  for (ViewItem* item : items) {
    if (auto shown = item->view()) order.emplace_back(shown->frame().origin, item);
  }
  std::stable_sort(order.begin(), order.end(), [](const auto& one, const auto& other) {
    return std::pair(one.first.y, one.first.x) < std::pair(other.first.y, other.first.x);
  });
  for (std::size_t place = 1; place < order.size(); ++place) order[place].second->stackAfter(order[place - 1].second);
}

bool ScrollItem::tapAt(qreal x, qreal y) {
  auto scrolled = viewAs<UIScrollView>();
  if (!scrolled) return false;
  scrolled->layoutIfNeeded();
  const double left = QGuiApplication::isRightToLeft() ? width() - x : x;
  const std::int64_t index = itemAt({left + scrolled->contentOffset().x, y + scrolled->contentOffset().y});
  if (index < 0) return false;
  focusShown_ = false;
  setCurrent(index);
  forceActiveFocus(Qt::MouseFocusReason);
  updateFocusFrame();
  return tapItem(index);
}

bool ScrollItem::activateSubview(UIView& subview) {
  for (const auto& [index, cell] : shownCells()) {
    if (cell == &subview) return tapItem(index);
  }
  return false;
}

bool ScrollItem::pressKey(const QKeyEvent& event) {
  auto scrolled = viewAs<UIScrollView>();
  if (!scrolled || (event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) return false;
  scrolled->layoutIfNeeded();
  followCurrent();
  const std::int64_t count = itemCount(), row = itemsPerRow();
  if (count == 0) return false;
  const bool begins = current_ < 0;
  const std::int64_t from = begins ? firstVisibleItem() : std::min(current_, count - 1);
  const std::int64_t onward = QGuiApplication::isRightToLeft() ? -1 : 1;
  std::int64_t to = from;
  switch (event.key()) {
    case Qt::Key_Left:
      to -= onward;
      break;
    case Qt::Key_Right:
      to += onward;
      break;
    case Qt::Key_Up:
      to -= row;
      break;
    case Qt::Key_Down:
      to += row;
      break;
    case Qt::Key_PageUp:
      to = std::max(from % row, from - row * rowsToAPage());
      break;
    case Qt::Key_PageDown:
      to = std::min(count - 1, from + row * rowsToAPage());
      break;
    case Qt::Key_Home:
      to = 0;
      break;
    case Qt::Key_End:
      to = count - 1;
      break;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (!begins && !event.isAutoRepeat()) tapItem(from);
      return true;
    default:
      return false;
  }
  const bool sideways = event.key() == Qt::Key_Left || event.key() == Qt::Key_Right;
  if (sideways && row == 1) return false;
  // The column may be missing in a short last row, which is reached all the same.
  if (event.key() == Qt::Key_Down && to >= count && (count - 1) / row > from / row) to = count - 1;
  const bool jumps = event.key() == Qt::Key_Home || event.key() == Qt::Key_End;
  if (begins && !jumps) to = from;
  moveTo(to < 0 || to >= count ? from : to);
  return true;
}

void ScrollItem::moveTo(std::int64_t index) {
  setCurrent(index);
  focusShown_ = true;
  reveal(index);
  updateFocusFrame();
  if (!readAloud_) return;
  if (auto scrolled = viewAs<UIScrollView>()) scrolled->layoutIfNeeded();
  placeCells();
  for (const auto& [shown, cell] : shownCells()) {
    if (shown != index || !cellItems_[cell]) continue;
    QAccessibleEvent focused(cellItems_[cell], QAccessible::Focus);
    QAccessible::updateAccessibility(&focused);
  }
}

void ScrollItem::reveal(std::int64_t index) {
  auto scrolled = viewAs<UIScrollView>();
  if (!scrolled) return;
  const CGRect frame = frameOfItem(index);
  const std::int64_t row = itemsPerRow();
  CGPoint offset = scrolled->contentOffset();
  offset.y = std::max(offset.y, CGRectGetMaxY(frame) + scrolled->contentInset().bottom - height());
  offset.y = std::min(offset.y, CGRectGetMinY(frame) - scrolled->contentInset().top);
  // The first and the last row come with what stands above and below them.
  if (index < row) offset.y = scrolled->minimumOffsetY();
  if (index / row == (itemCount() - 1) / row) offset.y = scrolled->maximumOffsetY();
  scrolled->setContentOffset(offset);
}

std::int64_t ScrollItem::firstVisibleItem() const {
  auto scrolled = viewAs<UIScrollView>();
  const Cells cells = shownCells();
  const double top = scrolled ? scrolled->contentOffset().y + scrolled->contentInset().top : 0;
  for (const auto& [index, cell] : cells) {
    if (CGRectGetMinY(frameOfItem(index)) >= top) return index;
  }
  return cells.empty() ? 0 : cells.front().first;
}

std::int64_t ScrollItem::rowsToAPage() const {
  const std::int64_t row = itemsPerRow();
  if (itemCount() <= row) return 1;
  const double pitch = CGRectGetMinY(frameOfItem(row)) - CGRectGetMinY(frameOfItem(0));
  const double room = height() - topInset() - bottomInset();
  return pitch > 0 ? std::max<std::int64_t>(1, static_cast<std::int64_t>(room / pitch)) : 1;
}

void ScrollItem::setCurrent(std::int64_t index) {
  current_ = index;
  currentIdentifier_ = identifierOf(index);
}

// What is gone leaves its place to what has moved up to there.
void ScrollItem::followCurrent() {
  if (current_ < 0) return;
  if (current_ < itemCount() && identifierOf(current_) == currentIdentifier_) return;
  const std::int64_t moved = currentIdentifier_.empty() ? -1 : indexOf(currentIdentifier_);
  setCurrent(moved >= 0 ? moved : std::min(current_, itemCount() - 1));
}

void ScrollItem::updateFocusFrame() {
  QRectF frame;
  if (focusShown_ && hasActiveFocus() && current_ >= 0) {
    frame = onCanvas(frameOfItem(current_));
  }
  if (std::exchange(focusFrame_, frame) != frame) Q_EMIT focusFrameChanged();
}

void ScrollItem::keyPressEvent(QKeyEvent* event) {
  if (!pressKey(*event)) ViewItem::keyPressEvent(event);
}

void ScrollItem::focusInEvent(QFocusEvent* event) {
  ViewItem::focusInEvent(event);
  if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason) {
    focusShown_ = true;
    if (current_ < 0 && itemCount() > 0) setCurrent(firstVisibleItem());
  }
  updateFocusFrame();
}

void ScrollItem::focusOutEvent(QFocusEvent* event) {
  ViewItem::focusOutEvent(event);
  updateFocusFrame();
}

std::int64_t CollectionViewItem::itemCount() const {
  auto grid = viewAs<UICollectionView>();
  return grid ? grid->numberOfItems() : 0;
}

std::int64_t CollectionViewItem::itemsPerRow() const {
  auto grid = viewAs<UICollectionView>();
  return grid ? std::max<std::int64_t>(1, grid->collectionViewLayout()->itemsPerRow()) : 1;
}

CGRect CollectionViewItem::frameOfItem(std::int64_t index) const {
  auto grid = viewAs<UICollectionView>();
  return grid ? grid->collectionViewLayout()->frameForItemAtIndex(index) : CGRect();
}

std::int64_t CollectionViewItem::itemAt(const CGPoint& point) const {
  auto grid = viewAs<UICollectionView>();
  return grid ? grid->collectionViewLayout()->indexOfItemAtPoint(point) : -1;
}

ScrollItem::Cells CollectionViewItem::shownCells() const {
  Cells cells;
  auto grid = viewAs<UICollectionView>();
  if (!grid) return cells;
  for (const auto& [index, cell] : grid->visibleCells()) cells.emplace_back(index, cell.get());
  return cells;
}

std::vector<QRectF> CollectionViewItem::gaps() const {
  std::vector<QRectF> found;
  const Cells cells = shownCells();
  if (cells.empty()) return found;
  const std::int64_t perRow = itemsPerRow();
  const std::int64_t first = cells.front().first / perRow, last = cells.back().first / perRow;
  const QRectF top = onCanvas(frameOfItem(first * perRow)), bottom = onCanvas(frameOfItem(last * perRow));
  for (std::int64_t column = 1; column < perRow; ++column) {
    QRectF one = onCanvas(frameOfItem(first * perRow + column - 1)),
           other = onCanvas(frameOfItem(first * perRow + column));
    if (one.left() > other.left()) std::swap(one, other);
    found.emplace_back(QPointF(one.right(), top.top()), QPointF(other.left(), bottom.bottom()));
  }
  for (std::int64_t row = first; row < last; ++row) {
    const double above = onCanvas(frameOfItem(row * perRow)).bottom();
    const double below = onCanvas(frameOfItem((row + 1) * perRow)).top();
    found.emplace_back(QPointF(0, above), QPointF(width(), below));
  }
  return found;
}

bool CollectionViewItem::tapItem(std::int64_t index) {
  auto grid = viewAs<UICollectionView>();
  return grid && grid->tappedAt({0, index});
}

Identifier CollectionViewItem::identifierOf(std::int64_t index) const {
  auto grid = viewAs<UICollectionView>();
  auto models = grid ? std::dynamic_pointer_cast<UIDataSourceModelAssociation>(grid->dataSource()) : nullptr;
  return models ? models->modelIdentifierForElementAtIndexPath_inView({0, index}, *grid) : Identifier();
}

std::int64_t CollectionViewItem::indexOf(const Identifier& identifier) const {
  auto grid = viewAs<UICollectionView>();
  auto models = grid ? std::dynamic_pointer_cast<UIDataSourceModelAssociation>(grid->dataSource()) : nullptr;
  const auto found = models ? models->indexPathForElementWithModelIdentifier_inView(identifier, *grid) : std::nullopt;
  return found && found->item < grid->numberOfItems() ? found->item : -1;
}

std::shared_ptr<UIView> CollectionViewItem::makeView() {
  return std::make_shared<UICollectionView>();
}

void CollectionViewItem::seed(UIView& view) {
  auto* grid = dynamic_cast<UICollectionView*>(&view);
  CellSource* scenes = cellSource(qmlEngine(this));
  if (!grid || !scenes) return;
  if (!grid->collectionViewLayout()) grid->setCollectionViewLayout(std::make_shared<UICollectionViewFlowLayout>());
  grid->collectionViewLayout()->setHeaderReferenceSize({width(), headerHeight_});
  grid->collectionViewLayout()->setFooterReferenceSize({width(), footerHeight_});
  grid->collectionViewLayout()->setSectionInset({margin_, margin_, margin_, margin_});
  for (const QString& name : prototypes_) {
    const std::string file = name.toStdString();
    grid->registerPrototype(file, [scenes, file](const CGRect& frame) {
      return std::dynamic_pointer_cast<UICollectionReusableView>(scenes->makeCell(file, frame));
    });
  }
}

void CollectionViewItem::addOutlets(UIView& view, SceneParts& parts) {
  auto* grid = dynamic_cast<UICollectionView*>(&view);
  if (grid && !layoutOutlet_.isEmpty()) {
    parts.outlets.emplace_back(layoutOutlet_.toStdString(), grid->collectionViewLayout());
  }
}

/// While a grid waits for its first items, a screenful of cells is made.
void CollectionViewItem::updatePolish() {
  ScrollItem::updatePolish();
  auto grid = viewAs<UICollectionView>();
  CellSource* scenes = cellSource(qmlEngine(this));
  if (madeReady_ || !grid || !scenes || !window() || prototypes_.isEmpty()) return;
  const auto& layout = *grid->collectionViewLayout();
  const CGSize size = layout.itemSize();
  if (!(size.width > 0) || !(size.height > 0)) return;
  madeReady_ = true;
  if (itemCount() > 0) return;
  const double rows = std::ceil(height() / (size.height + layout.minimumLineSpacing()));
  scenes->makeReady(prototypes_.front().toStdString(), size, static_cast<std::size_t>(rows) * itemsPerRow());
}

std::int64_t TableViewItem::itemCount() const {
  auto table = viewAs<UITableView>();
  return table ? table->numberOfRows() : 0;
}

CGRect TableViewItem::frameOfItem(std::int64_t index) const {
  auto table = viewAs<UITableView>();
  if (!table) return {};
  return CGRectMake(0, static_cast<double>(index) * table->rowHeight(), width(), table->rowHeight());
}

std::int64_t TableViewItem::itemAt(const CGPoint& point) const {
  auto table = viewAs<UITableView>();
  if (!table || table->rowHeight() <= 0) return -1;
  const auto row = static_cast<std::int64_t>(std::floor(point.y / table->rowHeight()));
  return row >= 0 && row < table->numberOfRows() ? row : -1;
}

ScrollItem::Cells TableViewItem::shownCells() const {
  Cells cells;
  auto table = viewAs<UITableView>();
  if (!table) return cells;
  for (const auto& [row, cell] : table->visibleCells()) cells.emplace_back(row, cell.get());
  return cells;
}

bool TableViewItem::tapItem(std::int64_t index) {
  auto table = viewAs<UITableView>();
  return table && table->tappedAt({0, index});
}

std::shared_ptr<UIView> TableViewItem::makeView() {
  return std::make_shared<UITableView>();
}

void TableViewItem::seed(UIView& view) {
  auto* table = dynamic_cast<UITableView*>(&view);
  CellSource* scenes = cellSource(qmlEngine(this));
  if (!table || !scenes) return;
  for (const QString& name : prototypes_) {
    const std::string file = name.toStdString();
    table->registerPrototype(file, [scenes, file](const CGRect& frame) {
      return std::dynamic_pointer_cast<UITableViewCell>(scenes->makeCell(file, frame));
    });
  }
}

}  // namespace tlx::qtquick
