#include <functional>
#include <sstream>
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
  static std::string titlesOf(PhotoManager& manager) {
    std::string titles;
    for (const auto& album : manager.albumList()) titles += (titles.empty() ? "" : ", ") + album->getAlbumName();
    return titles;
  }
  /// The marked items of each album, such as "a shared | shared |".
  static std::string marksIn(const std::vector<std::shared_ptr<AlbumModel>>& albums) {
    std::string marked;
    for (const auto& album : albums) {
      if (&album != &albums[0]) marked += "| ";
      for (std::uint64_t i = 0; const auto model = album ? album->getMediaModelAtIndex(i) : nullptr; ++i) {
        if (model->isModelSelected()) marked += model->getMediaIdentifier().string() + ' ';
      }
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

  /// A change that waits on the main queue.
  void postAChange() {
    platform_.library.changeQuietly([](LibraryContents& library) { library.addUserAlbum("New"); });
    platform_.library.deliverNextChange();
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

TEST_F(PhotoManagerTest, FollowsAccessThatIsGrantedAndTakenElsewhere) {
  platform_.library.edit([](LibraryContents& library) {
    library.addSmartAlbum("Camera Roll", {photo("still")});
    library.addUserAlbum("Films", {video("film")});
  });
  for (const int status : {1, 4, -1, 2}) {
    platform_.library.setStatus(static_cast<PHAuthorizationStatus>(status));
    make()->setPhotoMediaType(1);
    EXPECT_THAT(delegate_.take(), ElementsAre("refused", "refused")) << status;
  }
  EXPECT_EQ(platform_.library.assetFetchCount(), 0);
  const auto manager = make(2);
  platform_.library.change([](LibraryContents& library) { library.add(video("film 2"), {"Films"}); });
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), ElementsAre("refused")) << "changes are no business of who may not see them";
  for (int round = 0; round < 2; ++round) {
    platform_.library.changeAccess(PHAuthorizationStatusAuthorized);
    platform_.runUntilIdle();
    EXPECT_THAT(delegate_.take(), ElementsAre("authorized", "hide empty", "changed"));
    EXPECT_EQ(titlesOf(*manager), "Films") << "of the kind asked for";
    platform_.library.changeAccess(PHAuthorizationStatusDenied);
    platform_.runUntilIdle();
    EXPECT_THAT(delegate_.take(), ElementsAre("refused", "changed"));
    EXPECT_EQ(manager->getAlbumCount(), 0);
  }
}

TEST_F(PhotoManagerTest, AnOpenPromptKeepsItAndAChangeBeforeTheAnswerNeitherDoublesNorForgetsTheKind) {
  platform_.library.edit([](LibraryContents& library) { library.addUserAlbum("Films", {video("film")}); });
  platform_.library.setStatus(PHAuthorizationStatusNotDetermined);
  platform_.library.setPromptAnswer(std::nullopt);
  const std::weak_ptr<PhotoManager> watched = make(2);
  EXPECT_FALSE(watched.expired());
  delegate_.take();
  platform_.library.setStatus(PHAuthorizationStatusAuthorized);
  platform_.library.change([](LibraryContents& library) { library.addUserAlbum("Trip", {photo("still")}); });
  platform_.runUntilIdle();
  std::string titles;
  delegate_.onMessage = [&](const std::string&) { titles = titlesOf(*watched.lock()); };
  platform_.library.answerPrompt(PHAuthorizationStatusAuthorized);
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), ElementsAre("authorized", "hide empty"));
  EXPECT_EQ(titles, "Films");
  EXPECT_TRUE(watched.expired());
}

TEST_F(PhotoManagerTest, HearsOfAChangeThatIsToldWhileItFetches) {
  fillThreeAlbums();
  const auto another = make();
  delegate_.take();
  delegate_.onMessage = [&](const std::string& message) {
    if (message != "hide empty") return;
    delegate_.onMessage = nullptr;
    postAChange();
  };
  const auto manager = make();
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), testing::Contains("changed").Times(2)) << "one for each manager";
}

