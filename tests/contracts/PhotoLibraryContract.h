#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

  static std::vector<std::string> identifiers(const Assets& assets) {
    std::vector<std::string> all;
    for (const auto& asset : *assets) all.push_back(asset->localIdentifier.string());
    return all;
  }

  /// Puts items and waits until an album holds as many as it should.
  void putAndWait(const std::vector<Item>& items, const std::string& title, std::size_t count) {
    world_->put(items);
    ASSERT_TRUE(world_->runUntil([&] { return fetch(title)->count() == count; }))
        << title << " holds " << fetch(title)->count();
    world_->settle();
  }

  /// The changes that the library tells of while this lives, and the threads it tells them on.
  class Changes {
   public:
    explicit Changes(PhotoLibraryWorld& world) : world_(world) {
      world_.library().setChangeHandler([this](std::shared_ptr<const PHChange> change) {
        if (running_.exchange(true)) overlapped_ = true;
        {
          std::lock_guard lock(mutex_);
          all_.push_back(std::move(change));
        }
        if (world_.mainQueue().isMainThread()) onMainThread_ = true;
        running_ = false;
        world_.mainQueue().post([] {});
      });
    }
    ~Changes() { world_.library().setChangeHandler(nullptr); }
    std::vector<std::shared_ptr<const PHChange>> all() const {
      std::lock_guard lock(mutex_);
      return all_;
    }
    /// The first change that touches the result.
    std::shared_ptr<const PHFetchResultChangeDetails> detailsFor(const Assets& result) const {
      for (const auto& change : all()) {
        if (auto details = change->changeDetailsForFetchResult(result)) return details;
      }
      return nullptr;
    }
    bool overlapped() const { return overlapped_; }
    bool onMainThread() const { return onMainThread_; }

   private:
    PhotoLibraryWorld& world_;
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<const PHChange>> all_;
    std::atomic<bool> running_ = false, overlapped_ = false, onMainThread_ = false;
  };

  std::unique_ptr<PhotoLibraryWorld> world_ = GetParam()();
};

TEST_P(PhotoLibraryContract, FetchesKeepAndOrderAsTheOptionsSay) {
  putAndWait({{"b", "Trip", PHAssetMediaTypeImage, 2000},
              {"d", "Trip", PHAssetMediaTypeVideo, 4000},
              {"a", "Trip", PHAssetMediaTypeVideo, 1000},
              {"c", "Trip", PHAssetMediaTypeImage, 3000}},
             "Trip", 4);
  EXPECT_THAT(dates(fetch("Trip")), testing::ElementsAre(4000, 3000, 2000, 1000));
  EXPECT_THAT(dates(fetch("Trip", newestFirst(PHAssetMediaTypeImage))), testing::ElementsAre(3000, 2000));
  EXPECT_THAT(dates(fetch("Trip", newestFirst(PHAssetMediaTypeVideo))), testing::ElementsAre(4000, 1000));
  EXPECT_THAT(dates(fetch("Trip", newestFirst(PHAssetMediaTypeAudio))), testing::IsEmpty());
  PHFetchOptions oldestFirst;
  oldestFirst.setSortDescriptors({NSSortDescriptor::sortDescriptorWithKey_ascending("creationDate", true)});
  EXPECT_THAT(dates(fetch("Trip", oldestFirst)), testing::ElementsAre(1000, 2000, 3000, 4000));
  EXPECT_EQ(fetch("Trip", PHFetchOptions())->count(), 4u);
}

TEST_P(PhotoLibraryContract, TheSameQuestionGivesTheSameObjectUntilSomethingChanges) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}, {"b", "Trip", PHAssetMediaTypeVideo, 2000}}, "Trip", 2);
  const auto first = fetch("Trip");
  EXPECT_EQ(fetch("Trip"), first);
  EXPECT_NE(fetch("Trip", newestFirst(PHAssetMediaTypeImage)), first);
  putAndWait({{"c", "Trip", PHAssetMediaTypeImage, 3000}}, "Trip", 3);
  EXPECT_NE(fetch("Trip"), first);
  EXPECT_THAT(dates(first), testing::ElementsAre(2000, 1000)) << "a result never changes";
}

TEST_P(PhotoLibraryContract, ItemsOfTheSameMomentNeverFlicker) {
  putAndWait({{"b", "Trip", PHAssetMediaTypeImage, 1000},
              {"a", "Trip", PHAssetMediaTypeImage, 1000},
              {"c", "Trip", PHAssetMediaTypeImage, 1000}},
             "Trip", 3);
  const auto before = identifiers(fetch("Trip"));
  putAndWait({{"d", "Trip", PHAssetMediaTypeImage, 2000}}, "Trip", 4);
  auto after = identifiers(fetch("Trip"));
  after.erase(after.begin());
  EXPECT_EQ(after, before);
}

