#include <cmath>

#include <QtTest/QTest>

#include "tests/adapters/qtquick/PickerWindow.h"

namespace tlx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kDone = TLXMediaPickerController::TagDone;
constexpr auto kCancel = TLXMediaPickerController::TagCancel;

/// A second album, beside the camera roll.
void addFriends(PickerWindow& session) {
  session.library.edit([](memory::LibraryContents& contents) {
    contents.addUserAlbum("Friends", {memory::photo("x", -50), memory::photo("y", -60)});
  });
  session.script("x", {});
  session.script("y", {});
}

TEST(Picking, AClickPicksAnotherUnpicksAndDoneDelivers) {
  PickerWindow session;
  session.open();
  EXPECT_EQ(session.title(), "Camera Roll");
  EXPECT_EQ(session.colourAt(session.centre(session.cell(2))), PickerWindow::colourOf("c"));
  EXPECT_FALSE(session.sees(session.button(kDone)));
  const auto overlay = [&](std::int64_t item) {
    return std::static_pointer_cast<CollectionViewCell>(session.cell(item))->imgViewOverLay.lock();
  };
  for (const std::int64_t item : {4, 2, 0, 4}) session.clickItem(item);
  session.wait(1);
  EXPECT_THAT(session.picked(), ElementsAre("c", "a"));
  EXPECT_EQ(session.count(), "(2)");
  EXPECT_TRUE(session.sees(overlay(2)));
  EXPECT_FALSE(session.sees(overlay(4)));
  session.click(session.button(kDone));
  session.wait(1);
  ASSERT_EQ(session.host.deliveries.size(), 1u);
  EXPECT_THAT(namesOf(session.host.deliveries[0]), ElementsAre("c", "a"));
}

TEST(Picking, TheLimitIsSaidInABannerThatGoesAgain) {
  PickerWindow session;
  session.host.limit = 0;
  session.open();
  const auto banner = session.picker->viewPhotoLimitationWarning.lock();
  EXPECT_FALSE(session.sees(banner));
  session.clickItem(1);
  session.wait(0.7);
  EXPECT_TRUE(session.sees(banner));
  EXPECT_EQ(session.centre(banner).y(), banner->frame().size.height / 2) << "it has slid in";
  session.wait(4);
  EXPECT_FALSE(session.sees(banner));
}

TEST(Picking, APressThatLeavesItsButtonPressesNothing) {
  PickerWindow session;
  session.open();
  session.log.take();
  QTest::mousePress(&session.window, Qt::LeftButton, {}, session.centre(session.button(kCancel)).toPoint());
  QTest::mouseMove(&session.window, {180, 400});
  QTest::mouseRelease(&session.window, Qt::LeftButton, {}, {180, 400});
  session.wait(0.1);
  EXPECT_THAT(session.log.take(), IsEmpty());
  EXPECT_THAT(session.picked(), IsEmpty());
  session.click(session.button(kCancel));
  EXPECT_THAT(session.log.take(), ElementsAre("cancelPressed"));
}

TEST(Picking, DownloadsShowAPanelThatCoversEverything) {
  PickerWindow session;
  session.script("a", PickerSession::downloading({0.25, 0.5, 1}, 10));
  session.open();
  session.clickItem(0);
  session.wait(1);
  session.click(session.button(kDone));
  session.wait(5);
  ASSERT_TRUE(session.sees(session.panel()));
  session.log.take();
  session.clickItem(1);
  session.click(session.button(kCancel));
  EXPECT_THAT(session.picked(), ElementsAre("a")) << "the panel lets nothing through";
  EXPECT_THAT(session.log.take(), IsEmpty());
  session.click(session.panel()->btnCancel.lock());
  session.wait(1);
  EXPECT_FALSE(session.sees(session.panel()));
}

TEST(Albums, TheTitleOpensTheListAndAPressOutsideClosesItAlone) {
  PickerWindow session(PickerWindow::numbered(60));
  addFriends(session);
  session.open();
  session.click(session.picker->btnAlbumPicker.lock());
  session.wait(0.5);
  ASSERT_TRUE(session.sees(session.table()));
  EXPECT_EQ(session.table()->numberOfRows(), 2);

  const QPointF outside(60, 625);
  session.wheel(outside, -30);
  EXPECT_EQ(session.grid().contentOffset().y, session.grid().minimumOffsetY());
  session.click(outside);
  session.wait(0.5);
  EXPECT_FALSE(session.sees(session.table()));
  EXPECT_THAT(session.picked(), IsEmpty()) << "the press was for the list alone";
  session.click(outside);
  EXPECT_EQ(session.picked().size(), 1u);
}

