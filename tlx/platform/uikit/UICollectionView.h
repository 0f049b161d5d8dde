#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/foundation/NSIndexPath.h"
#include "tlx/platform/uikit/ReuseQueues.h"
#include "tlx/platform/uikit/ShownCells.h"
#include "tlx/platform/uikit/UICollectionViewFlowLayout.h"
#include "tlx/platform/uikit/UIScrollView.h"
#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {

class UICollectionView;

/// A cell, header or footer that is used again and again.
class UICollectionReusableView : public UIView {
 public:
  static const Class& classObject();
  const std::string& reuseIdentifier() const { return reuseIdentifier_; }
  /// Runs before the view is used for another element.
  virtual void prepareForReuse() {}

 private:
  template <class View>
  friend class ReuseQueues;
  std::string reuseIdentifier_;
};

class UICollectionViewCell : public UICollectionReusableView {
 public:
  static const Class& classObject();
};

class UICollectionViewDataSource {
 public:
  virtual ~UICollectionViewDataSource() = default;
  virtual std::int64_t collectionView_numberOfItemsInSection(UICollectionView& collectionView,
                                                             std::int64_t section) = 0;
  /// Nothing leaves the item's place empty.
  virtual std::shared_ptr<UICollectionViewCell> collectionView_cellForItemAtIndexPath(UICollectionView& collectionView,
                                                                                      const NSIndexPath& indexPath) = 0;
  virtual std::shared_ptr<UICollectionReusableView> collectionView_viewForSupplementaryElementOfKind_atIndexPath(
      UICollectionView& collectionView, const std::string& kind, const NSIndexPath& indexPath) {
    return nullptr;
  }
};

class UICollectionViewDelegate : public UIScrollViewDelegate {
 public:
  virtual void collectionView_didSelectItemAtIndexPath(UICollectionView& collectionView, const NSIndexPath& indexPath) {
  }
};

/// A grid of one section that asks its data source for what is visible, and recycles the rest. It asks only in its
/// layout pass and only while it stands in a window. Cells are its subviews; their frames are in the content's
/// coordinates. The renderer is told `Items` once for each pass in which a cell came, went or moved.
///
/// A pass asks for the number of items when it reloads, then for cells in ascending order, then for header and footer.
/// A reloaded item gets the cell it had, prepared for reuse, so that nothing is taken off the screen before its
/// successor is there. The data source may demand a reload while it is being asked: the pass is then begun anew.
class UICollectionView : public UIScrollView {
 public:
  static const Class& classObject();

  /// Makes a reusable view: constructed with the given frame, outlets connected, awake.
  using Prototype = ReuseQueues<UICollectionReusableView>::Prototype;

  UICollectionView();
  ~UICollectionView() override;

  std::shared_ptr<UICollectionViewDataSource> dataSource() const { return dataSource_.lock(); }
  void setDataSource(std::weak_ptr<UICollectionViewDataSource> dataSource);
  void setDelegate(std::weak_ptr<UICollectionViewDelegate> delegate);
  const std::shared_ptr<UICollectionViewFlowLayout>& collectionViewLayout() const { return layout_; }
  /// For scenes. Nothing stands for a new layout.
  void setCollectionViewLayout(std::shared_ptr<UICollectionViewFlowLayout> layout);
  void registerPrototype(const std::string& reuseIdentifier, Prototype prototype);

  /// Everything is asked anew in the next layout pass. Cells go back to their reuse queues, the offset stays within the
  /// content.
  void reloadData();
  /// Visible items among these are asked anew in the next layout pass.
  void reloadItemsAtIndexPaths(const std::vector<NSIndexPath>& indexPaths);

  /// For the data source, while it is being asked. An identifier without a prototype is a programming error
  /// (`NSException`).
  std::shared_ptr<UICollectionViewCell> dequeueReusableCellWithReuseIdentifier_forIndexPath(
      const std::string& identifier, const NSIndexPath& indexPath);
  std::shared_ptr<UICollectionReusableView> dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(
      const std::string& kind, const std::string& identifier, const NSIndexPath& indexPath);

  /// As of the last layout pass.
  std::int64_t numberOfItems() const { return itemCount_; }
  CGSize contentSize() const override;
  /// Nothing when the item is not visible.
  std::shared_ptr<UICollectionViewCell> cellForItemAtIndexPath(const NSIndexPath& indexPath) const;
  std::shared_ptr<UICollectionReusableView> supplementaryViewForElementKind(const std::string& kind) const;
  /// Ascending.
  std::vector<NSIndexPath> indexPathsForVisibleItems() const;
  const std::map<std::int64_t, std::shared_ptr<UICollectionViewCell>>& visibleCells() const { return shown_.cells(); }

  /// A person's tap on an item as the grid stands after what is waiting to be laid out, from a renderer, the keyboard
  /// or assistive technology. Answers whether the delegate was told: it is not for an item that does not exist.
  bool tappedAt(const NSIndexPath& indexPath);
  /// The least scroll that brings the item fully into view.
  void scrollToItemAtIndexPath(const NSIndexPath& indexPath);

 protected:
  void layoutSubviews() override;
  void sizeChanged() override;
  void didMoveToWindow() override;

 private:
  void watchLayout();
  void layOut(UICollectionViewDataSource* dataSource);
  void reloadCount(UICollectionViewDataSource* dataSource);
  CGSize sizeForLayout() const;
  void prepareLayout();
  std::shared_ptr<UICollectionViewCell> askForCell(UICollectionViewDataSource* dataSource, std::int64_t item);
  void showSupplementary(UICollectionViewDataSource* dataSource, const std::string& kind, const CGRect& place);
  void stand(const std::shared_ptr<UICollectionReusableView>& view, const CGRect& place);

  std::weak_ptr<UICollectionViewDataSource> dataSource_;
  std::weak_ptr<UICollectionViewDelegate> delegate_;
  std::shared_ptr<UICollectionViewFlowLayout> layout_;
  ReuseQueues<UICollectionReusableView> queues_;
  ShownCells<UICollectionViewCell> shown_;
  std::map<std::string, std::shared_ptr<UICollectionReusableView>>
      supplementary_;  // nothing for one that was not answered
  std::int64_t itemCount_ = 0;
  CGSize laidOutSize_;
  bool layoutChanged_ = true, layingOut_ = false, itemsMoved_ = false;
};

/// A controller whose view is a collection view, which it serves as data source and delegate.
class UICollectionViewController : public UIViewController,
                                   public UICollectionViewDataSource,
                                   public UICollectionViewDelegate {
 public:
  static const Class& classObject();

  UICollectionViewController();
  /// The view itself; loads it. A scene whose view is none raises an `NSException` when it is loaded.
  std::shared_ptr<UICollectionView> collectionView();

  std::int64_t collectionView_numberOfItemsInSection(UICollectionView&, std::int64_t) override { return 0; }
  std::shared_ptr<UICollectionViewCell> collectionView_cellForItemAtIndexPath(UICollectionView&,
                                                                              const NSIndexPath&) override {
    return nullptr;
  }

 protected:
  void viewLoaded() override;
};

}  // namespace tlx
