// How states follow one another, over a source that does what the test says.

#include <condition_variable>
#include <functional>
#include <mutex>

#include <gmock/gmock.h>

#include "adapters/photolibrary/catalogue/LibraryChange.h"
#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Walk = std::function<WalkOutcome(const KnownFiles&, WalkListener&, std::stop_token)>;

/// Two roots, /a and /b, and a walk that can be changed between scans.
class ScriptedSource final : public Source {
 public:
  struct Script {
    std::mutex mutex;
    Walk walk = [](const KnownFiles&, WalkListener&, std::stop_token) { return WalkOutcome{true, {}}; };
    bool readable[2] = {true, true};
  };
  explicit ScriptedSource(std::shared_ptr<Script> script) : script_(std::move(script)) {}
  const std::vector<std::string>& roots() const override { return roots_; }
  bool rootReadable(std::size_t root) const override {
    std::lock_guard lock(script_->mutex);
    return script_->readable[root];
  }
  WalkOutcome walk(const KnownFiles& known, WalkListener& listener, std::stop_token stop) override {
    Walk walk;
    {
      std::lock_guard lock(script_->mutex);
      walk = script_->walk;
    }
    return walk(known, listener, std::move(stop));
  }

 private:
  std::shared_ptr<Script> script_;
  std::vector<std::string> roots_ = {"/a", "/b"};
};

Folder folderAt(const std::string& path) {
  const FileKey key{1, std::hash<std::string>{}(path), 1};
  return {path,
          path.starts_with("/b") ? 1u : 0u,
          path.substr(std::min<std::size_t>(3, path.size())),
          false,
          key,
          deriveIdentifier(key)};
}

FoundItem itemCalled(const std::string& name, std::uint64_t number, double created) {
  FoundItem item;
  item.facts.key = {1, number, 1};
  item.identifier = deriveIdentifier(item.facts.key);
  item.name = name;
  item.mediaType = PHAssetMediaTypeImage;
  item.created = created;
  item.facts.bytes = 1;
  return item;
}

class Catalogues : public testing::Test {
 protected:
  using Findings = std::vector<FolderFindings>;

  void scan(Findings findings, std::vector<std::string> unreachable = {}) {
    {
      std::lock_guard lock(script_->mutex);
      script_->walk = [findings, unreachable](const KnownFiles& known, WalkListener& listener, std::stop_token) {
        for (FolderFindings part : findings) {
          // What is known as it stands is told by its position, as a real walk does.
          std::erase_if(part.fresh, [&](const FoundItem& item) {
            for (const auto& file : known.inFolder(part.folder.path)) {
              if (file.name != item.name || file.key != item.facts.key) continue;
              part.unchanged.push_back(file.position);
              return true;
            }
            return false;
          });
          listener.found(std::move(part));
        }
        return WalkOutcome{true, unreachable};
      };
    }
    if (library_) {
      library_->rescan();
    } else {
      library_ = std::make_unique<PhotoLibrary>(folder_.options(), std::make_unique<ScriptedSource>(script_), log_);
    }
    library_->waitUntilScanned();
  }
  std::vector<std::string> roll() { return namesIn(*library_, "Camera Roll"); }
  static FolderFindings in(const std::string& path, std::vector<FoundItem> items) {
    return {folderAt(path), {}, std::move(items), {}};
  }

  LibraryFolder folder_;
  KeptLog log_;
  std::shared_ptr<ScriptedSource::Script> script_ = std::make_shared<ScriptedSource::Script>();
  std::unique_ptr<PhotoLibrary> library_;
};

TEST_F(Catalogues, WhatCannotBeReachedForNowStays) {
  const FoundItem one = itemCalled("one", 1, 1), two = itemCalled("two", 2, 2), three = itemCalled("three", 3, 3);
  scan({in("/a", {one}), in("/a/x", {two}), in("/a/xy", {three})});
  EXPECT_THAT(roll(), ElementsAre("three", "two", "one"));
  scan({in("/a", {one})}, {"/a/x"});
  EXPECT_THAT(roll(), ElementsAre("two", "one")) << "/a/xy is not below /a/x";
  scan({in("/a", {one, two})}, {"/a/x"});
  EXPECT_THAT(roll(), ElementsAre("two", "one")) << "it has moved out, and is not there twice";
  EXPECT_THAT(titles(*library_), ElementsAre("a"));
  scan({in("/a", {one})});
  EXPECT_THAT(roll(), ElementsAre("one"));
}

TEST_F(Catalogues, ARootThatIsNotThereHoldsNothingAndLosesNothing) {
  const FoundItem one = itemCalled("one", 1, 1), two = itemCalled("two", 2, 2);
  scan({in("/a", {one}), in("/b", {two})});
  script_->readable[1] = false;
  scan({in("/a", {one})}, {"/b"});
  EXPECT_THAT(roll(), ElementsAre("one"));
  script_->readable[1] = true;
  scan({in("/a", {one})}, {"/b"});
  EXPECT_THAT(roll(), ElementsAre("two", "one")) << "back from the index, before anybody could look into it";
  script_->readable[1] = false;
  library_.reset();
  scan({in("/a", {one})}, {"/b"});
  EXPECT_THAT(roll(), ElementsAre("one"));
  library_.reset();
  script_->readable[1] = true;
  library_ = std::make_unique<PhotoLibrary>(folder_.options(), std::make_unique<ScriptedSource>(script_), log_);
  library_->waitUntilOpened();
  EXPECT_THAT(roll(), ElementsAre("two", "one")) << "plugged in again: the index still has it";
  library_->waitUntilScanned();
  script_->readable[0] = script_->readable[1] = false;
  scan({}, {"/a", "/b"});
  EXPECT_EQ(library_->authorizationStatus(), PHAuthorizationStatusDenied);
  EXPECT_THAT(roll(), IsEmpty());
}

