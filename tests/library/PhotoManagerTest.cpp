#include <functional>
#include <thread>

#include <gmock/gmock.h>

#include "tlx/library/PhotoManager.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

using memory::LibraryContents;
using memory::photo;
using memory::video;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Writes down what it hears.
class Delegate : public PhotoManagerDelegate {
 public:
  void firstTimeAuthorization() override { hear("first time"); }
  void userAuthorized(bool authorized) override { hear(authorized ? "authorized" : "refused"); }
  void showEmptyMediaWarning() override { hear("show empty"); }
  void hideEmptyMediaWarning() override { hear("hide empty"); }
  void photoLibraryChanged(const std::shared_ptr<const PHChange>& change) override {
    hear(change ? "changed" : "changed by nothing");
  }
  std::vector<std::string> take() { return std::exchange(heard_, {}); }

  std::function<void(const std::string&)> onMessage;

 private:
  void hear(const std::string& message) {
    heard_.push_back(message);
    if (onMessage) onMessage(message);
  }
  std::vector<std::string> heard_;
};

class PhotoManagerTest : public ::testing::Test {
 protected:
  std::shared_ptr<PhotoManager> make(std::int64_t type = 0) {
    return PhotoManager::photoManagerWithType_delegate(type, &delegate_);
  }
  static std::vector<std::string> titlesOf(PhotoManager& manager) {
    std::vector<std::string> titles;
    for (const auto& album : manager.albumList()) titles.push_back(album->getAlbumName());
    return titles;
  }
  static std::vector<std::string> markedIn(const AlbumModel& album) {
    std::vector<std::string> marked;
    for (std::uint64_t i = 0; const auto model = album.getMediaModelAtIndex(i); ++i) {
      if (model->isModelSelected()) marked.push_back(model->getMediaIdentifier().string());
    }
    return marked;
  }
  /// A smart album and two of the person's, with `shared` in all three.
  void fillThreeAlbums() {
    platform_.library.edit([](LibraryContents& library) {
      library.addSmartAlbum("Camera Roll", {photo("a", 1), photo("shared", 2), photo("c", 3)});
      library.addUserAlbum("Trip", {photo("shared", 2)});
      library.addUserAlbum("Home", {photo("c", 3), photo("shared", 2)});
    });
  }

  memory::MemoryPlatform platform_;
  Delegate delegate_;
};

TEST_F(PhotoManagerTest, FirstRunAsksAndStartsAgainAfterTheAnswer) {
  struct Row {
    PHAuthorizationStatus answer;
    bool withPhotos;
    std::vector<std::string> expected;
  };
  const Row rows[] = {
      {PHAuthorizationStatusAuthorized, true, {"authorized", "hide empty"}},
      {PHAuthorizationStatusAuthorized, false, {"authorized", "show empty"}},
      {PHAuthorizationStatusDenied, true, {"refused"}},
      {static_cast<PHAuthorizationStatus>(4), true, {"refused"}},
  };
  for (const Row& row : rows) {
    platform_.library.edit([&](LibraryContents& library) {
      library = LibraryContents();
      if (row.withPhotos) library.addSmartAlbum("Camera Roll", {photo("a")});
    });
    platform_.library.setStatus(PHAuthorizationStatusNotDetermined);
    platform_.library.setPromptAnswer(std::nullopt);
    const auto manager = make();
    EXPECT_THAT(delegate_.take(), ElementsAre("first time", "refused"));
    EXPECT_EQ(platform_.library.promptCount(), &row - rows + 1);
    platform_.library.answerPrompt(row.answer);
    EXPECT_THAT(delegate_.take(), IsEmpty()) << "nothing is done on the answering thread";
    platform_.runUntilIdle();
    EXPECT_EQ(delegate_.take(), row.expected);
    EXPECT_EQ(manager->getAlbumCount(), row.expected.back() == "hide empty" ? 1 : 0);
  }
}

TEST_F(PhotoManagerTest, OnlyOneStatusCountsAsAccess) {
  fillThreeAlbums();
  for (const int status : {1, 2, 4, -1}) {
    platform_.library.setStatus(static_cast<PHAuthorizationStatus>(status));
    const auto manager = make();
    EXPECT_THAT(delegate_.take(), ElementsAre("refused")) << status;
    manager->setPhotoMediaType(1);
    EXPECT_THAT(delegate_.take(), ElementsAre("refused")) << status;
    EXPECT_EQ(manager->getAlbumCount(), 0) << status;
  }
  EXPECT_EQ(platform_.library.assetFetchCount(), 0);
}