TEST(Albums, NamesHaveRoomWhateverTheWindowsWidth) {
  for (const QSize size : {QSize(320, 480), QSize(375, 667), QSize(900, 560), QSize(1366, 768)}) {
    PickerWindow session({"a"}, size.width() == 1366 ? QSize(900, 560) : size);  // one that becomes large
    session.open();
    session.window.resize(size);
    session.wait(0.5);
    session.click(session.picker->btnAlbumPicker.lock());
    session.wait(0.5);
    const auto row = std::dynamic_pointer_cast<TableViewCell>(session.table()->cellForRowAtIndexPath({0, 0}));
    EXPECT_GE(row->lblFolderName.lock()->frame().size.width, 120) << size.width();
  }
}

TEST(Albums, AClickOnARowShowsTheAlbum) {
  PickerWindow session;
  addFriends(session);
  session.open();
  session.click(session.picker->btnAlbumPicker.lock());
  session.wait(0.5);
  const QPointF row = session.centre(session.table()->cellForRowAtIndexPath({0, 1}));
  // The second half of a double click falls on what has begun to go.
  session.click(row);
  session.click(row);
  session.wait(0.5);
  EXPECT_FALSE(session.sees(session.table()));
  EXPECT_EQ(session.title(), "Friends");
  EXPECT_EQ(session.grid().numberOfItems(), 2);
  EXPECT_EQ(session.colourAt(session.centre(session.cell(1))), PickerWindow::colourOf("y"));
  EXPECT_THAT(session.picked(), IsEmpty());
}

TEST(Scrolling, WheelMouseAndFingerScrollWithoutPickingAndAFingerPicks) {
  static QPointingDevice* screen = QTest::createTouchDevice();
  PickerWindow session(PickerWindow::numbered(400));
  session.open();
  const auto offset = [&] { return session.grid().contentOffset().y; };
  session.wheel({180, 400}, -90);
  const double byWheel = offset();
  EXPECT_GT(byWheel, session.grid().minimumOffsetY());
  session.drag({180, 600}, {180, 250});
  const double byMouse = offset();
  EXPECT_GT(byMouse, byWheel);
  QTest::touchEvent(&session.window, screen).press(0, QPoint(180, 600));
  for (int y = 580; y >= 300; y -= 20) {
    session.wait(0.03);
    QTest::touchEvent(&session.window, screen).move(0, QPoint(180, y));
  }
  QTest::touchEvent(&session.window, screen).release(0, QPoint(180, 300));
  session.wait(2);
  EXPECT_GT(offset(), byMouse + 200);
  EXPECT_THAT(session.picked(), IsEmpty());

  const auto touch = [&](const QPointF& point) {
    QTest::touchEvent(&session.window, screen).press(0, point.toPoint());
    session.wait(0.05);
    QTest::touchEvent(&session.window, screen).release(0, point.toPoint());
    session.wait(0.5);
  };
  session.grid().setContentOffset({0, session.grid().minimumOffsetY()});
  session.wait(0.2);
  touch(session.centre(session.cell(2)));
  EXPECT_THAT(session.picked(), ElementsAre("p2"));
  touch(session.centre(session.picker->btnAlbumPicker.lock()));
  EXPECT_TRUE(session.sees(session.table()));
  touch({60, 640});
  EXPECT_FALSE(session.sees(session.table()));
}

