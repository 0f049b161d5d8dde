#include "tests/support/PickerSession.h"

namespace tlx::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string textOf(const std::weak_ptr<UILabel>& label) {
  return label.lock()->text();
}
bool isShown(const auto& view) {
  return !view.lock()->isHidden();
}

TEST(ScreenStates, AccessGrantedLeadsToTheFirstAlbum) {
  PickerSession session;
  session.host.limit = 7;
  session.make();
  session.picker->view();
  EXPECT_THAT(session.platform.messages(), ElementsAre("maxSelectedMedia", "selectedImageSize"));
  EXPECT_EQ(session.picker->iImageLimit, 7);
  EXPECT_EQ(session.picker->imageSize, session.host.size);
  EXPECT_TRUE(isShown(session.picker->btnCamera));
  EXPECT_TRUE(session.picker->btnCamera.lock()->imageView()->image());
  EXPECT_FALSE(isShown(session.picker->viewAccessContainer));
  EXPECT_FALSE(isShown(session.picker->viewNoPhotos));
  EXPECT_EQ(textOf(session.picker->lblLimitationWarning), "Picker Limitation Exceeded.");
  const auto banner = session.picker->viewPhotoLimitationWarning.lock()->frame();
  EXPECT_EQ(banner.origin, (CGPoint{0, -banner.size.height})) << "the banner waits above the top edge";
  ASSERT_EQ(session.picker->arrSubscriber.size(), 2u);
  EXPECT_EQ(std::dynamic_pointer_cast<UIViewController>(session.picker->arrSubscriber.front()), session.list());
  EXPECT_EQ(session.grid().collectionView()->superview(), session.picker->viewCLContainer.lock());
  EXPECT_EQ(session.grid().collectionView()->contentInset(), (UIEdgeInsets{61, 0, 0, 0}));
  EXPECT_EQ(session.grid().albumModel, nullptr);

  session.platform.advance(0.11);
  ASSERT_NE(session.grid().albumModel, nullptr);
  EXPECT_EQ(session.picker->btnAlbumPicker.lock()->titleForState(UIControlStateNormal), "Camera Roll");
  EXPECT_EQ(session.picker->btnAlbumPicker.lock()->tag(), 102);

  session.picker->userAuthorized(true);
  EXPECT_EQ(session.platform.messages().size(), 2u) << "the content is built once";
  EXPECT_EQ(session.picker->arrSubscriber.size(), 2u);
}

TEST(ScreenStates, DeniedShowsWhyAndLeadsToTheSettings) {
  PickerSession session;
  session.platform.library.setStatus(PHAuthorizationStatusDenied);
  session.open();
  EXPECT_TRUE(isShown(session.picker->viewAccessContainer));
  EXPECT_FALSE(isShown(session.picker->btnCamera));
  EXPECT_EQ(textOf(session.picker->lblAllowAccess1), "This app cannot access your photos");
  EXPECT_EQ(textOf(session.picker->lblAllowAccess2), "Please go to Settings and turn on");
  EXPECT_EQ(textOf(session.picker->lblAllowAccess3), "access to your photos");
  EXPECT_EQ(session.picker->mediaCollectionViewCotroller, nullptr);
  EXPECT_EQ(session.picker->iImageLimit, 0) << "without access the host is not asked";
  EXPECT_TRUE(session.picker->btnAllowAccess.lock()->press());
  EXPECT_THAT(session.platform.application.openedURLs(), ElementsAre("app-settings:"));
  EXPECT_EQ(session.picker->btnAllowAccess.lock()->cornerRadius(), 8.0);
  EXPECT_TRUE(session.picker->btnAllowAccess.lock()->clipsToBounds());

  session.platform.library.changeAccess(PHAuthorizationStatusAuthorized);
  session.settle();
  EXPECT_FALSE(isShown(session.picker->viewAccessContainer));
  session.pick({"a"});
  session.platform.library.changeAccess(PHAuthorizationStatusDenied);
  session.settle();
  EXPECT_TRUE(isShown(session.picker->viewAccessContainer));
  EXPECT_FALSE(isShown(session.picker->viewNoPhotos)) << "nobody knows whether there are any";
  EXPECT_TRUE(session.picker->btnAlbumPicker.lock()->isHidden());
  EXPECT_EQ(session.picked(), Names());
  session.platform.library.changeAccess(PHAuthorizationStatusAuthorized);
  session.settle();
  EXPECT_NE(session.item("a"), nullptr);
  EXPECT_FALSE(session.picker->btnAlbumPicker.lock()->isHidden());
}

