// The library keeps up with what happens to its files while it is open, and ends where a fresh look would. Identifiers
// are the same through everything that happens to a file, and never another file's.

#include <cstdlib>
#include <fstream>
#include <set>

#include <gmock/gmock.h>

#include "adapters/photolibrary/files/Burst.h"
#include "adapters/photolibrary/files/FolderSource.h"
#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using testing::ElementsAre;

class FilesFollowed : public testing::Test {
 protected:
  static FolderWatch::Timing quick() {
    FolderWatch::Timing timing;
    timing.quiet = timing.presence = timing.unwatched = milliseconds(20);
    return timing;
  }
  void open(const FolderWatch::Timing& timing = quick()) {
    onlooker_.reset();
    library_.reset();
    const auto options = folder_.options();
    library_ = std::make_unique<PhotoLibrary>(
        options,
        std::make_unique<FolderSource>(options.roots, directDecoders(), log_, FolderSource::Links::Anywhere, timing),
        log_);
    onlooker_.emplace(*library_);
    library_->waitUntilScanned();
  }
  /// How many items and albums there are whose identifiers were never met before.
  std::size_t countFresh() {
    std::size_t fresh = 0;
    for (auto [album, items] : everythingIn(*library_)) {
      items.push_back(album);
      for (const std::string& each : items) fresh += met_.insert(each.substr(each.rfind(' '))).second;
    }
    return fresh;
  }
  std::vector<std::string> roll() { return namesIn(*library_, "Camera Roll"); }
  fs::path at(const std::string& path) const { return folder_.pictures() / path; }

  LibraryFolder folder_;
  KeptLog log_;
  std::unique_ptr<PhotoLibrary> library_;
  std::optional<Onlooker> onlooker_;

 private:
  std::set<std::string> met_;
};

