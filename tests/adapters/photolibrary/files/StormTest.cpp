// Ten thousand things happen to the files while somebody looks on: nothing that is fetched is ever torn, and all ends
// where a fresh look would.

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <thread>

#include <gmock/gmock.h>

#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {
namespace {

namespace fs = std::filesystem;

/// Does as a person with several programs would, in an order that its seed decides.
class Storm {
 public:
  Storm(const LibraryFolder& folder, unsigned seed) : folder_(folder), random_(seed) {
    for (int i = 0; i < 400; ++i) folder_.putPhoto(anyPath(), 1000 + i);
  }

  void blow(int steps) {
    for (int i = 0; i < steps; ++i) {
      const fs::path from = at(anyPath()), to = at(anyPath());
      std::error_code none;
      const auto act = random_() % 11;
      if (act < 3) fs::rename(from, to, none);
      if (act == 3 || act == 4) fs::remove(from, none);
      if (act == 5 || act == 6) fs::copy_file(from, to, fs::copy_options::overwrite_existing, none);
      if (act == 7 || act == 8) folder_.putPhoto(anyPath(), static_cast<double>(1000 + random_() % 9000));
      if (act == 9) fs::rename(from.parent_path(), at("moved " + std::to_string(random_() % 3)), none);
      if (act == 10) fs::rename(at("moved " + std::to_string(random_() % 3)), to.parent_path(), none);
      fs::create_directories(to.parent_path(), none);
    }
  }

 private:
  fs::path at(const std::string& path) const { return folder_.pictures() / path; }
  std::string anyPath() {
    const std::string folder = std::to_string(random_() % 10);
    return (random_() % 4 == 0 ? folder + "/inner" : folder) + "/" + std::to_string(random_() % 60) + ".jpg";
  }

  const LibraryFolder& folder_;
  std::mt19937 random_;
};

/// As a grid does it: fetches an album, goes through it, and hears from the newest change what became of the last one.
void lookThrough(PhotoLibrary& library, Onlooker& onlooker, AssetResult& last, unsigned turn) {
  const auto albums = library.fetchAssetCollections(
      turn % 2 ? PHAssetCollectionTypeAlbum : PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAny);
  if (albums->count() == 0) return;
  const auto items = library.fetchAssets(*albums->objectAtIndex(turn / 2 % albums->count()), {});
  std::set<Identifier> met;
  for (std::size_t i = 0; i < items->count(); ++i) {
    const PHAsset& asset = *items->objectAtIndex(i);
    ASSERT_TRUE(met.insert(asset.localIdentifier).second) << "twice in one album";
    if (i > 0) {
      ASSERT_GE(items->objectAtIndex(i - 1)->creationDate, asset.creationDate);
    }
    library.locate(asset.localIdentifier);
  }
  const auto change = onlooker.newest();
  if (const auto details = change ? change->changeDetailsForFetchResult(last) : nullptr) {
    ASSERT_EQ(details->fetchResultBeforeChanges, last);
  }
  last = items;
}

TEST(FilesStorm, EndsWhereAFreshLookWould) {
  const char* const wanted = std::getenv("TLX_STORM_SEED");
  const unsigned seed = wanted ? static_cast<unsigned>(std::strtoul(wanted, nullptr, 10)) : 20240501;
  std::printf("TLX_STORM_SEED=%u\n", seed);
  const LibraryFolder folder;
  KeptLog log;
  Storm storm(folder, seed);
  PhotoLibrary library(folder.options(), directDecoders(), log);
  Onlooker onlooker(library);
  library.waitUntilScanned();
  std::atomic<bool> over = false;
  std::jthread blowing([&] {
    storm.blow(10'000);
    over = true;
  });
  AssetResult last;
  for (unsigned turn = 0; !over && !testing::Test::HasFatalFailure(); ++turn)
    lookThrough(library, onlooker, last, turn);
  blowing.join();
  auto options = folder.options();
  options.cacheFolder = (folder.top() / "fresh").string();
  PhotoLibrary fresh(options, directDecoders(), log);
  fresh.waitUntilScanned();
  const auto truth = everythingIn(fresh);
  onlooker.comesTo([&] { return everythingIn(library) == truth; });
  EXPECT_EQ(everythingIn(library), truth);
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

}  // namespace
}  // namespace tlx::photolibrary::test