TEST_F(PhotoManagerTest, FollowsAccessThatIsGrantedAndTakenElsewhere) {
  platform_.library.edit([](LibraryContents& library) {
    library.addSmartAlbum("Camera Roll", {photo("still")});
    library.addUserAlbum("Films", {video("film")});
  });
  platform_.library.setStatus(PHAuthorizationStatusDenied);
  const auto manager = make(2);
  platform_.library.change([](LibraryContents& library) { library.add(video("film 2"), {"Films"}); });
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), ElementsAre("refused")) << "changes are no business of who may not see them";
  for (int round = 0; round < 2; ++round) {
    platform_.library.changeAccess(PHAuthorizationStatusAuthorized);
    platform_.runUntilIdle();
    EXPECT_THAT(delegate_.take(), ElementsAre("authorized", "hide empty", "changed"));
    EXPECT_THAT(titlesOf(*manager), ElementsAre("Films")) << "of the kind asked for";
    platform_.library.changeAccess(PHAuthorizationStatusDenied);
    platform_.runUntilIdle();
    EXPECT_THAT(delegate_.take(), ElementsAre("refused", "changed"));
    EXPECT_EQ(manager->getAlbumCount(), 0);
  }
}

TEST_F(PhotoManagerTest, AChangeBeforeTheAnswerAboutAccessNeitherDoublesNorForgetsTheKind) {
  platform_.library.edit([](LibraryContents& library) { library.addUserAlbum("Films", {video("film")}); });
  platform_.library.setStatus(PHAuthorizationStatusNotDetermined);
  platform_.library.setPromptAnswer(std::nullopt);
  const auto manager = make(2);
  delegate_.take();
  platform_.library.setStatus(PHAuthorizationStatusAuthorized);
  platform_.library.change([](LibraryContents& library) { library.addUserAlbum("Trip", {photo("still")}); });
  platform_.runUntilIdle();
  platform_.library.answerPrompt(PHAuthorizationStatusAuthorized);
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), ElementsAre("authorized", "hide empty"));
  EXPECT_THAT(titlesOf(*manager), ElementsAre("Films"));
}

TEST_F(PhotoManagerTest, HearsOfAChangeThatIsToldWhileItFetches) {
  fillThreeAlbums();
  const auto another = make();
  delegate_.take();
  delegate_.onMessage = [&](const std::string& message) {
    if (message != "hide empty") return;
    delegate_.onMessage = nullptr;
    platform_.library.changeQuietly([](LibraryContents& library) { library.remove({"a"}); });
    platform_.library.deliverNextChange();
  };
  const auto manager = make();
  platform_.runUntilIdle();
  EXPECT_EQ(manager->getAlbumModelAtIndex(0)->getMediaCount(), 2);
}

TEST_F(PhotoManagerTest, OrdersAlbumsAndSkipsWhatIsEmptyOrDeleted) {
  const std::vector<PHAsset> one = {photo("a")};
  struct Row {
    const char* reason;
    std::vector<std::string> smart, user, expected;
  };
  const Row rows[] = {
      {"the camera roll comes first, the others keep their order",
       {"Videos", "Panoramas", "Camera Roll", "Favorites"},
       {"Trip"},
       {"Camera Roll", "Videos", "Panoramas", "Favorites", "Trip"}},
      {"of two camera rolls the one met later is first",
       {"Camera Roll", "Videos", "All Photos"},
       {},
       {"All Photos", "Camera Roll", "Videos"}},
      {"deleted photos are not offered", {"Recently Deleted", "Videos"}, {}, {"Videos"}},
      {"a person may use the library's titles",
       {"Videos"},
       {"Recently Deleted", "Camera Roll"},
       {"Videos", "Recently Deleted", "Camera Roll"}},
      {"titles are compared exactly",
       {"Videos", "camera roll", "Camera Roll ", "recently deleted"},
       {},
       {"Videos", "camera roll", "Camera Roll ", "recently deleted"}},
      {"a name in pointed brackets stands for an empty album", {"<Camera Roll>", "Videos"}, {"<Trip>"}, {"Videos"}},
  };
  for (const Row& row : rows) {
    platform_.library.edit([&](LibraryContents& library) {
      library = LibraryContents();
      const auto items = [&](const std::string& title) { return title[0] == '<' ? std::vector<PHAsset>() : one; };
      for (const auto& title : row.smart) library.addSmartAlbum(title, items(title));
      for (const auto& title : row.user) library.addUserAlbum(title, items(title));
    });
    EXPECT_EQ(titlesOf(*make()), row.expected) << row.reason;
  }
}