TEST_F(PhotoManagerTest, OrdersAlbumsAndSkipsWhatIsEmptyOrDeleted) {
  struct Row {
    const char *reason, *smart, *user, *expected;
  };
  const Row rows[] = {
      {"the camera roll is first", "Videos,Camera Roll,Panoramas", "Trip", "Camera Roll, Videos, Panoramas, Trip"},
      {"of two the one met later", "Camera Roll,Videos,All Photos", "", "All Photos, Camera Roll, Videos"},
      {"deleted photos are not offered", "Recently Deleted,Videos", "", "Videos"},
      {"a person may use these titles", "", "Videos,Recently Deleted,Camera Roll",
       "Videos, Recently Deleted, Camera Roll"},
      {"titles are compared exactly", "Videos,camera roll,recently deleted", "",
       "Videos, camera roll, recently deleted"},
      {"a name in pointed brackets stands for an empty album", "<Camera Roll>,Videos", "<Trip>", "Videos"},
  };
  for (const Row& row : rows) {
    platform_.library.edit([&](LibraryContents& library) {
      library = LibraryContents();
      for (const bool smart : {true, false}) {
        std::istringstream titles(smart ? row.smart : row.user);
        for (std::string title; std::getline(titles, title, ',');) {
          const std::vector<PHAsset> items(title[0] == '<' ? 0 : 1, photo("a"));
          smart ? library.addSmartAlbum(title, items) : library.addUserAlbum(title, items);
        }
      }
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
    const char* titles;
    std::vector<std::string> newestFirst;
  };
  const Row rows[] = {{0, "Camera Roll, Films", {"new", "film", "old"}},
                      {1, "Camera Roll", {"new", "old"}},
                      {2, "Camera Roll, Films", {"film"}},
                      {-1, "", {}}};
  for (const Row& row : rows) {
    const auto manager = make(row.kind);
    EXPECT_EQ(titlesOf(*manager), row.titles) << row.kind;
    EXPECT_EQ(delegate_.take().size(), row.newestFirst.empty() ? 1u : 2u) << "no word of a fetch where there is none";
    EXPECT_EQ(manager->getMediaType(), row.kind);
    if (row.newestFirst.empty()) continue;
    EXPECT_EQ(manager->assetMediaType, row.kind);
    std::vector<std::string> items;
    manager->getAlbumModelAtIndex(0)->visitMediaModels([&](const MediaModel& model) {
      items.push_back(model.getMediaIdentifier().string());
      return true;
    });
    EXPECT_EQ(items, row.newestFirst) << row.kind;
  }
}

TEST_F(PhotoManagerTest, AFetchAppendsAndOnlyAChangeEmptiesTheList) {
  fillThreeAlbums();
  const auto manager = make();
  manager->fetchAlbumsWithMediaType(0);
  EXPECT_EQ(titlesOf(*manager), "Camera Roll, Camera Roll, Trip, Home, Trip, Home");
  delegate_.take();
  const auto* list = &manager->albumList();
  const auto oldAlbum = manager->getAlbumModelAtIndex(0);
  manager->selectModel("c");

  platform_.library.change([](LibraryContents& library) { library.remove({"a"}); });
  platform_.library.change([](LibraryContents& library) { library.renameAlbum("Trip", "Journey"); });
  EXPECT_EQ(manager->getAlbumCount(), 6) << "nothing happens before the main queue comes to it";
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), ElementsAre("hide empty", "changed", "hide empty", "changed"));
  EXPECT_EQ(titlesOf(*manager), "Camera Roll, Journey, Home");
  EXPECT_EQ(&manager->albumList(), list);
  EXPECT_EQ(manager->getAlbumModelAtIndex(0)->getMediaCount(), 2);
  EXPECT_EQ(marksIn({manager->getAlbumModelAtIndex(0)}), "") << "new records carry no marks";
  EXPECT_EQ(marksIn({oldAlbum}), "c ") << "old ones, still held by a view, keep theirs";
}

