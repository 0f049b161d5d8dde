// What one change of a library of 200,000 items costs the main thread, beside building its records: the manager alone,
// and a whole picker that shows the album, with nothing and with thousands of items picked.

#include <algorithm>
#include <string>

#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/dispatch/MainQueuePort.h"

#include "adapters/memory/MemoryPlatform.h"
#include "bench/SideBySide.h"

namespace {

using namespace tlx;

constexpr int kItems = 200'000;

/// A change that touches every result.
class TouchesAll final : public PHChange {
 public:
  std::shared_ptr<const PHFetchResultChangeDetails> changeDetailsForFetchResult(
      const std::shared_ptr<const PHFetchResult<PHAsset>>& result) const override {
    return std::make_shared<const PHFetchResultChangeDetails>(PHFetchResultChangeDetails{result, result});
  }
};

class Host final : public TLXMediaPickerControllerDelegate {
 public:
  std::int64_t maxSelectedMedia() override { return -1; }
  CGSize selectedImageSize() override { return {1600, 1600}; }
  void mediaPickerCancelPressed() override {}
  void mediaPicker_didFinishPickingMediaWithInfo(TLXMediaPickerController&, const MediaList&) override {}
};

/// Seconds of the main thread from a change's arrival to rest. The library answers a known question from memory, so
/// what is left is the manager's and the picker's own work.
double secondsOfChange(memory::MemoryPlatform& platform, PhotoManager& manager) {
  manager.photoLibraryDidChange(std::make_shared<const TouchesAll>());
  return bench::secondsOf([&] { platform.runUntilIdle(); });
}

bool everyPickIsMarked(TLXMediaPickerController& picker) {
  std::size_t marked = 0;
  picker.photoManager->getAlbumModelAtIndex(0)->visitMediaModels([&](const MediaModel& model) {
    marked += model.isModelSelected() ? 1 : 0;
    return true;
  });
  return marked == picker.arrPickedModel()->size();
}

}  // namespace

int main() {
  memory::MemoryPlatform platform;
  platform.library.edit([](memory::LibraryContents& library) {
    std::vector<PHAsset> photos;
    for (int i = 0; i < kItems; ++i) photos.push_back(memory::photo("0123456789abcdef-" + std::to_string(i), i));
    library.addSmartAlbum("Camera Roll", photos);
  });
  const auto manager = PhotoManager::photoManagerWithType_delegate(0, nullptr);
  const auto assets = manager->getAlbumModelAtIndex(0)->getAssetCollection();
  const auto build = [&] {
    std::shared_ptr<AlbumModel> album;
    const double seconds = bench::secondsOf([&] {
      album = AlbumModel::initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount("album", assets, "Album",
                                                                                            kItems);
    });
    bench::keep(album.get());
    return seconds;
  };
  bool kept = bench::sideBySide(
      "library change, 200,000 items, the manager", 2, 101, [&] { return secondsOfChange(platform, *manager); }, build);

  Host host;
  const auto picker = TLXMediaPickerController::mediaPickerController_delegate(0, &host);
  platform.application.host()->presentViewController_animated_completion(picker, false, nullptr);
  platform.advance(1);
  for (const std::size_t picks : {0, 1'000, 5'000}) {
    MediaList& picked = *picker->arrPickedModel();
    const std::size_t apart = kItems / std::max<std::size_t>(picks, 1);
    while (picked.size() < picks)
      picked.push_back(Media::initMediaWithPHAsset((*assets).objectAtIndex(picked.size() * apart)));
    const std::string name = "the same, a session with " + std::to_string(picks) + " picked";
    kept &= bench::sideBySide(
        name.c_str(),
        picks == 0       ? 2
        : picks == 1'000 ? 3
                         : 4,
        101, [&] { return secondsOfChange(platform, *picker->photoManager); }, build);
    kept &= everyPickIsMarked(*picker);
  }
  return kept ? 0 : 1;
}
