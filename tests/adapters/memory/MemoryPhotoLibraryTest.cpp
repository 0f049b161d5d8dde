#include "adapters/memory/MemoryPhotoLibrary.h"
#include "tests/adapters/memory/OnMemory.h"
#include "tests/contracts/PhotoLibraryContract.h"

namespace tlx::contracts {
namespace {

class MemoryLibraryWorld final : public OnMemory<PhotoLibraryWorld> {
 public:
  MemoryLibraryWorld() { platform_.background.setOverlapping(true); }

  PhotoLibraryPort& library() override { return platform_.library; }
  void put(const std::vector<Item>& items) override {
    platform_.library.change([&](memory::LibraryContents& contents) {
      for (const Item& item : items) {
        if (!contents.findAlbum(item.album)) contents.addUserAlbum(item.album);
        contents.add({item.mediaType, item.name, 0, item.creationDate}, {item.album});
      }
    });
  }
  void take(const std::vector<std::string>& names) override {
    platform_.library.change([&](memory::LibraryContents& contents) {
      contents.remove({names.begin(), names.end()});
      for (const auto& album : std::vector(contents.albums())) {
        if (album.items.empty()) contents.removeAlbum(album.collection.localIdentifier);
      }
    });
  }
  AVRecording recording() override { return {"/captures/1.mp4", {}, 3, nullptr}; }
  void askForPicture(const Identifier&) override {}
  bool setAccess(PHAuthorizationStatus status) override {
    platform_.library.changeAccess(status);
    return true;
  }
  void setPromptAnswer(PHAuthorizationStatus status) override { platform_.library.setPromptAnswer(status); }
  int promptCount() const override { return platform_.library.promptCount(); }
};

INSTANTIATE_TEST_SUITE_P(Memory, PhotoLibraryContract,
                         testing::Values(&makeWorld<PhotoLibraryWorld, MemoryLibraryWorld>));

}  // namespace
}  // namespace tlx::contracts
