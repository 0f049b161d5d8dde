// What a library on real folders shows: which files, in which albums, in which order, with which dates.

#include <future>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {
namespace {

namespace fs = std::filesystem;
using namespace testing;

class FilesLibrary : public testing::Test {
 protected:
  PhotoLibrary& open() { return open(folder_.options()); }
  PhotoLibrary& open(const PhotoLibrary::Options& options) {
    library_.reset();
    library_ = std::make_unique<PhotoLibrary>(options, directDecoders(), log_);
    library_->waitUntilScanned();
    return *library_;
  }

  LibraryFolder folder_;
  KeptLog log_;
  std::unique_ptr<PhotoLibrary> library_;
};

TEST_F(FilesLibrary, ShowsFilesByWhatTheyHoldAndSurvivesTheRest) {
  folder_.putPhoto("plain.jpg", 1000);
  folder_.putPhoto("photo called.txt", 2000);
  folder_.putPhoto("two\nlines.jpg", 3000);
  folder_.putPhoto("not \xff utf-8.jpg", 4000);
  folder_.put("clip", sampleVideo(), 5000);
  folder_.put("text called.jpg", {'h', 'e', 'l', 'l', 'o'}, 6000);
  folder_.put("empty.jpg", {}, 7000);
  folder_.putPhoto(".hidden.jpg", 8000);
  folder_.putPhoto(".hidden folder/in.jpg", 8000);
  folder_.putPhoto("left out/.nomedia", 8000);
  folder_.putPhoto("left out/in.jpg", 8000);
  folder_.putPhoto("left out/deeper/in.jpg", 8000);
  const fs::path pictures = folder_.pictures();
  ASSERT_EQ(::mkfifo((pictures / "fifo.jpg").c_str(), 0600), 0);
  fs::create_directory_symlink(pictures, pictures / "loop");
  fs::create_directory_symlink("/", pictures / "everything");
  fs::create_symlink(pictures / "nothing there", pictures / "dangling.jpg");
  fs::create_symlink("self.jpg", pictures / "self.jpg");
  fs::create_symlink(pictures / "plain.jpg", pictures / "again.jpg");
  EXPECT_THAT(namesIn(open(), "Camera Roll"),
              ElementsAre("clip", "not \xff utf-8.jpg", "two\nlines.jpg", "photo called.txt", "plain.jpg"));
  EXPECT_THAT(titles(*library_), ElementsAre("pictures"));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(FilesLibrary, TakesHugeFilesFullFoldersAndBottomlessTrees) {
  folder_.putPhoto("huge.jpg");
  fs::resize_file(folder_.pictures() / "huge.jpg", 3'000'000'000);
  folder_.putPhoto("full/needle.jpg", 2000);
  folder_.putPhoto("deep/top.jpg", 1000);
  const fs::path before = fs::current_path();
  fs::current_path(folder_.pictures() / "full");
  for (int i = 0; i < 20'000; ++i) writeFile("hay " + std::to_string(i), {});
  fs::current_path(folder_.pictures() / "deep");
  const std::string step(200, 'd');
  for (int depth = 0; depth < 25; ++depth) {
    fs::create_directory(step);
    fs::current_path(step);
    writeFile(std::string(100, 'f'), samplePhoto());
  }
  fs::current_path(before);
  const auto names = namesIn(open(), "Camera Roll");
  EXPECT_THAT(names, testing::IsSupersetOf({"huge.jpg", "needle.jpg", "top.jpg"}));
  EXPECT_THAT(names, testing::SizeIs(testing::AllOf(testing::Gt(3u + 15u), testing::Lt(3u + 25u))))
      << "what no path can name is left out";
  EXPECT_THAT(log_.lines(), testing::AllOf(testing::Not(IsEmpty()), Each(testing::HasSubstr("File name too long"))));
  EXPECT_EQ(library_->details(identifierOf(*library_, "huge.jpg"))->bytes, 3'000'000'000);
}

TEST_F(FilesLibrary, FollowsLinksBelowItsRootsOrWhereItIsToldToButNeverIntoTheKernel) {
  const fs::path elsewhere = folder_.top() / "elsewhere";
  folder_.putPhoto("../elsewhere/one.jpg", 1000);
  folder_.putPhoto("../elsewhere/inner/two.jpg", 2000);
  folder_.putPhoto("../single.jpg", 3000);
  folder_.putPhoto(".hidden/four.jpg", 4000);
  fs::create_directory_symlink(elsewhere, folder_.pictures() / "b link");
  fs::create_directory_symlink(elsewhere, folder_.pictures() / "a link");
  fs::create_directory_symlink(elsewhere, elsewhere / "inner" / "round");
  fs::create_symlink(folder_.top() / "single.jpg", folder_.pictures() / "linked.jpg");
  fs::create_directory_symlink(folder_.pictures() / ".hidden", folder_.pictures() / "named");
  fs::create_directory_symlink("/proc", folder_.pictures() / "kernel");
  fs::create_symlink("/proc/self/exe", folder_.pictures() / "program.jpg");
  EXPECT_THAT(namesIn(open(), "Camera Roll"), ElementsAre("four.jpg"));
  EXPECT_THAT(log_.lines(), testing::IsSupersetOf({testing::HasSubstr("a link are left out: the link leads out")}));
  auto options = folder_.options();
  options.followLinksAnywhere = true;
  EXPECT_THAT(namesIn(open(options), "Camera Roll"), ElementsAre("four.jpg", "linked.jpg", "two.jpg", "one.jpg"))
      << "each once";
  EXPECT_THAT(titles(*library_), ElementsAre("pictures", "a link", "inner", "named"));
  options.roots = {"/proc"};
  open(options);
  EXPECT_THAT(log_.lines().back(), testing::HasSubstr("/proc are left out"));
}

TEST_F(FilesLibrary, DatesComeFromMetadataElseFromTheNameElseFromTheFile) {
  ::setenv("TZ", "UTC0", 1);
  ::tzset();
  const auto sidecar = [&](const std::string& path, const std::string& date, double modified) {
    const std::string packet = xmpPacket("xmp:CreateDate=\"" + date + "\"");
    folder_.put(path, {packet.begin(), packet.end()}, modified);
  };
  const auto camera = samplePhoto({"2024:05:01 12:00:00", "+02:00", 0});
  folder_.put("with offset.jpg", camera, 1000);
  folder_.put("IMG_20200101_000000.jpg", camera, 1000);
  sidecar("IMG_20200101_000000.jpg.xmp", "2019-01-01T00:00:00Z", 1000);
  folder_.putPhoto("edited.jpg", 3000);
  sidecar("edited.jpg.xmp", "2021-02-03T04:05:06Z", 1000);
  folder_.putPhoto("RAW.JPG", 3000);
  sidecar("RAW.xmp", "2021-02-03T04:05:07Z", 1000);
  folder_.putPhoto("IMG_20210203_040505.jpg", 3000);
  folder_.putPhoto("file time.jpg", 3000);
  struct Row {
    const char* name;
    double created;
    bool isCapture;
    const char* reason;
  };
  const Row rows[] = {{"with offset.jpg", 1714557600, true, "the camera's own"},
                      {"IMG_20200101_000000.jpg", 1714557600, true, "before a sidecar's and the name's"},
                      {"edited.jpg", 1612325106, true, "a sidecar's of the whole name"},
                      {"RAW.JPG", 1612325107, true, "a sidecar's of the name without its ending"},
                      {"IMG_20210203_040505.jpg", 1612325105, false, "the name's"},
                      {"file time.jpg", 3000, false, "nothing else"}};
  const auto expect = [&](const Row& row) {
    const auto details = library_->details(identifierOf(*library_, row.name));
    ASSERT_TRUE(details) << row.name;
    EXPECT_EQ(details->created, row.created) << row.name << ": " << row.reason;
    EXPECT_EQ(details->dateIsCaptures, row.isCapture) << row.name << ": " << row.reason;
  };
  open();
  for (const Row& row : rows) expect(row);
  open();
  for (const Row& row : rows) expect(row);  // from the index

  sidecar("edited.jpg.xmp", "2021-02-03T04:06:06Z", 2000);
  fs::remove(folder_.pictures() / "RAW.xmp");
  fs::rename(folder_.pictures() / "IMG_20210203_040505.jpg", folder_.pictures() / "IMG_20210203_040605.jpg");
  look(*library_);
  expect({"edited.jpg", 1612325166, true, "its sidecar has changed"});
  expect({"RAW.JPG", 3000, false, "its sidecar has gone"});
  expect({"IMG_20210203_040605.jpg", 1612325165, false, "another name"});
}

TEST_F(FilesLibrary, AlbumsAreFoldersInNaturalOrderToldApartByTheirParents) {
  for (const char* const folder :
       {".", "2023/Trip", "2024/Trip", "a/Day/in", "b/Day/in", "Day 10", "Day 2", "day 11", "new\nline", "\xe9t\xe9"})
    folder_.putPhoto(std::string(folder) + "/x.jpg");
  fs::create_directory(folder_.pictures() / "empty");
  EXPECT_THAT(titles(open()),
              ElementsAre("pictures",  // the root itself comes first, by its own name
                          "Trip (2023)", "Trip (2024)", "in (a/Day)", "in (b/Day)",  // as much of the path as it takes
                          "Day 2", "Day 10", "day 11",  // by the numbers' values, whatever the case
                          "new line",                   // a title is one line
                          "\xef\xbf\xbdt\xef\xbf\xbd"   // no UTF-8, yet a title must be
                          ));
}

TEST_F(FilesLibrary, WhatIsThrownAwayMovesToRecentlyDeleted) {
  folder_.putPhoto("kept.jpg", 1000);
  auto options = folder_.options();
  options.roots.push_back(folder_.top() / "escaped root");
  const char* const thrown[] = {"trip/with space.jpg", "old folder/in it.jpg", "../escaped root/a.jpg",
                                "../not ours.jpg"};
  for (int i = 0; i < 4; ++i) folder_.putPhoto(thrown[i], 2000 + i);
  open(options);
  for (const char* each : {thrown[0], "old folder", thrown[2], thrown[3]}) folder_.trash(each);
  look(*library_);
  EXPECT_THAT(namesIn(*library_, "Camera Roll"), ElementsAre("kept.jpg"));
  EXPECT_THAT(namesIn(*library_, "Recently Deleted"), ElementsAre("a.jpg", "in it.jpg", "with space.jpg"));
  EXPECT_THAT(titles(*library_), ElementsAre("pictures"));
}

TEST_F(FilesLibrary, SeveralRootsAreOneLibrary) {
  folder_.putPhoto("in/first.jpg", 1000);
  folder_.putPhoto("../Videos/second.jpg", 2000);
  folder_.putPhoto("../secret/.inner/third.jpg", 3000);
  auto options = folder_.options();
  options.roots = {(folder_.top() / "Videos").string() + "/", folder_.pictures().string(),
                   (folder_.pictures() / "in").string(), (folder_.top() / "missing").string(),
                   (folder_.top() / "secret/.inner").string()};
  EXPECT_THAT(namesIn(open(options), "Camera Roll"), ElementsAre("third.jpg", "second.jpg", "first.jpg"));
  EXPECT_THAT(titles(*library_), ElementsAre("Videos", "in", ".inner"));
}

TEST_F(FilesLibrary, WordOfASaveWaitsForWhoeverAsksForItsPicture) {
  PhotoLibrary& library = open();
  Onlooker onlooker(library);
  const PHAssetCreation photo{std::make_shared<UIImage>(CGImage::create(4, 3, std::vector<std::uint8_t>(48, 200))),
                              {},
                              {},
                              std::make_shared<PHObjectPlaceholder>()};
  std::promise<std::shared_ptr<const void>> asked;
  library.performChanges(
      {photo}, [&](bool, const auto&) { asked.set_value(library.beginRequest(photo.placeholder->localIdentifier())); });
  auto request = asked.get_future().get();
  ASSERT_TRUE(request);
  folder_.putPhoto("meanwhile.jpg", 1000);
  look(*library_);
  std::promise<void> allToldBefore;
  library.requestAuthorization([&](PHAuthorizationStatus) { allToldBefore.set_value(); });
  allToldBefore.get_future().wait();
  EXPECT_EQ(onlooker.count(), 0);
  request.reset();
  EXPECT_TRUE(onlooker.comesTo([&] { return onlooker.count() > 0; }));
  EXPECT_FALSE(library.beginRequest(photo.placeholder->localIdentifier())) << "later requests hold nothing back";
}

}  // namespace
}  // namespace tlx::photolibrary::test
