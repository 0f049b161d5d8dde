// What one change of a library of 100,000 items costs the main thread, beside building its records.

#include <string>

#include "tlx/library/PhotoManager.h"
#include "tlx/platform/dispatch/MainQueue.h"

#include "adapters/memory/MemoryPlatform.h"
#include "bench/SideBySide.h"

namespace {

using namespace tlx;

class Listener final : public PhotoManagerDelegate {
 public:
  void firstTimeAuthorization() override {}
  void userAuthorized(bool) override {}
  void showEmptyMediaWarning() override {}
  void hideEmptyMediaWarning() override {}
  void photoLibraryChanged(const std::shared_ptr<const PHChange>&) override {
    ++heard;
    end = bench::threadSeconds();
  }
  int heard = 0;
  double end = 0;
};

}  // namespace

int main() {
  constexpr int items = 100'000;
  memory::MemoryPlatform platform;
  platform.library.edit([](memory::LibraryContents& library) {
    std::vector<PHAsset> photos;
    for (int i = 0; i < items; ++i) photos.push_back(memory::photo("0123456789abcdef-" + std::to_string(i), i));
    library.addSmartAlbum("Camera Roll", photos);
  });
  Listener listener;
  auto manager = PhotoManager::photoManagerWithType_delegate(0, &listener);
  const auto assets = manager->getAlbumModelAtIndex(0)->getAssetCollection();
  // The library answers a known question from memory, so what is left is the rebuild: the old records go, new ones are
  // made.
  const auto change = [&] {
    double start = 0;
    dispatch_async_main([&] { start = bench::threadSeconds(); });
    manager->photoLibraryDidChange(nullptr);
    platform.runUntilIdle();
    return listener.end - start;
  };
  const auto build = [&] {
    std::shared_ptr<AlbumModel> album;
    const double seconds = bench::secondsOf([&] {
      album = AlbumModel::initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount("album", assets, "Album",
                                                                                            items);
    });
    bench::keep(album.get());
    return seconds;
  };
  const bool kept = bench::sideBySide("library change, 100,000 items, main thread", 2, 201, change, build);
  std::printf("%d changes heard\n", listener.heard);
  return kept && listener.heard == 202 ? 0 : 1;
}
