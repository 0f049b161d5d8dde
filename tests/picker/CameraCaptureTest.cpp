#include <algorithm>
#include <ctime>

#include "adapters/memory/Pictures.h"
#include "tests/support/PickerSession.h"

namespace tlx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A picker whose camera button can be pressed, and the messages that its views hear.
struct CameraSession : PickerSession {
  explicit CameraSession(std::int64_t kind = 0, std::int64_t limit = -1) {
    host.limit = limit;
    open(kind);
  }
  void press() {
    picker->btnCameraPressed();
    settle();
  }
  std::shared_ptr<UIImagePickerController> screen() { return platform.camera.screen(); }
  bool alertIsShown() { return platform.presentation.alert() != nullptr; }
  bool statusBarIsHidden() { return platform.application.isStatusBarHidden(); }

  static std::shared_ptr<const UIImage> photo(std::size_t width = 40, std::size_t height = 30,
                                              UIImageOrientation orientation = UIImageOrientationUp) {
    return memory::solidPicture(width, height, 0x208040, orientation);
  }
  static AVRecording recording(std::shared_ptr<const void> owner = nullptr) {
    return {"/captures/1.mp4", {{AVMediaTypeVideo, "h264", 1280, 720, 3}}, 3, std::move(owner)};
  }
};

bool bannerIsShown(CameraSession& session) {
  return !session.picker->viewPhotoLimitationWarning.lock()->isHidden();
}