TEST_F(FilesFollowed, EveryKindOfStepLeadsWhereAFreshLookWould) {
  const struct {
    const char* what;
    std::vector<std::string> roll;
    std::size_t fresh;     ///< items and albums that are none of those before
    const char* commands;  ///< for a shell in the pictures' folder, or beside it in `out` while that is away
  } rows[] = {
      {"a file comes", {"b.jpg", "a.jpg"}, 1, "photo b.jpg 2000"},
      {"a folder with a file", {"c.jpg", "b.jpg", "a.jpg"}, 2, "mkdir -p trip/in; photo trip/in/c.jpg 3000"},
      {"a file in it", {"d.jpg", "c.jpg", "b.jpg", "a.jpg"}, 1, "photo trip/in/d.jpg 4000"},
      {"renamed", {"d.jpg", "c.jpg", "e.jpg", "a.jpg"}, 0, "mv b.jpg e.jpg"},
      {"moved", {"d.jpg", "c.jpg", "f.jpg", "a.jpg"}, 1, "mv e.jpg trip/f.jpg"},
      {"the folder is renamed",
       {"d.jpg", "c.jpg", "g.jpg", "a.jpg"},
       0,
       "mv trip journey; mv journey/f.jpg journey/g.jpg"},
      {"and is still followed", {"c.jpg", "g.jpg", "a.jpg"}, 0, "rm journey/in/d.jpg"},
      {"saved anew over another", {"a.jpg", "c.jpg", "g.jpg"}, 1, "photo ../new 9000; mv ../new a.jpg"},
      {"written anew in place", {"c.jpg", "g.jpg", "a.jpg"}, 0, "photo a.jpg 500"},
      {"left out", {"a.jpg"}, 0, "touch journey/.nomedia"},
      {"and what comes there too", {"a.jpg", "y.jpg"}, 1, "photo journey/x.jpg 7000; photo y.jpg 400"},
      {"a file beside it tells its date", {"y.jpg", "a.jpg"}, 0, "cp ../packet y.xmp"},
      {"and tells no longer", {"a.jpg", "y.jpg"}, 0, "rm y.xmp"},
      {"taken in again", {"x.jpg", "c.jpg", "g.jpg", "a.jpg", "y.jpg"}, 1, "rm journey/.nomedia"},
      {"moved out", {"a.jpg", "y.jpg"}, 0, "mv journey ../out/"},
      {"nobody's business out there", {"a.jpg", "y.jpg", "z.jpg"}, 1, "rm ../out/journey/x.jpg; photo z.jpg 300"},
      {"a link to it", {"c.jpg", "g.jpg", "a.jpg", "y.jpg", "z.jpg"}, 0, "ln -s ../out/journey one"},
      {"and another", {"c.jpg", "g.jpg", "a.jpg", "y.jpg"}, 0, "ln -s ../out/journey two; rm z.jpg"},
      {"the first link goes", {"c.jpg", "g.jpg", "a.jpg"}, 0, "rm one; rm y.jpg"},
      {"behind the second", {"c.jpg", "a.jpg"}, 0, "rm ../out/journey/g.jpg"},
      {"a second name", {"c.jpg", "fence.jpg", "a.jpg"}, 1, "ln a.jpg second.jpg; photo fence.jpg 600"},
      {"which is written through", {"a.jpg", "c.jpg", "fence.jpg"}, 0, "cat ../dated >second.jpg"},
      {"the first name goes", {"second.jpg", "c.jpg", "fence.jpg"}, 0, "rm a.jpg"},
      {"thrown away",
       {"second.jpg", "c.jpg"},
       0,
       "printf '[Trash Info]\\nPath=%s/fence.jpg\\nDeletionDate=2024-05-01T10:00:00\\n' \"$PWD\" "
       ">$XDG_DATA_HOME/Trash/info/fence.jpg.trashinfo; mv fence.jpg $XDG_DATA_HOME/Trash/files/"},
      {"brought back", {"second.jpg", "c.jpg", "fence.jpg"}, 0, "mv $XDG_DATA_HOME/Trash/files/fence.jpg ."},
      {"the root goes", {}, 0, "mv ../pictures ../out/"},
      {"and comes", {"second.jpg", "c.jpg", "fence.jpg"}, 0, "mv pictures .."},
      {"and is followed again", {"second.jpg", "c.jpg"}, 0, "rm fence.jpg"},
      {"a copy", {"copy.jpg", "second.jpg", "c.jpg"}, 1, "cp second.jpg copy.jpg"},
      {"another that the file system gives the same number",
       {"second.jpg", "c.jpg", "reborn.jpg"},
       1,
       "rm copy.jpg; photo reborn.jpg 1000"},
  };
  folder_.putPhoto("a.jpg", 1000);
  folder_.putPhoto("../photo");
  folder_.put("../dated", samplePhoto({"1970:01:01 03:00:00", "+00:00", 0}));
  const std::string packet = xmpPacket("xmp:CreateDate='2001-01-01'");
  folder_.put("../packet", {packet.begin(), packet.end()});
  for (const char* const made : {"files", "info"}) fs::create_directories(LibraryFolder::trashFolder() / made);
  fs::create_directory(folder_.top() / "out");
  const std::string shell = "set -e; photo() { cp ../photo \"$1\"; touch -d \"@$2\" \"$1\"; }; cd " +
                            folder_.top().string() + "; cd pictures 2>/dev/null || cd out; ";
  open();
  countFresh();
  const auto expect = [&](const std::vector<std::string>& wanted, std::size_t fresh) {
    ASSERT_TRUE(onlooker_->comesTo([&] { return roll() == wanted; })) << testing::PrintToString(roll());
    auto options = folder_.options();
    options.cacheFolder = (folder_.top() / "fresh").string();
    options.followLinksAnywhere = true;
    fs::remove_all(options.cacheFolder);
    PhotoLibrary other(options, directDecoders(), log_);
    other.waitUntilScanned();
    onlooker_->comesTo([&] { return everythingIn(*library_) == everythingIn(other); });
    ASSERT_EQ(everythingIn(*library_), everythingIn(other)) << "identifiers outlive the loss of the index";
    EXPECT_EQ(countFresh(), fresh);
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    ASSERT_EQ(std::system((shell + row.commands).c_str()), 0);
    ASSERT_NO_FATAL_FAILURE(expect(row.roll, row.fresh));
  }
  onlooker_.reset();
  library_.reset();
  fs::rename(at("reborn.jpg"), at("later.jpg"));
  open();
  expect({"second.jpg", "c.jpg", "later.jpg"}, 0);  // moved while nobody looked
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(FilesFollowed, AFileThatIsBeingWrittenWaitsUntilItIsWhole) {
  folder_.putPhoto("edited.jpg", 1000);
  open();
  const auto photo = samplePhoto({"2024:05:01 12:00:00", "+00:00", 0});
  const auto half = static_cast<std::streamsize>(photo.size() / 2);
  std::ofstream fresh(at("fresh.jpg"), std::ios::binary), edited(at("edited.jpg"), std::ios::binary);
  for (std::ofstream* file : {&fresh, &edited}) {
    file->write(reinterpret_cast<const char*>(photo.data()), half).flush();
  }
  folder_.putPhoto("fence.jpg", 2000);
  EXPECT_TRUE(onlooker_->comesTo([&] { return roll().size() == 2; }));
  look(*library_);
  EXPECT_THAT(roll(), ElementsAre("fence.jpg", "edited.jpg")) << "one unseen, the other what it was";
  for (std::ofstream* file : {&fresh, &edited}) {
    file->write(reinterpret_cast<const char*>(photo.data()) + half, static_cast<std::streamsize>(photo.size()) - half);
    file->close();
  }
  EXPECT_TRUE(onlooker_->comesTo([&] {
    return roll() == std::vector<std::string>{"edited.jpg", "fresh.jpg", "fence.jpg"};
  }));
  EXPECT_EQ(library_->details(identifierOf(*library_, "edited.jpg"))->bytes, static_cast<std::int64_t>(photo.size()));
}

TEST_F(FilesFollowed, WhatTheSystemWillNotWatchIsLookedAtAgainAndTheLogToldOnce) {
  folder_.putPhoto("1/a.jpg", 1000);
  folder_.putPhoto("2/b.jpg", 2000);
  auto timing = quick();
  timing.mostFolders = 1;
  open(timing);
  folder_.putPhoto("1/c.jpg", 3000);
  folder_.putPhoto("2/d.jpg", 4000);
  EXPECT_TRUE(onlooker_->comesTo([&] { return roll().size() == 4; }));
  EXPECT_THAT(log_.lines(), ElementsAre(testing::HasSubstr("no more folders")));
}

TEST(Bursts, AreOverWhenItIsQuietOrAtTheLatestAfterAWhile) {
  const auto ms = [](int count) { return Burst::Time{} + milliseconds(count); };
  Burst burst(milliseconds(100), milliseconds(1000));
  EXPECT_EQ(burst.due(), std::nullopt);
  for (const auto& [event, due] : {std::pair(0, 100), {90, 190}, {890, 990}, {950, 1000}, {999, 1000}}) {
    burst.happened(ms(event));
    EXPECT_EQ(burst.due(), ms(due)) << "each event puts it off, but not past the longest, counted from the first";
  }
  burst.over();
  EXPECT_EQ(burst.due(), std::nullopt);
  burst.happened(ms(2000));
  EXPECT_EQ(burst.due(), ms(2100)) << "a new one";
}

}  // namespace
}  // namespace tlx::photolibrary::test
