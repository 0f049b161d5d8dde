// Identifiers: the same through everything that happens to a file, and never another file's.

#include <filesystem>
#include <fstream>
#include <set>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {
namespace {

namespace fs = std::filesystem;

class FilesIdentity : public testing::Test {
 protected:
  PhotoLibrary& open() {
    library_.reset();
    library_ = std::make_unique<PhotoLibrary>(folder_.options(), log_);
    library_->waitUntilScanned();
    return *library_;
  }
  std::string look(const std::string& name) {
    library_->rescan();
    library_->waitUntilScanned();
    return identifierOf(*library_, name);
  }
  std::string album(const std::string& title) {
    for (const auto& collection :
         *library_->fetchAssetCollections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny)) {
      if (collection->localizedTitle == title) return collection->localIdentifier.string();
    }
    return {};
  }
  void rename(const std::string& from, const std::string& to) {
    fs::create_directories((folder_.pictures() / to).parent_path());
    fs::rename(folder_.pictures() / from, folder_.pictures() / to);
  }

  LibraryFolder folder_;
  KeptLog log_;
  std::unique_ptr<PhotoLibrary> library_;
};

TEST_F(FilesIdentity, StaysThroughRenamesMovesEditsAndRestarts) {
  folder_.putPhoto("trip/a.jpg", 1000);
  folder_.putPhoto("trip/other.jpg", 2000);
  open();
  const std::string item = identifierOf(*library_, "a.jpg"), trip = album("trip");
  ASSERT_FALSE(item.empty());
  rename("trip/a.jpg", "trip/b.jpg");
  EXPECT_EQ(look("b.jpg"), item) << "renamed";
  rename("trip/b.jpg", "elsewhere/b.jpg");
  EXPECT_EQ(look("b.jpg"), item) << "moved";
  rename("trip", "journey");
  look("b.jpg");
  EXPECT_EQ(album("journey"), trip) << "an album is its folder under any name";
  rename("elsewhere/b.jpg", "journey/c.jpg");
  open();
  EXPECT_EQ(identifierOf(*library_, "c.jpg"), item) << "moved while nobody looked";
  std::ofstream(folder_.pictures() / "journey/c.jpg", std::ios::app) << "more";
  EXPECT_EQ(look("c.jpg"), item) << "changed in place";
  library_.reset();
  fs::remove_all(folder_.top() / "cache");
  open();
  EXPECT_EQ(identifierOf(*library_, "c.jpg"), item) << "the index was lost";
  EXPECT_EQ(album("journey"), trip);
}

TEST_F(FilesIdentity, IsNeverAnotherFiles) {
  folder_.putPhoto("a.jpg", 1000);
  std::set<std::string> used = {identifierOf(open(), "a.jpg")};
  fs::copy_file(folder_.pictures() / "a.jpg", folder_.pictures() / "copy.jpg");
  EXPECT_TRUE(used.insert(look("copy.jpg")).second) << "a copy";
  folder_.putPhoto("draft", 1000);
  rename("draft", "a.jpg");
  EXPECT_TRUE(used.insert(look("a.jpg")).second) << "saved anew over the old name";
  for (int round = 0; round < 20; ++round) {
    // The file system hands the inode number on at once; the next file has it again.
    fs::remove(folder_.pictures() / "a.jpg");
    const std::string name = "reborn " + std::to_string(round) + ".jpg";
    folder_.putPhoto(name, 1000);
    EXPECT_TRUE(used.insert(look(name)).second) << name;
    fs::rename(folder_.pictures() / name, folder_.pictures() / "a.jpg");
    EXPECT_FALSE(used.insert(look("a.jpg")).second) << "only renamed";
  }
}

TEST(FileKeys, DeriveDistinctIdentifiersOfFifteenPlainCharacters) {
  std::set<std::string> all;
  for (std::uint64_t i = 0; i < 1000; ++i) {
    for (const FileKey& key :
         {FileKey{i, 1, 1}, FileKey{1, i + 2, 1}, FileKey{1, 1, static_cast<std::int64_t>(i) + 2}}) {
      all.insert(deriveIdentifier(key));
    }
  }
  EXPECT_EQ(all.size(), 3000u);
  EXPECT_THAT(all, testing::Each(testing::SizeIs(15)));
  EXPECT_EQ(deriveIdentifier({0x1234, 42, 1'700'000'000'000'000'000}),
            deriveIdentifier({0x1234, 42, 1'700'000'000'000'000'000}));
  EXPECT_NE(mintIdentifier(), mintIdentifier());
}

}  // namespace
}  // namespace tlx::photolibrary::test
