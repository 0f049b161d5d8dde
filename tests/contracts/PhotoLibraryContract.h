#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tlx/platform/photos/PhotoLibraryPort.h"

#include "tests/contracts/ContractWorld.h"

namespace tlx::contracts {

/// A library that begins empty, with access granted. Its calls return at once; the library may learn of what they did
/// later.
class PhotoLibraryWorld : public ContractWorld {
 public:
  struct Item {
    std::string name;
    std::string
        album;  ///< title of one of the person's albums, which comes to be with its first item and goes with its last
    PHAssetMediaType mediaType = PHAssetMediaTypeImage;
    double creationDate = 0;  ///< whole seconds since 1970 UTC
  };

  virtual PhotoLibraryPort& library() = 0;
  virtual void put(const std::vector<Item>& items) = 0;
  virtual void take(const std::vector<std::string>& names) = 0;
  /// A video, such as a camera leaves behind, that says nothing of when it was taken.
  virtual AVRecording recording() = 0;

  /// Asks for a saved photo's picture, as whoever saved it does, and has the answer.
  virtual void askForPicture(const Identifier& item) = 0;

  /// Somebody sets the access like this, and from now on it stands so. False when the library knows no such state.
  virtual bool setAccess(PHAuthorizationStatus status) = 0;
  /// What the person will answer when asked.
  virtual void setPromptAnswer(PHAuthorizationStatus status) = 0;
  virtual int promptCount() const = 0;
};

using PhotoLibraryWorldFactory = std::unique_ptr<PhotoLibraryWorld> (*)();

class PhotoLibraryContract : public testing::TestWithParam<PhotoLibraryWorldFactory> {
 protected:
  using Assets = std::shared_ptr<const PHFetchResult<PHAsset>>;
  using Item = PhotoLibraryWorld::Item;

  PhotoLibraryPort& library() { return world_->library(); }

  static PHFetchOptions newestFirst(std::int64_t mediaType = 0) {
    PHFetchOptions options;
    options.setSortDescriptors({NSSortDescriptor::sortDescriptorWithKey_ascending("creationDate", false)});
    if (mediaType != 0) options.setPredicate(NSPredicate::predicateWithFormat("mediaType = %d", mediaType));
    return options;
  }

  std::shared_ptr<const PHAssetCollection> album(const std::string& title) {
    const auto albums = library().fetchAssetCollections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny);
    for (const auto& collection : *albums) {
      if (collection->localizedTitle == title) return collection;
    }
    return nullptr;
  }

  Assets fetch(const std::string& title, const PHFetchOptions& options = newestFirst()) {
    const auto collection = album(title);
    return collection ? library().fetchAssets(*collection, options) : std::make_shared<const PHFetchResult<PHAsset>>();
  }

  static std::vector<double> dates(const Assets& assets) {
    std::vector<double> all;
    for (const auto& asset : *assets) all.push_back(asset->creationDate);
    return all;
  }

  /// Puts items and waits until an album holds as many as it should.
  void putAndWait(const std::vector<Item>& items, const std::string& title, std::size_t count) {
    world_->put(items);
    ASSERT_TRUE(world_->runUntil([&] { return fetch(title)->count() == count; }))
        << title << " holds " << fetch(title)->count();
    world_->settle();
  }
  static Item photo(const std::string& name, double date) { return {name, "Trip", PHAssetMediaTypeImage, date}; }
  static Item video(const std::string& name, double date) { return {name, "Trip", PHAssetMediaTypeVideo, date}; }

  /// The changes that the library tells of while this lives.
  struct Changes : Heard<std::shared_ptr<const PHChange>> {
    explicit Changes(PhotoLibraryWorld& ofWorld) : Heard(ofWorld.mainQueue()), world(ofWorld) {
      world.library().setChangeHandler([this](std::shared_ptr<const PHChange> change) {
        if (running.exchange(true)) overlapped = true;
        add(std::move(change));
        running = false;
      });
    }
    ~Changes() { world.library().setChangeHandler(nullptr); }
    /// The first change that touches the result.
    std::shared_ptr<const PHFetchResultChangeDetails> detailsFor(const Assets& result) const {
      for (const auto& change : all()) {
        if (auto details = change->changeDetailsForFetchResult(result)) return details;
      }
      return nullptr;
    }
    /// Waits for it.
    Assets after(const Assets& result) const {
      EXPECT_TRUE(world.runUntil([&] { return detailsFor(result) != nullptr; }));
      const auto details = detailsFor(result);
      return details ? details->fetchResultAfterChanges : std::make_shared<const PHFetchResult<PHAsset>>();
    }
    PhotoLibraryWorld& world;
    std::atomic<bool> running = false, overlapped = false;
  };

