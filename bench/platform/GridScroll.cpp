// What a scroll step, a reload and a look-up cost a grid of a million items, against the same on a thousand: the
// model's share of a frame, without drawing and without pictures.

#include <ctime>
#include <memory>
#include <string>

#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/platform/uikit/UILabel.h"
#include "tlx/platform/uikit/UIWindow.h"

#include "adapters/memory/MemoryPlatform.h"
#include "bench/SideBySide.h"

namespace {

using namespace tlx;

/// Seconds that the processor spends on one run of `work`: steps are so short that another program's turn would hide
/// them.
template <class Work>
double processorSecondsOf(Work&& work) {
  const std::clock_t start = std::clock();
  work();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/// A cell as the picker's grid has it: a picture, an overlay and a text.
class Cell : public UICollectionViewCell {
 public:
  void prepareForReuse() override { picture->setImage(nullptr); }
  std::shared_ptr<UIImageView> picture = std::make_shared<UIImageView>(), overlay = std::make_shared<UIImageView>();
  std::shared_ptr<UILabel> text = std::make_shared<UILabel>();
};

class Source : public UICollectionViewDataSource {
 public:
  std::int64_t collectionView_numberOfItemsInSection(UICollectionView&, std::int64_t) override { return count; }
  std::shared_ptr<UICollectionViewCell> collectionView_cellForItemAtIndexPath(UICollectionView& grid,
                                                                              const NSIndexPath& path) override {
    auto cell = std::static_pointer_cast<Cell>(grid.dequeueReusableCellWithReuseIdentifier_forIndexPath("cell", path));
    cell->text->setText(std::to_string(path.item));
    cell->overlay->setHidden(path.item % 7 != 0);
    return cell;
  }
  std::int64_t count = 0;
};

/// A phone's grid of that many items in a window of its own.
class Scene {
 public:
  explicit Scene(std::int64_t count) {
    source_->count = count;
    grid->collectionViewLayout()->setItemSize({92, 92});
    grid->collectionViewLayout()->setMinimumInteritemSpacing(2);
    grid->collectionViewLayout()->setMinimumLineSpacing(3.75);
    grid->registerPrototype("cell", [](const CGRect& frame) {
      auto cell = std::make_shared<Cell>();
      cell->setFrame(frame);
      for (const std::shared_ptr<UIView>& view :
           {std::shared_ptr<UIView>(cell->picture), std::shared_ptr<UIView>(cell->overlay),
            std::shared_ptr<UIView>(cell->text)}) {
        cell->addSubview(view);
      }
      return cell;
    });
    grid->setDataSource(source_);
    grid->setFrame(CGRectMake(0, 0, 375, 667));
    window_->addSubview(grid);
    window_->layoutIfNeeded();
  }

  /// Seconds for so many frames, each `step` points further, turning round at the ends.
  double scroll(double step, int frames) {
    return processorSecondsOf([&] {
      for (int i = 0; i < frames; ++i) {
        const double y = grid->contentOffset().y + step * direction_;
        if (y < grid->minimumOffsetY() || y > grid->maximumOffsetY()) direction_ = -direction_;
        grid->scrolledTo({0, grid->contentOffset().y + step * direction_});
        window_->layoutIfNeeded();
      }
    });
  }
  double reload(int times) {
    return processorSecondsOf([&] {
      for (int i = 0; i < times; ++i) {
        grid->reloadData();
        window_->layoutIfNeeded();
      }
    });
  }
  /// Seconds for so many look-ups of a band of two screens at the end of the content.
  double lookUp(int times) {
    const auto layout = grid->collectionViewLayout();
    return processorSecondsOf([&] {
      for (int i = 0; i < times; ++i) {
        const auto found = layout->layoutAttributesForElementsInRect(
            CGRectMake(0, layout->collectionViewContentSize().height - 1400 - i % 90, 375, 1334));
        bench::keep(found.data());
      }
    });
  }

  std::shared_ptr<UICollectionView> grid = std::make_shared<UICollectionView>();

 private:
  std::shared_ptr<UIWindow> window_ = std::make_shared<UIWindow>(CGRectMake(0, 0, 375, 667));
  std::shared_ptr<Source> source_ = std::make_shared<Source>();
  double direction_ = 1;
};

constexpr double kBudget = 1.2;
constexpr int kRounds = 31, kFrames = 5000;

}  // namespace

int main() {
  memory::MemoryPlatform platform;
  Scene million(1'000'000), thousand(1'000);
  million.grid->scrolledTo({0, million.grid->maximumOffsetY() / 2});
  bool kept = true;
  for (const double step : {3.0, 40.0, 400.0}) {
    const std::string name =
        "5000 scroll steps of " + std::to_string(static_cast<int>(step)) + " points, 10^6 against 10^3";
    kept &= bench::sideBySide(
        name.c_str(), kBudget, kRounds, [&] { return million.scroll(step, kFrames); },
        [&] { return thousand.scroll(step, kFrames); });
  }
  kept &= bench::sideBySide(
      "500 reloads, 10^6 against 10^3", kBudget, kRounds, [&] { return million.reload(500); },
      [&] { return thousand.reload(500); });
  kept &= bench::sideBySide(
      "20000 look-ups, 10^6 against 10^3", kBudget, kRounds, [&] { return million.lookUp(20000); },
      [&] { return thousand.lookUp(20000); });
  return kept ? 0 : 1;
}