TEST_P(PhotoLibraryContract, FindsItemsByIdentifierInTheOrderGiven) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}, {"b", "Trip", PHAssetMediaTypeVideo, 2000}}, "Trip", 2);
  const auto trip = fetch("Trip");
  const Identifier newest = trip->objectAtIndex(0)->localIdentifier, oldest = trip->objectAtIndex(1)->localIdentifier;
  EXPECT_THAT(dates(library().fetchAssetsWithLocalIdentifiers({oldest, "no such item", newest})),
              testing::ElementsAre(1000, 2000));
  EXPECT_EQ(library().fetchAssetsWithLocalIdentifiers({})->count(), 0u);
  putAndWait({{"c", "Trip", PHAssetMediaTypeImage, 3000}}, "Trip", 3);
  EXPECT_THAT(dates(library().fetchAssetsWithLocalIdentifiers({newest})), testing::ElementsAre(2000))
      << "an identifier outlives a change";
}

TEST_P(PhotoLibraryContract, AlbumsAreListedByTypeInAStableOrderWithDistinctIdentifiers) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}, {"b", "Home", PHAssetMediaTypeImage, 2000}}, "Home", 1);
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
  EXPECT_NE(album("Trip")->localIdentifier, album("Home")->localIdentifier);
  const auto smart = titles(PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAlbumRegular);
  EXPECT_EQ(titles(PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAlbumRegular), smart);
}

TEST_P(PhotoLibraryContract, AnAlbumThatIsGoneIsEmpty) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}}, "Trip", 1);
  const auto trip = album("Trip");
  world_->take({"a"});
  ASSERT_TRUE(world_->runUntil([&] { return !album("Trip"); }));
  const auto left = library().fetchAssets(*trip, newestFirst());
  ASSERT_TRUE(left);
  EXPECT_EQ(left->count(), 0u);
}

TEST_P(PhotoLibraryContract, WithoutAccessThereIsNothingToSee) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}}, "Trip", 1);
  const auto trip = album("Trip");
  const Identifier item = fetch("Trip")->firstObject()->localIdentifier;
  for (const auto status :
       {PHAuthorizationStatusDenied, PHAuthorizationStatusRestricted, PHAuthorizationStatusNotDetermined}) {
    if (!world_->setAccess(status)) continue;
    EXPECT_EQ(library().authorizationStatus(), status);
    const auto albums = library().fetchAssetCollections(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny);
    const auto assets = library().fetchAssets(*trip, newestFirst());
    const auto byIdentifier = library().fetchAssetsWithLocalIdentifiers({item});
    ASSERT_TRUE(albums && assets && byIdentifier) << "status " << status;
    EXPECT_EQ(albums->count() + assets->count() + byIdentifier->count(), 0u) << "status " << status;
  }
}

TEST_P(PhotoLibraryContract, AccessThatIsTakenAndGrantedIsAChange) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}}, "Trip", 1);
  const Changes changes(*world_);
  const auto seen = fetch("Trip");
  ASSERT_TRUE(world_->setAccess(PHAuthorizationStatusDenied));
  ASSERT_TRUE(world_->runUntil([&] { return changes.detailsFor(seen) != nullptr; }));
  EXPECT_EQ(changes.detailsFor(seen)->fetchResultAfterChanges->count(), 0u) << "what was fetched is to be seen no more";
  const auto before = changes.all().size();
  ASSERT_TRUE(world_->setAccess(PHAuthorizationStatusAuthorized));
  ASSERT_TRUE(world_->runUntil([&] { return changes.all().size() > before; }));
  EXPECT_EQ(fetch("Trip")->count(), 1u);
}

