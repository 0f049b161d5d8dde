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
#include "tlx/platform/uikit/PlatformClasses.h"
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

/// The views over a library in memory, with the photo manager's word of
/// changes passed on as the picker does.
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
  ViewsTest() {
    registerPlatformClasses();
    registerViewClasses();
  }
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

  /// A cell with a view of the right class in each of its outlets.
  template <class Cell>
  static std::shared_ptr<Cell> makeCell(const CGRect& frame) {
    auto cell = std::make_shared<Cell>();
    cell->setFrame(frame);
    for (const Outlet& outlet : Cell::classObject().outlets) {
      const auto target = NSClassFromString(outlet.targetClass)->alloc();
      EXPECT_TRUE(outlet.connect(*cell, target)) << outlet.name;
      cell->addSubview(std::dynamic_pointer_cast<UIView>(target));
    }
    cell->awakeFromNib();
    return cell;
  }

  template <class Tagged>
  static std::shared_ptr<UICollectionReusableView> makeSupplementary() {
    auto view = std::make_shared<UICollectionReusableView>();
    auto tagged = std::make_shared<Tagged>();
    tagged->setTag(101);
    view->addSubview(tagged);
    return view;
  }

  /// A grid in a scene of a size that is easy to reckon with.
  std::shared_ptr<MediaCollectionViewController> makeGrid(const CGSize& size, double headerHeight = 40) {
    auto grid = std::make_shared<MediaCollectionViewController>();
    std::weak_ptr<MediaCollectionViewController> weakGrid = grid;
    grid->setViewLoader([weakGrid, size, headerHeight] {
      auto layout = std::make_shared<UICollectionViewFlowLayout>();
      layout->setHeaderReferenceSize({size.width, headerHeight});
      layout->setFooterReferenceSize({size.width, headerHeight});
      auto view = std::make_shared<UICollectionView>();
      view->setFrame({{}, size});
      view->setCollectionViewLayout(layout);
      view->registerPrototype("CollectionViewCell",
                              [](const CGRect& frame) { return makeCell<CollectionViewCell>(frame); });
      view->registerPrototype("HeaderView", [](const CGRect&) { return makeSupplementary<UIButton>(); });
      view->registerPrototype("FooterView", [](const CGRect&) { return makeSupplementary<UILabel>(); });
      MediaCollectionViewController::classObject().outlets.at(0).connect(*weakGrid.lock(), layout);
      return view;
    });
    grid->photoManager = photoManager;
    subscribers.push_back(grid);
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
