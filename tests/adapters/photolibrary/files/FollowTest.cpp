// The library keeps up with what happens to its files while it is open, and ends where a fresh look would. Identifiers
// are the same through everything that happens to a file, and never another file's.

#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
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
        options, std::make_unique<FolderSource>(options.roots, log_, FolderSource::Links::Anywhere, timing), log_);
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
  struct Row {
    const char* what;
    std::vector<std::string> roll;
    std::size_t fresh;  ///< items and albums that are none of those before
    std::function<void()> happens;
  };
  const fs::path out = folder_.top() / "out";
  fs::create_directory(out);
  const Row rows[] = {
      {"a file comes", {"b.jpg", "a.jpg"}, 1, [&] { folder_.putPhoto("b.jpg", 2000); }},
      {"a folder with a file", {"c.jpg", "b.jpg", "a.jpg"}, 2, [&] { folder_.putPhoto("trip/in/c.jpg", 3000); }},
      {"a file in it", {"d.jpg", "c.jpg", "b.jpg", "a.jpg"}, 1, [&] { folder_.putPhoto("trip/in/d.jpg", 4000); }},
      {"renamed", {"d.jpg", "c.jpg", "e.jpg", "a.jpg"}, 0, [&] { fs::rename(at("b.jpg"), at("e.jpg")); }},
      {"moved", {"d.jpg", "c.jpg", "f.jpg", "a.jpg"}, 1, [&] { fs::rename(at("e.jpg"), at("trip/f.jpg")); }},
      {"the folder is renamed",
       {"d.jpg", "c.jpg", "g.jpg", "a.jpg"},
       0,
       [&] {
         fs::rename(at("trip"), at("journey"));
         fs::rename(at("journey/f.jpg"), at("journey/g.jpg"));
       }},
      {"and is still followed", {"c.jpg", "g.jpg", "a.jpg"}, 0, [&] { fs::remove(at("journey/in/d.jpg")); }},
      {"saved anew over another",
       {"a.jpg", "c.jpg", "g.jpg"},
       1,
       [&] {
         folder_.putPhoto("../new", 9000);
         fs::rename(out / "../new", at("a.jpg"));
       }},
      {"written anew in place", {"c.jpg", "g.jpg", "a.jpg"}, 0, [&] { folder_.putPhoto("a.jpg", 500); }},
      {"left out", {"a.jpg"}, 0, [&] { std::ofstream(at("journey/.nomedia")); }},
      {"and what comes there too",
       {"a.jpg", "y.jpg"},
       1,
       [&] {
         folder_.putPhoto("journey/x.jpg", 7000);
         folder_.putPhoto("y.jpg", 400);
       }},
      {"a file beside it tells its date",
       {"y.jpg", "a.jpg"},
       0,
       [&] {
         const std::string packet = xmpPacket("xmp:CreateDate='2001-01-01'");
         folder_.put("y.xmp", {packet.begin(), packet.end()});
       }},
      {"and tells no longer", {"a.jpg", "y.jpg"}, 0, [&] { fs::remove(at("y.xmp")); }},
      {"taken in again", {"x.jpg", "c.jpg", "g.jpg", "a.jpg", "y.jpg"}, 1, [&] { fs::remove(at("journey/.nomedia")); }},
      {"moved out", {"a.jpg", "y.jpg"}, 0, [&] { fs::rename(at("journey"), out / "journey"); }},
      {"out there it is nobody's business",
       {"a.jpg", "y.jpg", "z.jpg"},
       1,
       [&] {
         fs::remove(out / "journey/x.jpg");
         folder_.putPhoto("z.jpg", 300);
       }},
      {"a link to it",
       {"c.jpg", "g.jpg", "a.jpg", "y.jpg", "z.jpg"},
       0,
       [&] { fs::create_directory_symlink(out / "journey", at("one link")); }},
      {"and another",
       {"c.jpg", "g.jpg", "a.jpg", "y.jpg"},
       0,
       [&] {
         fs::create_directory_symlink(out / "journey", at("two link"));
         fs::remove(at("z.jpg"));
       }},
      {"the first link goes",
       {"c.jpg", "g.jpg", "a.jpg"},
       0,
       [&] {
         fs::remove(at("one link"));
         fs::remove(at("y.jpg"));
       }},
      {"behind the second", {"c.jpg", "a.jpg"}, 0, [&] { fs::remove(out / "journey/g.jpg"); }},
      {"a second name",
       {"c.jpg", "fence.jpg", "a.jpg"},
       1,
       [&] {
         fs::create_hard_link(at("a.jpg"), at("second.jpg"));
         folder_.putPhoto("fence.jpg", 600);
       }},
      {"which is written through",
       {"a.jpg", "c.jpg", "fence.jpg"},
       0,
       [&] {
         folder_.put("second.jpg", samplePhoto({"1970:01:01 03:00:00", "+00:00", 0}));
       }},
      {"the first name goes", {"second.jpg", "c.jpg", "fence.jpg"}, 0, [&] { fs::remove(at("a.jpg")); }},
      {"thrown away", {"second.jpg", "c.jpg"}, 0, [&] { folder_.trash("fence.jpg"); }},
      {"brought back",
       {"second.jpg", "c.jpg", "fence.jpg"},
       0,
       [&] { fs::rename(LibraryFolder::trashFolder() / "files/fence.jpg", at("fence.jpg")); }},
      {"the root goes", {}, 0, [&] { fs::rename(folder_.pictures(), out / "pictures"); }},
      {"and comes", {"second.jpg", "c.jpg", "fence.jpg"}, 0, [&] { fs::rename(out / "pictures", folder_.pictures()); }},
      {"and is followed again", {"second.jpg", "c.jpg"}, 0, [&] { fs::remove(at("fence.jpg")); }},
      {"a copy", {"copy.jpg", "second.jpg", "c.jpg"}, 1, [&] { fs::copy_file(at("second.jpg"), at("copy.jpg")); }},
      {"another that the file system gives the same number",
       {"second.jpg", "c.jpg", "reborn.jpg"},
       1,
       [&] {
         fs::remove(at("copy.jpg"));
         folder_.putPhoto("reborn.jpg", 1000);
       }},
      {"moved while nobody looked",
       {"second.jpg", "c.jpg", "later.jpg"},
       0,
       [&] {
         onlooker_.reset();
         library_.reset();
         fs::rename(at("reborn.jpg"), at("later.jpg"));
         open();
       }},
  };
  folder_.putPhoto("a.jpg", 1000);
  fs::create_directories(LibraryFolder::trashFolder() / "files");
  fs::create_directories(LibraryFolder::trashFolder() / "info");
  open();
  countFresh();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    row.happens();
    ASSERT_TRUE(onlooker_->comesTo([&] { return roll() == row.roll; })) << testing::PrintToString(roll());
    auto options = folder_.options();
    options.cacheFolder = (folder_.top() / "fresh").string();
    options.followLinksAnywhere = true;
    fs::remove_all(options.cacheFolder);
    PhotoLibrary fresh(options, log_);
    fresh.waitUntilScanned();
    onlooker_->comesTo([&] { return everythingIn(*library_) == everythingIn(fresh); });
    ASSERT_EQ(everythingIn(*library_), everythingIn(fresh)) << "identifiers outlive the loss of the index";
    EXPECT_EQ(countFresh(), row.fresh);
  }
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

TEST(FileKeys, DeriveDistinctIdentifiersFromEachOfTheirParts) {
  std::set<std::string> all;
  for (std::uint64_t i = 2; i < 1002; ++i) {
    for (const FileKey& key : {FileKey{i, 1, 1}, FileKey{1, i, 1}, FileKey{1, 1, static_cast<std::int64_t>(i)}})
      all.insert(deriveIdentifier(key));
  }
  EXPECT_EQ(all.size(), 3000u);
  EXPECT_THAT(all, testing::Each(testing::SizeIs(15)));
}

}  // namespace
}  // namespace tlx::photolibrary::test
