#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/foundation/NSIndexPath.h"
#include "tlx/platform/uikit/CellScrollView.h"
#include "tlx/platform/uikit/UICollectionViewFlowLayout.h"

namespace tlx {

class UICollectionView;

/// A cell, header or footer that is used again and again.
class UICollectionReusableView : public ReusableView {
 public:
  static const Class& classObject();
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

/// A grid. A pass asks for the number of items when it reloads, then for cells in ascending order, then for header and
/// footer.
class UICollectionView : public CellScrollView<UICollectionViewCell> {
 public:
  static const Class& classObject();

  UICollectionView();
  ~UICollectionView() override;

  std::shared_ptr<UICollectionViewDataSource> dataSource() const { return dataSource_.lock(); }
  void setDataSource(std::weak_ptr<UICollectionViewDataSource> dataSource);
  void setDelegate(std::weak_ptr<UICollectionViewDelegate> delegate);
  const std::shared_ptr<UICollectionViewFlowLayout>& collectionViewLayout() const { return layout_; }
  /// For scenes. Nothing stands for a new layout.
  void setCollectionViewLayout(std::shared_ptr<UICollectionViewFlowLayout> layout);
  /// Visible items among these are asked anew in the next layout pass.
  void reloadItemsAtIndexPaths(const std::vector<NSIndexPath>& indexPaths);

  /// For the data source, while it is being asked. An identifier without a prototype is a programming error
  /// (`NSException`).
  std::shared_ptr<UICollectionViewCell> dequeueReusableCellWithReuseIdentifier_forIndexPath(
      const std::string& identifier, const NSIndexPath& indexPath);
  std::shared_ptr<UICollectionReusableView> dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(
      const std::string& kind, const std::string& identifier, const NSIndexPath& indexPath);

  /// As of the last layout pass.
  std::int64_t numberOfItems() const { return count_; }
  /// Nothing when the item is not visible.
  std::shared_ptr<UICollectionViewCell> cellForItemAtIndexPath(const NSIndexPath& indexPath) const {
    return cellAt(indexPath);
  }
  std::shared_ptr<UICollectionReusableView> supplementaryViewForElementKind(const std::string& kind) const;

  /// A person's tap on an item as the grid stands after what is waiting to be laid out, from a renderer, the keyboard
  /// or assistive technology. Answers whether the delegate was told: it is not for an item that does not exist.
  bool tappedAt(const NSIndexPath& indexPath);
  /// The least scroll that brings the item fully into view.
  void scrollToItemAtIndexPath(const NSIndexPath& indexPath);

 protected:
  void layOut() override;

 private:
  void watchLayout();
  CGSize sizeForLayout() const;
  void prepareLayout();
  void showSupplementary(UICollectionViewDataSource* dataSource, const std::string& kind, const CGRect& place);

  std::weak_ptr<UICollectionViewDataSource> dataSource_;
  std::weak_ptr<UICollectionViewDelegate> delegate_;
  std::shared_ptr<UICollectionViewFlowLayout> layout_;
  std::map<std::string, std::shared_ptr<UICollectionReusableView>>
      supplementary_;  // nothing for one that was not answered
  CGSize laidOutSize_;
  bool layoutChanged_ = true;
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
