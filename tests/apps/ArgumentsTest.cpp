#include <gmock/gmock.h>

#include "apps/tlx-media-picker/Arguments.h"

namespace tlx::program {

using Words = std::vector<std::string>;

namespace {

using testing::ElementsAre;

std::string complaintAbout(const Words& words) {
  const auto parsed = parseArguments(words);
  const auto* complaint = std::get_if<std::string>(&parsed);
  return complaint ? *complaint : "";
}

Arguments accepted(const Words& words) {
  const auto parsed = parseArguments(words);
  if (const auto* complaint = std::get_if<std::string>(&parsed)) ADD_FAILURE() << *complaint;
  const auto* arguments = std::get_if<Arguments>(&parsed);
  return arguments ? *arguments : Arguments{};
}

TEST(Arguments, OptionsMayStandAnywhereWithEqualsOrBlank) {
  const Arguments all =
      accepted({"caf\xe9", "--kind=videos", "--max", "-7", "two", "--size", "640x480", "--output=a=b", "--format",
                "paths0", "--headless", "--pick", "Trip:1", "--on-failure=retry", "--camera", "test", "--", "--max"});
  EXPECT_THAT(all.folders, ElementsAre("caf\xe9", "two", "--max"));
  EXPECT_EQ(all.kind, 2);
  EXPECT_EQ(all.max, -7);
  EXPECT_EQ(all.width, 640);
  EXPECT_EQ(all.height, 480);
  EXPECT_EQ(all.output, "a=b");
  EXPECT_EQ(all.format, Arguments::Format::Paths0);
  EXPECT_TRUE(all.headless);
  EXPECT_EQ(all.onFailure, Arguments::OnFailure::Retry);
  EXPECT_EQ(all.camera, Arguments::Camera::Test);
}

TEST(Arguments, PicksAreAnAlbumAndPositions) {
  struct Row {
    std::string text, album;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges;
    const char* reason;
  };
  const Row rows[] = {
      {"Camera Roll:0", "Camera Roll", {{0, 0}}, "one position"},
      {"A:3,0-2,3", "A", {{3, 3}, {0, 2}, {3, 3}}, "the order is the person's, and so are repetitions"},
      {"smart:camera-roll:5", "smart:camera-roll", {{5, 5}}, "identifiers have colons: the last one divides"},
      {"Rome: day 1:4-4", "Rome: day 1", {{4, 4}}, "so do titles"},
      {":::1", "::", {{1, 1}}, "even nothing else"},
      {"A:18446744073709551615", "A", {{~0ULL, ~0ULL}}, "whether there is such an item is for the album to say"},
  };
  for (const Row& row : rows) {
    const auto picks = accepted({"--headless", "--pick", row.text}).picks;
    ASSERT_EQ(picks.size(), 1u) << row.reason;
    EXPECT_EQ(picks[0].album, row.album) << row.reason;
    EXPECT_EQ(picks[0].ranges, row.ranges) << row.reason;
  }
  EXPECT_EQ(accepted({"--headless", "--pick", "A:1", "--pick", "B:2"}).picks.size(), 2u);
}

TEST(Arguments, AreRefusedInWords) {
  struct Row {
    Words words;
    std::string complaint;
    const char* reason;
  };
  const Row rows[] = {
      {{"--maximum", "3"}, "Unknown option --maximum", "no abbreviations, no guesses"},
      {{"--clud=https://al:secret@x"}, "Unknown option --clud", "a password is not repeated"},
      {{"-h"}, "Unknown option -h", "no short options"},
      {{"--max"}, "Missing argument for --max", "nothing follows"},
      {{"--max", "9223372036854775808"}, "--max does not take \"9223372036854775808\"", "too large to count"},
      {{"--kind", "music"}, "--kind does not take \"music\"", "there are three kinds"},
      {{"--size", "0x100"}, "--size does not take \"0x100\"", "nothing fits in nothing"},
      {{"--size", "-1x100"}, "--size does not take \"-1x100\"", "a negative side"},
      {{"--output="}, "--output does not take \"\"", "an unset variable in a script"},
      {{"--headless", "--pick", "Trip:"}, "--pick does not take \"Trip:\"", "no positions"},
      {{"--headless", "--pick", ":1"}, "--pick does not take \":1\"", "no album"},
      {{"--headless", "--pick", "Trip:1,"}, "--pick does not take \"Trip:1,\"", "a position is missing"},
      {{"--headless", "--pick", "Trip:3-1"}, "--pick does not take \"Trip:3-1\"", "backwards"},
      {{"--headless", "--pick", "Trip:1-2-3"}, "--pick does not take \"Trip:1-2-3\"", "a range has two ends"},
      {{"--list=yes", "--headless"}, "--list takes no value", "what a switch is told is not ignored"},
      {{""}, "a folder's name is empty", "an unset variable, too"},
      {{"--list"}, "--list and --pick need --headless", "a window shows them itself"},
      {{"--pick", "A:1"}, "--list and --pick need --headless", "a window is picked in by hand"},
      {{"--headless"}, "--headless needs --list or --pick", "nothing to do"},
      {{"--headless", "--list", "--pick", "A:1"}, "--list and --pick exclude each other", "one kind of result"},
      {{"--on-failure", "continue"}, "--on-failure needs --headless", "in a window the person answers"},
      {{"--headless", "--list", "--screenshot", "a.png"},
       "--screenshot needs a window or --pick",
       "a list has no looks"},
  };
  for (const Row& row : rows) EXPECT_EQ(complaintAbout(row.words), row.complaint) << row.reason;
}

TEST(Arguments, HelpComesBeforeComplaintsAboutWhatGoesTogether) {
  EXPECT_TRUE(accepted({"--list", "--help"}).help);
  EXPECT_TRUE(accepted({"--version"}).version);
}

}  // namespace
}  // namespace tlx::program
