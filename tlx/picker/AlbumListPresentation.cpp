#include <cmath>

#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/views/UIImage+BundleInfo.h"

namespace tlx {
namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kFadeSeconds = 0.3;
constexpr double kCameraFadeSeconds = 0.2;
constexpr double kArrowTurnSeconds = 0.2;
/// The list's share of a tablet's picker.
constexpr double kWidthDivisor = 1.7, kHeightDivisor = 1.6;

void fade(const std::weak_ptr<UIView>& view, double alpha) {
  UIView::animateWithDuration_animations(kFadeSeconds, [view, alpha] {
    if (auto strong = view.lock()) strong->setAlpha(alpha);
  });
}

void fadeCamera(const std::weak_ptr<UIButton>& button, bool in) {
  UIView::animateWithDuration_animations_completion(
      kCameraFadeSeconds,
      [button, in] {
        if (auto strong = button.lock()) strong->setAlpha(in ? 1.0 : 0.0);
      },
      [button, in](bool) {
        if (auto strong = button.lock()) strong->setUserInteractionEnabled(in);
      });
}

}  // namespace

void TLXMediaPickerController::pickedAlbumWithAlbumModel(const std::shared_ptr<AlbumModel>& album) {
  if (!album) return;
  if (auto title = btnAlbumPicker.lock()) {
    title->setTitle_forState(album->getAlbumName(), UIControlStateNormal);
    title->setImage_forState(tlx_imageWithName("up_arrow_s"), UIControlStateNormal);
    title->setTag(TagListOpen);
    title->setHidden(false);
  }
  if (auto panel = viewNoPhotos.lock()) panel->setHidden(true);
  btnPressed(btnAlbumPicker.lock());
  broadcastSelector_dataModel(&MediaPickerBroadcastProtocol::mediaPicker_selectedAlbum, album);
}

void TLXMediaPickerController::btnPressed(const std::shared_ptr<UIButton>& sender) {
  UIView::setAnimationsEnabled(true);
  if (!sender) return;
  switch (sender->tag()) {
    case TagListOpen:
      showAlbumList(false);
      sender->setTag(TagListClosed);
      turnArrow(kPi);
      break;
    case TagListClosed:
      showAlbumList(true);
      sender->setTag(TagListOpen);
      turnArrow(2 * kPi);
      break;
    case TagDone:
      btnDonePressed();
      break;
    case TagCancel:
      if (pickerControllerDelegate) pickerControllerDelegate->mediaPickerCancelPressed();
      break;
    default:
      break;
  }
}

void TLXMediaPickerController::turnArrow(double angle) {
  const auto title = btnAlbumPicker.lock();
  if (!title) return;
  title->setImage_forState(tlx_imageWithName("up_arrow_s"), UIControlStateNormal);
  UIView::animateWithDuration_animations(
      kArrowTurnSeconds, [&title, angle] { title->imageView()->setTransform(CGAffineTransformMakeRotation(angle)); });
}

void TLXMediaPickerController::showAlbumList(bool show) {
  UIView::setAnimationsEnabled(true);
  if (show) {
    fade(viewTbContainer, 1.0);
    showTableViewPopUp();
    fadeCamera(btnCamera, false);
  } else {
    fadeCamera(btnCamera, true);
    fade(viewTbContainer, 0.0);
  }
}

std::shared_ptr<UIViewController> TLXMediaPickerController::albumList() const {
  return std::dynamic_pointer_cast<UIViewController>(albumPickerTableViewController);
}

void TLXMediaPickerController::showTableViewPopUp() {
  const auto list = albumList();
  if (!list || list->presentingViewController()) return;
  list->setModalPresentationStyle(UIModalPresentationPopover);
  if (UIDevice::currentDevice().userInterfaceIdiom() == UIUserInterfaceIdiomPad) {
    const CGSize size = view()->frame().size;
    list->setPreferredContentSize(
        CGSizeMake(std::ceil(size.width / kWidthDivisor), std::ceil(size.height / kHeightDivisor)));
  }
  if (auto popover = list->popoverPresentationController()) {
    popover->setDelegate(sharedAs<UIPopoverPresentationControllerDelegate>(this));
    if (auto title = btnAlbumPicker.lock()) {
      popover->setSourceView(title);
      popover->setPermittedArrowDirections(UIPopoverArrowDirectionUp);
      popover->setSourceRect(CGRectMake(0, 0, title->frame().size.width, title->frame().size.height));
    }
  }
  presentViewController_animated_completion(list, true, nullptr);
}

void TLXMediaPickerController::closeAlbumList(bool animated) {
  const auto list = albumList();
  if (!list || !list->presentingViewController() || list->isBeingDismissed()) return;
  if (auto title = btnAlbumPicker.lock(); title && title->tag() == TagListOpen) btnPressed(title);
  list->leave(animated, nullptr);
}

// Before a delivery: what the picker presents itself would take the host's dismissal for its own.
void TLXMediaPickerController::closeOwnScreens() {
  closeAlbumList(false);
  const auto camera = openCamera();
  dropWaiting();
  for (const auto& screen : {question_.lock(), accessAlert_.lock(), camera}) {
    if (screen) screen->leave(false, nullptr);
  }
  if (camera) UIApplication::sharedApplication().setStatusBarHidden(false);
}

UIModalPresentationStyle TLXMediaPickerController::adaptivePresentationStyleForPresentationController(
    UIPopoverPresentationController&) {
  return UIModalPresentationNone;
}

bool TLXMediaPickerController::popoverPresentationControllerShouldDismissPopover(UIPopoverPresentationController&) {
  btnPressed(btnAlbumPicker.lock());
  return true;
}

}  // namespace tlx
