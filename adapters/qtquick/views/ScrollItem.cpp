#include "adapters/qtquick/views/ScrollItem.h"

#include <QQmlEngine>
#include <algorithm>
#include <cmath>
#include <utility>

#include "adapters/qtquick/scenes/QtScenes.h"
#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UITableView.h"

namespace tlx::qtquick {
namespace {

/// The canvas's origin follows the offset in steps of this many points, far below where single precision would show.
constexpr double kOriginStep = 8192;

}  // namespace

ScrollItem::ScrollItem(QQuickItem* parent) : ViewItem(parent), canvas_(new QQuickItem(this)) {
  setClip(true);
  // Above the scroller: a button in a cell is pressed before the scroller sees the finger, a cell lets it through.
  canvas_->setZ(1);
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
  placeCells();
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
    case UIViewChange::Subviews:
    case UIViewChange::Items:
      placeCells();
      break;
    case UIViewChange::ContentOffset:
      placeCells();
      Q_EMIT offsetChanged();
      break;
    default:
      ViewItem::apply(view, change);
  }
}

void ScrollItem::updatePolish() {
  ViewItem::updatePolish();
  auto scrolled = viewAs<UIScrollView>();
  if (!scrolled) return;
  if (std::exchange(shownExtent_, scrolled->contentSize().height) != scrolled->contentSize().height) {
    Q_EMIT extentChanged();
  }
  placeCells();
}

void ScrollItem::geometryChange(const QRectF& now, const QRectF& before) {
  ViewItem::geometryChange(now, before);
  if (now.size() != before.size()) polish();
}

void ScrollItem::placeCells() {
  auto scrolled = viewAs<UIScrollView>();
  if (!scrolled || std::exchange(placing_, true)) return;
  const double offset = scrolled->contentOffset().y;
  if (std::abs(offset - origin_) > kOriginStep) origin_ = std::floor(offset / kOriginStep) * kOriginStep;
  canvas_->setPosition({0, origin_ - offset});
  canvas_->setSize(size());
  std::map<UIView*, QPointer<ViewItem>> now;
  for (const auto& subview : scrolled->subviews()) {
    ViewItem* item = itemForView(subview, qmlEngine(this));
    if (!item) continue;
    if (item->parentItem() != canvas_) item->setParentItem(canvas_);
    const CGRect& frame = subview->frame();
    item->setPosition({frame.origin.x, frame.origin.y - origin_});
    item->setSize({frame.size.width, frame.size.height});
    item->setVisible(!subview->isHidden());
    now[subview.get()] = item;
    cellItems_.erase(subview.get());
  }
  // Cells that wait to be used again stay where they are, unseen: parting and joining items costs more than hiding them.
  for (const auto& [view, item] : cellItems_) {
    if (item && item->parentItem() == canvas_) item->setVisible(false);
  }
  cellItems_ = std::move(now);
  placing_ = false;
}

std::shared_ptr<UIView> CollectionViewItem::makeView() { return std::make_shared<UICollectionView>(); }

void CollectionViewItem::seed(UIView& view) {
  auto* grid = dynamic_cast<UICollectionView*>(&view);
  QtScenes* scenes = QtScenes::of(qmlEngine(this));
  if (!grid || !scenes) return;
  if (!grid->collectionViewLayout()) grid->setCollectionViewLayout(std::make_shared<UICollectionViewFlowLayout>());
  grid->collectionViewLayout()->setHeaderReferenceSize({width(), headerHeight_});
  grid->collectionViewLayout()->setFooterReferenceSize({width(), footerHeight_});
  for (const QString& name : prototypes_) {
    const std::string file = name.toStdString();
    grid->registerPrototype(file, [scenes, file](const CGRect& frame) {
      return std::dynamic_pointer_cast<UICollectionReusableView>(scenes->makeCell(file, frame));
    });
  }
}

void CollectionViewItem::addOutlets(UIView& view, Built& built) {
  auto* grid = dynamic_cast<UICollectionView*>(&view);
  if (grid && !layoutOutlet_.isEmpty()) {
    built.outlets.emplace_back(layoutOutlet_.toStdString(), grid->collectionViewLayout());
  }
}

bool CollectionViewItem::tapAt(qreal x, qreal y) {
  auto grid = viewAs<UICollectionView>();
  if (!grid) return false;
  const CGPoint offset = grid->contentOffset();
  return grid->tappedAt({0, grid->collectionViewLayout()->indexOfItemAtPoint({x + offset.x, y + offset.y})});
}

std::shared_ptr<UIView> TableViewItem::makeView() { return std::make_shared<UITableView>(); }

void TableViewItem::seed(UIView& view) {
  auto* table = dynamic_cast<UITableView*>(&view);
  QtScenes* scenes = QtScenes::of(qmlEngine(this));
  if (!table || !scenes) return;
  for (const QString& name : prototypes_) {
    const std::string file = name.toStdString();
    table->registerPrototype(file, [scenes, file](const CGRect& frame) {
      return std::dynamic_pointer_cast<UITableViewCell>(scenes->makeCell(file, frame));
    });
  }
}

bool TableViewItem::tapAt(qreal, qreal y) {
  auto table = viewAs<UITableView>();
  if (!table || table->rowHeight() <= 0) return false;
  return table->tappedAt({0, static_cast<std::int64_t>(std::floor((y + table->contentOffset().y) / table->rowHeight()))});
}

}  // namespace tlx::qtquick