TEST_F(PhotoManagerTest, MarksEveryCopyOfAnItem) {
  fillThreeAlbums();
  const auto manager = make();
  const auto marks = [&] { return marksIn(manager->albumList()); };
  manager->selectModel("shared");
  manager->setIsMediaSelected_withModelIdentifier(true, "c");
  EXPECT_EQ(marks(), "c shared | shared | c shared ");
  manager->setIsMediaSelected_withModelIdentifier(false, "shared");
  manager->setIsMediaSelected_withModelIdentifier(true, "unknown");
  EXPECT_EQ(marks(), "c | | c ");
  EXPECT_THAT(manager->selectModels({"unknown", "shared", "a", "shared"}), ElementsAre(false, true, true, true));
  EXPECT_EQ(marks(), "c shared a | shared | c shared ");
  manager->reset();
  EXPECT_EQ(marks(), "| | ");
  EXPECT_TRUE(manager->mediaExist("a"));
  EXPECT_FALSE(manager->mediaExist("unknown") || manager->mediaExist(""));
}

TEST_F(PhotoManagerTest, AfterUnregisteringNothingIsRebuilt) {
  fillThreeAlbums();
  const auto manager = make();
  delegate_.take();
  postAChange();
  manager->unregisterPhotoManager();
  platform_.library.change([](LibraryContents& library) { library.remove({"c"}); });
  platform_.runUntilIdle();
  EXPECT_THAT(delegate_.take(), IsEmpty());
  EXPECT_EQ(manager->getAlbumModelAtIndex(0)->getMediaCount(), 3);
}

/// When a manager really goes, the last trace of it goes too: its records.
std::weak_ptr<AlbumModel> traceOf(PhotoManager& manager) {
  return manager.getAlbumModelAtIndex(0);
}

TEST_F(PhotoManagerTest, APostedChangeKeepsItAndIsWorkedOff) {
  fillThreeAlbums();
  for (const bool delegateStays : {true, false}) {
    auto manager = make();
    auto trace = traceOf(*manager);
    delegate_.take();
    postAChange();
    delegate_.onMessage = [&, unowned = manager.get()](const std::string&) { trace = traceOf(*unowned); };
    if (!delegateStays) manager->customDelegate = nullptr;
    manager.reset();
    platform_.library.change([](LibraryContents& library) { library.renameAlbum("Home", "Later"); });
    platform_.runUntilIdle();
    const std::vector<std::string> underWay = {"hide empty", "changed"};
    EXPECT_EQ(delegate_.take(), delegateStays ? underWay : std::vector<std::string>()) << "and no later change";
    EXPECT_TRUE(trace.expired());
    delegate_.onMessage = nullptr;
  }
}

TEST_F(PhotoManagerTest, TheDelegateMayLetGoOfItAtAnyMessage) {
  fillThreeAlbums();
  for (const std::string moment : {"hide empty", "changed", "authorized"}) {
    auto manager = make();
    delegate_.take();
    const auto trace = traceOf(*manager);
    delegate_.onMessage = [&](const std::string& message) {
      if (message == moment) manager.reset();
    };
    moment == "authorized" ? manager->setPhotoMediaType(1) : postAChange();
    platform_.runUntilIdle();
    EXPECT_EQ(delegate_.take().size(), 2u) << moment;
    EXPECT_TRUE(trace.expired()) << moment;
    delegate_.onMessage = nullptr;
  }
}

TEST(PhotoManagerThreads, ComesAndGoesWhileTheLibraryChangesOnItsOwnThread) {
  Delegate delegate;
  int heard = 0;
  delegate.onMessage = [&](const std::string& message) { heard += message == "changed" ? 1 : 0; };
  constexpr int rounds = 300;
  std::weak_ptr<AlbumModel> trace;
  {
    memory::MemoryPlatform platform;
    platform.library.edit([](LibraryContents& library) { library.addSmartAlbum("Camera Roll", {photo("a")}); });
    for (int round = 0; round <= rounds; ++round) {
      auto manager = PhotoManager::photoManagerWithType_delegate(0, &delegate);
      trace = traceOf(*manager);
      platform.library.changeQuietly([](LibraryContents& library) { library.renameAlbum("Camera Roll", "All"); });
      std::thread library([&] { platform.library.deliverNextChange(); });
      if (round % 3 == 0) std::this_thread::yield();
      if (round % 2 == 0) manager.reset();
      library.join();
      if (round < rounds) platform.runUntilIdle();
    }
    EXPECT_GE(heard, rounds / 2) << "whoever stayed heard of every change";
  }
  EXPECT_TRUE(trace.expired()) << "a platform may end with a change under way";
}

}  // namespace
}  // namespace tlx
