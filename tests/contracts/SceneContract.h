#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tlx/picker/TLXMediaPickerController.h"
#include "tlx/platform/NSException.h"
#include "tlx/platform/photos/PhotoLibraryPort.h"
#include "tlx/platform/uikit/PlatformClasses.h"
#include "tlx/platform/uikit/ResourcePort.h"
#include "tlx/progress/ProgressClasses.h"
#include "tlx/progress/TLXDownloadProgress.h"
#include "tlx/views/AlbumPickerTableViewController.h"
#include "tlx/views/CollectionViewCell.h"
#include "tlx/views/MediaCollectionViewController.h"
#include "tlx/views/TableViewCell.h"
#include "tlx/views/ViewClasses.h"

#include "tests/contracts/ContractWorld.h"

namespace tlx::contracts {

/// A platform is installed, whose library grants no access, so that a picker that loads stays bare.
class SceneWorld : public ContractWorld {
 public:
  virtual ResourcePort& resources() = 0;
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

TEST_P(SceneContract, HasTheSizesThatCodeReliesOn) {
  const auto picker = load<TLXMediaPickerController>();
  ASSERT_TRUE(picker);
  EXPECT_FALSE(picker->btnDone.lock()) << "a view is loaded when it is first read";
  ASSERT_TRUE(picker->view());
  EXPECT_GT(picker->viewPhotoLimitationWarning.lock()->frame().size.height, 0) << "it slides by its own height";
  EXPECT_GT(picker->lblPhotoCount.lock()->frame().size.width, 0);

  const auto grid = load<MediaCollectionViewController>();
  ASSERT_TRUE(grid);
  const auto view = grid->collectionView();
  const auto layout = grid->flowLayout.lock();
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout, view->collectionViewLayout());
  EXPECT_GT(layout->headerReferenceSize().height, 0) << "the camera button is reached through the header";
  EXPECT_GT(layout->footerReferenceSize().height, 0);
  const auto cell = std::dynamic_pointer_cast<CollectionViewCell>(
      view->dequeueReusableCellWithReuseIdentifier_forIndexPath("CollectionViewCell", {0, 0}));
  ASSERT_TRUE(cell);
  const CGSize item = layout->itemSize();
  EXPECT_EQ(cell->imgViewImagIcon.lock()->frame(), CGRectMake(0, 0, item.width, item.height))
      << "a cell has its size before it awakes";
  EXPECT_EQ(cell->imgViewOverLay.lock()->frame(), cell->imgViewImagIcon.lock()->frame());

  const auto list = load<AlbumPickerTableViewController>();
  ASSERT_TRUE(list);
  EXPECT_TRUE(list->tableView()->tableFooterView()) << "no separators below the last row";
  const auto row = std::dynamic_pointer_cast<TableViewCell>(
      list->tableView()->dequeueReusableCellWithIdentifier_forIndexPath("TableViewCell", {0, 0}));
  ASSERT_TRUE(row);
  EXPECT_GT(row->lblFolderName.lock()->frame().size.width, 0) << "code sets its x only";
  EXPECT_GT(row->lblFolderName.lock()->frame().size.height, 0);

  const auto objects = world_->resources().loadNib(own_, "TLXDownloadProgress");
  ASSERT_FALSE(objects.empty());
  const auto panel = std::dynamic_pointer_cast<TLXDownloadProgress>(objects.front());
  ASSERT_TRUE(panel);
  EXPECT_GT(panel->viewDownloadProgress.lock()->frame().size.width, 0);
  EXPECT_NE(world_->resources().loadNib(own_, "TLXDownloadProgress").front(), panel);
}

TEST_P(SceneContract, EachLoadIsItsOwnAndLeavesNothingBehind) {
  auto first = load<MediaCollectionViewController>();
  const auto second = load<MediaCollectionViewController>();
  ASSERT_TRUE(first && second);
  EXPECT_NE(first->view(), second->view());
  const std::weak_ptr<UIView> view = first->view();
  const std::weak_ptr<UIViewController> controller = first;
  first.reset();
  world_->settle();
  EXPECT_TRUE(controller.expired());
  EXPECT_TRUE(view.expired());
}

TEST_P(SceneContract, WhatIsNotThereIsSaidByName) {
  const auto names = [](const std::string& what) {
    return testing::ThrowsMessage<NSException>(testing::HasSubstr(what));
  };
  auto& resources = world_->resources();
  const std::string scene = TLXMediaPickerController::classObject().name;
  EXPECT_THAT([&] { resources.instantiateViewController(own_, "PickerStoryboard", "NoSuchScene"); },
              names("NoSuchScene"));
  EXPECT_THAT([&] { resources.instantiateViewController({"host"}, "PickerStoryboard", scene); }, names(scene))
      << "a host's bundle is never looked up";
  EXPECT_THAT([&] { resources.loadNib(own_, "NoSuchFile"); }, names("NoSuchFile"));
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
