#include <cmath>

#include <QtTest/QTest>

#include "tests/adapters/qtquick/PickerWindow.h"

namespace tlx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kDone = TLXMediaPickerController::TagDone;
constexpr auto kCancel = TLXMediaPickerController::TagCancel;

TEST(Picking, APressThatLeavesItsButtonPressesNothing) {
  PickerWindow session;
  session.open();
  QTest::mousePress(&session.window, Qt::LeftButton, {}, session.centre(session.button(kCancel)).toPoint());
  QTest::mouseMove(&session.window, {180, 400});
  QTest::mouseRelease(&session.window, Qt::LeftButton, {}, {180, 400});
  session.wait(0.1);
  EXPECT_THAT(session.log.take(), testing::Not(testing::Contains("cancelPressed")));
  EXPECT_THAT(session.picked(), IsEmpty());
}

TEST(Albums, TheTitleOpensTheListAndAPressOutsideClosesItAlone) {
  PickerWindow session(PickerWindow::numbered(60));
  session.library.edit([](memory::LibraryContents& contents) {
    contents.addUserAlbum("Friends", {memory::photo("x", -50), memory::photo("y", -60)});
  });
  session.open();
  session.click(session.picker->btnAlbumPicker.lock());
  session.wait(0.5);
  ASSERT_TRUE(session.sees(session.table()));

  const QPointF outside(60, 625);
  session.wheel(outside, -30);
  EXPECT_EQ(session.grid().contentOffset().y, session.grid().minimumOffsetY());
  session.click(outside);
  session.wait(0.5);
  EXPECT_FALSE(session.sees(session.table()));
  EXPECT_THAT(session.picked(), IsEmpty()) << "the press was for the list alone";
  session.click(outside);
  EXPECT_EQ(session.picked().size(), 1u);

  session.click(session.picker->btnAlbumPicker.lock());
  session.wait(0.5);
  const QPointF row = session.centre(session.table()->cellForRowAtIndexPath({0, 1}));
  for (int i = 0; i < 2; ++i) session.click(row);
  session.wait(0.5);
  EXPECT_EQ(session.title(), "Friends");
  EXPECT_EQ(session.picked().size(), 1u) << "a double click's second half falls on what has begun to go";
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

  session.grid().setContentOffset({0, session.grid().minimumOffsetY()});
  session.wait(0.2);
  const QPoint finger = session.centre(session.cell(2)).toPoint();
  QTest::touchEvent(&session.window, screen).press(0, finger);
  session.wait(0.05);
  QTest::touchEvent(&session.window, screen).release(0, finger);
  session.wait(0.5);
  EXPECT_THAT(session.picked(), ElementsAre("p2"));
}

TEST(Scrolling, FarDownCellsStandWhereTheyAreDrawn) {
  PickerWindow session(PickerWindow::numbered(4000));
  session.open();
  for (const double offset : {20'000.0, 20'040.0, 60'000.0, 59'900.0}) {
    session.grid().setContentOffset({0, offset});
    session.wait(0.2);
    const auto& visible = session.grid().visibleCells();
    for (const auto& [index, cell] : visible) {
      const QPointF place = session.centre(session.cell(index));
      if (place.y() < 70 || place.y() > session.window.height() - 5) continue;
      EXPECT_EQ(session.colourAt(place), PickerWindow::colourOf("p" + std::to_string(index))) << offset;
    }
    const std::int64_t item = std::next(visible.begin(), static_cast<std::ptrdiff_t>(visible.size() / 2))->first;
    const CGRect frame = session.grid().collectionViewLayout()->frameForItemAtIndex(item);
    const QPointF middle(CGRectGetMidX(frame), CGRectGetMidY(frame) - offset);
    EXPECT_EQ(session.colourAt(middle), PickerWindow::colourOf("p" + std::to_string(item))) << offset;
    const double drawn = session.centre(session.cell(item)).y();
    EXPECT_NEAR(drawn, middle.y(), 0.5) << offset;
    EXPECT_EQ(drawn, std::round(drawn)) << "between two pixels at " << offset;
    session.click(middle);
    EXPECT_THAT(session.picked(), ElementsAre("p" + std::to_string(item)));
    session.click(middle);
  }
}

TEST(BadLuck, TheHostLetsGoInTheMiddle) {
  for (const std::string meanwhile : {"list", "question", "fetch"}) {
    SCOPED_TRACE(meanwhile);
    PickerWindow session({"va", "b"});
    session.script("va", meanwhile == "fetch" ? PickerSession::downloading({0.5, 1}, 5) : PickerSession::failing());
    session.open();
    session.clickItem(0);
    session.wait(1);
    session.click(meanwhile == "list" ? session.picker->btnAlbumPicker.lock() : session.button(kDone));
    session.wait(meanwhile == "list" ? 0.1 : meanwhile == "question" ? 1 : 3);
    EXPECT_EQ(session.choices().size(), meanwhile == "question" ? 1u : 0u);
    EXPECT_EQ(session.sees(session.panel()), meanwhile == "fetch");
    if (meanwhile == "fetch") session.window.close();
    EXPECT_THAT(session.close(), IsEmpty());
    session.wait(5);
    EXPECT_THAT(session.host.deliveries, IsEmpty());
  }
}

}  // namespace
}  // namespace tlx::test
