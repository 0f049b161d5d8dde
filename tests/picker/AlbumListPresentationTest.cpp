#include <cmath>

#include "tlx/platform/uikit/UITableView.h"

#include "tests/support/PickerSession.h"

namespace tlx::test {
namespace {

class AlbumListPresentation : public testing::Test {
 protected:
  AlbumListPresentation() {
    session.platform.library.edit([](memory::LibraryContents& contents) {
      contents.addUserAlbum("Sea", {memory::photo("s1"), memory::photo("s2")});
    });
  }

  void open() {
    session.open();
    title = session.picker->btnAlbumPicker.lock();
  }
  bool listIsOnScreen() { return session.list()->presentingViewController() != nullptr; }

  /// Tag, fades and arrow agree with one another, whatever is on the screen.
  void expectLooks(bool open, const char* when) {
    SCOPED_TRACE(when);
    EXPECT_EQ(title->tag(), open ? 101 : 102);
    EXPECT_EQ(session.picker->viewTbContainer.lock()->alpha(), open ? 1.0 : 0.0);
    EXPECT_EQ(session.picker->btnCamera.lock()->alpha(), open ? 0.0 : 1.0);
    EXPECT_EQ(session.picker->btnCamera.lock()->isUserInteractionEnabled(), !open);
    const double halfTurns = title->imageView()->rotation() / 3.141592653589793;
    EXPECT_NEAR(std::remainder(halfTurns, 2), open ? 0 : std::copysign(1, std::remainder(halfTurns, 2)), 1e-9);
    EXPECT_GE(halfTurns, lastHalfTurns) << "the arrow always turns the same way";
    lastHalfTurns = halfTurns;
  }

  PickerSession session;
  std::shared_ptr<CustomAlbumButton> title;
  double lastHalfTurns = 0;
};

TEST_F(AlbumListPresentation, OpensUnderTheTitleAndClosesWithAChoice) {
  open();
  expectLooks(false, "at rest");
  ASSERT_TRUE(title->press());
  EXPECT_TRUE(session.picker->btnCamera.lock()->isUserInteractionEnabled()) << "until the fade has ended";
  session.settle();
  expectLooks(true, "open");
  const auto popover = session.platform.presentation.popover();
  ASSERT_NE(popover, nullptr);
  EXPECT_EQ(popover->presentedViewController(), session.list());
  EXPECT_EQ(popover->sourceView(), title);
  EXPECT_EQ(popover->sourceRect(), CGRectMake(0, 0, title->frame().size.width, title->frame().size.height));
  EXPECT_EQ(popover->permittedArrowDirections(), UIPopoverArrowDirectionUp);
  EXPECT_EQ(session.list()->preferredContentSize(), CGSize()) << "a phone has the platform's size";
  EXPECT_EQ(popover->frameInWindow({375, 667}).size.width, 320);
  EXPECT_EQ(popover->frameInWindow({900, 560}).size.width, 540) << "rows grow with the window, and the list with them";
  EXPECT_EQ(popover->delegate()->adaptivePresentationStyleForPresentationController(*popover), UIModalPresentationNone);
  std::dynamic_pointer_cast<UITableViewController>(session.list())->tableView()->tappedAt({0, 1});
  session.settle();
  expectLooks(false, "after the choice");
  EXPECT_EQ(title->titleForState(UIControlStateNormal), "Sea");
  EXPECT_FALSE(listIsOnScreen());
  EXPECT_NE(session.item("s1"), nullptr) << "the grid shows the album";
}

TEST_F(AlbumListPresentation, TabletPrefersItsShareOfThePicker) {
  session.platform.application.openWindow({1024, 768});
  session.platform.application.setIdiom(UIUserInterfaceIdiomPad);
  open();
  ASSERT_EQ(session.picker->view()->frame().size, (CGSize{1024, 768}));
  EXPECT_EQ(session.grid().collectionView()->frame().size, (CGSize{1024, 768})) << "the scene's size is another";
  title->press();
  EXPECT_EQ(session.list()->preferredContentSize(), (CGSize{603, 480}));
}

TEST_F(AlbumListPresentation, PressOutsideTogglesByTheTagAndDismisses) {
  open();
  title->press();
  session.settle();
  EXPECT_TRUE(session.platform.presentation.pressOutside());
  session.settle();
  expectLooks(false, "closed from outside");
  EXPECT_FALSE(listIsOnScreen());

  title->press();
  session.settle();
  session.picker->btnPressed(title);
  session.settle();
  expectLooks(false, "the title closes the looks");
  EXPECT_TRUE(listIsOnScreen()) << "but leaves the list";
  const auto presentations = session.platform.presentation.events().size();
  EXPECT_TRUE(session.platform.presentation.pressOutside());
  session.settle();
  expectLooks(true, "the press outside opened by the tag");
  EXPECT_EQ(session.platform.presentation.events().size(), presentations + 1) << "only the dismissal";
  EXPECT_FALSE(listIsOnScreen());
}

// The grid is free while few items are fetched, and so is the title.
TEST_F(AlbumListPresentation, AQuestionClosesTheList) {
  open();
  session.script("b", PickerSession::stalling());
  session.pick({"a", "b"});
  session.done();
  title->press();
  session.settle();
  session.script("b", PickerSession::failing());
  session.platform.images.release("b");
  session.settle();
  EXPECT_NE(session.platform.presentation.alert(), nullptr) << "else Done would stay disabled for good";
  EXPECT_FALSE(listIsOnScreen());
  expectLooks(false, "under the question");
}

// Else the host's dismissal would take what the picker presents for the picker.
TEST_F(AlbumListPresentation, NothingOfThePickersStaysOverADelivery) {
  open();
  session.script("b", PickerSession::stalling());
  session.pick({"a", "b"});
  session.done();
  title->press();
  session.picker->btnCameraPressed();  // waits for the list
  session.host.whenFinished = [&] { session.picker->dismissViewControllerAnimated_completion(true, nullptr); };
  session.script("b", {});
  session.platform.images.release("b");
  session.settle();
  EXPECT_EQ(session.platform.presentation.top(), nullptr);
  EXPECT_FALSE(session.platform.application.isStatusBarHidden());
}

}  // namespace
}  // namespace tlx::test
