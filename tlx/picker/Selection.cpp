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
    forgetFailure(identifier);
    std::erase(capturesToPick_, identifier);
    removeAssetByidentifier(identifier);
    return;
  }
  // A mark may come later than the pick: what the camera took is picked without one.
  if (isMediaAlreadyPicked(identifier) || !hostAllows(model)) return;
  if (isFull()) {
    photosLimitationWarning();
    refusePick(model);
    return;
  }
  pick(Media::initMediaWithPHAsset(model->getMediaAsset()));
}

// While the host was thinking, the person may have tapped the item again, and the library may have dropped it or made
// it a new record, which does not know of the tap.
bool TLXMediaPickerController::hostAllows(const std::shared_ptr<MediaModel>& model) {
  if (!pickerControllerDelegate) return true;
  const Identifier identifier = model->getMediaIdentifier();
  const auto changesBefore = libraryChanges_;
  const bool allowed = pickerControllerDelegate->mediaPicker_shouldSelectMediaItem(*this, arrPickedModel()->size());
  if (!model->isModelSelected() || isMediaAlreadyPicked(identifier)) return false;
  if (!allowed) {
    refusePick(model);
    return false;
  }
  if (changesBefore == libraryChanges_ || !photoManager) return true;
  photoManager->selectModel(identifier);
  return photoManager->mediaExist(identifier);
}

// An equality: a limit below what is picked already refuses nothing, and neither does a negative one.
bool TLXMediaPickerController::isFull() {
  return iImageLimit == static_cast<std::int64_t>(arrPickedModel()->size());
}

void TLXMediaPickerController::refusePick(const std::shared_ptr<MediaModel>& model) {
  model->setIsMediaSelected(false);
  if (photoManager) photoManager->setIsMediaSelected_withModelIdentifier(false, model->getMediaIdentifier());
}

void TLXMediaPickerController::pick(const std::shared_ptr<Media>& media) {
  forgetFailure(media->getMediaIdentifier());
  arrPickedModel()->push_back(media);
  changeDoneButtonState(arrPickedModel());
}

// What was unpicked, or picked anew, is no failure any more: nobody is asked about it, and no retry brings it back.
void TLXMediaPickerController::forgetFailure(const Identifier& identifier) {
  std::erase_if(arrUnsuccessfulMedia_, [&](const auto& media) { return media->getMediaIdentifier() == identifier; });
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
          // Not during a pass: pressed again, it would start anew and tell the host twice.
          if (auto done = picker.btnDone.lock()) done->setUserInteractionEnabled(any && !picker.fetching_);
          if (!any) showCount(picker);
        }));
  });
}

void TLXMediaPickerController::placeBanner(bool in) {
  const auto banner = viewPhotoLimitationWarning.lock();
  if (!banner) return;
  const CGSize size = banner->frame().size;
  banner->setFrame(CGRectMake(0, in ? 0 : -size.height, size.width, size.height));
}

void TLXMediaPickerController::slideBanner(bool in, std::function<void(bool)> completion) {
  UIView::animateWithDuration_animations_completion(
      kBannerSlideSeconds, [this, in] { placeBanner(in); }, std::move(completion));
}

void TLXMediaPickerController::photosLimitationWarning() {
  if (auto banner = viewPhotoLimitationWarning.lock()) banner->setHidden(false);
  placeBanner(false);
  ++bannerSlidesIn_;
  slideBanner(true, whileAlive([](TLXMediaPickerController& self, bool) {
                --self.bannerSlidesIn_;
                // The timer of an earlier banner ends with its last reference.
                self.timer = NSTimer::scheduledTimerWithTimeInterval_target_selector_repeats(
                    kBannerStaysSeconds, self.sharedAs(&self), &TLXMediaPickerController::hideBannerAtTick, true);
              }));
}

// The timer of an earlier banner runs until this one has slid in; its tick is not meant for a banner that comes.
void TLXMediaPickerController::hideBannerAtTick() {
  if (bannerSlidesIn_ == 0) resetAnimation();
}

void TLXMediaPickerController::resetAnimation() {
  slideBanner(false, whileAlive([](TLXMediaPickerController& self, bool finished) {
                // Not finished: the banner was shown again while it slid out.
                if (auto banner = self.viewPhotoLimitationWarning.lock(); banner && finished) banner->setHidden(true);
              }));
}

std::string TLXMediaPickerController::getFormattedText_suffix(std::int64_t count, const std::string& suffix) const {
  return MediaCollectionViewController::getFormattedText_suffix(count, suffix);
}

void TLXMediaPickerController::subscribe(const std::shared_ptr<MediaPickerBroadcastProtocol>& subscriber) {
  if (subscriber) arrSubscriber.push_back(subscriber);
}

void TLXMediaPickerController::removeSubscription(const std::shared_ptr<MediaPickerBroadcastProtocol>& subscriber) {
  std::erase(arrSubscriber, subscriber);
}

}  // namespace tlx
