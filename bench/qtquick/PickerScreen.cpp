#include "bench/qtquick/PickerScreen.h"

#include "tlx/platform/uikit/UICollectionView.h"
#include "tlx/platform/uikit/UIImageView.h"
#include "tlx/views/CollectionViewCell.h"

namespace tlx::bench {

class PickerScreen::Host final : public TLXMediaPickerControllerDelegate {
 public:
  std::int64_t maxSelectedMedia() override { return 3; }
  CGSize selectedImageSize() override { return {1600, 1600}; }
  void mediaPickerCancelPressed() override {}
  void mediaPicker_didFinishPickingMediaWithInfo(TLXMediaPickerController&, const MediaList&) override {}
};

PickerScreen::PickerScreen(qtquick::LoopPorts loops, PhotoLibraryPort& library, ImageManagerPort& images, QSize size)
    : host_(std::make_unique<Host>()), platform_(loops, window_, library, images, network_, log_) {
  window_.resize(size);
}

void PickerScreen::open() {
  window_.show();
  picker_ = TLXMediaPickerController::mediaPickerController_delegate(0, host_.get());
  platform_.window().model()->setRootViewController(picker_);
}

PickerScreen::~PickerScreen() {
  platform_.window().model()->setRootViewController(nullptr);
  picker_.reset();
}

UICollectionView& PickerScreen::grid() const {
  return *picker_->mediaCollectionViewCotroller->collectionView();
}

void PickerScreen::scrollTo(double offset) {
  grid().setContentOffset({0, offset + grid().minimumOffsetY()});
}

double PickerScreen::end() const {
  return grid().maximumOffsetY() - grid().minimumOffsetY();
}

std::pair<int, int> PickerScreen::blanks() const {
  int empty = 0, all = 0;
  for (const auto& [index, cell] : grid().visibleCells()) {
    const auto picture = std::static_pointer_cast<CollectionViewCell>(cell)->imgViewImagIcon.lock();
    ++all;
    if (!picture || !picture->image()) ++empty;
  }
  return {empty, all};
}

bool PickerScreen::hasCells() const {
  return picker_->mediaCollectionViewCotroller && blanks().second > 0;
}

bool PickerScreen::isFilled() const {
  if (!picker_->mediaCollectionViewCotroller) return false;
  const auto [empty, all] = blanks();
  return all > 0 && empty == 0;
}

}  // namespace tlx::bench
