#pragma once

#include <QAccessible>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/uikit/UIScrollView.h"

#include "adapters/qtquick/views/ViewItem.h"

namespace tlx::qtquick {

class GapsItem;

/// What grids and lists share: a scroller that the file provides (a Flickable named by `scroller`), and beside it, not
/// in it, a canvas on which the cells stand. The canvas's origin moves with the offset, so that the numbers that the
/// scene graph sees stay small among a million rows, where single precision would put cells off by pixels.
///
/// The keyboard moves over the cells, also over those that are not visible: one is the current one, and stays it when
/// what is shown changes around it, as far as the data source can tell. `focusFrame` is where its cell is on the
/// canvas, empty while there is nothing to be marked.
class ScrollItem : public ViewItem, private QAccessible::ActivationObserver {
  Q_OBJECT
  Q_PROPERTY(QQuickItem* scroller READ scroller WRITE setScroller NOTIFY scrollerChanged)
  Q_PROPERTY(QQuickItem* canvas READ canvas CONSTANT)
  Q_PROPERTY(qreal offset READ offset WRITE setOffset NOTIFY offsetChanged)
  Q_PROPERTY(qreal extent READ extent NOTIFY extentChanged)
  Q_PROPERTY(qreal topInset READ topInset NOTIFY extentChanged)
  Q_PROPERTY(qreal bottomInset READ bottomInset NOTIFY extentChanged)
  Q_PROPERTY(QRectF focusFrame READ focusFrame NOTIFY focusFrameChanged)
  Q_PROPERTY(QColor ground MEMBER ground_ NOTIFY groundChanged)
  QML_NAMED_ELEMENT(ScrollViewBase)
  QML_UNCREATABLE("Base of the grid and the list")

 public:
  explicit ScrollItem(QQuickItem* parent = nullptr);
  ~ScrollItem() override;
  QQuickItem* scroller() const { return scroller_; }
  void setScroller(QQuickItem* scroller);
  QQuickItem* canvas() const { return canvas_; }
  /// The scroller's: 0 at rest at the start.
  qreal offset() const;
  void setOffset(qreal offset);
  qreal extent() const;
  qreal topInset() const;
  qreal bottomInset() const;
  QRectF focusFrame() const { return focusFrame_; }
  /// A finger's tap, in this item's coordinates. Answers whether there was anything to tap.
  Q_INVOKABLE bool tapAt(qreal x, qreal y);
  /// Arrows, Page Up and Down, Home and End move over the cells; Space and Enter tap the current one. Answers whether
  /// the key was one of these.
  bool pressKey(const QKeyEvent& event);

 Q_SIGNALS:
  void scrollerChanged();
  void offsetChanged();
  void extentChanged();
  void focusFrameChanged();
  void groundChanged();

 protected:
  using Cells = std::vector<std::pair<std::int64_t, UIView*>>;

  virtual std::int64_t itemCount() const = 0;
  virtual std::int64_t itemsPerRow() const { return 1; }
  /// In the content's coordinates.
  virtual CGRect frameOfItem(std::int64_t index) const = 0;
  /// −1 where there is none.
  virtual std::int64_t itemAt(const CGPoint& point) const = 0;
  /// Ascending.
  virtual Cells shownCells() const = 0;
  virtual bool tapItem(std::int64_t index) = 0;
  /// What an item shows, wherever it goes; absent when nobody tells.
  virtual Identifier identifierOf(std::int64_t index) const { return {}; }
  /// −1 when it is nowhere.
  virtual std::int64_t indexOf(const Identifier& identifier) const { return -1; }
  /// Between the cells that are shown; on the canvas.
  virtual std::vector<QRectF> gaps() const { return {}; }
  /// The nearest place at which a pixel of the screen begins.
  double onPixel(double place) const;
  double placeFromLeft(const CGRect& frame) const;
  /// Where something of the content's stands on the canvas.
  QRectF onCanvas(const CGRect& frame) const;

  void attached() override;
  void apply(UIView& view, UIViewChange change) override;
  bool placesSubviews() const override { return true; }
  bool activateSubview(UIView& subview) override;
  QQuickItem* subviewParent() override { return canvas_; }
  void updatePolish() override;
  void geometryChange(const QRectF& now, const QRectF& before) override;
  void itemChange(ItemChange change, const ItemChangeData& data) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void accessibilityActiveChanged(bool active) override;
  void moveCells();
  void placeCanvas();
  void placeCells();
  void sortForReading(const std::vector<ViewItem*>& items);
  std::int64_t firstVisibleItem() const;
  std::int64_t rowsToAPage() const;
  void moveTo(std::int64_t index);
  void setCurrent(std::int64_t index);
  void followCurrent();
  void reveal(std::int64_t index);
  void updateFocusFrame();

  QPointer<QQuickItem> scroller_;
  QQuickItem* canvas_;  // unretained: a child of this item
  GapsItem* gapsItem_;  // unretained: a child of the canvas
  QColor ground_;
  double origin_ = 0, shownExtent_ = -1;
  bool cellsMoved_ = true, polishing_ = false, placing_ = false, focusShown_ = false;
  bool readAloud_ = QAccessible::isActive();
  std::int64_t current_ = -1;
  Identifier currentIdentifier_;
  QRectF focusFrame_;
  std::map<UIView*, QPointer<ViewItem>> cellItems_;
};

/// A grid. Its cells', header's and footer's files are named by `prototypes`.
class CollectionViewItem : public ScrollItem {
  Q_OBJECT
  Q_PROPERTY(QStringList prototypes MEMBER prototypes_)
  Q_PROPERTY(QString layoutOutlet MEMBER layoutOutlet_)
  Q_PROPERTY(qreal headerHeight MEMBER headerHeight_)
  Q_PROPERTY(qreal footerHeight MEMBER footerHeight_)
  Q_PROPERTY(qreal margin MEMBER margin_)
  QML_NAMED_ELEMENT(CollectionViewBase)

 public:
  using ScrollItem::ScrollItem;

 protected:
  std::int64_t itemCount() const override;
  std::int64_t itemsPerRow() const override;
  CGRect frameOfItem(std::int64_t index) const override;
  std::int64_t itemAt(const CGPoint& point) const override;
  Cells shownCells() const override;
  bool tapItem(std::int64_t index) override;
  Identifier identifierOf(std::int64_t index) const override;
  std::int64_t indexOf(const Identifier& identifier) const override;
  std::vector<QRectF> gaps() const override;
  std::shared_ptr<UIView> makeView() override;
  void seed(UIView& view) override;
  void addOutlets(UIView& view, SceneParts& parts) override;
  void updatePolish() override;

 private:
  QStringList prototypes_;  ///< the cell's first
  QString layoutOutlet_;
  bool madeReady_ = false;
  qreal headerHeight_ = 0, footerHeight_ = 0, margin_ = 0;
};

/// A list.
class TableViewItem : public ScrollItem {
  Q_OBJECT
  Q_PROPERTY(QStringList prototypes MEMBER prototypes_)
  QML_NAMED_ELEMENT(TableViewBase)

 public:
  using ScrollItem::ScrollItem;

 protected:
  std::int64_t itemCount() const override;
  CGRect frameOfItem(std::int64_t index) const override;
  std::int64_t itemAt(const CGPoint& point) const override;
  Cells shownCells() const override;
  bool tapItem(std::int64_t index) override;
  std::shared_ptr<UIView> makeView() override;
  void seed(UIView& view) override;

 private:
  QStringList prototypes_;
};

}  // namespace tlx::qtquick