TEST(ScreenStates, EmptyLibraryComesAndGoes) {
  PickerSession session(Names{});
  session.open();
  EXPECT_TRUE(isShown(session.picker->viewNoPhotos));
  EXPECT_TRUE(session.picker->btnAlbumPicker.lock()->isHidden());
  EXPECT_EQ(textOf(session.picker->lblNoPhotos1), "No Photos in the library.");
  EXPECT_EQ(textOf(session.picker->lblNoPhotos2), "Take Photos using camera.");
  session.platform.library.change(
      [](memory::LibraryContents& contents) { contents.add(memory::photo("new"), {"Camera Roll"}); });
  session.settle();
  EXPECT_FALSE(isShown(session.picker->viewNoPhotos));
  EXPECT_FALSE(session.picker->btnAlbumPicker.lock()->isHidden());
  EXPECT_NE(session.item("new"), nullptr) << "the first album of a library that was empty is shown";
}

TEST(ScreenStates, FontsOfTheHostReplaceOrReset) {
  const auto font = UIFont::fontWithName_size("Sans", 15), scenes = UIFont::fontWithName_size("Scene", 9);
  PickerSession session;
  session.host.fonts = FontDictionary{{"Raleway-Medium:15", font}};
  session.make();
  session.picker->view();
  auto& picker = *session.picker;
  EXPECT_EQ(picker.lblAllowAccess1.lock()->font(), font);
  EXPECT_EQ(picker.btnAllowAccess.lock()->titleLabel()->font(), font);
  const auto reset = {picker.lblAllowAccess2, picker.lblAllowAccess3, picker.lblNoPhotos1, picker.lblNoPhotos2};
  for (const auto& label : reset) label.lock()->setFont(scenes);
  picker.applyProvidedFonts(picker.dicFonts);
  for (const auto& label : reset) EXPECT_EQ(label.lock()->font(), nullptr) << "a key that lacks resets";
  EXPECT_EQ(picker.fontsForKey("Raleway-Medium:15"), std::optional(font));
  EXPECT_EQ(picker.fontsForKey("Raleway-Bold:14"), std::optional(UIFontRef())) << "an answer: no font";
}

TEST(ScreenStates, StatusBarFollowsTheScreenBelow) {
  struct Below : UIViewController {
    bool prefersStatusBarHidden() override { return true; }
  };
  PickerSession session;
  session.make();
  EXPECT_FALSE(session.picker->prefersStatusBarHidden());
  const auto below = std::make_shared<Below>();
  below->presentViewController_animated_completion(session.picker, false, nullptr);
  EXPECT_TRUE(session.picker->prefersStatusBarHidden());
}

TEST(ScreenStates, LibraryChangeDropsWhatIsGoneAndMarksTheRest) {
  PickerSession session({"a", "b", "c", "d"});
  session.open();
  session.pick({"c", "a", "d"});
  const auto before = session.item("a");
  session.platform.library.change([](memory::LibraryContents& contents) {
    contents.remove({"c", "d"});
    contents.renameAlbum("Camera Roll", "Kamera");
  });
  session.settle();
  EXPECT_EQ(session.picker->btnAlbumPicker.lock()->titleForState(UIControlStateNormal), "Kamera");
  EXPECT_EQ(session.picked(), Names({"a"}));
  EXPECT_NE(session.item("a"), before) << "records are new";
  EXPECT_TRUE(session.isMarked("a"));
  EXPECT_FALSE(session.isMarked("b"));
  EXPECT_EQ(session.picker->lblPhotoCount.lock()->text(), "(1)");
  session.platform.library.change([](memory::LibraryContents& contents) { contents.remove({"a"}); });
  session.settle();
  EXPECT_EQ(session.picker->btnDone.lock()->alpha(), 0.0);
  EXPECT_FALSE(session.pressDone());
}

TEST(ScreenStates, AbsentHostIsNeitherAskedNorTold) {
  PickerSession session;
  session.picker = TLXMediaPickerController::mediaPickerController_delegate(0, nullptr);
  session.platform.application.host()->presentViewController_animated_completion(session.picker, false, nullptr);
  session.settle();
  session.picker->iImageLimit = -1;
  session.pick({"a"});
  EXPECT_EQ(session.picked(), Names({"a"}));
  EXPECT_TRUE(session.done());
  EXPECT_EQ(session.picked(), Names());
}

}  // namespace
}  // namespace tlx::test