TEST_F(Catalogues, ALookAtTheFilesIsOneChangeThatNamesWhatItTouched) {
  const FoundItem one = itemCalled("one", 1, 1), two = itemCalled("two", 2, 2), three = itemCalled("three", 3, 3);
  scan({in("/a/x", {one}), in("/a/y", {two}), in("/a/z", {three})});
  const auto results = [&] {
    std::map<std::string, std::shared_ptr<const PHFetchResult<PHAsset>>> all;
    for (const auto type : {PHAssetCollectionTypeSmartAlbum, PHAssetCollectionTypeAlbum}) {
      const auto albums = library_->fetchAssetCollections(type, PHAssetCollectionSubtypeAny);
      for (const auto& album : *albums) all[album->localizedTitle] = library_->fetchAssets(*album, {});
    }
    return all;
  };
  const auto before = results();
  std::mutex mutex;
  std::condition_variable told;
  std::vector<std::shared_ptr<const PHChange>> changes;
  library_->setChangeHandler([&](std::shared_ptr<const PHChange> change) {
    std::lock_guard lock(mutex);
    changes.push_back(std::move(change));
    told.notify_all();
  });
  const auto wait = [&](std::size_t count) {
    std::unique_lock lock(mutex);
    return told.wait_for(lock, std::chrono::seconds(20), [&] { return changes.size() >= count; });
  };
  // `two` moves to x, nothing else happens but a second look that finds nothing.
  scan({in("/a/x", {one, two}), in("/a/z", {three})});
  scan({in("/a/x", {one, two}), in("/a/z", {three})});
  ASSERT_TRUE(wait(1));
  const auto touched = [&](const std::shared_ptr<const PHChange>& change, const std::string& title) {
    return change->changeDetailsForFetchResult(before.at(title)) != nullptr;
  };
  EXPECT_TRUE(touched(changes[0], "x"));
  EXPECT_TRUE(touched(changes[0], "y"));
  EXPECT_FALSE(touched(changes[0], "z"));
  EXPECT_FALSE(touched(changes[0], "Camera Roll")) << "the same items in the same order, wherever they lie";
  EXPECT_EQ(results().at("z"), before.at("z")) << "what is as it was is the same object";
  FoundItem edited = three;
  edited.facts.key.born = 2;
  edited.facts.bytes = 7;
  scan({in("/a/x", {one, two}), in("/a/z", {edited})});
  ASSERT_TRUE(wait(2));
  EXPECT_TRUE(touched(changes[1], "z")) << "the same item with another content is to be drawn again";
  EXPECT_FALSE(changes[0]->changeDetailsForFetchResult(results().at("z")))
      << "an older change says nothing of a newer result";
  library_->setChangeHandler(nullptr);
  EXPECT_EQ(changes.size(), 2u) << "one for each look that found something";
}

TEST_F(Catalogues, ALibraryNeverSeenFillsWhileItIsScanned) {
  std::mutex mutex;
  std::condition_variable changed;
  bool seenPart = false;
  script_->walk = [&](const KnownFiles&, WalkListener& listener, std::stop_token) {
    Findings parts;
    for (std::uint64_t i = 0; i < 600; ++i)
      listener.found(in("/a", {itemCalled(std::to_string(i), i, static_cast<double>(i))}));
    // The rest is only found once the first have been told of.
    std::unique_lock lock(mutex);
    changed.wait_for(lock, std::chrono::seconds(20), [&] { return seenPart; });
    for (std::uint64_t i = 600; i < 700; ++i)
      listener.found(in("/b", {itemCalled(std::to_string(i), i, static_cast<double>(i))}));
    return WalkOutcome{true, {}};
  };
  auto options = folder_.options();
  Catalogue catalogue(std::make_unique<ScriptedSource>(script_), options.cacheFolder, log_,
                      std::make_shared<FetchLedger>(), [&](const std::shared_ptr<const Snapshot>& snapshot) {
                        std::lock_guard lock(mutex);
                        seenPart = snapshot->count() > 0;
                        changed.notify_all();
                      });
  catalogue.start();
  catalogue.waitUntilScanned();
  EXPECT_TRUE(seenPart);
  const auto snapshot = catalogue.snapshot();
  ASSERT_EQ(snapshot->count(), 700u);
  for (std::uint32_t i = 0; i < 700; ++i) EXPECT_EQ(snapshot->itemAt(i).name, std::to_string(699 - i));
  EXPECT_EQ(snapshot->find(deriveIdentifier({1, 650, 1})), 49u);
}

TEST_F(Catalogues, AScanThatIsBrokenOffTakesNothingAway) {
  scan({in("/a", {itemCalled("one", 1, 1), itemCalled("two", 2, 2)})});
  library_.reset();
  script_->walk = [](const KnownFiles&, WalkListener& listener, std::stop_token) {
    listener.found(in("/a", {itemCalled("three", 3, 3)}));
    return WalkOutcome{false, {}};
  };
  library_ = std::make_unique<PhotoLibrary>(folder_.options(), std::make_unique<ScriptedSource>(script_), log_);
  library_->waitUntilScanned();
  EXPECT_THAT(roll(), ElementsAre("three", "two", "one"));
}

}  // namespace
}  // namespace tlx::photolibrary::test
