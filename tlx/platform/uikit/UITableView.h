#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tlx/platform/foundation/NSIndexPath.h"
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
  virtual void prepareForReuse() {}
  UITableViewCellSelectionStyle selectionStyle() const { return selectionStyle_; }
  void setSelectionStyle(UITableViewCellSelectionStyle style) { selectionStyle_ = style; }

 private:
  friend class UITableView;
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
/// window. Cells are its subviews; their frames are in the content's coordinates.
class UITableView : public UIScrollView {
 public:
  static const Class& classObject();
  using Prototype = std::function<std::shared_ptr<UITableViewCell>(const CGRect& frame)>;

  void setDataSource(std::weak_ptr<UITableViewDataSource> dataSource);
  void setDelegate(std::weak_ptr<UITableViewDelegate> delegate);
  void registerPrototype(const std::string& reuseIdentifier, Prototype prototype);

  void reloadData();
  /// Rows that are not visible, or do not exist, are passed over.
  void reloadRowsAtIndexPaths_withRowAnimation(const std::vector<NSIndexPath>& indexPaths,
                                               UITableViewRowAnimation animation);
  void deselectRowAtIndexPath_animated(const NSIndexPath& indexPath, bool animated);
  void setTableFooterView(std::shared_ptr<UIView> view);
  const std::shared_ptr<UIView>& tableFooterView() const { return footer_; }
  std::shared_ptr<UITableViewCell> dequeueReusableCellWithIdentifier_forIndexPath(const std::string& identifier,
                                                                                  const NSIndexPath& indexPath);

  std::int64_t numberOfRows() const { return rowCount_; }
  double rowHeight() const { return rowHeight_; }
  CGSize contentSize() const override;
  std::shared_ptr<UITableViewCell> cellForRowAtIndexPath(const NSIndexPath& indexPath) const;
  const std::map<std::int64_t, std::shared_ptr<UITableViewCell>>& visibleCells() const { return cells_; }
  /// A person's tap on a row. Answers whether the delegate was told.
  bool tappedAt(const NSIndexPath& indexPath);

 protected:
  void layoutSubviews() override;
  void sizeChanged() override;
  void didMoveToWindow() override;

 private:
  void recycle(const std::shared_ptr<UITableViewCell>& cell);

  std::weak_ptr<UITableViewDataSource> dataSource_;
  std::weak_ptr<UITableViewDelegate> delegate_;
  std::map<std::string, Prototype> prototypes_;
  std::map<std::string, std::vector<std::shared_ptr<UITableViewCell>>> queues_;
  std::map<std::int64_t, std::shared_ptr<UITableViewCell>> cells_;
  std::shared_ptr<UIView> footer_;
  std::int64_t rowCount_ = 0;
  double rowHeight_ = 44;
  bool reload_ = true;
  std::vector<std::int64_t> stale_;
};

/// A controller whose view is a table, which it serves as data source and delegate.
class UITableViewController : public UIViewController, public UITableViewDataSource, public UITableViewDelegate {
 public:
  static const Class& classObject();
  /// The view itself; loads it.
  std::shared_ptr<UITableView> tableView();

  std::int64_t tableView_numberOfRowsInSection(UITableView&, std::int64_t) override { return 0; }
  std::shared_ptr<UITableViewCell> tableView_cellForRowAtIndexPath(UITableView&, const NSIndexPath&) override {
    return nullptr;
  }

 protected:
  void viewLoaded() override;
};

}  // namespace tlx
