#include "adapters/memory/MemoryImageManager.h"
#include "tests/adapters/memory/OnMemory.h"
#include "tests/contracts/ImageManagerContract.h"

namespace tlx::contracts {
namespace {

class MemoryImagesWorld final : public OnMemory<ImageManagerWorld> {
 public:
  MemoryImagesWorld() {
    platform_.background.setOverlapping(true);
    platform_.library.edit([](memory::LibraryContents& contents) { contents.addUserAlbum("Trip"); });
  }

  /// Through the decorator, which must change nothing while no fault is planned.
  ImageManagerPort& images() override { return platform_.faults; }
  Asset photo(int width, int height, std::uint32_t colour) override {
    return item(PHAssetMediaTypeImage, {.width = double(width), .height = double(height), .colour = colour});
  }
  Asset damagedPhoto() override {
    return item(PHAssetMediaTypeImage,
                {.error = NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorDamaged, "Damaged"}});
  }
  Asset video(double seconds) override { return item(PHAssetMediaTypeVideo, {}, seconds); }
  Asset videoWithoutVideoTrack() override {
    return item(PHAssetMediaTypeVideo, {.tracks = {{AVMediaTypeAudio, "aac", 0, 0, 3}}});
  }
  Asset deletedPhoto() override {
    auto asset = item(PHAssetMediaTypeImage, {});
    platform_.library.edit([&](memory::LibraryContents& contents) { contents.remove({asset->localIdentifier}); });
    return asset;
  }
  Asset cloudPhoto() override { return item(PHAssetMediaTypeImage, {.inCloud = true, .progress = {0, 0.25, 0.5, 1}}); }
  Asset cloudVideo() override {
    return item(PHAssetMediaTypeVideo, {.seconds = 2, .inCloud = true, .progress = {0.5, 1}});
  }

 private:
  Asset item(PHAssetMediaType mediaType, memory::ItemScript script, double duration = 0) {
    const Identifier identifier = "item " + std::to_string(++count_);
    platform_.library.edit([&](memory::LibraryContents& contents) {
      contents.add({mediaType, identifier, duration, 0});
    });
    platform_.images.setScript(identifier, std::move(script));
    return platform_.library.contents()->find(identifier);
  }

  int count_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Memory, ImageManagerContract,
                         testing::Values(&makeWorld<ImageManagerWorld, MemoryImagesWorld>));

}  // namespace
}  // namespace tlx::contracts