TEST(CameraCapture, AccessDecidesWhatTheButtonDoes) {
  struct Row {
    const char* why;
    AVAuthorizationStatus status;
    bool canAsk;
    std::optional<bool> answer;
    int questions;
    bool camera, alert;
  };
  const Row rows[] = {
      {"authorized", AVAuthorizationStatusAuthorized, true, {}, 0, true, false},
      {"restricted", AVAuthorizationStatusRestricted, true, {}, 0, false, true},
      {"denied", AVAuthorizationStatusDenied, true, {}, 0, false, true},
      {"asked, allowed", AVAuthorizationStatusNotDetermined, true, true, 1, true, false},
      {"asked, refused", AVAuthorizationStatusNotDetermined, true, false, 1, false, true},
      {"asked, not yet answered", AVAuthorizationStatusNotDetermined, true, std::nullopt, 1, false, false},
      {"nobody can be asked", AVAuthorizationStatusNotDetermined, false, {}, 0, true, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    CameraSession session;
    session.platform.camera.setStatus(row.status);
    session.platform.camera.setOffersAccessRequest(row.canAsk);
    session.platform.camera.setAnswer(row.answer);
    session.press();
    EXPECT_EQ(session.platform.camera.questionCount(), row.questions);
    EXPECT_EQ(session.screen() != nullptr, row.camera);
    EXPECT_EQ(session.statusBarIsHidden(), row.camera);
    EXPECT_EQ(session.alertIsShown(), row.alert);
    if (!row.alert) continue;
    const auto shown = session.platform.presentation.events().back();
    EXPECT_EQ(shown.title, "");
    EXPECT_EQ(shown.message, "You can allow this app to access your camera in privacy settings.");
    EXPECT_THAT(shown.buttons, ElementsAre("Cancel", "Settings"));
    EXPECT_THAT(session.platform.messages(), IsEmpty()) << "the host is not asked";
    session.platform.presentation.press("Settings");
    session.settle();
    EXPECT_THAT(session.platform.application.openedURLs(), ElementsAre(UIApplicationOpenSettingsURLString));
    session.press();
    EXPECT_TRUE(session.alertIsShown()) << "a refusal stays one";
  }
}

TEST(CameraCapture, HostAndLimitComeFirstAndTheKindDecidesWhatIsOffered) {
  using Types = std::vector<std::string>;
  struct Row {
    const char* why;
    std::int64_t kind, limit;
    Names picked;
    bool allowed, opens, banner;
    UIImagePickerController::MediaTypes types;
    UIImagePickerControllerQualityType quality;
  };
  const auto high = UIImagePickerControllerQualityTypeHigh, plain = UIImagePickerControllerQualityTypeMedium;
  const Row rows[] = {
      {"both", 0, -1, {}, true, true, false, Types{"public.movie", "public.image"}, high},
      {"images only", 1, -1, {}, true, true, false, Types{"public.image"}, plain},
      {"videos only", 2, -1, {}, true, true, false, Types{"public.movie"}, high},
      {"a kind without a meaning", 9, -1, {}, true, true, false, std::nullopt, plain},
      {"vetoed; the limit is not looked at", 0, 0, {}, false, false, false, {}, high},
      {"the limit is reached", 0, 2, {"a", "b"}, true, false, true, {}, high},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    CameraSession session(row.kind, row.limit);
    session.pick(row.picked);
    session.host.shouldSelect = [&](std::uint64_t) { return row.allowed; };
    session.platform.messageLog.take();
    session.press();
    EXPECT_THAT(session.platform.messages(), ElementsAre("shouldSelect " + std::to_string(row.picked.size())));
    EXPECT_EQ(bannerIsShown(session), row.banner);
    ASSERT_EQ(session.screen() != nullptr, row.opens);
    if (!row.opens) continue;
    EXPECT_EQ(session.screen()->mediaTypes(), row.types);
    EXPECT_EQ(session.screen()->videoQuality(), row.quality);
    EXPECT_EQ(session.screen()->sourceType(), UIImagePickerControllerSourceTypeCamera);
    EXPECT_FALSE(session.screen()->allowsEditing());
    EXPECT_EQ(session.picker->btnAlbumPicker.lock()->tag(), TLXMediaPickerController::TagListClosed);
  }
}

TEST(CameraCapture, AnAnswerThatComesWhileTheListIsOpenClosesIt) {
  for (const bool allowed : {true, false}) {
    CameraSession session;
    session.platform.camera.setStatus(AVAuthorizationStatusNotDetermined);
    session.platform.camera.setAnswer(std::nullopt);
    session.press();
    session.picker->btnAlbumPicker.lock()->press();
    session.settle();
    ASSERT_TRUE(session.platform.presentation.popover());
    session.platform.camera.answer(allowed);
    session.settle();
    EXPECT_EQ(session.screen() != nullptr, allowed);
    EXPECT_EQ(session.alertIsShown(), !allowed);
    EXPECT_EQ(session.picker->btnAlbumPicker.lock()->tag(), TLXMediaPickerController::TagListClosed);
  }
}

/// Hears what the views are asked for.
struct Subscriber : MediaPickerBroadcastProtocol {
  explicit Subscriber(CameraSession& told) : session(told) {}
  void mediaPicker_selectCameraRollAlbum(std::string, std::string datum) override {
    session.platform.log("cameraRoll '" + datum + "' with " + std::to_string(session.picked().size()));
  }
  CameraSession& session;
};

TEST(CameraCapture, WhatWasTakenIsSavedAndPicked) {
  struct Row {
    const char* why;
    bool video, saveFails, pictureFails, picked, statusBarStaysHidden;
    std::string broadcast;
  };
  const Row rows[] = {
      {"a photo: picked when its picture has come", false, false, false, true, false, "cameraRoll '' with 0"},
      {"a photo that cannot be saved", false, true, false, false, false, "cameraRoll '' with 0"},
      {"a photo whose picture cannot be had", false, false, true, false, false, "cameraRoll '' with 0"},
      {"a video: picked before anything moves", true, false, false, true, true, "cameraRoll '' with 1"},
      {"a video that cannot be saved", true, true, false, false, true, "cameraRoll '' with 0"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    CameraSession session;
    session.picker->subscribe(std::make_shared<Subscriber>(session));
    if (row.saveFails) session.platform.library.setSaveError(NSError{kPhotoLibraryErrorDomain, 7, "Full"});
    if (row.pictureFails) session.script("saved 1", PickerSession::failing());
    session.press();
    session.platform.messageLog.take();
    const auto owner = std::make_shared<int>();
    if (row.video) {
      session.platform.camera.takeVideo(CameraSession::recording(owner));
    } else {
      session.platform.camera.takePhoto(CameraSession::photo(40, 30, UIImageOrientationRight));
    }
    EXPECT_TRUE(session.screen());
    session.settle();
    EXPECT_THAT(session.platform.messages(), ElementsAre(row.broadcast));
    EXPECT_FALSE(session.screen()) << "it is dismissed in any case";
    EXPECT_FALSE(session.alertIsShown()) << "and nobody is told why";
    EXPECT_EQ(session.statusBarIsHidden(), row.statusBarStaysHidden);
    ASSERT_EQ(session.picked(), row.picked ? Names({"saved 1"}) : Names());
    if (!row.picked) continue;
    EXPECT_EQ(session.picker->lblPhotoCount.lock()->text(), "(1)");
    const auto media = session.picker->arrPickedModel()->front();
    EXPECT_EQ(media->fetchCompletionStatus(), FetchCompletionStatusFetched);
    EXPECT_EQ(media->getMediaType(), row.video ? PHAssetMediaTypeVideo : PHAssetMediaTypeImage);
    EXPECT_EQ(media->getMediaImage() == nullptr, row.video);
    if (row.video) {
      const auto asset = std::dynamic_pointer_cast<const AVURLAsset>(media->getMediaVideoAsset());
      EXPECT_EQ(asset->path(), "/captures/1.mp4");
      EXPECT_GT(owner.use_count(), 1) << "the capture's own file stays with the record";
    } else {
      EXPECT_NEAR(session.item("saved 1")->getMediaAsset()->creationDate, static_cast<double>(std::time(nullptr)), 5);
      EXPECT_EQ(session.platform.library.lastSaved()->imageOrientation(), UIImageOrientationUp);
      EXPECT_EQ(session.platform.library.lastSaved()->size(), CGSizeMake(30, 40));
      const auto requests = session.platform.images.requests();
      const auto first = std::ranges::find_if(requests, PickerSession::isFetch);
      EXPECT_EQ(first->targetSize, session.host.size);
      EXPECT_EQ(first->contentMode, PHImageContentModeAspectFit);
      EXPECT_EQ(first->imageOptions.resizeMode, PHImageRequestOptionsResizeModeExact);
    }
    EXPECT_TRUE(session.done());
    EXPECT_EQ(namesOf(session.host.deliveries.at(0)), Names({"saved 1"}));
  }
}

TEST(CameraCapture, TheMarkComesWithTheChangeIfTheItemIsPickedByThen) {
  struct Row {
    const char* why;
    bool video, changeComesLate, marked;
  };
  const Row rows[] = {
      {"a video is picked before the change is told", true, false, true},
      {"a photo's picture comes after it", false, false, false},
      {"a photo whose change comes late", false, true, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    CameraSession session;
    session.platform.library.setTellsOfSaves(!row.changeComesLate);
    session.press();
    if (row.video) {
      session.platform.camera.takeVideo(CameraSession::recording());
    } else {
      session.platform.camera.takePhoto(CameraSession::photo());
    }
    session.settle();
    session.platform.library.deliverNextChange();
    session.settle();
    ASSERT_TRUE(session.item("saved 1")) << "the camera roll is shown as it is now";
    EXPECT_EQ(session.isMarked("saved 1"), row.marked);
    EXPECT_EQ(session.picked(), Names({"saved 1"}));
  }
}

TEST(CameraCapture, LeavingShowsTheStatusBarAndNothingElse) {
  CameraSession session;
  session.picker->subscribe(std::make_shared<Subscriber>(session));
  session.press();
  session.platform.messageLog.take();
  EXPECT_TRUE(session.platform.camera.take({"public.audio", nullptr, std::nullopt}));
  session.settle();
  EXPECT_TRUE(session.screen()) << "what is neither photo nor video does nothing";
  EXPECT_TRUE(session.platform.camera.cancel());
  EXPECT_TRUE(session.statusBarIsHidden()) << "not before it has gone";
  session.settle();
  EXPECT_FALSE(session.screen());
  EXPECT_FALSE(session.statusBarIsHidden());
  EXPECT_THAT(session.platform.messages(), IsEmpty());
  EXPECT_EQ(session.picked(), Names());
}

// The picture of a photo may come when the camera is long gone.
TEST(CameraCapture, APhotoThatArrivesLateIsPickedOnceAndWithinTheLimit) {
  const struct {
    const char* why;
    Names taps, picked;
  } rows[] = {
      {"it was picked meanwhile", {"saved 1"}, {"saved 1"}},
      {"another was", {"a"}, {"a"}},
      {"it was picked and unpicked", {"saved 1", "saved 1"}, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    CameraSession session(0, 1);
    session.script("saved 1", PickerSession::stalling());
    session.press();
    session.platform.camera.takePhoto(CameraSession::photo());
    session.settle();
    session.pick(row.taps);
    session.script("saved 1", {});
    session.platform.images.release("saved 1");
    session.settle();
    EXPECT_EQ(session.picked(), row.picked);
  }
}

}  // namespace
}  // namespace tlx::test
