#include <chrono>

#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/avfoundation/AVCaptureDevice.h"
#include "tlx/platform/dispatch/MainQueue.h"
#include "tlx/platform/photos/PHAssetChangeRequest.h"
#include "tlx/platform/photos/PHImageManager.h"
#include "tlx/platform/photos/PHPhotoLibrary.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/views/UIImage+BundleInfo.h"

namespace tlx {
namespace {

constexpr double kPi = 3.141592653589793;

double secondsSince1970() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void showStatusBar() {
  UIApplication::sharedApplication().setStatusBarHidden(false);
}

std::shared_ptr<const PHAsset> createdAsset(const PHObjectPlaceholder& placeholder) {
  return PHPhotoLibrary::fetchAssetsWithLocalIdentifiers_options({placeholder.localIdentifier()})->firstObject();
}

}  // namespace

void TLXMediaPickerController::btnCameraPressed() {
  switch (AVCaptureDevice::authorizationStatusForMediaType(AVMediaTypeVideo)) {
    case AVAuthorizationStatusAuthorized:
      showCamera();
      break;
    case AVAuthorizationStatusRestricted:
    case AVAuthorizationStatusDenied:
      showAlert();
      break;
    case AVAuthorizationStatusNotDetermined:
      if (AVCaptureDevice::respondsToRequestAccess()) {
        // The answer may take its time, and the picker have left the screen meanwhile.
        const auto granted = whileAlive([](TLXMediaPickerController& self) {
          if (self.isOnScreen()) self.showCamera();
        });
        const auto refused = whileAlive([](TLXMediaPickerController& self) {
          if (self.isOnScreen()) self.showAlert();
        });
        AVCaptureDevice::requestAccessForMediaType_completionHandler(AVMediaTypeVideo,
                                                                     [granted, refused](bool allowed) {
                                                                       if (allowed) {
                                                                         dispatch_async_main(granted);
                                                                       } else {
                                                                         runOnMainThread(refused);
                                                                       }
                                                                     });
      } else {
        showCamera();
      }
      break;
    default:
      break;
  }
}

bool TLXMediaPickerController::isOnScreen() {
  return view()->window() && !isBeingDismissed();
}

void TLXMediaPickerController::showAlert() {
  // Access may have been asked for twice: the alert is alive while it is shown or waits to be.
  if (const auto former = accessAlert_.lock(); former && !former->isBeingDismissed()) return;
  auto alert = UIAlertController::alertControllerWithTitle_message_preferredStyle(
      "", "You can allow this app to access your camera in privacy settings.", UIAlertControllerStyleAlert);
  alert->addAction(UIAlertAction::actionWithTitle_style_handler("Cancel", UIAlertActionStyleDefault, nullptr));
  alert->addAction(UIAlertAction::actionWithTitle_style_handler(
      "Settings", UIAlertActionStyleDefault,
      [](UIAlertAction&) { UIApplication::sharedApplication().openURL(UIApplicationOpenSettingsURLString); }));
  closeAlbumList(true);
  accessAlert_ = alert;
  presentViewController_animated_completion(alert, true, nullptr);
}

UIImagePickerController::MediaTypes TLXMediaPickerController::setMediaType() const {
  switch (mediaType) {
    case 0:
      return {{kUTTypeMovie, kUTTypeImage}};
    case 1:
      return {{kUTTypeImage}};
    case 2:
      return {{kUTTypeMovie}};
    default:
      return std::nullopt;
  }
}

std::shared_ptr<UIViewController> TLXMediaPickerController::openCamera() const {
  const auto camera = camera_.lock();
  const bool shown = camera && camera->presentingViewController() && !camera->isBeingDismissed();
  return shown || hasWaiting() ? camera : nullptr;
}

void TLXMediaPickerController::showCamera() {
  const auto self = sharedAs(this);
  if (openCamera()) return;  // access was asked for twice
  const bool onScreen = isOnScreen();
  if (pickerControllerDelegate &&
      !pickerControllerDelegate->mediaPicker_shouldSelectMediaItem(*this, arrPickedModel()->size())) {
    return;
  }
  // While the host was thinking, the picker may have gone, or a camera have been opened.
  if ((onScreen && !isOnScreen()) || openCamera()) return;
  if (isFull()) {
    photosLimitationWarning();
    return;
  }
  auto camera = std::make_shared<UIImagePickerController>();
  camera->setDelegate(self);
  camera->setAllowsEditing(false);
  camera->setSourceType(UIImagePickerControllerSourceTypeCamera);
  camera->setMediaTypes(setMediaType());
  if (mediaType == 0 || mediaType == 2) camera->setVideoQuality(UIImagePickerControllerQualityTypeHigh);
  UIApplication::sharedApplication().setStatusBarHidden(true);
  closeAlbumList(true);
  camera_ = camera;
  presentWhenFree([camera] { return camera; });
  showAlbumList(false);
  if (auto title = btnAlbumPicker.lock()) title->setTag(TagListClosed);
  turnArrow(kPi);
}

void TLXMediaPickerController::imagePickerControllerDidCancel(const std::shared_ptr<UIImagePickerController>& screen) {
  if (screen) screen->leave(true, &showStatusBar);
}

void TLXMediaPickerController::imagePickerController_didFinishPickingMediaWithInfo(
    const std::shared_ptr<UIImagePickerController>& screen, const UIImagePickerControllerInfo& info) {
  if (info.UIImagePickerControllerMediaType == kUTTypeImage) {
    saveImage(screen, scaleAndRotate(info.UIImagePickerControllerOriginalImage));
  } else if (info.UIImagePickerControllerMediaType == kUTTypeMovie) {
    saveMovie(screen, info.UIImagePickerControllerMediaURL);
  }
}

// The completions of both may come on any thread: what they do at once when it is the main one, they else post, in the
// same order.

void TLXMediaPickerController::saveImage(const std::shared_ptr<UIImagePickerController>& screen,
                                         const std::shared_ptr<const UIImage>& image) {
  // The block fills it in before anything else runs.
  const auto placeholder = std::make_shared<std::shared_ptr<PHObjectPlaceholder>>();
  const auto saved =
      whileAlive([placeholder](TLXMediaPickerController& self) { self.fetchCaptured(createdAsset(**placeholder)); });
  const auto ended = whileAlive([weak = std::weak_ptr(screen)](TLXMediaPickerController& self) {
    self.leaveCamera(weak.lock(), &showStatusBar);
  });
  PHPhotoLibrary::sharedPhotoLibrary()->performChanges_completionHandler(
      [&] {
        const auto request = PHAssetChangeRequest::creationRequestForAssetFromImage(image);
        request->setCreationDate(secondsSince1970());
        *placeholder = request->placeholderForCreatedAsset();
      },
      [saved, ended](bool success, const std::optional<NSError>&) {
        if (success) runOnMainThread(saved);
        dispatch_async_main(ended);
      });
}

void TLXMediaPickerController::fetchCaptured(const std::shared_ptr<const PHAsset>& asset) {
  if (!asset) return;  // deleted as soon as it was saved
  capturesToPick_.push_back(asset->localIdentifier);
  PHImageRequestOptions options;
  options.deliveryMode = PHImageRequestOptionsDeliveryModeHighQualityFormat;
  options.resizeMode = PHImageRequestOptionsResizeModeExact;
  const auto arrived = whileAlive([asset](TLXMediaPickerController& self, const std::shared_ptr<const UIImage>& image) {
    const bool wanted = std::erase(self.capturesToPick_, asset->localIdentifier) > 0;
    if (image && wanted) self.pickCaptured(Media::initMediaWithPHAsset_image(asset, image));
  });
  PHImageManager::defaultManager()->requestImageForAsset_targetSize_contentMode_options_resultHandler(
      asset, imageSize, PHImageContentModeAspectFit, options,
      [arrived](const std::shared_ptr<const UIImage>& image, const PHImageInfo&) {
        runOnMainThread([arrived, image] { arrived(image); });
      });
}

void TLXMediaPickerController::saveMovie(const std::shared_ptr<UIImagePickerController>& screen,
                                         const std::optional<AVRecording>& url) {
  const auto placeholder = std::make_shared<std::shared_ptr<PHObjectPlaceholder>>();
  const auto saved =
      whileAlive([placeholder, video = AVURLAsset::URLAssetWithURL_options(url)](TLXMediaPickerController& self) {
        // Without an asset there is nothing that Done could fetch.
        if (auto asset = createdAsset(**placeholder))
          self.pickCaptured(Media::initMediaWithPHAsset_Video(asset, video));
      });
  const auto ended = whileAlive(
      [weak = std::weak_ptr(screen)](TLXMediaPickerController& self) { self.leaveCamera(weak.lock(), nullptr); });
  PHPhotoLibrary::sharedPhotoLibrary()->performChanges_completionHandler(
      [&] {
        const auto request = PHAssetChangeRequest::creationRequestForAssetFromVideoAtFileURL(url);
        request->setCreationDate(secondsSince1970());
        *placeholder = request->placeholderForCreatedAsset();
      },
      [saved, ended](bool success, const std::optional<NSError>&) {
        if (success) runOnMainThread(saved);
        dispatch_async_main(ended);
      });
}

// While it was saved and fetched, the person may have picked it in the grid, or as many others as are allowed.
void TLXMediaPickerController::pickCaptured(const std::shared_ptr<Media>& media) {
  if (isMediaAlreadyPicked(media->getMediaIdentifier())) return;
  if (isFull()) {
    photosLimitationWarning();
  } else {
    pick(media);
  }
}

void TLXMediaPickerController::leaveCamera(const std::shared_ptr<UIImagePickerController>& screen,
                                           std::function<void()> completion) {
  const auto self = sharedAs(this);
  broadcastSelector_dataModel<std::string>(&MediaPickerBroadcastProtocol::mediaPicker_selectCameraRollAlbum, "");
  if (screen) screen->leave(true, std::move(completion));
}

}  // namespace tlx
