#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/library/AlbumModel.h"
#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/views/CollectionViewCell.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx::test {

using Names = std::vector<std::string>;

inline Names namesOf(const MediaList& list) {
  Names names;
  for (const auto& media : list) names.push_back(media->getMediaIdentifier().string());
  return names;
}

/// An album of that name of photos, the first one newest; names that begin with "v" are videos.
inline void addCameraRoll(memory::MemoryPhotoLibrary& library, const Names& items) {
  library.edit([&](memory::LibraryContents& contents) {
    double age = 0;
    std::vector<PHAsset> assets;
    for (const auto& item : items) {
      age += 1;
      assets.push_back(item.front() == 'v' ? memory::video(item, -age) : memory::photo(item, -age));
    }
    contents.addSmartAlbum("Camera Roll", assets);
  });
}

/// The first view of that class below another, depth first.
template <class View>
std::shared_ptr<View> findBelow(UIView& above) {
  for (const auto& view : above.subviews()) {
    if (auto wanted = std::dynamic_pointer_cast<View>(view)) return wanted;
    if (auto wanted = findBelow<View>(*view)) return wanted;
  }
  return nullptr;
}

/// A host that writes down what it hears and answers what a test tells it to.
class PickerHost : public TLXMediaPickerControllerDelegate {
 public:
  explicit PickerHost(memory::MessageLog& log) : log_(log) {}

  std::optional<FontDictionary> fonts;
  std::int64_t limit = -1;
  CGSize size{1600, 1200};
  std::function<bool(std::uint64_t count)> shouldSelect = [](std::uint64_t) { return true; };
  std::function<void()> whenFetchingStarts = [] {}, whenFinished = [] {};
  std::vector<MediaList> deliveries;

  std::optional<FontDictionary> provideFonts() override { return fonts; }
  std::int64_t maxSelectedMedia() override {
    log_.add("maxSelectedMedia");
    return limit;
  }
  CGSize selectedImageSize() override {
    log_.add("selectedImageSize");
    return size;
  }
  bool mediaPicker_shouldSelectMediaItem(TLXMediaPickerController&, std::uint64_t count) override {
    log_.add("shouldSelect " + std::to_string(count));
    return shouldSelect(count);
  }
  void mediaPickerCancelPressed() override { log_.add("cancelPressed"); }
  void mediaPickerWillStartFetching() override {
    log_.add("willStartFetching");
    whenFetchingStarts();
  }
  void mediaPicker_didFinishPickingMediaWithInfo(TLXMediaPickerController&, const MediaList& media) override {
    log_.add("didFinish " + testing::PrintToString(namesOf(media)));
    deliveries.push_back(media);
    whenFinished();
  }

 private:
  memory::MessageLog& log_;
};

/// One picker on the memory platform, from its library to what it delivers:
///
///     PickerSession session({"a", "b", "c"});
///     session.open();
///     session.pick({"a", "c"});
///     session.done();
///     EXPECT_EQ(namesOf(session.host.deliveries.at(0)), Names({"a", "c"}));
class PickerSession {
 public:
  /// A camera roll of these items.
  explicit PickerSession(const Names& items = {"a", "b", "c"}) { addCameraRoll(platform.library, items); }

  memory::MemoryPlatform platform;
  PickerHost host{platform.messageLog};
  std::shared_ptr<TLXMediaPickerController> picker;

  void make(std::int64_t kind = 0) { picker = TLXMediaPickerController::mediaPickerController_delegate(kind, &host); }
  /// Presents a picker and lets it come to rest on the first album.
  void open(std::int64_t kind = 0) {
    make(kind);
    platform.application.host()->presentViewController_animated_completion(picker, true, nullptr);
    settle();
    platform.messageLog.take();
  }
  /// Lets every animation and every answer that is due come.
  void settle() { platform.advance(1); }

  MediaCollectionViewController& grid() { return *picker->mediaCollectionViewCotroller; }
  std::shared_ptr<UIViewController> list() {
    return std::dynamic_pointer_cast<UIViewController>(picker->albumPickerTableViewController);
  }
  std::shared_ptr<MediaModel> item(const std::string& name) {
    for (std::uint64_t at = 0; auto model = grid().albumModel->getMediaModelAtIndex(at); ++at) {
      if (model->getMediaIdentifier() == Identifier(name)) return model;
    }
    return nullptr;
  }
  /// As the album's record says, and as it is drawn where it is in view.
  bool isMarked(const std::string& name) {
    const auto model = item(name);
    for (const auto& [at, view] : grid().collectionView()->visibleCells()) {
      const auto cell = std::dynamic_pointer_cast<CollectionViewCell>(view);
      if (!(cell->representedAssetIdentifier == Identifier(name))) continue;
      EXPECT_EQ(!cell->imgViewOverLay.lock()->isHidden(), model->isModelSelected()) << name;
    }
    return model->isModelSelected();
  }
  void tap(const std::string& name) {
    std::int64_t at = 0;
    while (!(grid().albumModel->getMediaModelAtIndex(static_cast<std::uint64_t>(at))->getMediaIdentifier() ==
             Identifier(name))) {
      ++at;
    }
    grid().collectionView()->tappedAt(NSIndexPath::indexPathForItem_inSection(at, 0));
  }
  void pick(const Names& names) {
    for (const auto& name : names) tap(name);
    settle();
  }
  Names picked() { return namesOf(*picker->arrPickedModel()); }

  /// Presses Done, and waits for what comes of it. False when Done cannot be pressed.
  bool done() {
    const bool pressed = pressDone();
    settle();
    return pressed;
  }
  bool pressDone() { return picker->btnDone.lock()->press(); }

  std::shared_ptr<TLXDownloadProgress> panel() { return findBelow<TLXDownloadProgress>(*picker->view()); }
  bool overlayIsShown() { return !panel()->superview()->isHidden(); }
  std::string percent() { return panel()->lblDownloadProgress.lock()->text(); }

  /// The items that were asked for at full quality, in order.
  Names fetched() {
    Names names;
    for (const auto& request : platform.images.requests()) {
      if (isFetch(request)) names.push_back(request.item.string());
    }
    return names;
  }
  /// Whether all that was asked for is no longer wanted.
  bool fetchesAreCancelled() {
    const auto requests = platform.images.requests();
    return std::ranges::all_of(requests, [&](const auto& request) {
      return !isFetch(request) || testing::Value(platform.images.cancelled(), testing::Contains(request.id));
    });
  }
  static bool isFetch(const memory::MemoryImageManager::Request& request) {
    return request.isVideo || request.imageOptions.deliveryMode == PHImageRequestOptionsDeliveryModeHighQualityFormat;
  }

  void script(const std::string& item, memory::ItemScript script) {
    platform.images.setScript(item, std::move(script));
  }
  static memory::ItemScript failing() {
    return {.error = NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorDamaged, "Damaged"}};
  }
  static memory::ItemScript failingInTheCloud() {
    return {.error = NSError{kCloudPhotoLibraryErrorDomain, 1, "Offline"}, .inCloud = true};
  }
  static memory::ItemScript stalling() { return {.stalls = true}; }
  static memory::ItemScript downloading(std::vector<double> progress, double seconds) {
    return {.seconds = seconds, .inCloud = true, .progress = std::move(progress)};
  }
};

}  // namespace tlx::test
