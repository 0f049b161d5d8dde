#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/NSException.h"
#include "tlx/platform/photos/PhotoLibraryPort.h"
#include "tlx/platform/uikit/PlatformClasses.h"
#include "tlx/platform/uikit/ResourcePort.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/progress/ProgressClasses.h"
#include "tlx/progress/TLXDownloadProgress.h"
#include "tlx/views/AlbumPickerTableViewController.h"
#include "tlx/views/CollectionViewCell.h"
#include "tlx/views/CustomAlbumButton.h"
#include "tlx/views/MediaCollectionViewController.h"
#include "tlx/views/TableViewCell.h"
#include "tlx/views/ViewClasses.h"

#include "tests/contracts/ContractWorld.h"

namespace tlx::contracts {

/// A platform is installed, whose library grants no access, so that a picker that loads stays bare.
class SceneWorld : public ContractWorld {
 public:
  virtual ResourcePort& resources() = 0;
  /// URLs that the application was asked to open.
  virtual std::vector<std::string> openedURLs() = 0;
};

using SceneWorldFactory = std::unique_ptr<SceneWorld> (*)();

class SceneContract : public testing::TestWithParam<SceneWorldFactory> {
 protected:
  SceneContract() {
    registerPlatformClasses();
    registerViewClasses();
    registerProgressClasses();
    registerClass(TLXMediaPickerController::classObject());
  }

  template <class Controller>
  std::shared_ptr<Controller> load() {
    return std::dynamic_pointer_cast<Controller>(
        world_->resources().instantiateViewController(own_, "PickerStoryboard", Controller::classObject().name));
  }

