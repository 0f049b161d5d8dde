#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tlx/library/Media.h"
#include "tlx/library/MediaModel.h"
#include "tlx/library/PhotoManager.h"
#include "tlx/picker/MediaPickerBroadcastProtocol.h"
#include "tlx/picker/TLXMediaPickerVersion.h"
#include "tlx/platform/dispatch/MainQueue.h"
#include "tlx/platform/foundation/NSTimer.h"
#include "tlx/platform/photos/PHImageRequest.h"
#include "tlx/platform/uikit/UIAlertController.h"
#include "tlx/platform/uikit/UIImagePickerController.h"
#include "tlx/platform/uikit/UIPopoverPresentationController.h"
#include "tlx/platform/uikit/UIViewController.h"
#include "tlx/progress/TLXDownloadProgress.h"
#include "tlx/views/AlbumPickerDelegate.h"
#include "tlx/views/CustomAlbumButton.h"
#include "tlx/views/MediaCollectionViewController.h"
#include "tlx/views/MediaCollectionViewDelegate.h"
#include "tlx/views/MediaPickerProtocol.h"
#include "tlx/views/PickerStoryboard.h"

namespace tlx {

class TLXMediaPickerController;

/// Items in the order in which they were picked.
using MediaList = std::vector<std::shared_ptr<Media>>;
/// Fonts by the picker's own keys, such as "Raleway-Bold:14". The keys only name places:
///
/// - "Raleway-Medium:15": first line and button of the screen without access
/// - "Raleway-Regular:14": its other lines, and both lines of the empty library
/// - "Raleway-Bold:14" and "Raleway-Medium:14": the current album's and the other albums' lines in the list
using FontDictionary = std::map<std::string, UIFontRef>;

/// What the picker asks and tells its host. Main thread. An answer may take its time, spin an event loop, or let go of
/// the picker.
class TLXMediaPickerControllerDelegate {
 public:
  virtual ~TLXMediaPickerControllerDelegate() = default;

