#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UIWindow.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {

/// Counts what a renderer is told.
class CountingRenderer : public ViewRendererPort {
 public:
  explicit CountingRenderer(UIView& view) : view_(view) { view_.setRenderer(this); }
  ~CountingRenderer() override { view_.setRenderer(nullptr); }

  void viewChanged(UIView&, UIViewChange change, const UIViewAnimation*) override { told_.push_back(change); }
  void setNeedsLayout(UIView&) override {}
  std::int64_t count(UIViewChange change) const { return std::count(told_.begin(), told_.end(), change); }
  void forget() { told_.clear(); }

 private:
  UIView& view_;
  std::vector<UIViewChange> told_;
};

/// A cell that says what happened to it.
class NumberCell : public UICollectionViewCell {
 public:
  explicit NumberCell(const CGRect& frame) { setFrame(frame); }
  void awakeFromNib() override { frameWhenAwake = frame(); }
  void prepareForReuse() override { number = -1; }

  CGRect frameWhenAwake;
  std::int64_t number = -1;
};

/// Answers the item's number in a cell, and keeps a record of what it was asked.
class NumberSource : public UICollectionViewDataSource, public UICollectionViewDelegate {
 public:
  std::int64_t collectionView_numberOfItemsInSection(UICollectionView& grid, std::int64_t) override {
    ++countsAsked;
    if (beforeCount) beforeCount(grid);
    return count;
  }
  std::shared_ptr<UICollectionViewCell> collectionView_cellForItemAtIndexPath(UICollectionView& grid,
                                                                              const NSIndexPath& path) override {
    asked.push_back(path.item);
    auto cell =
        std::static_pointer_cast<NumberCell>(grid.dequeueReusableCellWithReuseIdentifier_forIndexPath("number", path));
    if (beforeAnswer) beforeAnswer(grid, path.item);
    if (empty.count(path.item) != 0) return nullptr;
    cell->number = path.item;
    return cell;
  }
  std::shared_ptr<UICollectionReusableView> collectionView_viewForSupplementaryElementOfKind_atIndexPath(
      UICollectionView& grid, const std::string& kind, const NSIndexPath& path) override {
    kindsAsked.push_back(kind);
    return grid.dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(kind, kind, path);
  }
  void scrollViewDidScroll(UIScrollView& grid) override { offsets.push_back(grid.contentOffset().y); }
  void collectionView_didSelectItemAtIndexPath(UICollectionView&, const NSIndexPath& path) override {
    tapped.push_back(path.item);
  }

  std::int64_t count = 0;
  int countsAsked = 0;
  std::vector<std::int64_t> asked, tapped;
  std::vector<std::string> kindsAsked;
  std::vector<double> offsets;
  std::set<std::int64_t> empty;
  std::function<void(UICollectionView&)> beforeCount;
  std::function<void(UICollectionView&, std::int64_t)> beforeAnswer;
};

/// A grid of 100 × 100 items, three to a row and ten points apart, 340 wide and 330 high: three rows and a bit are
/// visible.
class GridTest : public testing::Test {
 protected:
  GridTest() {
    platform.application.openWindow({340, 330});
    grid->setFrame(CGRectMake(0, 0, 340, 330));
    grid->collectionViewLayout()->setItemSize({100, 100});
    grid->registerPrototype("number", [this](const CGRect& frame) {
      ++cellsMade;
      auto cell = std::make_shared<NumberCell>(frame);
      cell->awakeFromNib();
      return cell;
    });
    for (const char* kind : {UICollectionElementKindSectionHeader, UICollectionElementKindSectionFooter}) {
      grid->registerPrototype(kind, [](const CGRect& frame) {
        auto view = std::make_shared<UICollectionReusableView>();
        view->setFrame(frame);
        return view;
      });
    }
    grid->setDataSource(source);
    grid->setDelegate(source);
  }

  void show(std::int64_t count) {
    source->count = count;
    platform.application.window()->addSubview(grid);
    pass();
  }
  void pass() { platform.application.window()->layoutIfNeeded(); }
  void scrollTo(double y) {
    grid->scrolledTo({0, y});
    pass();
  }
  std::vector<std::int64_t> visible() const {
    std::vector<std::int64_t> items;
    for (const NSIndexPath& path : grid->indexPathsForVisibleItems()) items.push_back(path.item);
    return items;
  }
  /// What a person would see: each visible cell shows its own number in its own place.
  void expectCellsInPlace() {
    std::set<const UIView*> standing;
    for (const auto& [item, cell] : grid->visibleCells()) {
      EXPECT_EQ(std::static_pointer_cast<NumberCell>(cell)->number, item);
      EXPECT_EQ(cell->frame(), grid->collectionViewLayout()->frameForItemAtIndex(item)) << item;
      EXPECT_EQ(cell->superview(), grid) << item;
      standing.insert(cell.get());
    }
    for (const auto& view : grid->subviews()) {
      if (!dynamic_cast<NumberCell*>(view.get())) continue;
      EXPECT_EQ(standing.count(view.get()), 1u) << "a cell nobody shows";
    }
  }

  memory::MemoryPlatform platform;
  std::shared_ptr<NumberSource> source = std::make_shared<NumberSource>();
  std::shared_ptr<UICollectionView> grid = std::make_shared<UICollectionView>();
  int cellsMade = 0;
};

}  // namespace tlx