  std::unique_ptr<PhotoLibraryWorld> world_ = GetParam()();
};

TEST_P(PhotoLibraryContract, FetchesAnswerAsTheOptionsSayAndTheSameUntilSomethingChanges) {
  putAndWait({photo("b", 2000), video("d", 4000), video("a", 1000), photo("c", 3000)}, "Trip", 4);
  EXPECT_THAT(dates(fetch("Trip")), testing::ElementsAre(4000, 3000, 2000, 1000));
  EXPECT_THAT(dates(fetch("Trip", newestFirst(PHAssetMediaTypeImage))), testing::ElementsAre(3000, 2000));
  EXPECT_THAT(dates(fetch("Trip", newestFirst(PHAssetMediaTypeVideo))), testing::ElementsAre(4000, 1000));
  EXPECT_THAT(dates(fetch("Trip", newestFirst(PHAssetMediaTypeAudio))), testing::IsEmpty());
  PHFetchOptions oldestFirst;
  oldestFirst.setSortDescriptors({NSSortDescriptor::sortDescriptorWithKey_ascending("creationDate", true)});
  EXPECT_THAT(dates(fetch("Trip", oldestFirst)), testing::ElementsAre(1000, 2000, 3000, 4000));
  EXPECT_EQ(fetch("Trip", PHFetchOptions())->count(), 4u);

  const auto first = fetch("Trip");
  EXPECT_EQ(fetch("Trip"), first) << "the same object";
  const Identifier newest = first->objectAtIndex(0)->localIdentifier, oldest = first->objectAtIndex(3)->localIdentifier;
  const auto byIdentifier = [&] {
    return dates(library().fetchAssetsWithLocalIdentifiers({oldest, "no such item", newest}));
  };
  EXPECT_THAT(byIdentifier(), testing::ElementsAre(1000, 4000)) << "in the order given";
  EXPECT_EQ(library().fetchAssetsWithLocalIdentifiers({})->count(), 0u);
  putAndWait({photo("e", 5000)}, "Trip", 5);
  EXPECT_NE(fetch("Trip"), first);
  EXPECT_THAT(dates(first), testing::ElementsAre(4000, 3000, 2000, 1000)) << "a result never changes";
  EXPECT_THAT(byIdentifier(), testing::ElementsAre(1000, 4000)) << "an identifier outlives a change";
}

TEST_P(PhotoLibraryContract, ItemsOfTheSameMomentNeverFlicker) {
  putAndWait({photo("b", 1000), photo("a", 1000), photo("c", 1000)}, "Trip", 3);
  const auto identifiers = [&] {
    std::vector<std::string> all;
    for (const auto& asset : *fetch("Trip")) all.insert(all.begin(), asset->localIdentifier.string());
    return all;
  };
  const auto before = identifiers();
  putAndWait({photo("d", 2000)}, "Trip", 4);
  auto after = identifiers();
  after.pop_back();
  EXPECT_EQ(after, before);
}

TEST_P(PhotoLibraryContract, AlbumsAreListedByTypeInAStableOrderWithDistinctIdentifiersAndGoWithTheirItems) {
  putAndWait({photo("a", 1000), {"b", "Home", PHAssetMediaTypeImage, 2000}}, "Home", 1);
  const auto titles = [&](PHAssetCollectionType type, PHAssetCollectionSubtype subtype) {
    std::vector<std::string> all;
    const auto albums = library().fetchAssetCollections(type, subtype);
    for (const auto& collection : *albums) {
      EXPECT_EQ(collection->assetCollectionType, type);
      all.push_back(collection->localizedTitle);
    }
    return all;
  };
  const auto own = titles(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny);
  EXPECT_THAT(own, testing::UnorderedElementsAre("Trip", "Home"));
  EXPECT_EQ(titles(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny), own);
  const auto smart = titles(PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAlbumRegular);
  EXPECT_EQ(titles(PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAlbumRegular), smart);
  const auto trip = album("Trip");
  EXPECT_NE(trip->localIdentifier, album("Home")->localIdentifier);
  world_->take({"a"});
  ASSERT_TRUE(world_->runUntil([&] { return !album("Trip"); }));
  EXPECT_EQ(library().fetchAssets(*trip, newestFirst())->count(), 0u) << "an album that is gone is empty";
}

