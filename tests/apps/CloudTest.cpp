// The program between a folder, a server on this machine, and a network that fails.

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "tests/apps/CloseWindow.h"
#include "tests/apps/ScreenTest.h"
#include "tests/support/OwnNetwork.h"
#include "tests/support/WebServers.h"

namespace tlx::program {
namespace {

using test::Frame;
using tlx::test::Nginx;
using tlx::test::OwnNetwork;

namespace place = test::place;

constexpr char kUp[] = "route add default via 10.1.0.2\n", kDown[] = "route del default\n";
/// A photo or video of the samples, made longer, so that it takes a while.
constexpr int kLong = 900'000;
/// Bytes a second that let a person watch, and leave time for whatever happens meanwhile.
constexpr int kCrawling = 20'000;

using Names = std::vector<std::string>;

std::string nameOf(const std::string& address) {
  return address.substr(address.find_last_of('/') + 1);
}

/// A machine with one cable out, a folder and a server.
template <class Base>
class CloudWorld : public Base {
 protected:
  void SetUp() override {
    if (!Nginx::installed()) GTEST_SKIP() << "nginx with its WebDAV module is not installed";
    if (!OwnNetwork::entered() && !OwnNetwork::enter()) GTEST_SKIP() << "no network namespaces are allowed here";
    network_ = std::make_unique<OwnNetwork>();
    ASSERT_TRUE(network_->run("link set lo up\n" + OwnNetwork::cable("wire", "10.1.0.1/24") + kUp));
    std::filesystem::create_directories(this->top_ / "here");
    std::filesystem::create_directories(this->top_ / "there/Trip");
    Base::SetUp();
  }
  /// Listings and headers come at once, the rest of an original at that rate, or at once.
  void serve(int bytesPerSecond = 0) {
    server_ = std::make_unique<Nginx>(this->top_ / "there", this->top_ / "server",
                                      Nginx::Options{{}, {}, {}, {}, bytesPerSecond, "limit_rate_after 200k;"});
  }
  void put(const std::string& sample, const std::string& to, int longer = 0) {
    const std::string target = this->top_ / to;
    std::filesystem::copy_file(this->samples() + "/" + sample, target);
    if (longer == 0) return;
    std::string more(static_cast<std::size_t>(longer), '\0');
    // A length and a name, so that what follows the pictures of a video says what it is.
    for (int byte = 0; byte < 4; ++byte)
      more[static_cast<std::size_t>(byte)] = static_cast<char>(longer >> (24 - 8 * byte));
    more.replace(4, 4, "free");
    std::ofstream(target, std::ios::binary | std::ios::app) << more;
  }
  void putThreeHere() {
    for (const char* photo : {"DSC_4100.jpg", "DSC_4114.jpg", "DSC_4128.jpg"}) {
      put(std::string("Alps 2019/") + photo, std::string("here/") + photo);
    }
  }
  Names words(Names more) const {
    more.insert(more.end(), {"--cloud", server_->url(), this->top_ / "here"});
    return more;
  }
  /// What the program knows of originals and items is forgotten.
  void forget() { std::filesystem::remove_all(this->top_ / "home"); }
  static Names delivered(const test::Outcome& outcome) {
    Names names;
    for (const auto& object : outcome.objects()) {
      const auto path = object["address"].toString().isEmpty() ? object["path"] : object["address"];
      names.push_back(nameOf(path.toString().toStdString()));
    }
    return names;
  }

