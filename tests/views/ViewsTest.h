#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/library/AlbumModel.h"
#include "tlx/library/MediaModel.h"
#include "tlx/library/PhotoManager.h"
#include "tlx/platform/uikit/UIButton.h"
#include "tlx/platform/uikit/UIWindow.h"
#include "tlx/views/AlbumPickerTableViewController.h"
#include "tlx/views/CollectionViewCell.h"
#include "tlx/views/MediaCollectionViewController.h"
#include "tlx/views/PickerStoryboard.h"
#include "tlx/views/TableViewCell.h"
#include "tlx/views/UIImage+BundleInfo.h"
#include "tlx/views/ViewClasses.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {

/// The views over a library in memory, with the photo manager's word of changes passed on as the picker does.
class ViewsTest : public testing::Test, public PhotoManagerDelegate {
 public:
  void firstTimeAuthorization() override {}
  void userAuthorized(bool) override {}
  void showEmptyMediaWarning() override {}
  void hideEmptyMediaWarning() override {}
  void photoLibraryChanged(const std::shared_ptr<const PHChange>& change) override {
    for (const auto& subscriber : subscribers) subscriber->mediaPicker_photoLibraryChanged(change, change);
  }

 protected:
  ViewsTest() { registerViewClasses(); }
  ~ViewsTest() override {
    if (photoManager) photoManager->customDelegate = nullptr;
  }

  void openLibrary(std::int64_t kind = 0) { photoManager = PhotoManager::photoManagerWithType_delegate(kind, this); }
  void change(const memory::MemoryPhotoLibrary::Edit& edit) {
    platform.library.change(edit);
    platform.runUntilIdle();
  }
  std::shared_ptr<AlbumModel> album(std::uint64_t index) const { return photoManager->getAlbumModelAtIndex(index); }
  static std::vector<PHAsset> photos(const std::string& prefix, int count) {
    std::vector<PHAsset> items;
    for (int index = 0; index < count; ++index) {
      // Older with each, so that the album shows them in this order.
      items.push_back(memory::photo(prefix + std::to_string(index), 1'000'000.0 - index));
    }
    return items;
  }
  void fillCameraRoll(int count) {
    platform.library.edit(
        [count](memory::LibraryContents& library) { library.addSmartAlbum("Camera Roll", photos("p", count)); });
  }
  void show(UIViewController& screen) {
    platform.application.host()->view()->addSubview(screen.view());
    platform.runUntilIdle();
  }

  std::shared_ptr<MediaCollectionViewController> makeGrid(const std::weak_ptr<MediaCollectionViewDelegate>& delegate) {
    auto grid =
        MediaCollectionViewController::initWithStoryBoard_photoManager_delegate(storyboard, photoManager, delegate);
    subscribers.push_back(grid);
    return grid;
  }
  /// A grid as its scene would make it for that size, which is easier to reckon with.
  std::shared_ptr<MediaCollectionViewController> makeGrid(const CGSize& size, double headerHeight = 0) {
    auto grid = makeGrid(std::weak_ptr<MediaCollectionViewDelegate>());
    grid->collectionView()->setFrame({{}, size});
    grid->flowLayout.lock()->setHeaderReferenceSize({size.width, headerHeight});
    grid->flowLayout.lock()->setFooterReferenceSize({size.width, headerHeight});
    grid->viewDidLoad();
    return grid;
  }
  std::shared_ptr<AlbumPickerTableViewController> makeList(const std::weak_ptr<AlbumPickerDelegate>& delegate) {
    auto list = std::dynamic_pointer_cast<AlbumPickerTableViewController>(
        AlbumPickerTableViewController::initWithStoryBoard_photoManager_delegate(storyboard, photoManager, delegate));
    subscribers.push_back(list);
    return list;
  }

  memory::MemoryPlatform platform;
  std::shared_ptr<PickerStoryboard> storyboard = std::make_shared<PickerStoryboard>();
  std::shared_ptr<PhotoManager> photoManager;
  std::vector<std::shared_ptr<MediaPickerBroadcastProtocol>> subscribers;
};

/// 0xRRGGBB of the picture's first pixel; nothing, as −1, without a picture.
inline std::int64_t colourOf(const std::shared_ptr<const UIImage>& image) {
  if (!image || !image->bitmap()) return -1;
  const std::uint8_t* pixel = image->bitmap()->pixels();
  return pixel[0] << 16 | pixel[1] << 8 | pixel[2];
}

}  // namespace tlx
