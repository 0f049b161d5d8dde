
#include <gmock/gmock.h>

#include "tests/apps/ScreenTest.h"

namespace tlx::program {
namespace {

using test::Frame;
using test::kAccent;
using test::kWhite;

class Window : public test::ScreenTest {};

/// Where things are in a window of 1024 x 720 at the screen's corner, as a person sees them.
namespace place {
using namespace test::place;
constexpr QPoint kTitle = {512, 30}, kCancel = {50, 30}, kCamera = {512, 100};
/// Between the rows of photos: the ground, unless something lies over it.
constexpr QRect kGap = {0, 328, 1024, 16};
constexpr QRect kBanner = {40, 6, 200, 12};
/// The list's second row: where its cover is, and where nothing is.
constexpr QRect kSecondCover = {220, 150, 50, 45}, kSecondRow = {500, 150, 240, 40};
constexpr QRect kAllowChoice = {514, 425, 146, 40}, kAllowButton = {430, 436, 20, 36};
/// A corner that stays empty, of one colour unless something lies over it.
constexpr QRect kGround = {10, 690, 20, 20};
constexpr QRect kSwitch = {724, 120, 48, 50};
}  // namespace place

TEST_F(Window, PicksByMouseFromAnotherAlbumUpToTheLimit) {
  const auto expected = run({"--headless", "--pick", "smart:favorites:0,2", samples()});
  open({"--max", "3", "--output", top_ / "to", samples()});
  ASSERT_TRUE(see("the newest photos", [](const Frame& frame) { return frame.showsPhotos(3); }));
  const Frame opened = frame();
  click(place::kTitle);
  ASSERT_TRUE(see("the album list", [](const Frame& frame) {
    return frame.variety(place::kSecondCover) > 12 && frame.variety(place::kSecondRow) == 1;
  }));
  click(place::kSecondRow.topLeft());
  ASSERT_TRUE(see("the other album's photos, and the list gone", [&](const Frame& frame) {
    return frame.sameIn(place::kGap, opened) && frame.showsPhotos(3) && !frame.sameIn(place::cell(1), opened);
  }));

  for (const int column : {0, 1, 2}) ASSERT_TRUE(pick(column));
  click(place::cell(3).center());
  ASSERT_TRUE(see("the banner that says the limit is reached",
                  [](const Frame& frame) { return frame.isAll(place::kBanner, kAccent); }));
  ASSERT_TRUE(see("the banner leave again", [&](const Frame& frame) {
    EXPECT_FALSE(frame.showsPicked(3)) << "a fourth photo was picked";
    return frame.count(place::kBanner, kAccent) == 0;
  }));
  click(place::cell(1).center());
  ASSERT_TRUE(see("the second photo unpicked", [](const Frame& frame) { return !frame.showsPicked(1); }));

  click(place::kDone);
  const auto outcome = end();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.texts("path"), expected.texts("path"));
  EXPECT_EQ(outcome.objects().size(), 2u);
  for (const std::string& delivered : outcome.texts("delivered")) EXPECT_FALSE(test::readPicture(delivered).isNull());
}

TEST_F(Window, AsksForAccessOnceAndThePageChangesIt) {
  std::filesystem::create_directories(top_ / "home");
  std::filesystem::copy(samples() + "/Turned", top_ / "home/Pictures");
  const std::string record = top_ / "home/config/tlx-media-picker/access/tlx-media-picker";
  const auto photos = [](const Frame& frame) { return frame.showsPhotos(4); };
  const auto noAccess = [](const Frame& frame) { return frame.isAll(place::kAllowButton, kAccent); };
  const auto switchedOn = [](const Frame& frame) { return frame.count(place::kSwitch, kAccent) > 500; };

  open({});
  ASSERT_TRUE(see("the question", [](const Frame& frame) {
    return frame.count(place::kAllowChoice, kWhite) > 4000 && frame.count(place::kGround, kWhite) == 0;
  }));
  EXPECT_FALSE(std::filesystem::exists(record));
  key("Escape");
  ASSERT_TRUE(see("the screen without access", noAccess));
  EXPECT_EQ(test::contentOf(record), "photos=denied\n");

  click(place::kAllowButton.center());
  ASSERT_TRUE(see("the page, with the switch off", [](const Frame& frame) {
    return frame.count(place::kAllowButton, kAccent) == 0 && frame.variety(place::kSwitch) > 1;
  }));
  key("space");
  ASSERT_TRUE(see("the switch on", switchedOn));
  key("Escape");
  ASSERT_TRUE(see("the photos", photos));
  EXPECT_EQ(test::contentOf(record), "photos=allowed\n");
  key("Escape");
  EXPECT_EQ(end().status, 1);

  const auto changeTheirMind = [&](int times) {
    click(place::kCamera);
    ASSERT_TRUE(
        see("the way to the page", [](const Frame& frame) { return frame.count(place::kGround, kWhite) == 0; }));
    key("Return");
    ASSERT_TRUE(see("the switch on", switchedOn));
    for (int time = 0; time < times; ++time) key("space");
    key("Escape");
  };
  open({"--camera", "none"});
  ASSERT_TRUE(see("the photos without a question", photos));
  ASSERT_TRUE(pick(0));
  changeTheirMind(2);
  ASSERT_TRUE(see("the picked photo", [&](const Frame& frame) { return photos(frame) && frame.showsPicked(0); }));
  changeTheirMind(1);
  ASSERT_TRUE(see("the screen without access", noAccess));
  click(place::kCancel);
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
