#include <QAccessible>
#include <QGuiApplication>
#include <QPalette>
#include <QQuickItem>
#include <cstdlib>
#include <ctime>

#include "tests/adapters/qtquick/PickerWindow.h"
#include "tests/adapters/qtquick/ScreenReader.h"

namespace tlx::test {
namespace {

using namespace testing;

/// 12 March 2024, 14:05 UTC, an hour later for each further day.
constexpr double kMarch = 1710252300;

class Accessibility : public testing::Test {
 protected:
  Accessibility() {
    setenv("TZ", "UTC", 1);
    tzset();
    session.library.edit([](memory::LibraryContents& contents) {
      contents.addSmartAlbum("Camera Roll", {memory::photo("a", kMarch), memory::video("v", kMarch - 86400, 12)});
      contents.addUserAlbum("Friends", {memory::photo("x", 0)});
    });
    session.open();
  }
  PickerWindow session{{}};
  ScreenReader reader{session};
};

TEST_F(Accessibility, EverythingHasANameAndIsReadInOrder) {
  EXPECT_THAT(reader.names(), ElementsAre("Cancel", "Camera Roll, albums", "Photos", "Camera",
                                          "Photo, 12 March 2024, 14:05", "Video, 11 March 2024, 14:05", "2 Photos"));
  EXPECT_THAT(reader.names(QAccessible::Button), ElementsAre("Cancel", "Camera Roll, albums", "Camera"));
  EXPECT_EQ(reader.names(QAccessible::ListItem).size(), 2u);
}

TEST_F(Accessibility, WhatIsPressedDoesWhatAFingerWould) {
  reader.press("Video, 11 March 2024, 14:05");
  EXPECT_THAT(session.picked(), ElementsAre("v"));
  EXPECT_THAT(reader.names(), Contains("Video, 11 March 2024, 14:05, selected"));
  EXPECT_THAT(reader.names(), Contains("(1)"));
  reader.press("Video, 11 March 2024, 14:05, selected");
  EXPECT_THAT(session.picked(), IsEmpty());

  reader.press("Camera Roll, albums");
  EXPECT_THAT(reader.names(), ElementsAre("Albums", "Camera Roll, 2, selected", "Friends, 1"))
      << "what is beneath the list is out of reach";
  reader.press("Friends, 1");
  EXPECT_EQ(session.title(), "Friends");
  reader.press("Photo, 1 January 1970, 00:00");
  reader.press("Done");
  EXPECT_EQ(session.host.deliveries.size(), 1u);
}

TEST(AccessibleOrder, FollowsTheItemsAlsoWhenCellsAreUsedAgain) {
  PickerWindow session{{}};
  session.library.edit([](memory::LibraryContents& contents) {
    std::vector<PHAsset> items(400);
    for (int i = 0; i < 400; ++i) items.at(i) = memory::photo("p" + std::to_string(i), 86400.0 * (400 - i));
    contents.addSmartAlbum("Days", items);
  });
  session.open();
  ScreenReader reader(session);
  for (const double offset : {300.0, 2000.0, 1800.0, 9000.0}) {
    session.grid().setContentOffset({0, offset});
    session.wait(0.2);
    Names expected;
    for (const auto& [index, cell] : session.grid().visibleCells()) expected.push_back(cell->accessibilityLabel());
    EXPECT_EQ(reader.names(QAccessible::ListItem), expected) << offset;
  }
}

TEST(RightToLeft, TheScreenIsMirrored) {
  struct Direction {
    Direction() { QGuiApplication::setLayoutDirection(Qt::RightToLeft); }
    ~Direction() { QGuiApplication::setLayoutDirection(Qt::LeftToRight); }
  } direction;
  PickerWindow session;
  session.open();
  const double middle = session.window.width() / 2.0;
  EXPECT_GT(session.centre(session.button(TLXMediaPickerController::TagCancel)).x(), middle);
  EXPECT_GT(session.centre(session.cell(0)).x(), session.centre(session.cell(1)).x());
  session.clickItem(1);
  EXPECT_THAT(session.picked(), ElementsAre("b")) << "the finger meets what it sees";
  session.press(Qt::Key_Left);
  session.press(Qt::Key_Space);
  EXPECT_THAT(session.picked(), ElementsAre("b", "c")) << "to the left is onward";
  const auto title = session.picker->btnAlbumPicker.lock();
  EXPECT_LT(session.centre(title->imageView()).x(), session.centre(title->titleLabel()).x());

  session.click(title);
  session.wait(0.5);
  const auto row = std::static_pointer_cast<TableViewCell>(session.table()->cellForRowAtIndexPath({0, 0}));
  EXPECT_GT(session.centre(row->imgViewFolderIcon.lock()).x(), session.centre(row->lblFolderName.lock()).x());
}

TEST(Desktop, IsFollowedInLooksAndMotionWhileThePickerIsOpen) {
  PickerWindow session;
  session.host.limit = 0;
  session.open();
  const auto ground = [&] { return session.colourAt({180, 600}).lightness(); };
  const auto banner = session.picker->viewPhotoLimitationWarning.lock();
  const struct {
    const char *space, *key;
    QVariant value;
    bool dark, still;
    const char* why;
  } rows[] = {
      {"org.freedesktop.appearance", "color-scheme", 1u, true, false, "prefers dark"},
      {"org.freedesktop.appearance", "color-scheme", 2u, false, false, "prefers light"},
      {"org.gnome.desktop.interface", "enable-animations", false, false, true, ""},
      {"org.gnome.desktop.interface", "enable-animations", true, false, false, ""},
      {"org.kde.kdeglobals.KDE", "AnimationDurationFactor", "0", false, true, ""},
      {"org.freedesktop.appearance", "reduced-motion", 0u, false, false, "the last word counts"},
  };
  for (const auto& row : rows) {
    session.platform->appearance().applySetting(row.space, row.key, row.value);
    session.clickItem(0);
    EXPECT_EQ(ground() < 80, row.dark) << row.space << ' ' << row.key << ' ' << row.why;
    EXPECT_EQ(session.centre(banner).y() == banner->frame().size.height / 2, row.still) << row.key << ' ' << row.why;
    session.wait(4);
  }
  QPalette dark;
  dark.setColor(QPalette::Window, Qt::black);
  QGuiApplication::setPalette(dark);
  session.wait(0.1);
  EXPECT_LT(ground(), 80) << "the program's palette";
  QGuiApplication::setPalette(QPalette());
  session.wait(0.1);
  EXPECT_GT(ground(), 200);
}

}  // namespace
}  // namespace tlx::test