TEST_P(PhotoLibraryContract, AsksThePersonOnceAndAnswersEachRequestOnce) {
  if (!world_->setAccess(PHAuthorizationStatusNotDetermined)) GTEST_SKIP() << "the library never asks";
  world_->setPromptAnswer(PHAuthorizationStatusDenied);
  struct Answers {
    std::mutex mutex;
    std::vector<PHAuthorizationStatus> statuses;
    std::atomic<bool> onMainThread = false;
  };
  const auto answers = std::make_shared<Answers>();
  const auto ask = [&] {
    library().requestAuthorization([answers, &world = *world_](PHAuthorizationStatus status) {
      if (world.mainQueue().isMainThread()) answers->onMainThread = true;
      {
        std::lock_guard lock(answers->mutex);
        answers->statuses.push_back(status);
      }
      world.mainQueue().post([] {});
    });
  };
  const auto count = [&] {
    std::lock_guard lock(answers->mutex);
    return answers->statuses.size();
  };
  ask();
  ask();
  ASSERT_TRUE(world_->runUntil([&] { return count() == 2; }));
  EXPECT_EQ(library().authorizationStatus(), PHAuthorizationStatusDenied);
  ask();
  ASSERT_TRUE(world_->runUntil([&] { return count() == 3; })) << "who decided before is answered without being asked";
  world_->settle();
  EXPECT_THAT(answers->statuses, testing::ElementsAre(PHAuthorizationStatusDenied, PHAuthorizationStatusDenied,
                                                      PHAuthorizationStatusDenied));
  EXPECT_FALSE(answers->onMainThread);
  EXPECT_EQ(world_->promptCount(), 1);
}

TEST_P(PhotoLibraryContract, TellsWhichResultsAChangeTouches) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000},
              {"b", "Trip", PHAssetMediaTypeVideo, 2000},
              {"c", "Home", PHAssetMediaTypeImage, 3000}},
             "Home", 1);
  const Changes changes(*world_);
  const auto trip = fetch("Trip"), videos = fetch("Trip", newestFirst(PHAssetMediaTypeVideo)), home = fetch("Home");
  const auto foreign = std::make_shared<const PHFetchResult<PHAsset>>();
  world_->put({{"d", "Trip", PHAssetMediaTypeImage, 4000}});
  ASSERT_TRUE(world_->runUntil([&] { return changes.detailsFor(trip) != nullptr; }));
  const auto details = changes.detailsFor(trip);
  EXPECT_EQ(details->fetchResultBeforeChanges, trip);
  EXPECT_THAT(dates(details->fetchResultAfterChanges), testing::ElementsAre(4000, 2000, 1000));
  EXPECT_THAT(dates(fetch("Trip")), testing::ElementsAre(4000, 2000, 1000)) << "a fetch sees what was told";
  EXPECT_FALSE(changes.detailsFor(videos)) << "a photo came, the list of videos stays";
  EXPECT_FALSE(changes.detailsFor(home)) << "another album";
  EXPECT_FALSE(changes.detailsFor(nullptr));
  EXPECT_FALSE(changes.detailsFor(foreign)) << "no result of this library";
  const auto grown = fetch("Trip");
  world_->take({"a"});
  ASSERT_TRUE(world_->runUntil([&] { return changes.detailsFor(grown) != nullptr; }));
  EXPECT_THAT(dates(changes.detailsFor(grown)->fetchResultAfterChanges), testing::ElementsAre(4000, 2000));
  EXPECT_FALSE(changes.onMainThread());
}

TEST_P(PhotoLibraryContract, TellsOfAnItemThatChangedInItsPlace) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}}, "Trip", 1);
  const Changes changes(*world_);
  const auto shown = fetch("Trip");
  world_->put({{"a", "Trip", PHAssetMediaTypeImage, 5000}});
  ASSERT_TRUE(world_->runUntil([&] { return changes.detailsFor(shown) != nullptr; }));
  const auto after = changes.detailsFor(shown)->fetchResultAfterChanges;
  EXPECT_THAT(dates(after), testing::ElementsAre(5000));
  EXPECT_EQ(identifiers(after), identifiers(shown));
}

TEST_P(PhotoLibraryContract, ANewHandlerHearsOfWhatNoFetchHasSeen) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}}, "Trip", 1);
  const auto shown = fetch("Trip");
  world_->put({{"b", "Trip", PHAssetMediaTypeImage, 2000}});
  world_->settle();
  {
    const Changes changes(*world_);
    ASSERT_TRUE(world_->runUntil([&] { return changes.detailsFor(shown) != nullptr; }));
    EXPECT_THAT(dates(changes.detailsFor(shown)->fetchResultAfterChanges), testing::ElementsAre(2000, 1000));
  }
  putAndWait({{"c", "Trip", PHAssetMediaTypeImage, 3000}}, "Trip", 3);
  const Changes changes(*world_);
  world_->settle();
  EXPECT_THAT(changes.all(), testing::IsEmpty()) << "what the fetch before it has seen is no news";
}

TEST_P(PhotoLibraryContract, TellsOneChangeAfterTheOther) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}}, "Trip", 1);
  const Changes changes(*world_);
  auto shown = fetch("Trip");
  for (int round = 0; round < 5; ++round) {
    world_->put({{"new" + std::to_string(round), "Trip", PHAssetMediaTypeImage, 2000.0 + round}});
  }
  ASSERT_TRUE(world_->runUntil([&] { return fetch("Trip")->count() == 6 && changes.detailsFor(shown); }));
  world_->settle();
  EXPECT_EQ(changes.all().back()->changeDetailsForFetchResult(fetch("Trip")), nullptr)
      << "the last word is the present";
  EXPECT_FALSE(changes.overlapped());
}

