#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tlx/platform/foundation/NSIndexPath.h"
#include "tlx/platform/uikit/CellScrollView.h"

namespace tlx {

class UITableView;

enum UITableViewCellSelectionStyle : std::int64_t {
  UITableViewCellSelectionStyleNone = 0,
  UITableViewCellSelectionStyleDefault = 3,
};
enum UITableViewRowAnimation : std::int64_t { UITableViewRowAnimationNone = 5 };

/// A row that is used again and again.
class UITableViewCell : public ReusableView {
 public:
  static const Class& classObject();
  UITableViewCellSelectionStyle selectionStyle() const { return selectionStyle_; }
  void setSelectionStyle(UITableViewCellSelectionStyle style) { selectionStyle_ = style; }

 private:
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

/// A list. A pass asks for the number of rows and, if there is one, for the height, then for the rows in ascending
/// order.
class UITableView : public CellScrollView<UITableViewCell> {
 public:
  static const Class& classObject();

  void setDataSource(std::weak_ptr<UITableViewDataSource> dataSource);
  void setDelegate(std::weak_ptr<UITableViewDelegate> delegate);
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

  /// As of the last layout pass.
  std::int64_t numberOfRows() const { return count_; }
  double rowHeight() const { return rowHeight_; }
  /// Nothing when the row is not visible.
  std::shared_ptr<UITableViewCell> cellForRowAtIndexPath(const NSIndexPath& indexPath) const {
    return cellAt(indexPath);
  }
  /// A person's tap on a row as the table stands after what is waiting to be laid out. Answers whether the delegate was
  /// told: it is not for a row that does not exist.
  bool tappedAt(const NSIndexPath& indexPath);

 protected:
  void layOut() override;

 private:
  CGRect frameForRow(std::int64_t row) const;
  double contentWidth() const;
  std::pair<std::int64_t, std::int64_t> rowsInBounds() const;
  void placeFooter();

  std::weak_ptr<UITableViewDataSource> dataSource_;
  std::weak_ptr<UITableViewDelegate> delegate_;
  std::shared_ptr<UIView> footer_;
  std::optional<std::int64_t> selectedRow_;
  double rowHeight_ = 44;
  CGSize laidOutSize_;
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
