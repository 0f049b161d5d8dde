#pragma once

#include <map>
#include <memory>

#include "adapters/qtquick/views/ViewItem.h"
#include "tlx/platform/uikit/UIScrollView.h"

class QQmlComponent;

namespace tlx::qtquick {

/// What grids and lists share: a scroller that the file provides (a Flickable named by `scroller`), and beside it, not
/// in it, a canvas on which the cells stand. The canvas's origin moves with the offset, so that the numbers that the
/// scene graph sees stay small among a million rows, where single precision would put cells off by pixels.
class ScrollItem : public ViewItem {
  Q_OBJECT
  Q_PROPERTY(QQuickItem* scroller READ scroller WRITE setScroller NOTIFY scrollerChanged)
  Q_PROPERTY(QQuickItem* canvas READ canvas CONSTANT)
  Q_PROPERTY(qreal offset READ offset WRITE setOffset NOTIFY offsetChanged)
  Q_PROPERTY(qreal extent READ extent NOTIFY extentChanged)
  Q_PROPERTY(qreal topInset READ topInset NOTIFY extentChanged)
  Q_PROPERTY(qreal bottomInset READ bottomInset NOTIFY extentChanged)
  QML_NAMED_ELEMENT(ScrollViewBase)
  QML_UNCREATABLE("Base of the grid and the list")

 public:
  explicit ScrollItem(QQuickItem* parent = nullptr);
  QQuickItem* scroller() const { return scroller_; }
  void setScroller(QQuickItem* scroller);
  QQuickItem* canvas() const { return canvas_; }
  /// The scroller's: 0 at rest at the start.
  qreal offset() const;
  void setOffset(qreal offset);
  qreal extent() const;
  qreal topInset() const;
  qreal bottomInset() const;

 Q_SIGNALS:
  void scrollerChanged();
  void offsetChanged();
  void extentChanged();

 protected:
  void attached() override;
  void apply(UIView& view, UIViewChange change) override;
  bool placesSubviews() const override { return true; }
  QQuickItem* subviewParent() override { return canvas_; }
  void updatePolish() override;
  void geometryChange(const QRectF& now, const QRectF& before) override;

 private:
  void placeCells();

  QPointer<QQuickItem> scroller_;
  QQuickItem* canvas_;  // unretained: a child of this item
  double origin_ = 0, shownExtent_ = -1;
  bool placing_ = false;
  std::map<UIView*, QPointer<ViewItem>> cellItems_;
};

/// A grid. Its cells', header's and footer's files are named by `prototypes`.
class CollectionViewItem : public ScrollItem {
  Q_OBJECT
  Q_PROPERTY(QStringList prototypes MEMBER prototypes_)
  Q_PROPERTY(QString layoutOutlet MEMBER layoutOutlet_)
  Q_PROPERTY(qreal headerHeight MEMBER headerHeight_)
  Q_PROPERTY(qreal footerHeight MEMBER footerHeight_)
  QML_NAMED_ELEMENT(CollectionViewBase)

 public:
  using ScrollItem::ScrollItem;
  Q_INVOKABLE bool tapAt(qreal x, qreal y);

 protected:
  std::shared_ptr<UIView> makeView() override;
  void seed(UIView& view) override;
  void addOutlets(UIView& view, Built& built) override;

 private:
  QStringList prototypes_;
  QString layoutOutlet_;
  qreal headerHeight_ = 0, footerHeight_ = 0;
};

/// A list.
class TableViewItem : public ScrollItem {
  Q_OBJECT
  Q_PROPERTY(QStringList prototypes MEMBER prototypes_)
  QML_NAMED_ELEMENT(TableViewBase)

 public:
  using ScrollItem::ScrollItem;
  Q_INVOKABLE bool tapAt(qreal x, qreal y);

 protected:
  std::shared_ptr<UIView> makeView() override;
  void seed(UIView& view) override;

 private:
  QStringList prototypes_;
};

}  // namespace tlx::qtquick
