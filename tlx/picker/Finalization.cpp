#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "tlx/picker/FetchFailureAlert.h"
#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/Platform.h"
#include "tlx/platform/dispatch/MainQueue.h"
#include "tlx/platform/photos/PHImageManager.h"
#include "tlx/progress/InternetConnection.h"

namespace tlx {
namespace {

/// Up to so many items the overlay stays away until something has to be downloaded: on this machine they are there at
/// once.
constexpr std::int64_t kItemsWithoutOverlay = 16;

std::int64_t countOf(const MediaList& list) {
  return static_cast<std::int64_t>(list.size());
}

std::int64_t countWithStatus(const MediaList& list, FetchCompletionStatus status) {
  return std::ranges::count_if(list, [&](const auto& media) { return media->fetchCompletionStatus() == status; });
}

bool isFetched(const std::shared_ptr<Media>& media) {
  return media->fetchCompletionStatus() == FetchCompletionStatusFetched &&
         (media->getMediaImage() || media->getMediaVideoAsset());
}

}  // namespace

// What it makes runs on the main thread, once: an answer of an earlier pass, or a second one, meets another turn.
template <class Take>
auto TLXMediaPickerController::answer(std::int64_t index, std::int64_t total, Take take) {
  return whileAlive([turn = turn_, index, total, take](TLXMediaPickerController& self, const auto&... result) {
    if (self.cancelling() || turn != self.turn_) return;
    ++self.turn_;
    (self.*take)(result...);
    self.startSyncOperationForIndex_totalItems(index - 1, total);
  });
}

void TLXMediaPickerController::setProgress(double progress) {
  const double part = progress > 0 ? std::min(progress, 1.0) : 0;
  if (!downloadProgress) return;
  if (auto indicator = downloadProgress->viewDownloadProgress.lock()) indicator->setProgress(static_cast<float>(part));
  const auto percent = static_cast<long>(100.0 * part);
  char text[32] = "Processing...";
  if (percent >= 1) std::snprintf(text, sizeof text, "%02ld %s", percent, "%");
  if (auto label = downloadProgress->lblDownloadProgress.lock()) label->setText(text);
}

bool TLXMediaPickerController::isNetConnnected() {
  const auto connection = InternetConnection::sharedInstance();
  return connection && connection->currentReachabilityStatus() != NetworkStatusNotReachable;
}

std::int64_t TLXMediaPickerController::numOfInternetFailure(const MediaList& media) const {
  return countWithStatus(media, FetchCompletionStatusNoInternet);
}

std::int64_t TLXMediaPickerController::numOfUnsupportedVideo(const MediaList& media) const {
  return countWithStatus(media, FetchCompletionStatusUnsupportedVideo);
}

void TLXMediaPickerController::btnDonePressed() {
  if (delivering_) return;
  const auto self = sharedAs(this);
  abandonPass();
  takeFailuresBack();
  const auto turn = ++turn_;
  if (auto done = btnDone.lock()) done->setUserInteractionEnabled(false);
  if (pickerControllerDelegate) pickerControllerDelegate->mediaPickerWillStartFetching();
  if (turn != turn_) return;  // another pass has begun meanwhile
  const auto count = countOf(*arrPickedModel());
  if (count > kItemsWithoutOverlay && viewProgress) viewProgress->setHidden(false);
  iMediaCount = count;
  cancelling_ = std::make_shared<std::atomic<bool>>(false);
  fetching_ = true;
  startSyncOperationForIndex_totalItems(count - 1, count);
}

void TLXMediaPickerController::takeQuestionBack() {
  if (const auto question = question_.lock()) question->leave(true, nullptr);
}

void TLXMediaPickerController::abandonPass() {
  takeQuestionBack();
  if (!std::exchange(fetching_, false)) return;
  *cancelling_ = true;
  fetched_.clear();
  if (!arrCloudReqId_.empty() && Platform::installed()) {
    PHImageManager::defaultManager()->cancelImageRequest(arrCloudReqId_.back());
  }
}

// What failed keeps its mark and is tried again with the others, except what no longer fits: its place was given to an
// item that was picked meanwhile.
void TLXMediaPickerController::takeFailuresBack() {
  bool unmarked = false;
  for (const auto& media : std::exchange(arrUnsuccessfulMedia_, {})) {
    if (!isFull()) {
      arrPickedModel()->push_back(media);
    } else if (photoManager) {
      photoManager->setIsMediaSelected_withModelIdentifier(false, media->getMediaIdentifier());
      unmarked = true;
    }
  }
  if (unmarked && mediaCollectionViewCotroller) mediaCollectionViewCotroller->reload();
}

std::int64_t TLXMediaPickerController::nextToFetch(std::int64_t index) {
  const MediaList& picked = *arrPickedModel();
  const auto open = [&](std::int64_t at) { return !fetched_.contains(picked[static_cast<std::size_t>(at)]); };
  const auto last = countOf(picked) - 1;
  for (auto at = std::min(index, last); at >= 0; --at) {
    if (open(at)) return at;
  }
  for (auto at = last; at > index; --at) {
    if (open(at)) return at;
  }
  return -1;
}

void TLXMediaPickerController::startSyncOperationForIndex_totalItems(std::int64_t index, std::int64_t total) {
  if (cancelling()) return;
  const auto self = sharedAs(this);
  const auto next = nextToFetch(index);
  if (next < 0) {
    finalizeDone();
    if (viewProgress) viewProgress->setHidden(true);
    return;
  }
  if (next > index) total = std::max(total, countOf(*arrPickedModel()));  // picked while the others were fetched
  processingMediaModel = (*arrPickedModel())[static_cast<std::size_t>(next)];
  fetched_.insert(processingMediaModel);
  setProgress(0.0);
  if (downloadProgress) {
    const auto done = std::max<std::int64_t>(total - next, static_cast<std::int64_t>(fetched_.size()));
    downloadProgress->updateCompletionCount_totalCount(std::min(done, total), total);
  }
  boolInternetConnected = isNetConnnected();
  ++turn_;
  switch (processingMediaModel->getMediaType()) {
    case PHAssetMediaTypeImage:
      arrCloudReqId_.push_back(requestImage(next, total));
      break;
    case PHAssetMediaTypeVideo:
      arrCloudReqId_.push_back(requestVideo(next, total));
      break;
    default:
      fetching_ = false;
      break;
  }
}

PHImageRequestID TLXMediaPickerController::requestImage(std::int64_t index, std::int64_t total) {
  PHImageRequestOptions options;
  options.deliveryMode = PHImageRequestOptionsDeliveryModeHighQualityFormat;
  options.networkAccessAllowed = true;
  options.resizeMode = PHImageRequestOptionsResizeModeExact;
  options.progressHandler = progressHandler();
  const auto arrived = answer(index, total, &TLXMediaPickerController::takeImage);
  return PHImageManager::defaultManager()->requestImageForAsset_targetSize_contentMode_options_resultHandler(
      processingMediaModel->getAsset(), imageSize, PHImageContentModeAspectFit, options,
      [arrived](const std::shared_ptr<const UIImage>& image, const PHImageInfo&) {
        dispatch_async_main([arrived, image] { arrived(image); });
      });
}

PHImageRequestID TLXMediaPickerController::requestVideo(std::int64_t index, std::int64_t total) {
  PHVideoRequestOptions options;
  options.networkAccessAllowed = true;
  options.version = PHVideoRequestOptionsVersionOriginal;
  options.deliveryMode = PHVideoRequestOptionsDeliveryModeHighQualityFormat;
  options.progressHandler = progressHandler();
  const auto arrived = answer(index, total, &TLXMediaPickerController::takeVideo);
  return PHImageManager::defaultManager()->requestAVAssetForVideo_options_resultHandler(
      processingMediaModel->getAsset(), options,
      [arrived](const std::shared_ptr<const AVAsset>& video, const std::shared_ptr<const AVAudioMix>&,
                const PHImageInfo& info) { dispatch_async_main([arrived, video, info] { arrived(video, info); }); });
}

PHAssetImageProgressHandler TLXMediaPickerController::progressHandler() {
  const auto show = whileAlive([turn = turn_](TLXMediaPickerController& self, double progress) {
    if (turn != self.turn_) return;
    if (self.viewProgress) self.viewProgress->setHidden(false);
    if (self.downloadProgress) self.downloadProgress->showCancelBtn();
    self.setProgress(progress);
  });
  return [cancelling = cancelling_, show](double progress, const NSError*, bool* stop, const PHImageInfo&) {
    if (*cancelling) {
      if (stop) *stop = true;
      return;
    }
    dispatch_async_main([show, progress] { show(progress); });
  };
}

void TLXMediaPickerController::takeImage(const std::shared_ptr<const UIImage>& image) {
  if (!image) {
    takeFailure(FetchCompletionStatusNoInternet);
    return;
  }
  processingMediaModel->setFetchCompletionStatus(FetchCompletionStatusFetched);
  processingMediaModel->setImage(image);
}

void TLXMediaPickerController::takeVideo(const std::shared_ptr<const AVAsset>& video, const PHImageInfo& info) {
  if (video && !video->tracksWithMediaType(AVMediaTypeVideo).empty()) {
    processingMediaModel->setFetchCompletionStatus(FetchCompletionStatusFetched);
    processingMediaModel->setAvAsset(video);
    return;
  }
  const auto& error = info.PHImageErrorKey;
  const bool offline = !isNetConnnected() && error && error->domain == kCloudPhotoLibraryErrorDomain;
  takeFailure(offline ? FetchCompletionStatusNoInternet : FetchCompletionStatusUnsupportedVideo);
}

void TLXMediaPickerController::takeFailure(FetchCompletionStatus status) {
  processingMediaModel->setFetchCompletionStatus(status);
  // An item that was unpicked or deleted meanwhile is nobody's concern any more.
  if (std::ranges::find(*arrPickedModel(), processingMediaModel) == arrPickedModel()->end()) return;
  arrUnsuccessfulMedia_.push_back(processingMediaModel);
  removeSelection();
}

void TLXMediaPickerController::cancelDownload() {
  post([](TLXMediaPickerController& self) { self.cancelPass(); });
}

// Also when the pass has just ended: the person who cancelled wants nothing of it, and a question about it that came up
// meanwhile is answered by that.
void TLXMediaPickerController::cancelPass() {
  takeQuestionBack();
  *cancelling_ = true;
  removeSelection();
  for (const auto request : arrCloudReqId_) PHImageManager::defaultManager()->cancelImageRequest(request);
  arrCloudReqId_.clear();
  if (viewProgress) viewProgress->setHidden(true);
  finalizeDone();
}

void TLXMediaPickerController::finalizeDone() {
  fetching_ = false;
  ++turn_;
  fetched_.clear();
  processingMediaModel = nullptr;
  if (cancelling()) {
    clearSelection();
  } else if (arrUnsuccessfulMedia_.empty()) {
    didFinishPickingMediaInfo();
  } else {
    closeAlbumList(true);
    presentWhenFree([turn = turn_, weak = std::weak_ptr(sharedAs(this))]() -> std::shared_ptr<UIViewController> {
      const auto self = weak.lock();
      return self && turn == self->turn_ ? self->questionAboutFailures() : nullptr;
    });
  }
}

// Made when its turn comes: until then a camera may have added to what was picked, or the library have lost what
// failed.
std::shared_ptr<UIViewController> TLXMediaPickerController::questionAboutFailures() {
  using Self = TLXMediaPickerController;
  using Effect = void (Self::*)();
  struct Choice {
    std::string_view title;
    UIAlertActionStyle style;
    Effect effect;
  };
  static constexpr std::array choices{
      Choice{"Cancel", UIAlertActionStyleCancel, &Self::clearSelection},
      Choice{"Retry", UIAlertActionStyleDefault, &Self::btnDonePressed},
      Choice{"Continue", UIAlertActionStyleDefault, &Self::goOn},
      Choice{"Continue Anyway", UIAlertActionStyleDefault, &Self::goOn},
      Choice{"OK", UIAlertActionStyleCancel, &Self::clearSelection},
  };
  if (arrUnsuccessfulMedia_.empty()) {
    didFinishPickingMediaInfo();
    return nullptr;
  }
  const auto text =
      FetchFailureAlert::forCounts(countOf(*arrPickedModel()), numOfInternetFailure(arrUnsuccessfulMedia_),
                                   numOfUnsupportedVideo(arrUnsuccessfulMedia_));
  auto question = UIAlertController::alertControllerWithTitle_message_preferredStyle(text.title, text.message,
                                                                                     UIAlertControllerStyleAlert);
  for (const auto& title : text.choices) {
    const auto& choice = *std::ranges::find(choices, title, &Choice::title);
    question->addAction(UIAlertAction::actionWithTitle_style_handler(
        title, choice.style, whileAlive([turn = turn_, effect = choice.effect](Self& self, UIAlertAction&) {
          if (turn == self.turn_) (self.*effect)();  // else a new pass has begun, which will ask again
        })));
  }
  question_ = question;
  return question;
}

// The host's leave for a pick may come while the question stands: that item is fetched before anything is delivered.
void TLXMediaPickerController::goOn() {
  arrUnsuccessfulMedia_.clear();
  std::ranges::copy_if(*arrPickedModel(), std::inserter(fetched_, fetched_.end()), &isFetched);
  fetching_ = true;
  startSyncOperationForIndex_totalItems(countOf(*arrPickedModel()) - 1, countOf(*arrPickedModel()));
}

void TLXMediaPickerController::clearSelection() {
  if (auto done = btnDone.lock()) done->setUserInteractionEnabled(true);
  arrUnsuccessfulMedia_.clear();
  arrPickedModel()->clear();
  resetSelection();
  changeDoneButtonState(arrPickedModel());
}

// The host's answer may spin an event loop: what is picked meanwhile stays picked, and nothing is delivered twice.
void TLXMediaPickerController::didFinishPickingMediaInfo() {
  const auto self = sharedAs(this);
  closeOwnScreens();
  if (photoManager) photoManager->unregisterPhotoManager();
  arrUnsuccessfulMedia_.clear();
  const MediaList picked = *arrPickedModel();
  MediaList media;
  std::ranges::copy_if(picked, std::back_inserter(media), &isFetched);
  delivering_ = true;
  if (pickerControllerDelegate) pickerControllerDelegate->mediaPicker_didFinishPickingMediaWithInfo(*this, media);
  delivering_ = false;
  std::erase_if(*arrPickedModel(), [&](const auto& each) { return std::ranges::find(picked, each) != picked.end(); });
}

}  // namespace tlx
