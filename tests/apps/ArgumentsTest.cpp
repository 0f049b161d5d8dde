#include <gmock/gmock.h>

#include "apps/tlx-media-picker/Arguments.h"

namespace tlx::program {

using Words = std::vector<std::string>;

namespace {

using testing::ElementsAre;

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
  const struct {
    std::string text, album;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges;
    const char* reason;
  } rows[] = {
      {"A:3,0-2,3", "A", {{3, 3}, {0, 2}, {3, 3}}, "the order is the person's, and so are repetitions"},
      {"smart:camera-roll:5", "smart:camera-roll", {{5, 5}}, "identifiers have colons: the last one divides"},
      {":::1", "::", {{1, 1}}, "even nothing else"},
      {"A:18446744073709551615", "A", {{~0ULL, ~0ULL}}, "whether there is such an item is for the album to say"},
  };
  for (const auto& row : rows) {
    const auto picks = accepted({"--headless", "--pick", row.text}).picks;
    ASSERT_EQ(picks.size(), 1u) << row.reason;
    EXPECT_EQ(picks[0].album, row.album) << row.reason;
    EXPECT_EQ(picks[0].ranges, row.ranges) << row.reason;
  }
}

TEST(Arguments, AreRefusedInWords) {
  const struct {
    Words words;
    std::string complaint;
    const char* reason;
  } rows[] = {
      {{"--max", "9223372036854775808"}, "--max does not take \"9223372036854775808\"", "too large to count"},
      {{"--size", "0x100"}, "--size does not take \"0x100\"", "nothing fits in nothing"},
      {{"--output="}, "--output does not take \"\"", "an unset variable in a script"},
      {{"--headless", "--pick", ":1"}, "--pick does not take \":1\"", "no album"},
      {{"--headless", "--pick", "Trip:1,"}, "--pick does not take \"Trip:1,\"", "a position is missing"},
      {{"--headless", "--pick", "Trip:3-1"}, "--pick does not take \"Trip:3-1\"", "backwards"},
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
  for (const auto& row : rows) {
    const auto parsed = parseArguments(row.words);
    const auto* complaint = std::get_if<std::string>(&parsed);
    EXPECT_EQ(complaint ? *complaint : "", row.complaint) << row.reason;
  }
  EXPECT_TRUE(accepted({"--list", "--help"}).help) << "comes before what goes together";
}

}  // namespace
}  // namespace tlx::program
