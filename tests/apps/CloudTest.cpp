// The program between a folder, a server on this machine, and a network that fails.

#include <algorithm>
#include <fstream>

#include <gmock/gmock.h>

#include "tests/apps/ScreenTest.h"
#include "tests/support/OwnNetwork.h"
#include "tests/support/WebServers.h"

namespace tlx::program {
namespace {

using test::Frame;
using tlx::test::Nginx;
using tlx::test::OwnNetwork;

constexpr char kUp[] = "route add default via 10.1.0.2\n", kDown[] = "route del default\n";
/// Bytes a second that let a person watch, and leave time for whatever happens meanwhile.
constexpr int kCrawling = 20'000;

using Names = std::vector<std::string>;

/// A window on a machine with one cable out, a folder and a server.
class CloudWindow : public test::ScreenTest {
 protected:
  void SetUp() override {
    if (!Nginx::installed()) GTEST_SKIP() << "nginx with its WebDAV module is not installed";
    if (!OwnNetwork::entered() && !OwnNetwork::enter()) GTEST_SKIP() << "no network namespaces are allowed here";
    network_ = std::make_unique<OwnNetwork>();
    ASSERT_TRUE(network_->run("link set lo up\n" + OwnNetwork::cable("wire", "10.1.0.1/24") + kUp));
    std::filesystem::create_directories(top_ / "here");
    std::filesystem::create_directories(top_ / "there/Trip");
    ScreenTest::SetUp();
  }
  /// A video of the samples on the server, made longer, so that it takes a while.
  void putThere(const std::string& sample, const std::string& name) {
    const std::string target = top_ / "there/Trip/" + name;
    std::filesystem::copy_file(samples() + "/Family Trips/Coast/" + sample, target);
    // What follows the pictures of a video says how long it is, and that it is nothing: 0xdbba0 bytes.
    std::string more(900'000, '\0');
    more.replace(0, 8,
                 std::string("\0\x0d\xbb\xa0"
                             "free",
                             8));
    std::ofstream(target, std::ios::binary | std::ios::app) << more;
  }
  Names words(Names more) const {
    more.insert(more.end(), {"--cloud", server_->url(), top_ / "here"});
    return more;
  }
  static Names delivered(const test::Outcome& outcome) {
    Names names;
    for (const auto& object : outcome.objects()) {
      const auto path = object["address"].toString().isEmpty() ? object["path"] : object["address"];
      names.push_back(path.toString().section('/', -1).toStdString());
    }
    return names;
  }
  /// Shows five items and picks them all: three photos, which are here, then two videos, which are not.
  void pickFive() {
    for (const char* photo : {"DSC_4100.jpg", "DSC_4114.jpg", "DSC_4128.jpg"}) {
      std::filesystem::copy_file(samples() + "/Alps 2019/" + photo, top_ / "here/" + photo);
    }
    putThere("VID_20220715_221530.mp4", "far.mp4");
    putThere("VID_20220714_204110.mp4", "farther.mp4");
    // Listings and headers come at once, the rest of an original slowly.
    server_ = std::make_unique<Nginx>(top_ / "there", top_ / "server",
                                      Nginx::Options{{}, {}, {}, {}, kCrawling, "limit_rate_after 200k;"});
    open(words({"--output", top_ / "to"}));
    ASSERT_TRUE(see("five photos", [](const Frame& frame) { return frame.showsPhotos(4); }));
    for (const int column : {3, 2, 4, 0, 1}) ASSERT_TRUE(pick(column));
    click(test::place::kDone);
    ASSERT_TRUE(see("the panel", [](const Frame& frame) { return frame.count(kCard, kCardColour) > 300; }));
  }
  /// A strip of the panel's card, beside its words; the question's choices; and a corner that stays empty.
  static constexpr QRect kCard = {396, 260, 12, 120}, kChoices = {400, 420, 40, 84}, kGround = {10, 690, 20, 20},
                         kPercent = {452, 400, 120, 24};
  static constexpr QPoint kRetry = {512, 430};
  static constexpr QRgb kCardColour = qRgb(38, 45, 49);

  std::unique_ptr<OwnNetwork> network_;
  std::unique_ptr<Nginx> server_;
};

TEST_F(CloudWindow, AsksWhenServerAndRouteGoAndBringsEverythingWhenTheyReturn) {
  ASSERT_NO_FATAL_FAILURE(pickFive());
  const Frame first = frame();
  ASSERT_TRUE(see("the percentage rise", [&](const Frame& frame) { return !frame.sameIn(kPercent, first); }));
  ASSERT_TRUE(network_->run(kDown));
  server_->kill();
  ASSERT_TRUE(see("the question", [](const Frame& frame) {
    return frame.count(kChoices, test::kWhite) > 2800 && frame.count(kGround, test::kWhite) == 0;
  }));
  server_->setRate(0);
  ASSERT_TRUE(network_->run(kUp));
  click(kRetry);
  const auto outcome = end();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(delivered(outcome),
              testing::ElementsAre("DSC_4114.jpg", "DSC_4128.jpg", "DSC_4100.jpg", "farther.mp4", "far.mp4"))
      << "what was tried again comes last";
  for (const std::string& file : outcome.texts("delivered")) EXPECT_GT(std::filesystem::file_size(file), 1000u);
}

TEST_F(CloudWindow, ClosedInTheMiddleEndsAtOnceAndGoesOnNextTime) {
  ASSERT_NO_FATAL_FAILURE(pickFive());
  closeWindow();
  const auto outcome = end();
  EXPECT_EQ(outcome.status, 1) << outcome.err;
  EXPECT_EQ(outcome.out, "");
  server_->kill();
  const auto without = run(words({"--headless", "--pick", "Trip:0-1", "--pick", "here:0", "--on-failure", "continue"}));
  EXPECT_EQ(without.status, 0) << without.err;
  EXPECT_EQ(delivered(without), Names({"DSC_4128.jpg"}))
      << "it did not stay for the rest, and half a file counts for nothing";
  server_->setRate(0);
  EXPECT_EQ(delivered(run(words({"--headless", "--pick", "Trip:0-1"}))), Names({"far.mp4", "farther.mp4"}));
}

}  // namespace
}  // namespace tlx::program