TEST_P(PhotoLibraryContract, WithoutAccessThereIsNothingToSeeAndEachTurnIsAChange) {
  putAndWait({photo("a", 1000)}, "Trip", 1);
  const auto trip = album("Trip");
  const auto seen = fetch("Trip");
  const Changes changes(*world_);
  for (const auto status :
       {PHAuthorizationStatusDenied, PHAuthorizationStatusRestricted, PHAuthorizationStatusNotDetermined}) {
    if (!world_->setAccess(status)) continue;
    EXPECT_EQ(library().authorizationStatus(), status);
    const auto albums = library().fetchAssetCollections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny);
    const auto assets = library().fetchAssets(*trip, newestFirst());
    const auto byIdentifier = library().fetchAssetsWithLocalIdentifiers({seen->firstObject()->localIdentifier});
    EXPECT_EQ(albums->count() + assets->count() + byIdentifier->count(), 0u) << "status " << status;
    EXPECT_EQ(changes.after(seen)->count(), 0u) << "what was fetched is to be seen no more";
  }
  world_->settle();
  const auto before = changes.count();
  ASSERT_TRUE(world_->setAccess(PHAuthorizationStatusAuthorized));
  ASSERT_TRUE(world_->runUntil([&] { return changes.count() > before; }));
  EXPECT_EQ(fetch("Trip")->count(), 1u);
}

TEST_P(PhotoLibraryContract, AsksThePersonOnceAndAnswersEachRequestOnce) {
  if (!world_->setAccess(PHAuthorizationStatusNotDetermined)) GTEST_SKIP() << "the library never asks";
  world_->setPromptAnswer(PHAuthorizationStatusDenied);
  const auto answers = std::make_shared<Heard<PHAuthorizationStatus>>(world_->mainQueue());
  const auto ask = [&] {
    library().requestAuthorization([answers](PHAuthorizationStatus status) { answers->add(status); });
  };
  ask();
  ask();
  ASSERT_TRUE(world_->runUntil([&] { return answers->count() == 2; }));
  EXPECT_EQ(library().authorizationStatus(), PHAuthorizationStatusDenied);
  ask();
  ASSERT_TRUE(world_->runUntil([&] { return answers->count() == 3; })) << "who decided before is answered as well";
  world_->settle();
  EXPECT_THAT(answers->all(), testing::AllOf(testing::SizeIs(3), testing::Each(PHAuthorizationStatusDenied)));
  EXPECT_THAT(answers->threads(), testing::Not(testing::Contains(std::this_thread::get_id())));
  EXPECT_EQ(world_->promptCount(), 1);
}

TEST_P(PhotoLibraryContract, TellsWhichResultsAChangeTouches) {
  putAndWait({photo("a", 1000), video("b", 2000), {"c", "Home", PHAssetMediaTypeImage, 3000}}, "Home", 1);
  const Changes changes(*world_);
  const auto trip = fetch("Trip"), videos = fetch("Trip", newestFirst(PHAssetMediaTypeVideo)), home = fetch("Home");
  world_->put({photo("d", 4000)});
  EXPECT_THAT(dates(changes.after(trip)), testing::ElementsAre(4000, 2000, 1000));
  EXPECT_EQ(changes.detailsFor(trip)->fetchResultBeforeChanges, trip);
  EXPECT_THAT(dates(fetch("Trip")), testing::ElementsAre(4000, 2000, 1000)) << "a fetch sees what was told";
  EXPECT_FALSE(changes.detailsFor(videos)) << "a photo came, the list of videos stays";
  EXPECT_FALSE(changes.detailsFor(home)) << "another album";
  EXPECT_FALSE(changes.detailsFor(nullptr));
  EXPECT_FALSE(changes.detailsFor(std::make_shared<const PHFetchResult<PHAsset>>())) << "no result of this library";
  const auto grown = fetch("Trip");
  world_->take({"a"});
  EXPECT_THAT(dates(changes.after(grown)), testing::ElementsAre(4000, 2000));
  EXPECT_THAT(changes.threads(), testing::Not(testing::Contains(std::this_thread::get_id())));
}

TEST_P(PhotoLibraryContract, TellsOfItemsThatChangedInTheirPlaceAndOneChangeAfterTheOther) {
  putAndWait({photo("a", 1000)}, "Trip", 1);
  const Changes changes(*world_);
  const auto shown = fetch("Trip");
  world_->put({photo("a", 5000)});
  const auto dated = changes.after(shown);
  EXPECT_THAT(dates(dated), testing::ElementsAre(5000));
  EXPECT_EQ(dated->firstObject()->localIdentifier, shown->firstObject()->localIdentifier);
  for (int round = 0; round < 5; ++round) world_->put({photo("new" + std::to_string(round), 6000.0 + round)});
  ASSERT_TRUE(world_->runUntil([&] { return fetch("Trip")->count() == 6 && changes.detailsFor(dated); }));
  world_->settle();
  EXPECT_FALSE(changes.all().back()->changeDetailsForFetchResult(fetch("Trip"))) << "the last word is the present";
  EXPECT_FALSE(changes.overlapped.load());
}