  /// Asked once, when the picker's view loads. No answer leaves all labels their own fonts; a key that the answer lacks
  /// resets its labels to the platform's default font.
  virtual std::optional<FontDictionary> provideFonts() { return std::nullopt; }
  /// How many items may be picked, asked once, when access is there. 0 refuses the first, a negative number none.
  virtual std::int64_t maxSelectedMedia() = 0;
  /// The size in pixels within which images are delivered; asked right after the limit.
  virtual CGSize selectedImageSize() = 0;
  /// Whether one more item may be picked, beside the `count` that are picked already. Asked before the limit is tested.
  virtual bool mediaPicker_shouldSelectMediaItem(TLXMediaPickerController& picker, std::uint64_t count) { return true; }
  /// The person wants no more. The picker goes on as it is until the host dismisses it and lets go of it.
  virtual void mediaPickerCancelPressed() = 0;
  /// The person is done: the items are about to be fetched. Again after each retry.
  virtual void mediaPickerWillStartFetching() {}
  /// The result, in picked order: images upright at the size asked for, videos playable. Empty when nothing was picked.
  virtual void mediaPicker_didFinishPickingMediaWithInfo(TLXMediaPickerController& picker, const MediaList& media) = 0;
};

/// The photo and video picker: one screen that a host makes, presents, hears from, and dismisses.
///
///     picker = TLXMediaPickerController::mediaPickerController_delegate(0, &delegate);
///     screen->presentViewController_animated_completion(picker, true, nullptr);
///     …
///     void Delegate::mediaPicker_didFinishPickingMediaWithInfo(TLXMediaPickerController&, const MediaList& media) {
///       use(media);
///       screen->dismissViewControllerAnimated_completion(true, nullptr);
///     }
///
/// Main thread only. It never dismisses itself. When the host lets go of it, also in the middle of a fetch, what it was
/// waiting for is cancelled and nothing more is told.
class TLXMediaPickerController : public UIViewController,
                                 public PhotoManagerDelegate,
                                 public AlbumPickerDelegate,
                                 public MediaCollectionViewDelegate,
                                 public TLXDownloadProgressDelegate,
                                 public UIPopoverPresentationControllerDelegate,
                                 public UIImagePickerControllerDelegate {
 public:
  static const Class& classObject();

  /// A new picker that offers images and videos (0), images only (1) or videos only (2). An `NSException` when the
  /// platform has no scene for it.
  static std::shared_ptr<TLXMediaPickerController> mediaPickerController_delegate(
      std::int64_t mediaType, TLXMediaPickerControllerDelegate* delegate);
  ~TLXMediaPickerController() override;

  // What the host may set or read.

  std::int64_t mediaType = 0;
  /// May be nothing: then nobody is asked or told.
  TLXMediaPickerControllerDelegate* pickerControllerDelegate = nullptr;  // unretained: the host outlives the picker
  /// Taken from the delegate with the first access.
  std::int64_t iImageLimit = 0;
  CGSize imageSize;
  /// Taken from the delegate when it provides fonts.
  FontDictionary dicFonts;
  /// Shared with the steps that are on their way to the main queue: they see what it holds when they run.
  const std::shared_ptr<MediaList>& arrPickedModel();

  // The screen and its states.

  void viewDidLoad() override;
  void viewWillAppear(bool animated) override;
  /// As the screen below has it.
  bool prefersStatusBarHidden() override;
  void applyProvidedFonts(const FontDictionary& fonts);
  /// Builds grid, album list and download panel, once, when there is access.
  void loadMedia();
  /// Whether the library still holds the item.
  bool mediaExist(const std::shared_ptr<Media>& media);
  /// Opens the settings page.
  void btnAllowAccess_(const std::shared_ptr<UIButton>& sender);

  void firstTimeAuthorization() override;
  void userAuthorized(bool authorized) override;
  void showEmptyMediaWarning() override;
  void hideEmptyMediaWarning() override;
  /// Lets go of picked items that are gone, marks the others in the new records, and tells the subscribers.
  void photoLibraryChanged(const std::shared_ptr<const PHChange>& change) override;
  /// Always answers; the answer may be that there is no such font.
  std::optional<UIFontRef> fontsForKey(const std::string& key) override;

  // Selection. A tap in the grid arrives with the item's mark already flipped.

  void pickedModel(const std::shared_ptr<MediaModel>& model) override;
  bool isMediaAlreadyPicked(const Identifier& identifier) override;
  void removeAssetByidentifier(const Identifier& identifier);
  /// Takes the item that is being fetched out of the picked ones.
  void removeSelection();
  /// Posts the removal of all marks.
  void resetSelection();
  /// The banner slides in, and out again after 2 seconds.
  void photosLimitationWarning();
  void resetAnimation();
  /// Posts the change of Done button and count. The list, as it is by then, only decides whether they are seen.
  void changeDoneButtonState(const std::shared_ptr<MediaList>& list);
  /// "No Photos", "1 Photo", "5 Photos".
  std::string getFormattedText_suffix(std::int64_t count, const std::string& suffix) const;

  // Broadcast. The same subscriber twice is told twice; nothing is not added.

  void subscribe(const std::shared_ptr<MediaPickerBroadcastProtocol>& subscriber);
  void removeSubscription(const std::shared_ptr<MediaPickerBroadcastProtocol>& subscriber);
  /// Tells all subscribers before it returns, in the order in which they subscribed; both arguments are the datum.
  template <class D>
  void broadcastSelector_dataModel(void (MediaPickerBroadcastProtocol::*message)(D, D), D data) {
    broadcastSelector_dataModel_dataModel(message, data, data);
  }
  template <class D>
  void broadcastSelector_dataModel_dataModel(void (MediaPickerBroadcastProtocol::*message)(D, D), D first, D second) {
    for (const auto& subscriber : std::vector(arrSubscriber)) ((*subscriber).*message)(first, second);
  }
  std::vector<std::shared_ptr<MediaPickerBroadcastProtocol>> arrSubscriber;

  // Finalization. A pass walks the picked items from the last to the first, one request at a time, each item once;
  // items picked meanwhile are fetched after the others. A new pass replaces one that is under way.

  void btnDonePressed();
  /// Fetches the item at the index or, when the list has become shorter or has been fetched there, the next one below.
  /// An item that is neither image nor video ends the walk for good: nothing is asked for and Done is not enabled.
  void startSyncOperationForIndex_totalItems(std::int64_t index, std::int64_t total);
  /// Ends a pass: everything is unpicked after a cancel, else the result is delivered or a question asked. The question
  /// comes as soon as nothing else is presented by the picker; the album list is closed for it, a camera is not.
  void finalizeDone();
  /// Hands what was fetched to the host, never an item that was not. What the picker itself presents goes first.
  void didFinishPickingMediaInfo();
  /// Posts a cancel, which unpicks everything, whether or not a pass is under way by then; requests that are still
  /// under way are cancelled, and a question about failures is taken back.
  void cancelDownload() override;
  /// From 0 to 1.
  void setProgress(double progress);
  bool isNetConnnected();
  std::int64_t numOfInternetFailure(const MediaList& media) const;
  std::int64_t numOfUnsupportedVideo(const MediaList& media) const;

  /// From a cancel until the next pass begins.
  bool cancelling() const { return *cancelling_; }
  /// The connectivity as the last item's fetch began.
  bool boolInternetConnected = false;
  /// How many items the last pass began with.
  std::int64_t iMediaCount = 0;
  /// The items that the current pass could not fetch and that are still wanted.
  MediaList& arrUnsuccessfulMedia() { return arrUnsuccessfulMedia_; }
  /// Every request since the last cancel.
  std::vector<PHImageRequestID>& arrCloudReqId() { return arrCloudReqId_; }

  // The album list, a popover under the title button. The button's tag says what the next press does.

  enum ButtonTag : std::int64_t { TagListOpen = 101, TagListClosed = 102, TagDone = 105, TagCancel = 106 };

  void pickedAlbumWithAlbumModel(const std::shared_ptr<AlbumModel>& album) override;
  /// The title button, Done and Cancel, told apart by their tags.
  void btnPressed(const std::shared_ptr<UIButton>& sender);
  /// Fades everything that goes with the list; closing leaves the popover itself alone.
  void showAlbumList(bool show);
  void showTableViewPopUp();
  UIModalPresentationStyle adaptivePresentationStyleForPresentationController(
      UIPopoverPresentationController& controller) override;
  bool popoverPresentationControllerShouldDismissPopover(UIPopoverPresentationController& controller) override;

  // The download overlay, made once, hidden.

  void createProgressView();
  void initDownloadProgress();

  // The camera. What was captured is saved into the library and is then picked, finished as it is.

  /// Asks for access when nobody has decided, then shows the camera, or says why not.
  void btnCameraPressed() override;
  /// The way to the settings page.
  void showAlert();
  /// Asks the host and tests the limit first, as for a tap in the grid.
  void showCamera();
  /// What the capture screen offers; nothing for a `mediaType` without a meaning.
  UIImagePickerController::MediaTypes setMediaType() const;
  /// The views are asked for the camera roll and the screen is dismissed also when the capture could not be saved.
  /// After a photo the status bar comes back, after a video it does not. What is neither leaves the screen as it is.
  void imagePickerController_didFinishPickingMediaWithInfo(const std::shared_ptr<UIImagePickerController>& screen,
                                                           const UIImagePickerControllerInfo& info) override;
  void imagePickerControllerDidCancel(const std::shared_ptr<UIImagePickerController>& screen) override;

  // The parts that the picker is made of.

  /// Made on first read.
  const std::shared_ptr<PickerStoryboard>& pickerStoryboard();
  std::shared_ptr<MediaCollectionViewController> mediaCollectionViewCotroller;
  std::shared_ptr<MediaPickerProtocol> albumPickerTableViewController;
  std::shared_ptr<PhotoManager> photoManager;

  std::weak_ptr<UIView> viewContainer, viewTbContainer, viewCLContainer;
  std::weak_ptr<UIView> viewNoPhotos, viewAccessContainer, viewPhotoLimitationWarning;
  std::weak_ptr<CustomAlbumButton> btnAlbumPicker;
  std::weak_ptr<UIButton> btnDone, btnSelected, btnCamera, btnAllowAccess;
  std::weak_ptr<UILabel> lblAllowAccess1, lblAllowAccess2, lblAllowAccess3;
  std::weak_ptr<UILabel> lblNoPhotos1, lblNoPhotos2, lblLimitationWarning, lblPhotoCount;

 private:
  /// A closure that runs `step(self, arguments...)` on the main thread unless the picker is gone by then; it keeps
  /// nothing alive.
  template <class Step>
  auto whileAlive(Step step) {
    return [weak = weak_from_this(), step = std::move(step)](auto&&... arguments) {
      if (auto self = std::static_pointer_cast<TLXMediaPickerController>(weak.lock())) step(*self, arguments...);
    };
  }
  template <class Step>
  void post(Step step) {
    dispatch_async_main(whileAlive(std::move(step)));
  }

  bool hostAllows(const std::shared_ptr<MediaModel>& model);
  bool isFull();
  void refusePick(const std::shared_ptr<MediaModel>& model);
  void pick(const std::shared_ptr<Media>& media);
  void forgetFailure(const Identifier& identifier);
  void placeBanner(bool in);
  void slideBanner(bool in, std::function<void(bool finished)> completion);
  void hideBannerAtTick();

  std::int64_t nextToFetch(std::int64_t index);
  PHImageRequestID requestImage(std::int64_t index, std::int64_t total);
  PHImageRequestID requestVideo(std::int64_t index, std::int64_t total);
  PHAssetImageProgressHandler progressHandler();
  template <class Take>
  auto answer(std::int64_t index, std::int64_t total, Take take);
  void takeImage(const std::shared_ptr<const UIImage>& image);
  void takeVideo(const std::shared_ptr<const AVAsset>& video, const PHImageInfo& info);
  void takeFailure(FetchCompletionStatus status);
  void takeQuestionBack();
  void abandonPass();
  void takeFailuresBack();
  void cancelPass();
  std::shared_ptr<UIViewController> questionAboutFailures();
  void goOn();
  void clearSelection();

  void saveImage(const std::shared_ptr<UIImagePickerController>& screen, const std::shared_ptr<const UIImage>& image);
  void saveMovie(const std::shared_ptr<UIImagePickerController>& screen, const std::optional<AVRecording>& url);
  bool isOnScreen();
  /// The camera that is shown or waits to be; nothing when it is on its way out.
  std::shared_ptr<UIViewController> openCamera() const;
  void fetchCaptured(const std::shared_ptr<const PHAsset>& asset);
  void pickCaptured(const std::shared_ptr<Media>& media);
  void leaveCamera(const std::shared_ptr<UIImagePickerController>& screen, std::function<void()> completion);

  std::shared_ptr<UIViewController> albumList() const;
  void closeAlbumList(bool animated);
  void closeOwnScreens();
  void turnArrow(double angle);

  std::shared_ptr<PickerStoryboard> pickerStoryboard_;
  std::shared_ptr<MediaList> arrPickedModel_;
  MediaList arrUnsuccessfulMedia_;
  std::vector<PHImageRequestID> arrCloudReqId_;
  std::uint64_t libraryChanges_ = 0;

  /// The pass's own, shared with its progress handlers, which read it on other threads.
  std::shared_ptr<std::atomic<bool>> cancelling_ = std::make_shared<std::atomic<bool>>(false);
  bool fetching_ = false;    // an answer is waited for
  bool delivering_ = false;  // the host is being told
  /// Drawn anew by whatever makes answers that are still on their way too late; an answer carries the one it belongs
  /// to.
  std::uint64_t turn_ = 0;
  std::unordered_set<std::shared_ptr<Media>> fetched_;  // asked for in this pass

  /// Photos that were taken and are picked when their pictures come, unless they are unpicked before.
  std::vector<Identifier> capturesToPick_;
  std::weak_ptr<UIViewController> question_, camera_, accessAlert_;
  std::shared_ptr<NSTimer> timer;  // hides the banner
  int bannerSlidesIn_ = 0;
  std::shared_ptr<Media> processingMediaModel;
  std::shared_ptr<UIView> viewProgress;
  std::shared_ptr<TLXDownloadProgress> downloadProgress;
  [[maybe_unused]] bool isProgressviewShowing = false;
  [[maybe_unused]] PHImageRequestID requestId = PHInvalidImageRequestID;
};

}  // namespace tlx
