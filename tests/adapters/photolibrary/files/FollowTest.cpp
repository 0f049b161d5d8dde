// The library keeps up with what happens to its files while it is open, and ends where a fresh look would.

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>

#include <gmock/gmock.h>

#include "adapters/photolibrary/files/Burst.h"
#include "adapters/photolibrary/files/FolderSource.h"
#include "tests/adapters/photolibrary/LibraryFolder.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class FilesFollowed : public testing::Test {
 protected:
  ~FilesFollowed() override {
    if (library_) library_->setChangeHandler(nullptr);
  }
  static FolderWatch::Timing quick() {
    FolderWatch::Timing timing;
    timing.quiet = timing.presence = timing.unwatched = milliseconds(20);
    return timing;
  }
  PhotoLibrary& open(const FolderWatch::Timing& timing = quick()) {
    const auto options = folder_.options();
    library_ = std::make_unique<PhotoLibrary>(
        options, std::make_unique<FolderSource>(options.roots, log_, FolderSource::Links::Anywhere, timing), log_);
    library_->setChangeHandler([this](const auto&) {
      {
        std::lock_guard lock(mutex_);
        ++changes_;
      }
      changed_.notify_all();
    });
    library_->waitUntilScanned();
    return *library_;
  }
  /// Waits for changes until one has made it so.
  bool comesTo(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::unique_lock lock(mutex_);
    while (true) {
      const int seen = changes_;
      lock.unlock();
      const bool met = done();
      lock.lock();
      if (met) return true;
      if (!changed_.wait_until(lock, deadline, [&] { return changes_ != seen; })) return false;
    }
  }
  std::vector<std::string> roll() { return namesIn(*library_, "Camera Roll"); }
  fs::path at(const std::string& path) const { return folder_.pictures() / path; }

  LibraryFolder folder_;
  KeptLog log_;
  std::unique_ptr<PhotoLibrary> library_;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int changes_ = 0;
};

