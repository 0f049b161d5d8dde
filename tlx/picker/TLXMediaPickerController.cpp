#include "tlx/picker/TLXMediaPickerController.h"

#include "tlx/platform/foundation/NSBundle.h"
#include "tlx/platform/uikit/PlatformClasses.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/progress/ProgressClasses.h"
#include "tlx/views/AlbumPickerTableViewController.h"
#include "tlx/views/UIImage+BundleInfo.h"
#include "tlx/views/ViewClasses.h"

namespace tlx {
namespace {

constexpr double kAccessButtonCornerRadius = 8.0;
/// Room for the title bar, which lies over the grid.
constexpr double kGridTopInset = 61.0;

void setHidden(const std::weak_ptr<UIView>& view, bool hidden) {
  if (auto strong = view.lock()) strong->setHidden(hidden);
}

void setText(const std::weak_ptr<UILabel>& label, const char* text) {
  if (auto strong = label.lock()) strong->setText(text);
}

}  // namespace

const Class& TLXMediaPickerController::classObject() {
  using Self = TLXMediaPickerController;
  static const Class object{
      "TLXMediaPickerController",
      "UIViewController",
      kTLXMediaPickerBundle,
      [] { return std::make_shared<Self>(); },
      {
          outlet("viewContainer", &Self::viewContainer, "UIView"),
          outlet("viewTbContainer", &Self::viewTbContainer, "UIView"),
          outlet("viewCLContainer", &Self::viewCLContainer, "UIView"),
          outlet("viewNoPhotos", &Self::viewNoPhotos, "UIView"),
          outlet("viewAccessContainer", &Self::viewAccessContainer, "UIView"),
          outlet("viewPhotoLimitationWarning", &Self::viewPhotoLimitationWarning, "UIView"),
          outlet("btnAlbumPicker", &Self::btnAlbumPicker, "CustomAlbumButton"),
          outlet("btnDone", &Self::btnDone, "UIButton"),
          outlet("btnSelected", &Self::btnSelected, "UIButton"),
          outlet("btnCamera", &Self::btnCamera, "UIButton"),
          outlet("btnAllowAccess", &Self::btnAllowAccess, "UIButton"),
          outlet("lblAllowAccess1", &Self::lblAllowAccess1, "UILabel"),
          outlet("lblAllowAccess2", &Self::lblAllowAccess2, "UILabel"),
          outlet("lblAllowAccess3", &Self::lblAllowAccess3, "UILabel"),
          outlet("lblNoPhotos1", &Self::lblNoPhotos1, "UILabel"),
          outlet("lblNoPhotos2", &Self::lblNoPhotos2, "UILabel"),
          outlet("lblLimitationWarning", &Self::lblLimitationWarning, "UILabel"),
          outlet("lblPhotoCount", &Self::lblPhotoCount, "UILabel"),
      },
      {action("btnPressed:", &Self::btnPressed), action("btnAllowAccess:", &Self::btnAllowAccess_)}};
  return object;
}

std::shared_ptr<TLXMediaPickerController> TLXMediaPickerController::mediaPickerController_delegate(
    std::int64_t mediaType, TLXMediaPickerControllerDelegate* delegate) {
  registerPlatformClasses();
  registerViewClasses();
  registerProgressClasses();
  registerClass(classObject());
  auto scene = std::make_shared<PickerStoryboard>()->instantiateViewController(classObject());
  auto picker = std::dynamic_pointer_cast<TLXMediaPickerController>(scene);
  if (!picker) return nullptr;
  picker->mediaType = mediaType;
  picker->pickerControllerDelegate = delegate;
  return picker;
}

TLXMediaPickerController::~TLXMediaPickerController() {
  abandonPass();
  if (photoManager) photoManager->customDelegate = nullptr;
  if (downloadProgress) downloadProgress->customDelegate = nullptr;
}

const std::shared_ptr<PickerStoryboard>& TLXMediaPickerController::pickerStoryboard() {
  if (!pickerStoryboard_) pickerStoryboard_ = std::make_shared<PickerStoryboard>();
  return pickerStoryboard_;
}

void TLXMediaPickerController::viewDidLoad() {
  const auto self = sharedAs(this);
  UIViewController::viewDidLoad();
  if (pickerControllerDelegate) {
    if (auto fonts = pickerControllerDelegate->provideFonts()) {
      dicFonts = std::move(*fonts);
      applyProvidedFonts(dicFonts);
    }
  }
  if (auto button = btnAllowAccess.lock()) {
    button->setCornerRadius(kAccessButtonCornerRadius);
    button->setClipsToBounds(true);
  }
  if (auto button = btnCamera.lock()) button->setImage_forState(tlx_imageWithName("camera"), UIControlStateNormal);
  setText(lblNoPhotos1, "No Photos in the library.");
  setText(lblNoPhotos2, "Take Photos using camera.");
  setHidden(btnAlbumPicker, true);
  placeBanner(false);
  photoManager = PhotoManager::photoManagerWithType_delegate(mediaType, this);
  loadMedia();
}

void TLXMediaPickerController::applyProvidedFonts(const FontDictionary& fonts) {
  const auto apply = [&fonts](const std::shared_ptr<UILabel>& label, const char* key) {
    const auto font = fonts.find(key);
    if (label) label->setFont(font == fonts.end() ? nullptr : font->second);
  };
  const auto button = btnAllowAccess.lock();
  apply(lblAllowAccess1.lock(), "Raleway-Medium:15");
  apply(lblAllowAccess2.lock(), "Raleway-Regular:14");
  apply(lblAllowAccess3.lock(), "Raleway-Regular:14");
  apply(button ? button->titleLabel() : nullptr, "Raleway-Medium:15");
  apply(lblNoPhotos1.lock(), "Raleway-Regular:14");
  apply(lblNoPhotos2.lock(), "Raleway-Regular:14");
}

void TLXMediaPickerController::loadMedia() {
  if (!photoManager || !photoManager->isUserAuthorized() || albumPickerTableViewController) return;
  const auto self = sharedAs(this);
  albumPickerTableViewController =
      AlbumPickerTableViewController::initWithStoryBoard_photoManager_delegate(pickerStoryboard(), photoManager, self);
  subscribe(std::dynamic_pointer_cast<MediaPickerBroadcastProtocol>(albumPickerTableViewController));

  mediaCollectionViewCotroller =
      MediaCollectionViewController::initWithStoryBoard_photoManager_delegate(pickerStoryboard(), photoManager, self);
  if (mediaCollectionViewCotroller) {
    if (auto grid = mediaCollectionViewCotroller->collectionView()) {
      grid->setContentInset({kGridTopInset, 0, 0, 0});
      // The scene's size is not yet the window's.
      grid->setAutoresizingMask(UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight);
      if (auto container = viewCLContainer.lock()) container->addSubview(grid);
    }
  }
  subscribe(mediaCollectionViewCotroller);

  createProgressView();
  if (pickerControllerDelegate) iImageLimit = pickerControllerDelegate->maxSelectedMedia();
  if (pickerControllerDelegate) imageSize = pickerControllerDelegate->selectedImageSize();
  setText(lblLimitationWarning, "Picker Limitation Exceeded.");
}

void TLXMediaPickerController::viewWillAppear(bool animated) {
  UIViewController::viewWillAppear(animated);
  changeDoneButtonState(arrPickedModel());
}

bool TLXMediaPickerController::prefersStatusBarHidden() {
  const auto below = presentingViewController();
  return below && below->prefersStatusBarHidden();
}

void TLXMediaPickerController::btnAllowAccess_(const std::shared_ptr<UIButton>&) {
  UIApplication::sharedApplication().openURL(UIApplicationOpenSettingsURLString);
}

bool TLXMediaPickerController::mediaExist(const std::shared_ptr<Media>& media) {
  return media && photoManager && photoManager->mediaExist(media->getMediaIdentifier());
}

void TLXMediaPickerController::firstTimeAuthorization() {
  setHidden(viewAccessContainer, true);
}

void TLXMediaPickerController::userAuthorized(bool authorized) {
  setText(lblAllowAccess1, "This app cannot access your photos");
  setText(lblAllowAccess2, "Please go to Settings and turn on");
  setText(lblAllowAccess3, "access to your photos");
  setHidden(btnCamera, !authorized);
  setHidden(viewAccessContainer, authorized);
  if (authorized) {
    loadMedia();
  } else {
    // Access may be taken away while albums are shown.
    setHidden(btnAlbumPicker, true);
    setHidden(viewNoPhotos, true);
  }
}

void TLXMediaPickerController::showEmptyMediaWarning() {
  setHidden(viewNoPhotos, false);
  setHidden(btnAlbumPicker, true);
}

void TLXMediaPickerController::hideEmptyMediaWarning() {
  setHidden(viewNoPhotos, true);
  setHidden(btnAlbumPicker, false);
}

void TLXMediaPickerController::photoLibraryChanged(const std::shared_ptr<const PHChange>& change) {
  ++libraryChanges_;
  const auto picked = arrPickedModel();
  // All in one pass over the records, of which there may be a million for each of thousands of items.
  std::vector<Identifier> wanted;
  for (const auto& media : *picked) wanted.push_back(media->getMediaIdentifier());
  for (const auto& media : arrUnsuccessfulMedia()) wanted.push_back(media->getMediaIdentifier());
  const auto exists = photoManager ? photoManager->selectModels(wanted) : std::vector<bool>(wanted.size());
  for (auto index = arrUnsuccessfulMedia_.size(); index-- > 0;) {
    if (exists[picked->size() + index]) continue;
    arrUnsuccessfulMedia_.erase(arrUnsuccessfulMedia_.begin() + static_cast<std::ptrdiff_t>(index));
  }
  for (auto index = picked->size(); index-- > 0;) {
    if (exists[index]) continue;
    picked->erase(picked->begin() + static_cast<std::ptrdiff_t>(index));
    changeDoneButtonState(picked);
  }
  broadcastSelector_dataModel(&MediaPickerBroadcastProtocol::mediaPicker_photoLibraryChanged, change);
  const auto shown = mediaCollectionViewCotroller ? mediaCollectionViewCotroller->albumModel : nullptr;
  // The album may have another name by now.
  if (auto title = btnAlbumPicker.lock(); title && shown) {
    title->setTitle_forState(shown->getAlbumName(), UIControlStateNormal);
  }
}

std::optional<UIFontRef> TLXMediaPickerController::fontsForKey(const std::string& key) {
  const auto font = dicFonts.find(key);
  return font == dicFonts.end() ? UIFontRef() : font->second;
}

}  // namespace tlx
