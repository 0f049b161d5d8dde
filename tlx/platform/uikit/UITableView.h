#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tlx/platform/foundation/NSIndexPath.h"
#include "tlx/platform/uikit/ReuseQueues.h"
#include "tlx/platform/uikit/ShownCells.h"
#include "tlx/platform/uikit/UIScrollView.h"
#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {

class UITableView;

enum UITableViewCellSelectionStyle : std::int64_t {
  UITableViewCellSelectionStyleNone = 0,
  UITableViewCellSelectionStyleDefault = 3,
};
enum UITableViewRowAnimation : std::int64_t { UITableViewRowAnimationNone = 5 };

/// A row that is used again and again.
class UITableViewCell : public UIView {
 public:
  static const Class& classObject();
  const std::string& reuseIdentifier() const { return reuseIdentifier_; }
  /// Runs before the cell is used for another row.
  virtual void prepareForReuse() {}
  UITableViewCellSelectionStyle selectionStyle() const { return selectionStyle_; }
  void setSelectionStyle(UITableViewCellSelectionStyle style) { selectionStyle_ = style; }

 private:
  template <class View>
  friend class ReuseQueues;
  std::string reuseIdentifier_;
  UITableViewCellSelectionStyle selectionStyle_ = UITableViewCellSelectionStyleDefault;
};

class UITableViewDataSource {
 public:
  virtual ~UITableViewDataSource() = default;
  virtual std::int64_t tableView_numberOfRowsInSection(UITableView& tableView, std::int64_t section) = 0;
  virtual std::shared_ptr<UITableViewCell> tableView_cellForRowAtIndexPath(UITableView& tableView,
                                                                           const NSIndexPath& indexPath) = 0;
};

class UITableViewDelegate : public UIScrollViewDelegate {
 public:
  /// All rows of a table have the same height: it is asked for row 0 in each layout pass that reloads or resizes.
  virtual double tableView_heightForRowAtIndexPath(UITableView& tableView, const NSIndexPath& indexPath) { return 44; }
  virtual void tableView_didSelectRowAtIndexPath(UITableView& tableView, const NSIndexPath& indexPath) {}
};

/// A list of one section. Asks its data source and delegate only in its layout pass and only while it stands in a
/// window. Cells are its subviews; their frames are in the content's coordinates. A pass asks for the number of rows
/// and, if there is one, for the height, then for the rows in ascending order. Reloads as `UICollectionView` does.
class UITableView : public UIScrollView {
 public:
  static const Class& classObject();
  using Prototype = ReuseQueues<UITableViewCell>::Prototype;

  void setDataSource(std::weak_ptr<UITableViewDataSource> dataSource);
  void setDelegate(std::weak_ptr<UITableViewDelegate> delegate);
  void registerPrototype(const std::string& reuseIdentifier, Prototype prototype);

  void reloadData();
  /// Rows that are not visible, or do not exist, are passed over.
  void reloadRowsAtIndexPaths_withRowAnimation(const std::vector<NSIndexPath>& indexPaths,
                                               UITableViewRowAnimation animation);
  /// The row that was tapped last and not deselected nor reloaded since.
  std::optional<NSIndexPath> indexPathForSelectedRow() const;
  void deselectRowAtIndexPath_animated(const NSIndexPath& indexPath, bool animated);
  /// Stands below the last row, as wide as the table and as high as it is.
  void setTableFooterView(std::shared_ptr<UIView> view);
  const std::shared_ptr<UIView>& tableFooterView() const { return footer_; }
  /// For the data source, while it is being asked. An identifier without a prototype is a programming error
  /// (`NSException`).
  std::shared_ptr<UITableViewCell> dequeueReusableCellWithIdentifier_forIndexPath(const std::string& identifier,
                                                                                  const NSIndexPath& indexPath);

  std::int64_t numberOfRows() const { return rowCount_; }
  double rowHeight() const { return rowHeight_; }
  CGSize contentSize() const override;
  std::shared_ptr<UITableViewCell> cellForRowAtIndexPath(const NSIndexPath& indexPath) const;
  const std::map<std::int64_t, std::shared_ptr<UITableViewCell>>& visibleCells() const { return shown_.cells(); }
  /// A person's tap on a row as the table stands after what is waiting to be laid out. Answers whether the delegate was
  /// told: it is not for a row that does not exist.
  bool tappedAt(const NSIndexPath& indexPath);

 protected:
  void layoutSubviews() override;
  void sizeChanged() override;
  void didMoveToWindow() override;

 private:
  void layOut(UITableViewDataSource* dataSource);
  std::shared_ptr<UITableViewCell> askForCell(UITableViewDataSource* dataSource, std::int64_t row);
  CGRect frameForRow(std::int64_t row) const;
  double contentWidth() const;
  std::pair<std::int64_t, std::int64_t> rowsInBounds() const;
  void placeFooter();

  std::weak_ptr<UITableViewDataSource> dataSource_;
  std::weak_ptr<UITableViewDelegate> delegate_;
  ReuseQueues<UITableViewCell> queues_;
  ShownCells<UITableViewCell> shown_;
  std::shared_ptr<UIView> footer_;
  std::optional<std::int64_t> selectedRow_;
  std::int64_t rowCount_ = 0;
  double rowHeight_ = 44;
  CGSize laidOutSize_;
  bool layingOut_ = false, rowsMoved_ = false;
};

/// A controller whose view is a table, which it serves as data source and delegate.
class UITableViewController : public UIViewController, public UITableViewDataSource, public UITableViewDelegate {
 public:
  static const Class& classObject();

  UITableViewController();
  /// The view itself; loads it. A scene whose view is none raises an `NSException` when it is loaded.
  std::shared_ptr<UITableView> tableView();

  std::int64_t tableView_numberOfRowsInSection(UITableView&, std::int64_t) override { return 0; }
  std::shared_ptr<UITableViewCell> tableView_cellForRowAtIndexPath(UITableView&, const NSIndexPath&) override {
    return nullptr;
  }

 protected:
  void viewLoaded() override;
};

}  // namespace tlx