  std::unique_ptr<OwnNetwork> network_;
  std::unique_ptr<Nginx> server_;
};

class Cloud : public CloudWorld<test::ProgramTest> {};

TEST_F(Cloud, ScriptsTellWhatBecameOfEachItem) {
  putThreeHere();
  put("City Nights/IMG_20240209_174812.jpg", "there/Trip/far.jpg");
  put("Family Trips/Coast/VID_20220714_204110.mp4", "there/Trip/far.mp4");
  serve();
  const auto all = run(words({"--headless", "--pick", "Camera Roll:0-4"}));
  ASSERT_EQ(all.status, 0) << all.err;
  const Names newestFirst = delivered(all);
  EXPECT_THAT(newestFirst, testing::ElementsAre("far.jpg", "far.mp4", "DSC_4128.jpg", "DSC_4114.jpg", "DSC_4100.jpg"));
  const Names here(newestFirst.begin() + 2, newestFirst.end());

  struct Row {
    const char* answer;
    int status;
    Names delivered;
    int told;  // how often the video's cause is told: a second time only where a retry was offered
    const char* why;
  };
  const Row rows[] = {
      {"cancel", 4, {}, 1, "nothing is printed of what was cancelled"},
      {"continue", 0, here, 1, "what is here"},
      {"retry", 4, {}, 2, "the photo counts as a lost connection, so there is a retry"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.why);
    forget();
    ASSERT_EQ(run(words({"--headless", "--list"})).status, 0) << "the server is known";
    server_->kill();
    const auto outcome = run(words({"--headless", "--pick", "Camera Roll:0-4", "--on-failure", row.answer}));
    EXPECT_EQ(outcome.status, row.status) << outcome.err;
    EXPECT_EQ(delivered(outcome), row.delivered);
    int told = 0;
    for (auto at = outcome.err.find("far.mp4: "); at != std::string::npos; at = outcome.err.find("far.mp4: ", at + 1))
      ++told;
    EXPECT_EQ(told, row.told) << outcome.err;
    server_->start();
  }
}

class CloudWindow : public CloudWorld<test::ScreenTest> {
 protected:
  /// Shows five items and picks them all: three photos, which are here, then two videos, which are not.
  void pickFive() {
    putThreeHere();
    put("Family Trips/Coast/VID_20220715_221530.mp4", "there/Trip/far.mp4", kLong);
    put("Family Trips/Coast/VID_20220714_204110.mp4", "there/Trip/farther.mp4", kLong);
    serve(kCrawling);
    open(words({"--output", top_ / "to"}));
    ASSERT_TRUE(see("five photos", [](const Frame& frame) {
      for (int column = 0; column < 5; ++column) {
        if (!test::isPhoto(frame, place::cell(column))) return false;
      }
      return true;
    }));
    for (const int column : {3, 2, 4, 0, 1}) {
      click(place::cell(column).x + 60, place::cell(column).y + 60);
      ASSERT_TRUE(see("the mark on a picked photo", [&](const Frame& frame) { return test::isPicked(frame, column); }));
    }
    click(place::kDoneX, place::kBarY);
  }
  bool seePanel() {
    return see("the panel", [](const Frame& frame) { return frame.count(kCard, kCardColour) > 300; });
  }
  bool seeQuestion() {
    return see("the question", [](const Frame& frame) {
      return frame.count(kChoices, kWhite) > 2800 && frame.count(kGround, kWhite) == 0;
    });
  }
  /// A strip of the panel's card, beside its words; the question's choices; and a corner that stays empty.
  static constexpr Frame::Area kCard = {396, 260, 12, 120}, kChoices = {400, 420, 40, 84}, kGround = {10, 690, 20, 20};
  static constexpr int kRetryX = 512, kRetryY = 430;
  static constexpr Frame::Area kPercent = {452, 400, 120, 24};
  static constexpr Frame::Colour kCardColour = {38, 45, 49}, kWhite = {255, 255, 255};
};

TEST_F(CloudWindow, AsksWhenServerAndRouteGoAndBringsEverythingWhenTheyReturn) {
  ASSERT_NO_FATAL_FAILURE(pickFive());
  ASSERT_TRUE(seePanel());
  const Frame first = display_->frame();
  ASSERT_TRUE(see("the percentage rise", [&](const Frame& frame) { return !frame.sameIn(kPercent, first); }));
  ASSERT_TRUE(network_->run(kDown));
  server_->kill();
  ASSERT_TRUE(seeQuestion());
  server_->setRate(0);
  ASSERT_TRUE(network_->run(kUp));
  click(kRetryX, kRetryY);
  const auto outcome = end();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(delivered(outcome),
              testing::ElementsAre("DSC_4114.jpg", "DSC_4128.jpg", "DSC_4100.jpg", "farther.mp4", "far.mp4"))
      << "what was tried again comes last";
  for (const std::string& file : outcome.texts("delivered")) EXPECT_GT(std::filesystem::file_size(file), 1000u);
}

TEST_F(CloudWindow, ClosedInTheMiddleEndsAtOnceAndGoesOnNextTime) {
  ASSERT_NO_FATAL_FAILURE(pickFive());
  ASSERT_TRUE(seePanel());
  test::closeWindow(display_->name());
  const auto outcome = end();
  EXPECT_EQ(outcome.status, 1) << outcome.err;
  EXPECT_EQ(outcome.out, "");
  server_->kill();
  EXPECT_EQ(run(words({"--headless", "--pick", "Trip:0-1"})).status, 4)
      << "it did not stay for the rest, and half a file counts for nothing";
  server_->setRate(0);
  EXPECT_EQ(delivered(run(words({"--headless", "--pick", "Trip:0-1"}))), Names({"far.mp4", "farther.mp4"}));
}

}  // namespace
}  // namespace tlx::program