TEST_F(PhotoManagerTest, TheKindFiltersItemsAndWithThemAlbums) {
  platform_.library.edit([](LibraryContents& library) {
    library.addSmartAlbum("Camera Roll", {photo("old", 1), video("film", 2), photo("new", 3)});
    library.addUserAlbum("Films", {video("film", 2)});
  });
  struct Row {
    std::int64_t kind;
    std::vector<std::string> messages, titles, items;
  };
  const Row rows[] = {
      {0, {"authorized", "hide empty"}, {"Camera Roll", "Films"}, {"new", "film", "old"}},
      {1, {"authorized", "hide empty"}, {"Camera Roll"}, {"new", "old"}},
      {2, {"authorized", "hide empty"}, {"Camera Roll", "Films"}, {"film"}},
      {3, {"authorized"}, {}, {}},
      {-1, {"authorized"}, {}, {}},
  };
  for (const Row& row : rows) {
    const auto manager = make(row.kind);
    EXPECT_EQ(delegate_.take(), row.messages) << row.kind;
    EXPECT_EQ(titlesOf(*manager), row.titles) << row.kind;
    EXPECT_EQ(manager->getMediaType(), row.kind);
    if (row.titles.empty()) continue;
    EXPECT_EQ(manager->assetMediaType, row.kind);
    const auto album = manager->getAlbumModelAtIndex(0);
    EXPECT_EQ(album->getMediaCount(), static_cast<std::int64_t>(row.items.size())) << row.kind;
    for (std::size_t i = 0; i < row.items.size(); ++i) {
      EXPECT_EQ(album->getMediaModelAtIndex(i)->getMediaIdentifier(), Identifier(row.items[i])) << "newest first";
    }
  }
}

TEST_F(PhotoManagerTest, AFetchAppendsAndOnlyAChangeEmptiesTheList) {
  fillThreeAlbums();
  const auto manager = make();
  manager->fetchAlbumsWithMediaType(0);
  EXPECT_THAT(titlesOf(*manager), ElementsAre("Camera Roll", "Camera Roll", "Trip", "Home", "Trip", "Home"));
  delegate_.take();
  const auto* list = &manager->albumList();
  const auto oldAlbum = manager->getAlbumModelAtIndex(0);
  manager->selectModel("c");

  platform_.library.change([](LibraryContents& library) { library.remove({"a"}); });
  platform_.library.change([](LibraryContents& library) { library.renameAlbum("Trip", "Journey"); });
  EXPECT_EQ(manager->getAlbumCount(), 6) << "nothing happens before the main queue comes to it";
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), ElementsAre("hide empty", "changed", "hide empty", "changed"));
  EXPECT_THAT(titlesOf(*manager), ElementsAre("Camera Roll", "Journey", "Home"));
  EXPECT_EQ(&manager->albumList(), list);
  EXPECT_EQ(manager->getAlbumModelAtIndex(0)->getMediaCount(), 2);
  EXPECT_THAT(markedIn(*manager->getAlbumModelAtIndex(0)), IsEmpty()) << "new records carry no marks";
  EXPECT_THAT(markedIn(*oldAlbum), ElementsAre("c")) << "old ones, still held by a view, keep theirs";

  platform_.library.change([](LibraryContents& library) { library.remove({"shared", "c"}); });
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), ElementsAre("show empty", "changed"));
}

TEST_F(PhotoManagerTest, AlbumsAreFoundAgainByIdentifier) {
  fillThreeAlbums();
  const auto manager = make();
  const auto old = manager->getAlbumModelAtIndex(1);
  platform_.library.change([](LibraryContents& library) {
    library.renameAlbum("Trip", "Journey");
    library.addSmartAlbum("Videos", {video("film")});
  });
  platform_.runUntilIdle();
  EXPECT_EQ(manager->findIndexPath(old), NSIndexPath::indexPathForRow_inSection(2, 0));
  ASSERT_NE(manager->newAlbumModelForOldModel(old), nullptr);
  EXPECT_NE(manager->newAlbumModelForOldModel(old), old);
  EXPECT_EQ(manager->newAlbumModelForOldModel(old)->getAlbumName(), "Journey");

  platform_.library.change([](LibraryContents& library) { library.removeAlbum("Trip"); });
  platform_.runUntilIdle();
  EXPECT_EQ(manager->findIndexPath(old), std::nullopt);
  EXPECT_EQ(manager->newAlbumModelForOldModel(old), nullptr);
  EXPECT_EQ(manager->findIndexPath(nullptr), std::nullopt);
  EXPECT_EQ(manager->newAlbumModelForOldModel(nullptr), nullptr);
  EXPECT_EQ(manager->getAlbumModelAtIndex(static_cast<std::uint64_t>(manager->getAlbumCount())), nullptr);
  EXPECT_EQ(manager->getAlbumModelAtIndex(static_cast<std::uint64_t>(-1)), nullptr);
}

