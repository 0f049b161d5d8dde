#include <algorithm>

#include "tlx/picker/TLXMediaPickerController.h"

namespace tlx {
namespace {

constexpr double kDoneFadeSeconds = 0.2;
constexpr double kBannerSlideSeconds = 0.5;
constexpr double kBannerStaysSeconds = 2.0;

}  // namespace

const std::shared_ptr<MediaList>& TLXMediaPickerController::arrPickedModel() {
  if (!arrPickedModel_) arrPickedModel_ = std::make_shared<MediaList>();
  return arrPickedModel_;
}

void TLXMediaPickerController::pickedModel(const std::shared_ptr<MediaModel>& tapped) {
  if (!tapped) return;
  const auto self = sharedAs(this);
  const std::shared_ptr<MediaModel> model(tapped);  // NOLINT: the caller's may go while the host is asked
  const Identifier identifier = model->getMediaIdentifier();
  if (!model->isModelSelected()) {
    removeAssetByidentifier(identifier);
    return;
  }
  if (!hostAllows(model)) return;
  if (iImageLimit == static_cast<std::int64_t>(arrPickedModel()->size())) {
    photosLimitationWarning();
    refusePick(model);
    return;
  }
  arrPickedModel()->push_back(Media::initMediaWithPHAsset(model->getMediaAsset()));
  changeDoneButtonState(arrPickedModel());
}

// While the host was thinking, the person may have tapped the item again, and the library may have dropped it or made
// it a new record, which does not know of the tap.
bool TLXMediaPickerController::hostAllows(const std::shared_ptr<MediaModel>& model) {
  if (!pickerControllerDelegate) return true;
  const Identifier identifier = model->getMediaIdentifier();
  const bool pickedBefore = isMediaAlreadyPicked(identifier);
  const auto changesBefore = libraryChanges_;
  const bool allowed = pickerControllerDelegate->mediaPicker_shouldSelectMediaItem(*this, arrPickedModel()->size());
  if (!model->isModelSelected() || isMediaAlreadyPicked(identifier) != pickedBefore) return false;
  if (!allowed) {
    refusePick(model);
    return false;
  }
  if (changesBefore == libraryChanges_ || !photoManager) return true;
  photoManager->selectModel(identifier);
  return photoManager->mediaExist(identifier);
}

void TLXMediaPickerController::refusePick(const std::shared_ptr<MediaModel>& model) {
  model->setIsMediaSelected(false);
  if (photoManager) photoManager->setIsMediaSelected_withModelIdentifier(false, model->getMediaIdentifier());
}

bool TLXMediaPickerController::isMediaAlreadyPicked(const Identifier& identifier) {
  return std::ranges::any_of(*arrPickedModel(),
                             [&](const auto& media) { return media->getMediaIdentifier() == identifier; });
}

void TLXMediaPickerController::removeAssetByidentifier(const Identifier& identifier) {
  MediaList& picked = *arrPickedModel();
  const auto found =
      std::ranges::find_if(picked, [&](const auto& media) { return media->getMediaIdentifier() == identifier; });
  if (found == picked.end()) return;
  picked.erase(found);
  changeDoneButtonState(arrPickedModel());
}

void TLXMediaPickerController::removeSelection() {
  if (processingMediaModel) std::erase(*arrPickedModel(), processingMediaModel);
}

void TLXMediaPickerController::resetSelection() {
  post([](TLXMediaPickerController& self) {
    if (self.photoManager) self.photoManager->reset();
    if (self.mediaCollectionViewCotroller) self.mediaCollectionViewCotroller->reload();
  });
}

void TLXMediaPickerController::changeDoneButtonState(const std::shared_ptr<MediaList>& list) {
  post([list](TLXMediaPickerController& self) {
    const bool any = list && !list->empty();
    const auto showCount = [](TLXMediaPickerController& picker) {
      if (auto label = picker.lblPhotoCount.lock()) {
        label->setText('(' + std::to_string(picker.arrPickedModel()->size()) + ')');
      }
    };
    const auto fade = [&self, any, showCount] {
      if (any) showCount(self);
      if (auto done = self.btnDone.lock()) done->setAlpha(any ? 1.0 : 0.0);
      if (auto label = self.lblPhotoCount.lock()) label->setAlpha(any ? 1.0 : 0.0);
    };
    UIView::animateWithDuration_animations_completion(
        kDoneFadeSeconds, fade, self.whileAlive([any, showCount](TLXMediaPickerController& picker, bool) {
          if (auto done = picker.btnDone.lock()) done->setUserInteractionEnabled(any);
          if (!any) showCount(picker);
        }));
  });
}

void TLXMediaPickerController::slideBanner(bool down, std::function<void(bool)> completion) {
  UIView::animateWithDuration_animations_completion(
      kBannerSlideSeconds,
      [this, down] {
        if (auto banner = viewPhotoLimitationWarning.lock()) {
          const CGSize size = banner->frame().size;
          banner->setFrame(CGRectMake(0, down ? 0 : -size.height, size.width, size.height));
        }
      },
      std::move(completion));
}

void TLXMediaPickerController::photosLimitationWarning() {
  if (auto banner = viewPhotoLimitationWarning.lock()) {
    const CGSize size = banner->frame().size;
    banner->setHidden(false);
    banner->setFrame(CGRectMake(0, -size.height, size.width, size.height));
  }
  slideBanner(true, whileAlive([](TLXMediaPickerController& self, bool) {
                if (self.timer) self.timer->invalidate();
                self.timer = NSTimer::scheduledTimerWithTimeInterval_target_selector_repeats(
                    kBannerStaysSeconds, self.sharedAs(&self), &TLXMediaPickerController::resetAnimation, true);
              }));
}

void TLXMediaPickerController::resetAnimation() {
  slideBanner(false, whileAlive([](TLXMediaPickerController& self, bool finished) {
                // Not finished: the banner was shown again while it slid out.
                if (auto banner = self.viewPhotoLimitationWarning.lock(); banner && finished) banner->setHidden(true);
              }));
}

std::string TLXMediaPickerController::getFormattedText_suffix(std::int64_t count, const std::string& suffix) const {
  if (count == 0) return "No " + suffix + "s";
  return std::to_string(count) + " " + suffix + (count == 1 ? "" : "s");
}

void TLXMediaPickerController::subscribe(const std::shared_ptr<MediaPickerBroadcastProtocol>& subscriber) {
  if (subscriber) arrSubscriber.push_back(subscriber);
}

void TLXMediaPickerController::removeSubscription(const std::shared_ptr<MediaPickerBroadcastProtocol>& subscriber) {
  std::erase(arrSubscriber, subscriber);
}

}  // namespace tlx
