// How states follow one another, over a source that does what the test says.

#include <future>

#include <gmock/gmock.h>

#include "adapters/photolibrary/catalogue/Catalogue.h"
#include "tests/adapters/photolibrary/LibraryFolder.h"

namespace tlx::photolibrary::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Two roots, /a and /b, and what a look at them finds, which can be changed between looks.
class ScriptedSource final : public Source {
 public:
  struct Script {
    std::vector<FolderFindings> findings;
    std::vector<std::string> unreachable = {};
    bool whole = true;
    std::function<void()> beforeLast = [] {};
    bool readable[2] = {true, true};
  };
  struct Shared : Script {
    std::mutex mutex;
  };
  explicit ScriptedSource(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}
  const std::vector<std::string>& roots() const override { return roots_; }
  bool rootReadable(std::size_t root) const override { return script().readable[root]; }
  WalkOutcome walk(const KnownFiles& known, WalkListener& listener, std::stop_token) override {
    Script now = script();
    for (FolderFindings& part : now.findings) {
      if (&part == &now.findings.back()) now.beforeLast();
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
    return {now.whole, now.unreachable};
  }

 private:
  Script script() const {
    std::lock_guard lock(shared_->mutex);
    return *shared_;
  }

  const std::shared_ptr<Shared> shared_;
  const std::vector<std::string> roots_ = {"/a", "/b"};
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
  void find(std::vector<FolderFindings> findings, std::vector<std::string> unreachable = {}) {
    std::lock_guard lock(script_->mutex);
    script_->findings = std::move(findings);
    script_->unreachable = std::move(unreachable);
  }
  void scan(std::vector<FolderFindings> findings, std::vector<std::string> unreachable = {}) {
    find(std::move(findings), std::move(unreachable));
    if (library_) return look(*library_);
    open();
    library_->waitUntilScanned();
  }
  void open() {
    library_ = std::make_unique<PhotoLibrary>(folder_.options(), std::make_unique<ScriptedSource>(script_), log_);
  }
  std::vector<std::string> roll() { return namesIn(*library_, "Camera Roll"); }
  static FolderFindings in(const std::string& path, std::vector<FoundItem> items) {
    return {folderAt(path), {}, std::move(items), {}};
  }

  LibraryFolder folder_;
  KeptLog log_;
  std::shared_ptr<ScriptedSource::Shared> script_ = std::make_shared<ScriptedSource::Shared>();
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
  open();
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
  Onlooker onlooker(*library_);
  const auto touched = [&] {
    std::vector<std::string> titles;
    for (const auto& [title, result] : before) {
      if (onlooker.newest()->changeDetailsForFetchResult(result)) titles.push_back(title);
    }
    return titles;
  };
  // `two` moves to x, nothing else happens but a second look that finds nothing.
  for (int time = 0; time < 2; ++time) scan({in("/a/x", {one, two}), in("/a/z", {three})});
  ASSERT_TRUE(onlooker.comesTo([&] { return onlooker.count() > 0; }));
  EXPECT_THAT(touched(), ElementsAre("x", "y")) << "elsewhere the same items in the same order, wherever they lie";
  EXPECT_EQ(results().at("z"), before.at("z")) << "what is as it was is the same object";
  const auto older = onlooker.newest();
  FoundItem edited = three;
  edited.facts.key.born = 2;
  edited.facts.bytes = 7;
  scan({in("/a/x", {one, two}), in("/a/z", {edited})});
  ASSERT_TRUE(onlooker.comesTo([&] { return onlooker.count() > 1; }));
  EXPECT_THAT(touched(), testing::Contains("z")) << "the same item with another content is to be drawn again";
  EXPECT_FALSE(older->changeDetailsForFetchResult(results().at("z"))) << "it says nothing of a newer result";
  library_->setChangeHandler(nullptr);
  EXPECT_EQ(onlooker.count(), 2) << "one for each look that found something";
}

TEST_F(Catalogues, ALibraryNeverSeenFillsWhileItIsScanned) {
  std::vector<FoundItem> items(700);
  for (int i = 0; FoundItem & item : items) item = itemCalled(std::to_string(i), static_cast<std::uint64_t>(i), i), ++i;
  std::vector<FoundItem> most(items.begin(), items.begin() + 600), rest(items.begin() + 600, items.end());
  // The rest is only found once the first have been told of.
  std::promise<void> seenPart;
  std::size_t first = 0;
  const auto seen = seenPart.get_future().share();
  script_->beforeLast = [seen] { seen.wait_for(std::chrono::seconds(20)); };
  find({in("/a", most), in("/b", rest)});
  Catalogue catalogue(std::make_unique<ScriptedSource>(script_), folder_.options().cacheFolder, log_,
                      std::make_shared<FetchLedger>(), [&](const std::shared_ptr<const Snapshot>& snapshot) {
                        if (first > 0 || snapshot->count() == 0) return;
                        first = snapshot->count();
                        seenPart.set_value();
                      });
  catalogue.start();
  catalogue.waitUntilScanned();
  EXPECT_EQ(first, 600u);
  const auto snapshot = catalogue.snapshot();
  ASSERT_EQ(snapshot->count(), 700u);
  for (std::uint32_t i = 0; i < 700; ++i) EXPECT_EQ(snapshot->itemAt(i).name, std::to_string(699 - i));
  EXPECT_EQ(snapshot->find(deriveIdentifier({1, 650, 1})), 49u);
}

TEST_F(Catalogues, AScanThatIsBrokenOffTakesNothingAway) {
  scan({in("/a", {itemCalled("one", 1, 1), itemCalled("two", 2, 2)})});
  library_.reset();
  script_->whole = false;
  scan({in("/a", {itemCalled("three", 3, 3)})});
  EXPECT_THAT(roll(), ElementsAre("three", "two", "one"));
}

}  // namespace
}  // namespace tlx::photolibrary::test