TEST_F(PhotoManagerTest, MarksEveryCopyOfAnItem) {
  fillThreeAlbums();
  const auto manager = make();
  const auto marks = [&] {
    std::vector<std::vector<std::string>> all;
    for (const auto& album : manager->albumList()) all.push_back(markedIn(*album));
    return all;
  };
  using Marks = std::vector<std::vector<std::string>>;
  manager->selectModel("shared");
  manager->setIsMediaSelected_withModelIdentifier(true, "c");
  EXPECT_EQ(marks(), (Marks{{"c", "shared"}, {"shared"}, {"c", "shared"}}));
  manager->setIsMediaSelected_withModelIdentifier(false, "shared");
  manager->setIsMediaSelected_withModelIdentifier(true, "unknown");
  EXPECT_EQ(marks(), (Marks{{"c"}, {}, {"c"}}));
  EXPECT_THAT(manager->selectModels({"unknown", "shared", "a", "shared"}), ElementsAre(false, true, true, true));
  EXPECT_EQ(marks(), (Marks{{"c", "shared", "a"}, {"shared"}, {"c", "shared"}}));
  manager->reset();
  EXPECT_EQ(marks(), (Marks{{}, {}, {}}));
  EXPECT_TRUE(manager->mediaExist("a"));
  EXPECT_FALSE(manager->mediaExist("unknown"));
  EXPECT_FALSE(manager->mediaExist(""));
}

TEST_F(PhotoManagerTest, WalksGoAsFarAsTheCountAndSkipWhatIsNotThere) {
  fillThreeAlbums();
  const auto manager = make();
  const auto album = manager->getAlbumModelAtIndex(0);
  manager->albumList() = {album, nullptr};
  album->setIMediaCount(1000);
  EXPECT_TRUE(manager->mediaExist("a"));
  EXPECT_FALSE(manager->mediaExist("unknown"));
  album->setIMediaCount(2);
  EXPECT_FALSE(manager->mediaExist("a")) << "the third record is past the count";
  manager->selectModel("a");
  album->initMediaModels();
  album->setIMediaCount(5);
  manager->selectModel("c");
  EXPECT_THAT(markedIn(*album), ElementsAre("c", "c")) << "the second copy begins in another block";
  album->setIMediaCount(-1);
  manager->reset();
  EXPECT_THAT(markedIn(*album), ElementsAre("c", "c"));
  album->setArrMediaModel(nullptr);
  album->setIMediaCount(5);
  EXPECT_FALSE(manager->mediaExist("c"));
}

TEST_F(PhotoManagerTest, AfterUnregisteringNothingIsRebuilt) {
  fillThreeAlbums();
  const auto manager = make();
  delegate_.take();
  platform_.library.changeQuietly([](LibraryContents& library) { library.remove({"a"}); });
  platform_.library.deliverNextChange();  // waits on the main queue when the manager unregisters
  manager->unregisterPhotoManager();
  platform_.library.change([](LibraryContents& library) { library.remove({"c"}); });
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), IsEmpty());
  EXPECT_EQ(manager->getAlbumModelAtIndex(0)->getMediaCount(), 3);
}

TEST_F(PhotoManagerTest, WithoutADelegateItWorksInSilence) {
  fillThreeAlbums();
  platform_.library.setStatus(PHAuthorizationStatusNotDetermined);
  const auto manager = PhotoManager::photoManagerWithType_delegate(0, nullptr);
  platform_.runUntilIdle();
  EXPECT_EQ(manager->getAlbumCount(), 3);
}

/// When a manager really goes, the last trace of it goes too: its records.
std::weak_ptr<AlbumModel> traceOf(PhotoManager& manager) {
  return manager.getAlbumModelAtIndex(0);
}

