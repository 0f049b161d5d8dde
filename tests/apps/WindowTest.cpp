// The program in a window on an X server, used with a mouse.

#include <QJsonDocument>
#include <filesystem>
#include <functional>
#include <memory>

#include <gmock/gmock.h>

#include "tests/apps/ScreenTest.h"

namespace tlx::program {
namespace {

using test::Frame;
using test::isPhoto;
using test::isPicked;
using test::kAccent;
using testing::ElementsAre;

constexpr Frame::Colour kWhite = {255, 255, 255};

class Window : public test::ScreenTest {};

/// Where things are in a window of 1024 x 720 at the screen's corner, as a person sees them.
namespace place {
using namespace test::place;
constexpr int kTitleX = 512, kCameraX = 512, kCameraY = 100;
/// Between the rows of photos: the ground, unless something lies over it.
constexpr Frame::Area kGap = {0, 328, 1024, 16};
constexpr Frame::Area kBanner = {40, 6, 200, 12};
/// The list's second row: where its cover is, and where nothing is.
constexpr Frame::Area kSecondCover = {220, 150, 50, 45}, kSecondRow = {500, 150, 240, 40};
constexpr Frame::Area kAllowChoice = {514, 425, 146, 40}, kAllowButton = {430, 436, 20, 36};
/// A corner that stays empty, of one colour unless something lies over it.
constexpr Frame::Area kGround = {10, 690, 20, 20};
constexpr Frame::Area kSwitch = {724, 120, 48, 50};
}  // namespace place

TEST_F(Window, PicksByMouseFromAnotherAlbumUpToTheLimit) {
  std::vector<std::string> expected;
  {
    const auto list = run({"--headless", "--pick", "smart:favorites:0,2", "--format", "paths", samples()});
    ASSERT_EQ(list.status, 0) << list.err;
    expected = {list.out.substr(0, list.out.find('\n')), list.out.substr(list.out.find('\n') + 1)};
    expected[1].pop_back();
  }
  open({"--max", "3", "--output", top_ / "to", samples()});
  std::unique_ptr<Frame> opened;
  const auto firstScreen = [&](const Frame& frame) {
    for (int column = 0; column < 4; ++column) {
      if (!isPhoto(frame, place::cell(column))) return false;
    }
    opened = std::make_unique<Frame>(frame);
    return true;
  };
  ASSERT_TRUE(see("the newest photos", firstScreen));

  click(place::kTitleX, place::kBarY);
  ASSERT_TRUE(see("the album list", [](const Frame& frame) {
    return isPhoto(frame, place::kSecondCover) && frame.variety(place::kSecondRow) == 1;
  }));
  click(place::kSecondRow.x, place::kSecondRow.y);
  ASSERT_TRUE(see("the other album's photos, and the list gone", [&](const Frame& frame) {
    return frame.sameIn(place::kGap, *opened) && isPhoto(frame, place::cell(0)) && isPhoto(frame, place::cell(3)) &&
           !frame.sameIn(place::cell(0), *opened);
  }));

  for (int column = 0; column < 3; ++column) {
    click(place::cell(column).x + 60, place::cell(column).y + 60);
    ASSERT_TRUE(see("the mark on a picked photo", [&](const Frame& frame) { return isPicked(frame, column); }));
  }
  const auto bannerIsThere = [](const Frame& frame) {
    return frame.count(place::kBanner, kAccent) == place::kBanner.width * place::kBanner.height;
  };
  click(place::cell(3).x + 60, place::cell(3).y + 60);
  ASSERT_TRUE(see("the banner that says the limit is reached", bannerIsThere));
  ASSERT_TRUE(see("the banner leave again", [&](const Frame& frame) {
    EXPECT_FALSE(isPicked(frame, 3)) << "a fourth photo was picked";
    return frame.count(place::kBanner, kAccent) == 0;
  }));
  click(place::cell(1).x + 60, place::cell(1).y + 60);
  ASSERT_TRUE(see("the second photo unpicked", [](const Frame& frame) { return !isPicked(frame, 1); }));

  click(place::kDoneX, place::kBarY);
  const auto outcome = end();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.texts("path"), expected);
  for (const std::string& delivered : outcome.texts("delivered")) EXPECT_FALSE(test::readPicture(delivered).isNull());
}

TEST_F(Window, AsksForAccessOnceAndThePageChangesIt) {
  std::filesystem::create_directories(top_ / "home");
  std::filesystem::copy(samples() + "/Turned", top_ / "home/Pictures");
  const std::string record = top_ / "home/config/tlx-media-picker/access/tlx-media-picker";
  const auto photos = [](const Frame& frame) {
    return isPhoto(frame, place::cell(0)) && isPhoto(frame, place::cell(4));
  };
  const auto noAccess = [](const Frame& frame) {
    return frame.count(place::kAllowButton, kAccent) == place::kAllowButton.width * place::kAllowButton.height;
  };

  open({});
  ASSERT_TRUE(see("the question", [](const Frame& frame) {
    return frame.count(place::kAllowChoice, kWhite) > 4000 && frame.count(place::kGround, kWhite) == 0;
  }));
  EXPECT_FALSE(std::filesystem::exists(record));
  display_->key("Escape");
  ASSERT_TRUE(see("the screen without access", noAccess));
  EXPECT_EQ(test::contentOf(record), "photos=denied\n");

  click(place::kAllowButton.x + 10, place::kAllowButton.y + 10);
  ASSERT_TRUE(see("the page, with the switch off", [](const Frame& frame) {
    return frame.count(place::kAllowButton, kAccent) == 0 && frame.variety(place::kSwitch) > 1;
  }));
  display_->key("space");
  ASSERT_TRUE(see("the switch on", [](const Frame& frame) { return frame.count(place::kSwitch, kAccent) > 500; }));
  display_->key("Escape");
  ASSERT_TRUE(see("the photos", photos));
  EXPECT_EQ(test::contentOf(record), "photos=allowed\n");
  display_->key("Escape");
  EXPECT_EQ(end().status, 1);

  const auto changeTheirMind = [&](int times) {
    click(place::kCameraX, place::kCameraY);
    ASSERT_TRUE(
        see("the way to the page", [](const Frame& frame) { return frame.count(place::kGround, kWhite) == 0; }));
    display_->key("Return");
    ASSERT_TRUE(see("the switch on", [](const Frame& frame) { return frame.count(place::kSwitch, kAccent) > 500; }));
    for (int time = 0; time < times; ++time) display_->key("space");
    display_->key("Escape");
  };
  open({"--camera", "none"});
  ASSERT_TRUE(see("the photos without a question", photos));
  click(place::cell(0).x + 60, place::cell(0).y + 60);
  ASSERT_TRUE(see("the mark on a picked photo", [](const Frame& frame) { return isPicked(frame, 0); }));
  changeTheirMind(2);
  ASSERT_TRUE(see("the picked photo", [&](const Frame& frame) { return photos(frame) && isPicked(frame, 0); }));
  changeTheirMind(1);
  ASSERT_TRUE(see("the screen without access", noAccess));
  click(50, place::kBarY);
  EXPECT_EQ(end().status, 1);
  EXPECT_EQ(run({"--headless", "--pick", "Pictures:0-7", "--format", "paths"}).status, 3) << "it is remembered";
}

TEST_F(Window, ScreenshotsAreOfWhatAPersonSees) {
  const auto saved = run({"--screenshot", top_ / "picture.png", "--window", "600x500", samples()});
  EXPECT_EQ(saved.status, 0) << saved.err;
  EXPECT_EQ(saved.out, "");
  EXPECT_EQ(test::readPicture(top_ / "picture.png").size(), QSize(600, 500));
  const auto unsaved = run({"--screenshot", top_ / "missing/picture.png", samples()});
  EXPECT_EQ(unsaved.status, 4);
  EXPECT_THAT(unsaved.err, testing::HasSubstr("missing/picture.png: "));
}

}  // namespace
}  // namespace tlx::program
