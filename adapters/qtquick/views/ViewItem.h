#pragma once

#include <QColor>
#include <QPointer>
#include <QQuickItem>
#include <QVariantAnimation>
#include <map>
#include <memory>
#include <vector>

#include "tlx/platform/uikit/SceneParts.h"
#include "tlx/platform/uikit/UIView.h"

namespace tlx::qtquick {

class LayerItem;

/// Draws one view and brings the person's hands back to it. In a scene it is an element with the view's starting
/// values; once built it shows what its view holds and keeps no copy.
class ViewItem : public QQuickItem, public ViewRendererPort {
  Q_OBJECT
  Q_PROPERTY(QString outlet MEMBER outlet_)
  Q_PROPERTY(QString customClass MEMBER customClass_)
  Q_PROPERTY(QString action MEMBER action_)
  Q_PROPERTY(int tag READ tag WRITE setTag NOTIFY modelChanged)
  Q_PROPERTY(bool startsHidden READ startsHidden WRITE setStartsHidden)
  Q_PROPERTY(qreal startsAlpha MEMBER startsAlpha_)
  Q_PROPERTY(QColor background READ background NOTIFY modelChanged)
  Q_PROPERTY(qreal cornerRadius READ cornerRadius NOTIFY modelChanged)
  Q_PROPERTY(bool interactive READ isInteractive NOTIFY modelChanged)
  Q_PROPERTY(bool mirrorsSubviews READ mirrorsSubviews WRITE setMirrorsSubviews NOTIFY mirrorsSubviewsChanged)
  Q_PROPERTY(QString spokenLabel READ spokenLabel NOTIFY accessibilityChanged)
  Q_PROPERTY(bool selected READ isSelected NOTIFY accessibilityChanged)
  QML_NAMED_ELEMENT(View)

 public:
  explicit ViewItem(QQuickItem* parent = nullptr);
  ~ViewItem() override;

  /// What a scene's tree of items says, as views.
  struct Built {
    std::shared_ptr<UIView> view;
    SceneParts parts;
  };
  /// Makes the views of this item and of the items below it. The views own one another; the items follow them.
  void build(Built& built);
  /// Shows a view that code made.
  void attach(const std::shared_ptr<UIView>& view);
  std::shared_ptr<UIView> view() const { return view_.lock(); }

  int tag() const;
  void setTag(int tag);
  bool startsHidden() const { return startsHidden_; }
  /// Hides the item at once, so that what waits to be seen, as pictures do, does not begin before there is a view.
  void setStartsHidden(bool hidden);
  QColor background() const;
  qreal cornerRadius() const;
  bool isInteractive() const;
  /// Places subviews that code places from the right, as a script that reads from there expects it.
  bool mirrorsSubviews() const { return mirrorsSubviews_; }
  void setMirrorsSubviews(bool mirrors);
  /// What the view says for assistive technology, its state included: "Photo, 12 March 2024, 14:05, selected".
  QString spokenLabel() const;
  bool isSelected() const;
  /// For a cell: what a tap on it does. Answers whether anybody was told.
  Q_INVOKABLE bool activate();

  // ViewRendererPort
  void viewChanged(UIView& view, UIViewChange change, const UIViewAnimation* animation) override;
  void setNeedsLayout(UIView& view) override;
  void viewDestroyed() override;

 Q_SIGNALS:
  void modelChanged();
  void mirrorsSubviewsChanged();
  void accessibilityChanged();
  /// The view is gone; the item is about to go.
  void viewGone();

 protected:
  /// A new view of the class that this kind of item shows when the scene names no other.
  virtual std::shared_ptr<UIView> makeView();
  /// Gives a new view what the scene says beyond the common properties.
  virtual void seed(UIView& view) {}
  /// Adds the outlets that are no views, such as a grid's layout.
  virtual void addOutlets(UIView& view, SceneParts& parts) {}
  /// The view is there; shows all of it.
  virtual void attached() {}
  /// Where subviews' items go.
  virtual QQuickItem* subviewParent() { return this; }
  /// Whether a layout of the view's own places the items of its subviews.
  virtual bool placesSubviews() const { return false; }
  /// A person's tap on a subview by other means than a finger.
  virtual bool activateSubview(UIView& subview) { return false; }
  virtual void apply(UIView& view, UIViewChange change);
  /// The item of the nearest view that this one stands in.
  ViewItem* itemAbove() const;

  void geometryChange(const QRectF& now, const QRectF& before) override;
  void updatePolish() override;
  void componentComplete() override;

  template <class View>
  std::shared_ptr<View> viewAs() const {
    return std::dynamic_pointer_cast<View>(view_.lock());
  }

 private:
  void animate(UIViewChange change, const UIViewAnimation& animation);
  void stop(UIViewChange change);
  void applyFrame(const CGRect& frame);
  CGRect modelFrame() const;
  double mirrored(double x, double width) const;
  void placeMirrored();
  void syncSubviews();
  void collect(QQuickItem& item, Built& built, UIView& above);

  QString outlet_, customClass_, action_;
  int tag_ = 0;
  bool startsHidden_ = false, applying_ = false, mirrorsSubviews_ = false;
  qreal startsAlpha_ = 1;
  std::weak_ptr<UIView> view_;
  UIView* renderedView_ = nullptr;  // unretained: viewDestroyed clears it
  std::map<UIViewChange, QPointer<QVariantAnimation>> animations_;
  std::vector<QPointer<ViewItem>> subviewItems_;
  QPointer<LayerItem> layerItem_;
};

/// The item that draws a view; made when there is none yet. Nothing for nothing.
ViewItem* itemForView(const std::shared_ptr<UIView>& view, QQmlEngine* engine);

}  // namespace tlx::qtquick