TEST_F(PhotoManagerTest, APostedChangeKeepsItAndIsWorkedOff) {
  fillThreeAlbums();
  auto manager = make();
  auto trace = traceOf(*manager);
  manager.reset();
  EXPECT_TRUE(trace.expired()) << "with nothing under way it goes at once";

  manager = make();
  delegate_.take();
  platform_.library.changeQuietly([](LibraryContents& library) { library.remove({"a"}); });
  platform_.library.deliverNextChange();
  delegate_.onMessage = [&, unowned = manager.get()](const std::string&) { trace = traceOf(*unowned); };
  manager.reset();
  platform_.library.change([](LibraryContents& library) { library.remove({"c"}); });
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), ElementsAre("hide empty", "changed")) << "the one that was under way, and no later one";
  EXPECT_TRUE(trace.expired());
}

TEST_F(PhotoManagerTest, AClosureThatWaitsFindsAClearedDelegateEmpty) {
  fillThreeAlbums();
  auto manager = make();
  delegate_.take();
  platform_.library.changeQuietly([](LibraryContents& library) { library.remove({"a"}); });
  platform_.library.deliverNextChange();
  manager->customDelegate = nullptr;
  manager.reset();
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), IsEmpty());
}

TEST_F(PhotoManagerTest, AnOpenPromptKeepsItUntilTheAnswer) {
  fillThreeAlbums();
  platform_.library.setStatus(PHAuthorizationStatusNotDetermined);
  platform_.library.setPromptAnswer(std::nullopt);
  auto manager = make();
  const std::weak_ptr<PhotoManager> watched = manager;
  manager.reset();
  EXPECT_FALSE(watched.expired());
  delegate_.take();
  platform_.library.answerPrompt(PHAuthorizationStatusAuthorized);
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), ElementsAre("authorized", "hide empty"));
  EXPECT_TRUE(watched.expired());
}

TEST_F(PhotoManagerTest, TheDelegateMayLetGoOfItAtAnyMessage) {
  fillThreeAlbums();
  for (const char* moment : {"hide empty", "changed", "authorized"}) {
    auto manager = make();
    delegate_.take();
    const auto trace = traceOf(*manager);
    delegate_.onMessage = [&](const std::string& message) {
      if (message == moment) manager.reset();
    };
    if (std::string("authorized") == moment) {
      manager->setPhotoMediaType(1);
      EXPECT_THAT(delegate_.take(), ElementsAre("authorized", "hide empty")) << moment;
    } else {
      platform_.library.change([](LibraryContents& library) { library.renameAlbum("Home", "Away"); });
      platform_.runUntilIdle();
      EXPECT_THAT(delegate_.take(), ElementsAre("hide empty", "changed")) << moment;
    }
    EXPECT_EQ(manager, nullptr);
    EXPECT_TRUE(trace.expired()) << moment;
    delegate_.onMessage = nullptr;
  }
}

TEST(PhotoManagerThreads, ComesAndGoesWhileTheLibraryChangesOnItsOwnThread) {
  memory::MemoryPlatform platform;
  Delegate delegate;
  platform.library.edit([](LibraryContents& library) { library.addSmartAlbum("Camera Roll", {photo("a")}); });
  constexpr int rounds = 300;
  int heard = 0;
  delegate.onMessage = [&](const std::string& message) { heard += message == "changed" ? 1 : 0; };
  for (int round = 0; round < rounds; ++round) {
    auto manager = PhotoManager::photoManagerWithType_delegate(0, &delegate);
    platform.library.changeQuietly([](LibraryContents& library) { library.renameAlbum("Camera Roll", "Camera Roll"); });
    std::thread library([&] { platform.library.deliverNextChange(); });
    if (round % 3 == 0) std::this_thread::yield();
    if (round % 2 == 0) manager.reset();
    library.join();
    platform.runUntilIdle();
  }
  EXPECT_GE(heard, rounds / 2) << "whoever stayed heard of every change";
}

TEST(PhotoManagerThreads, APlatformMayEndWithAChangeUnderWay) {
  Delegate delegate;
  std::weak_ptr<AlbumModel> trace;
  {
    memory::MemoryPlatform platform;
    platform.library.edit([](LibraryContents& library) { library.addSmartAlbum("Camera Roll", {photo("a")}); });
    auto manager = PhotoManager::photoManagerWithType_delegate(0, &delegate);
    trace = traceOf(*manager);
    platform.library.changeQuietly([](LibraryContents& library) { library.remove({"a"}); });
    platform.library.deliverNextChange();
    manager.reset();
    EXPECT_FALSE(trace.expired());
  }
  EXPECT_TRUE(trace.expired());
}

}  // namespace
}  // namespace tlx