TEST_F(FilesFollowed, EveryKindOfStepLeadsWhereAFreshLookWould) {
  struct Row {
    const char* what;
    std::function<void()> happens;
    std::vector<std::string> roll;
  };
  const fs::path out = folder_.top() / "out";
  fs::create_directory(out);
  const Row rows[] = {
      {"a file comes", [&] { folder_.putPhoto("b.jpg", 2000); }, {"b.jpg", "a.jpg"}},
      {"a folder comes with what it holds",
       [&] { folder_.putPhoto("trip/in/c.jpg", 3000); },
       {"c.jpg", "b.jpg", "a.jpg"}},
      {"a file in it", [&] { folder_.putPhoto("trip/in/d.jpg", 4000); }, {"d.jpg", "c.jpg", "b.jpg", "a.jpg"}},
      {"renamed", [&] { fs::rename(at("b.jpg"), at("e.jpg")); }, {"d.jpg", "c.jpg", "e.jpg", "a.jpg"}},
      {"moved", [&] { fs::rename(at("e.jpg"), at("trip/f.jpg")); }, {"d.jpg", "c.jpg", "f.jpg", "a.jpg"}},
      {"the folder is renamed",
       [&] {
         fs::rename(at("trip"), at("journey"));
         fs::rename(at("journey/f.jpg"), at("journey/g.jpg"));
       },
       {"d.jpg", "c.jpg", "g.jpg", "a.jpg"}},
      {"and is still followed", [&] { fs::remove(at("journey/in/d.jpg")); }, {"c.jpg", "g.jpg", "a.jpg"}},
      {"saved anew over another",
       [&] {
         folder_.putPhoto("../new", 9000);
         fs::rename(out / "../new", at("a.jpg"));
       },
       {"a.jpg", "c.jpg", "g.jpg"}},
      {"dated anew", [&] { folder_.putPhoto("a.jpg", 500); }, {"c.jpg", "g.jpg", "a.jpg"}},
      {"left out", [&] { std::ofstream(at("journey/.nomedia")); }, {"a.jpg"}},
      {"and what comes there too",
       [&] {
         folder_.putPhoto("journey/x.jpg", 7000);
         folder_.putPhoto("y.jpg", 400);
       },
       {"a.jpg", "y.jpg"}},
      {"a file beside it tells its date",
       [&] {
         const std::string packet = xmpPacket("xmp:CreateDate='2001-01-01'");
         folder_.put("y.xmp", {packet.begin(), packet.end()});
       },
       {"y.jpg", "a.jpg"}},
      {"and tells no longer", [&] { fs::remove(at("y.xmp")); }, {"a.jpg", "y.jpg"}},
      {"taken in again", [&] { fs::remove(at("journey/.nomedia")); }, {"x.jpg", "c.jpg", "g.jpg", "a.jpg", "y.jpg"}},
      {"moved out", [&] { fs::rename(at("journey"), out / "journey"); }, {"a.jpg", "y.jpg"}},
      {"out there it is nobody's business",
       [&] {
         fs::remove(out / "journey/x.jpg");
         folder_.putPhoto("z.jpg", 300);
       },
       {"a.jpg", "y.jpg", "z.jpg"}},
      {"a link to it",
       [&] { fs::create_directory_symlink(out / "journey", at("one link")); },
       {"c.jpg", "g.jpg", "a.jpg", "y.jpg", "z.jpg"}},
      {"and another",
       [&] {
         fs::create_directory_symlink(out / "journey", at("two link"));
         fs::remove(at("z.jpg"));
       },
       {"c.jpg", "g.jpg", "a.jpg", "y.jpg"}},
      {"the first link goes",
       [&] {
         fs::remove(at("one link"));
         fs::remove(at("y.jpg"));
       },
       {"c.jpg", "g.jpg", "a.jpg"}},
      {"behind the second", [&] { fs::remove(out / "journey/g.jpg"); }, {"c.jpg", "a.jpg"}},
      {"a second name",
       [&] {
         fs::create_hard_link(at("a.jpg"), at("second.jpg"));
         folder_.putPhoto("fence.jpg", 600);
       },
       {"c.jpg", "fence.jpg", "a.jpg"}},
      {"which is written through",
       [&] {
         folder_.put("second.jpg", samplePhoto({"1970:01:01 03:00:00", "+00:00", 0}));
       },
       {"a.jpg", "c.jpg", "fence.jpg"}},
      {"the first name goes", [&] { fs::remove(at("a.jpg")); }, {"second.jpg", "c.jpg", "fence.jpg"}},
      {"thrown away", [&] { folder_.trash("fence.jpg"); }, {"second.jpg", "c.jpg"}},
      {"brought back",
       [&] { fs::rename(LibraryFolder::trashFolder() / "files/fence.jpg", at("fence.jpg")); },
       {"second.jpg", "c.jpg", "fence.jpg"}},
      {"hidden", [&] { fs::rename(at("second.jpg"), at(".second.jpg")); }, {"c.jpg", "fence.jpg"}},
      {"it was no photo",
       [&] {
         folder_.put("text.jpg", {'t'}, 100);
         folder_.put("fence.jpg", {'t'}, 100);
       },
       {"c.jpg"}},
      {"and now it is", [&] { folder_.putPhoto("text.jpg", 100); }, {"c.jpg", "text.jpg"}},
      {"the root goes", [&] { fs::rename(folder_.pictures(), out / "pictures"); }, {}},
      {"and comes", [&] { fs::rename(out / "pictures", folder_.pictures()); }, {"c.jpg", "text.jpg"}},
      {"and is followed again", [&] { fs::remove(at("text.jpg")); }, {"c.jpg"}},
  };
  folder_.putPhoto("a.jpg", 1000);
  fs::create_directories(LibraryFolder::trashFolder() / "files");
  fs::create_directories(LibraryFolder::trashFolder() / "info");
  open();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    row.happens();
    ASSERT_TRUE(comesTo([&] { return roll() == row.roll; })) << testing::PrintToString(roll());
    auto options = folder_.options();
    options.cacheFolder = (folder_.top() / "fresh").string();
    options.followLinksAnywhere = true;
    fs::remove_all(options.cacheFolder);
    PhotoLibrary fresh(options, log_);
    fresh.waitUntilScanned();
    ASSERT_TRUE(comesTo([&] { return everythingIn(*library_) == everythingIn(fresh); }));
    EXPECT_EQ(everythingIn(*library_), everythingIn(fresh));
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
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
  EXPECT_TRUE(comesTo([&] { return roll().size() == 2; }));
  library_->rescan();
  library_->waitUntilScanned();
  EXPECT_THAT(roll(), ElementsAre("fence.jpg", "edited.jpg")) << "one unseen, the other what it was";
  for (std::ofstream* file : {&fresh, &edited}) {
    file->write(reinterpret_cast<const char*>(photo.data()) + half, static_cast<std::streamsize>(photo.size()) - half);
    file->close();
  }
  EXPECT_TRUE(comesTo([&] { return roll() == std::vector<std::string>{"edited.jpg", "fresh.jpg", "fence.jpg"}; }));
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
  EXPECT_TRUE(comesTo([&] { return roll().size() == 4; }));
  EXPECT_THAT(log_.lines(), ElementsAre(testing::HasSubstr("no more folders")));
}

TEST(Bursts, AreOverWhenItIsQuietOrAtTheLatestAfterAWhile) {
  const Burst::Time start{};
  const auto ms = [&](int count) { return start + milliseconds(count); };
  Burst burst(milliseconds(100), milliseconds(1000));
  EXPECT_EQ(burst.due(), std::nullopt);
  struct Row {
    int event, due;
    const char* reason;
  };
  const Row rows[] = {{0, 100, "quiet after the first"},
                      {90, 190, "each event puts it off"},
                      {890, 990, "still"},
                      {950, 1000, "but not past the longest, counted from the first"},
                      {999, 1000, "whatever comes"}};
  for (const Row& row : rows) {
    burst.happened(ms(row.event));
    EXPECT_EQ(burst.due(), ms(row.due)) << row.reason;
  }
  burst.over();
  EXPECT_EQ(burst.due(), std::nullopt);
  burst.happened(ms(2000));
  EXPECT_EQ(burst.due(), ms(2100)) << "a new one";
}

}  // namespace
}  // namespace tlx::photolibrary::test