  const NSBundle own_{kTLXMediaPickerBundle};
  std::unique_ptr<SceneWorld> world_ = GetParam()();
};

struct SceneHost final : TLXMediaPickerControllerDelegate {
  std::int64_t maxSelectedMedia() override { return 1; }
  CGSize selectedImageSize() override { return {}; }
  void mediaPickerCancelPressed() override { ++cancelled; }
  void mediaPickerWillStartFetching() override { ++started; }
  void mediaPicker_didFinishPickingMediaWithInfo(TLXMediaPickerController&, const MediaList&) override {}
  int cancelled = 0, started = 0;
};

TEST_P(SceneContract, ThePickersOutletsTagsActionsAndStartingVisibility) {
  SceneHost host;
  const auto picker = load<TLXMediaPickerController>();
  ASSERT_TRUE(picker);
  picker->pickerControllerDelegate = &host;
  EXPECT_FALSE(picker->isViewLoaded()) << "a view is loaded when it is first read";
  EXPECT_FALSE(picker->btnDone.lock());
  const auto view = picker->view();
  ASSERT_TRUE(view);

  const auto noPhotos = picker->viewNoPhotos.lock();
  const auto dimming = picker->viewTbContainer.lock();
  const auto banner = picker->viewPhotoLimitationWarning.lock();
  const auto title = picker->btnAlbumPicker.lock();
  const auto done = picker->btnDone.lock();
  const auto access = picker->btnAllowAccess.lock();
  const auto cancel = std::dynamic_pointer_cast<UIButton>(view->viewWithTag(TLXMediaPickerController::TagCancel));
  ASSERT_TRUE(noPhotos && dimming && banner && title && done && access && cancel);
  EXPECT_TRUE(noPhotos->isHidden()) << "nothing says yet that the library is empty";
  EXPECT_EQ(dimming->alpha(), 0) << "the album list is closed";
  EXPECT_TRUE(banner->isHidden());
  EXPECT_GT(banner->frame().size.height, 0) << "it slides by its own height";
  EXPECT_EQ(done->tag(), TLXMediaPickerController::TagDone);
  EXPECT_GT(picker->lblPhotoCount.lock()->frame().size.width, 0);

  cancel->sendActionsForControlEvents(UIControlEventTouchUpInside);
  EXPECT_EQ(host.cancelled, 1);
  done->sendActionsForControlEvents(UIControlEventTouchUpInside);
  EXPECT_EQ(host.started, 1);
  access->sendActionsForControlEvents(UIControlEventTouchUpInside);
  EXPECT_THAT(world_->openedURLs(), testing::ElementsAre(UIApplicationOpenSettingsURLString));
  title->setTag(TLXMediaPickerController::TagListOpen);
  title->sendActionsForControlEvents(UIControlEventTouchUpInside);
  EXPECT_EQ(title->tag(), TLXMediaPickerController::TagListClosed);
}

TEST_P(SceneContract, TheGridsCellsHeaderAndFooter) {
  const auto grid = load<MediaCollectionViewController>();
  ASSERT_TRUE(grid);
  EXPECT_FALSE(grid->isViewLoaded());
  const auto view = grid->collectionView();
  ASSERT_TRUE(view);
  EXPECT_EQ(grid->flowLayout.lock(), view->collectionViewLayout());
  EXPECT_GT(grid->flowLayout.lock()->headerReferenceSize().height, 0)
      << "the camera button is reached through the header";
  EXPECT_GT(grid->flowLayout.lock()->footerReferenceSize().height, 0);

  const auto cell = std::dynamic_pointer_cast<CollectionViewCell>(
      view->dequeueReusableCellWithReuseIdentifier_forIndexPath("CollectionViewCell", {0, 0}));
  ASSERT_TRUE(cell);
  const auto icon = cell->imgViewImagIcon.lock();
  const auto overlay = cell->imgViewOverLay.lock();
  const auto length = cell->lblVideoLength.lock();
  ASSERT_TRUE(icon && overlay && length);
  const CGSize item = grid->flowLayout.lock()->itemSize();
  EXPECT_EQ(icon->frame(), CGRectMake(0, 0, item.width, item.height)) << "a cell has its size before it awakes";
  EXPECT_EQ(overlay->frame(), icon->frame());
  const auto& stacked = icon->superview()->subviews();
  const auto place = [&](const std::shared_ptr<UIView>& subview) {
    return std::find(stacked.begin(), stacked.end(), subview) - stacked.begin();
  };
  EXPECT_LT(place(icon), place(overlay)) << "the mark lies over the picture";

  const auto header = view->dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(
      UICollectionElementKindSectionHeader, "HeaderView", {0, 0});
  ASSERT_TRUE(header);
  EXPECT_TRUE(std::dynamic_pointer_cast<UIButton>(header->viewWithTag(101)));
  const auto footer = view->dequeueReusableSupplementaryViewOfKind_withReuseIdentifier_forIndexPath(
      UICollectionElementKindSectionFooter, "FooterView", {0, 0});
  ASSERT_TRUE(footer);
  EXPECT_TRUE(std::dynamic_pointer_cast<UILabel>(footer->viewWithTag(101)));
}

TEST_P(SceneContract, TheAlbumListsRows) {
  const auto list = load<AlbumPickerTableViewController>();
  ASSERT_TRUE(list);
  const auto table = list->tableView();
  ASSERT_TRUE(table);
  EXPECT_TRUE(table->tableFooterView()) << "no separators below the last row";
  const auto cell = std::dynamic_pointer_cast<TableViewCell>(
      table->dequeueReusableCellWithIdentifier_forIndexPath("TableViewCell", {0, 0}));
  ASSERT_TRUE(cell);
  const auto name = cell->lblFolderName.lock();
  ASSERT_TRUE(name);
  EXPECT_GT(name->frame().size.width, 0) << "code sets its x only";
  EXPECT_GT(name->frame().size.height, 0);
}

TEST_P(SceneContract, ThePanelsOutletsAndItsCancelButton) {
  struct Listener final : TLXDownloadProgressDelegate {
    void cancelDownload() override { ++cancelled; }
    int cancelled = 0;
  } listener;
  const auto objects = world_->resources().loadNib(own_, "TLXDownloadProgress");
  ASSERT_FALSE(objects.empty());
  const auto panel = std::dynamic_pointer_cast<TLXDownloadProgress>(objects.front());
  ASSERT_TRUE(panel);
  const auto ring = panel->viewDownloadProgress.lock();
  const auto first = panel->lblHeader1.lock();
  const auto second = panel->lblHeader2.lock();
  const auto cancel = panel->btnCancel.lock();
  ASSERT_TRUE(ring && first && second && cancel);
  EXPECT_GT(ring->frame().size.width, 0);
  EXPECT_EQ(first->text(), "Importing");
  EXPECT_EQ(second->text(), "from library");
  panel->customDelegate = &listener;
  cancel->sendActionsForControlEvents(UIControlEventTouchUpInside);
  EXPECT_EQ(listener.cancelled, 1);
  EXPECT_NE(world_->resources().loadNib(own_, "TLXDownloadProgress").front(), panel);
}

TEST_P(SceneContract, EachLoadIsItsOwnAndLeavesNothingBehind) {
  auto first = load<MediaCollectionViewController>();
  const auto second = load<MediaCollectionViewController>();
  ASSERT_TRUE(first && second);
  EXPECT_NE(first, second);
  EXPECT_NE(first->view(), second->view());
  const std::weak_ptr<UIView> view = first->view();
  const std::weak_ptr<UIViewController> controller = first;
  first.reset();
  world_->settle();
  EXPECT_TRUE(controller.expired());
  EXPECT_TRUE(view.expired());
}

TEST_P(SceneContract, WhatIsNotThereIsSaidByName) {
  const auto complaint = [](const std::function<void()>& load) {
    try {
      load();
    } catch (const NSException& exception) {
      return exception.reason();
    }
    return std::string("nothing was raised");
  };
  auto& resources = world_->resources();
  const std::string scene = TLXMediaPickerController::classObject().name;
  EXPECT_THAT(complaint([&] { resources.instantiateViewController(own_, "PickerStoryboard", "NoSuchScene"); }),
              testing::HasSubstr("NoSuchScene"));
  EXPECT_THAT(complaint([&] { resources.instantiateViewController({"host"}, "PickerStoryboard", scene); }),
              testing::HasSubstr(scene))
      << "a host's bundle is never looked up";
  EXPECT_THAT(complaint([&] { resources.loadNib(own_, "NoSuchFile"); }), testing::HasSubstr("NoSuchFile"));
}

TEST_P(SceneContract, ImagesComeFromTheirOwnBundleOnly) {
  for (const char* name : {"camera", "up_arrow_s", "Overlay_strong"}) {
    const auto image = world_->resources().imageNamed(own_, name);
    ASSERT_TRUE(image) << name;
    EXPECT_TRUE(image->bitmap()) << name;
    EXPECT_FALSE(world_->resources().imageNamed({"host"}, name)) << name;
  }
  EXPECT_FALSE(world_->resources().imageNamed(own_, "NoSuchImage"));
}

}  // namespace tlx::contracts