TEST_P(PhotoLibraryContract, ANewHandlerHearsOfWhatNoFetchHasSeen) {
  putAndWait({photo("a", 1000)}, "Trip", 1);
  const auto shown = fetch("Trip");
  world_->put({photo("b", 2000)});
  world_->settle();
  {
    const Changes changes(*world_);
    EXPECT_THAT(dates(changes.after(shown)), testing::ElementsAre(2000, 1000));
  }
  putAndWait({photo("c", 3000)}, "Trip", 3);
  const Changes changes(*world_);
  world_->settle();
  EXPECT_THAT(changes.all(), testing::IsEmpty()) << "what the fetch before it has seen is no news";
}

TEST_P(PhotoLibraryContract, AHandlerThatWasTakenOutIsNotRunningAndHearsNoMore) {
  putAndWait({photo("a", 1000)}, "Trip", 1);
  std::atomic<bool> entered = false, leaving = false, taken = false, calledAfter = false;
  library().setChangeHandler([&, &queue = world_->mainQueue()](const std::shared_ptr<const PHChange>&) {
    if (taken) calledAfter = true;
    entered = true;
    queue.post([] {});
    while (!leaving) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();  // whoever does not wait for us is back by now
    entered = false;
  });
  world_->put({photo("b", 2000)});
  ASSERT_TRUE(world_->runUntil([&] { return entered.load(); }));
  leaving = true;
  library().setChangeHandler(nullptr);
  EXPECT_FALSE(entered);
  taken = true;
  world_->put({photo("c", 3000)});
  ASSERT_TRUE(world_->runUntil([&] { return fetch("Trip")->count() == 3; }));
  world_->settle();
  EXPECT_FALSE(calledAfter);
}

TEST_P(PhotoLibraryContract, SavesWhatWasCapturedAndTellsOfIt) {
  putAndWait({{"a", "Camera", PHAssetMediaTypeImage, 1000}}, "Camera", 1);
  const Changes changes(*world_);
  const auto roll = fetch("Camera");
  using Outcome = std::pair<bool, std::optional<NSError>>;
  std::vector<std::shared_ptr<Heard<Outcome>>> outcomes;
  const auto save = [&](const std::vector<PHAssetCreation>& creations) {
    const auto outcome = outcomes.emplace_back(std::make_shared<Heard<Outcome>>(world_->mainQueue()));
    library().performChanges(creations, [outcome](bool success, const std::optional<NSError>& error) {
      outcome->add({success, error});
    });
    EXPECT_TRUE(world_->runUntil([&] { return outcome->count() > 0; }));
    EXPECT_NE(outcome->all()[0].first, outcome->all()[0].second.has_value());
    return outcome->all()[0].first;
  };
  const auto creation = [&](std::shared_ptr<const UIImage> image, std::optional<AVRecording> video, double date) {
    return PHAssetCreation{std::move(image), std::move(video), date, std::make_shared<PHObjectPlaceholder>()};
  };
  const auto image = std::make_shared<const UIImage>(CGImage::create(4, 3, std::vector<std::uint8_t>(48, 200)));

  const auto still = creation(image, std::nullopt, 5000), movie = creation(nullptr, world_->recording(), 6000);
  ASSERT_TRUE(save({still, movie}));
  const Identifier stillsName = still.placeholder->localIdentifier();
  const auto made = library().fetchAssetsWithLocalIdentifiers({stillsName, movie.placeholder->localIdentifier()});
  ASSERT_EQ(made->count(), 2u) << "they are there before anything else happens";
  EXPECT_THAT(dates(made), testing::ElementsAre(5000, 6000));
  EXPECT_EQ(made->objectAtIndex(0)->mediaType, PHAssetMediaTypeImage);
  EXPECT_EQ(made->objectAtIndex(1)->mediaType, PHAssetMediaTypeVideo);
  world_->askForPicture(stillsName);
  EXPECT_THAT(dates(changes.after(roll)), testing::ElementsAre(6000, 5000, 1000));

  // The same moment again: a name of its own, and all or nothing.
  const auto again = creation(image, std::nullopt, 5000), empty = creation(nullptr, std::nullopt, 5000);
  EXPECT_FALSE(save({again, empty}));
  EXPECT_TRUE(again.placeholder->localIdentifier().empty());
  world_->settle();
  EXPECT_EQ(fetch("Camera")->count(), 3u);
  EXPECT_TRUE(save({again}));
  EXPECT_EQ(fetch("Camera")->count(), 4u);
  for (const auto& outcome : outcomes) EXPECT_EQ(outcome->count(), 1u);
}

}  // namespace tlx::contracts