TEST_P(PhotoLibraryContract, AHandlerThatWasTakenOutIsNotRunningAndHearsNoMore) {
  putAndWait({{"a", "Trip", PHAssetMediaTypeImage, 1000}}, "Trip", 1);
  std::atomic<bool> entered = false, leaving = false, taken = false, calledAfter = false;
  library().setChangeHandler([&, &queue = world_->mainQueue()](const std::shared_ptr<const PHChange>&) {
    if (taken) calledAfter = true;
    entered = true;
    queue.post([] {});
    while (!leaving) std::this_thread::yield();
    for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();  // whoever does not wait for us is back by now
    entered = false;
  });
  world_->put({{"b", "Trip", PHAssetMediaTypeImage, 2000}});
  ASSERT_TRUE(world_->runUntil([&] { return entered.load(); }));
  leaving = true;
  library().setChangeHandler(nullptr);
  EXPECT_FALSE(entered);
  taken = true;
  world_->put({{"c", "Trip", PHAssetMediaTypeImage, 3000}});
  ASSERT_TRUE(world_->runUntil([&] { return fetch("Trip")->count() == 3; }));
  world_->settle();
  EXPECT_FALSE(calledAfter);
}

TEST_P(PhotoLibraryContract, SavesWhatWasCapturedAndTellsOfIt) {
  putAndWait({{"a", "Camera", PHAssetMediaTypeImage, 1000}}, "Camera", 1);
  const Changes changes(*world_);
  const auto roll = fetch("Camera");
  struct Outcome {
    std::atomic<int> calls = 0;
    std::atomic<bool> success = false;
    std::optional<NSError> error;
  };
  const auto save = [&](const std::vector<PHAssetCreation>& creations) {
    auto outcome = std::make_shared<Outcome>();
    library().performChanges(
        creations, [outcome, &queue = world_->mainQueue()](bool success, const std::optional<NSError>& error) {
          outcome->success = success;
          outcome->error = error;
          ++outcome->calls;
          queue.post([] {});
        });
    EXPECT_TRUE(world_->runUntil([&] { return outcome->calls > 0; }));
    return outcome;
  };
  const auto creation = [&](std::shared_ptr<const UIImage> image, std::optional<AVRecording> video, double date) {
    return PHAssetCreation{std::move(image), std::move(video), date, std::make_shared<PHObjectPlaceholder>()};
  };
  const auto image = std::make_shared<const UIImage>(CGImage::create(4, 3, std::vector<std::uint8_t>(48, 200)));

  const auto photo = creation(image, std::nullopt, 5000), video = creation(nullptr, world_->recording(), 6000);
  const auto both = save({photo, video});
  ASSERT_TRUE(both->success) << (both->error ? both->error->localizedDescription : "");
  EXPECT_FALSE(both->error);
  const auto made = library().fetchAssetsWithLocalIdentifiers(
      {photo.placeholder->localIdentifier(), video.placeholder->localIdentifier()});
  ASSERT_EQ(made->count(), 2u) << "they are there before anything else happens";
  EXPECT_THAT(dates(made), testing::ElementsAre(5000, 6000));
  EXPECT_EQ(made->objectAtIndex(0)->mediaType, PHAssetMediaTypeImage);
  EXPECT_EQ(made->objectAtIndex(1)->mediaType, PHAssetMediaTypeVideo);
  world_->askForPicture(photo.placeholder->localIdentifier());
  ASSERT_TRUE(world_->runUntil([&] { return changes.detailsFor(roll) != nullptr; }));
  EXPECT_THAT(dates(changes.detailsFor(roll)->fetchResultAfterChanges), testing::ElementsAre(6000, 5000, 1000));

  // The same moment again: a name of its own, and all or nothing.
  const auto again = creation(image, std::nullopt, 5000), empty = creation(nullptr, std::nullopt, 5000);
  const auto failed = save({again, empty});
  EXPECT_FALSE(failed->success);
  EXPECT_TRUE(failed->error);
  EXPECT_TRUE(again.placeholder->localIdentifier().empty());
  world_->settle();
  EXPECT_EQ(fetch("Camera")->count(), 3u);
  EXPECT_TRUE(save({again})->success);
  EXPECT_EQ(fetch("Camera")->count(), 4u);
  EXPECT_EQ(both->calls, 1);
}

}  // namespace tlx::contracts