TEST(Scrolling, FarDownCellsStandWhereTheyAreDrawn) {
  PickerWindow session(PickerWindow::numbered(4000));
  session.open();
  for (const double offset : {20'000.0, 20'040.0, 60'000.0, 59'900.0}) {
    session.grid().setContentOffset({0, offset});
    session.wait(0.2);
    const auto visible = session.grid().indexPathsForVisibleItems();
    for (const NSIndexPath& path : visible) {
      const QPointF place = session.centre(session.cell(path.item));
      if (place.y() < 70 || place.y() > session.window.height() - 5) continue;
      EXPECT_EQ(session.colourAt(place), PickerWindow::colourOf("p" + std::to_string(path.item))) << offset;
    }
    const std::int64_t item = visible[visible.size() / 2].item;
    const CGRect frame = session.grid().collectionViewLayout()->frameForItemAtIndex(item);
    const QPointF middle(CGRectGetMidX(frame), CGRectGetMidY(frame) - offset);
    EXPECT_EQ(session.colourAt(middle), PickerWindow::colourOf("p" + std::to_string(item))) << offset;
    const double drawn = session.centre(session.cell(item)).y();
    EXPECT_NEAR(drawn, middle.y(), 0.5) << offset;
    EXPECT_EQ(drawn, std::round(drawn)) << "between two pixels at " << offset;
    EXPECT_EQ(session.cell(item)->frame(), frame) << offset;
    session.click(middle);
    EXPECT_THAT(session.picked(), ElementsAre("p" + std::to_string(item)));
    session.click(middle);
  }
}

TEST(Scrolling, ANewSizeReflowsTheRows) {
  PickerWindow session(PickerWindow::numbered(400));
  session.open();
  session.window.resize(800, 500);
  session.wait(0.5);
  const std::int64_t row = session.grid().collectionViewLayout()->itemsPerRow();
  EXPECT_GT(row, 6);
  EXPECT_EQ(session.centre(session.cell(0)).y(), session.centre(session.cell(row - 1)).y());
  EXPECT_GT(session.centre(session.cell(row - 1)).x(), 700);
  session.clickItem(row);
  EXPECT_THAT(session.picked(), ElementsAre("p" + std::to_string(row)));
}

TEST(BadLuck, APhotoVanishesBeneathTheFinger) {
  PickerWindow session;
  session.open();
  session.clickItem(1);
  const QPoint finger = session.centre(session.cell(2)).toPoint();
  QTest::mousePress(&session.window, Qt::LeftButton, {}, finger);
  session.change([](memory::LibraryContents& contents) { contents.remove({"b", "c"}); });
  QTest::mouseRelease(&session.window, Qt::LeftButton, {}, finger);
  session.wait(0.5);
  EXPECT_EQ(session.grid().numberOfItems(), 8);
  EXPECT_EQ(session.colourAt(session.centre(session.cell(1))), PickerWindow::colourOf("d"));
  EXPECT_THAT(session.picked(), ElementsAre("e")) << "what the finger leaves is what it picks";
}

TEST(BadLuck, WithoutAccessTheScreenLeadsToTheSettings) {
  PickerWindow session;
  session.library.setStatus(PHAuthorizationStatusDenied);
  int opened = 0;
  session.platform->application().setSettingsHandler([&] { return ++opened > 0; });
  session.open();
  EXPECT_TRUE(session.sees(session.picker->lblAllowAccess1.lock()));
  session.click(session.picker->btnAllowAccess.lock());
  EXPECT_EQ(opened, 1);
}

TEST(BadLuck, TheWindowIsClosedInTheMiddleOfAFetch) {
  PickerWindow session;
  session.script("a", PickerSession::downloading({0.5, 1}, 5));
  session.open();
  session.clickItem(0);
  session.wait(1);
  session.click(session.button(kDone));
  session.wait(3);
  ASSERT_TRUE(session.sees(session.panel()));
  session.window.close();
  EXPECT_THAT(session.close(), IsEmpty());
  session.wait(5);
  EXPECT_THAT(session.host.deliveries, IsEmpty());
}

TEST(BadLuck, TheHostLetsGoWhileListOrQuestionIsOpen) {
  for (const bool isQuestion : {false, true}) {
    PickerWindow session({"va", "b"});
    session.script("va", PickerSession::failing());
    session.open();
    session.clickItem(0);
    session.wait(1);
    session.click(isQuestion ? session.button(kDone) : session.picker->btnAlbumPicker.lock());
    session.wait(isQuestion ? 1 : 0.1);
    EXPECT_EQ(session.choices().size(), isQuestion ? 1u : 0u);
    EXPECT_THAT(session.close(), IsEmpty());
    EXPECT_EQ(session.platform->window().rootItem().childItems().size(), 0);
  }
}

}  // namespace
}  // namespace tlx::test
