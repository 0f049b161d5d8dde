#include "tlx/views/MediaCollectionViewController.h"

#include "tests/views/ViewsTest.h"

namespace tlx {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MediaGridTest : public ViewsTest {
 protected:
  struct Delegate : MediaCollectionViewDelegate {
    void pickedModel(const std::shared_ptr<MediaModel>& model) override {
      log.push_back(model->getMediaIdentifier().string() + (model->isModelSelected() ? " picked" : " unpicked"));
      if (whenPicked) whenPicked(*model);
    }
    bool isMediaAlreadyPicked(const Identifier&) override { return false; }
    void btnCameraPressed() override { log.push_back("camera"); }

    std::function<void(MediaModel&)> whenPicked;
    std::vector<std::string> log;
  };

  /// The grid on the screen, with no album.
  void openEmpty() {
    openLibrary();
    grid = makeGrid(delegate);
    show(*grid);
  }
  void open() {
    openEmpty();
    select(album(0));
  }
  void select(const std::shared_ptr<AlbumModel>& chosen) {
    grid->mediaPicker_selectedAlbum(nullptr, chosen);
    platform.runUntilIdle();
  }
  std::shared_ptr<CollectionViewCell> cell(std::int64_t item) const {
    return std::dynamic_pointer_cast<CollectionViewCell>(grid->collectionView()->cellForItemAtIndexPath({0, item}));
  }
  std::int64_t shownColour(std::int64_t item) const { return colourOf(cell(item)->imgViewImagIcon.lock()->image()); }
  bool overlayShown(std::int64_t item) const {
    const auto overlay = cell(item)->imgViewOverLay.lock();
    return !overlay->isHidden() && overlay->image();
  }
  std::string footerText() const {
    const auto footer = grid->collectionView()->supplementaryViewForElementKind(UICollectionElementKindSectionFooter);
    return std::dynamic_pointer_cast<UILabel>(footer->viewWithTag(101))->text();
  }
  void tap(std::int64_t item) {
    EXPECT_TRUE(grid->collectionView()->tappedAt({0, item}));
    platform.runUntilIdle();
  }
  /// A picture that is there at once.
  void colour(const Identifier& item, std::uint32_t colour) {
    platform.images.setScript(item, {.colour = colour, .inMemory = true});
  }

  std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
  std::shared_ptr<MediaCollectionViewController> grid;
};

TEST_F(MediaGridTest, ComputesItemSizeAndSpacingOnce) {
  const struct {
    double width;
    std::optional<UIUserInterfaceIdiom> idiom;
    double side, lineSpacing;
  } rows[] = {
      {320, UIUserInterfaceIdiomPhone, 78, 3.2},
      {375, UIUserInterfaceIdiomPhone, 92, 3.75},
      {414, std::nullopt, 101, 4.14},  // a device that does not tell counts as a phone
      {768, UIUserInterfaceIdiomPad, 130, 30},
      {1024, UIUserInterfaceIdiomPad, 174, 30},
  };
  for (const auto& row : rows) {
    platform.application.setIdiom(row.idiom);
    const auto loaded = makeGrid({row.width, 500});
    const auto view = loaded->collectionView();
    const auto layout = loaded->flowLayout.lock();
    view->setFrame(CGRectMake(0, 0, 2 * row.width, 500));
    EXPECT_EQ(layout->itemSize(), (CGSize{row.side, row.side})) << row.width;
    EXPECT_EQ(sizeCollectionViewCell, layout->itemSize());
    EXPECT_EQ(layout->minimumInteritemSpacing(), 2.0);
    EXPECT_DOUBLE_EQ(layout->minimumLineSpacing(), row.lineSpacing) << row.width;
    EXPECT_TRUE(view->bounces() && view->alwaysBounceVertical());
  }
}

TEST_F(MediaGridTest, IsEmptyUntilAnAlbumIsChosen) {
  platform.library.edit([](memory::LibraryContents& library) {
    library.addSmartAlbum("Videos", {memory::video("v", 0, 59.9)});
    library.addUserAlbum("Trip", photos("p", 3));
  });
  openEmpty();
  EXPECT_EQ(grid->collectionView()->numberOfItems(), 0);
  EXPECT_EQ(footerText(), "No Photos");
  EXPECT_FALSE(grid->collectionView_cellForItemAtIndexPath(*grid->collectionView(), {0, 0}));
  EXPECT_THAT(platform.images.requests(), IsEmpty());

  select(album(1));
  EXPECT_EQ(grid->collectionView()->numberOfItems(), 3);
  EXPECT_EQ(footerText(), "3 Photos");
  EXPECT_TRUE(cell(0)->lblVideoLength.lock()->isHidden());
  select(album(0));
  EXPECT_EQ(footerText(), "1 Photo") << "videos are counted as photos";
  EXPECT_FALSE(cell(0)->lblVideoLength.lock()->isHidden());
  EXPECT_EQ(cell(0)->lblVideoLength.lock()->text(), "00:59");
}

TEST_F(MediaGridTest, FillsItsCellsAndAsksForThumbnails) {
  fillCameraRoll(2);
  platform.images.setScript("p1", {.colour = 0x112233, .seconds = 1, .degradedFirst = true});
  open();
  const auto requests = platform.images.requests();
  ASSERT_EQ(requests.size(), 2u);
  for (const auto& request : requests) {
    EXPECT_EQ(request.targetSize, (CGSize{130, 130}));
    EXPECT_EQ(request.contentMode, PHImageContentModeAspectFill);
    EXPECT_EQ(request.imageOptions.deliveryMode, PHImageRequestOptionsDeliveryModeOpportunistic);
    EXPECT_TRUE(request.imageOptions.networkAccessAllowed);
    EXPECT_FALSE(request.imageOptions.synchronous);
  }
  const auto icon = cell(1)->imgViewImagIcon.lock();
  const auto degraded = icon->image();
  EXPECT_EQ(colourOf(degraded), 0x112233);
  EXPECT_FALSE(cell(1)->thumbnailImage()) << "an answer goes past the property";
  platform.advance(1);
  EXPECT_GT(icon->image()->size().width, degraded->size().width);

  EXPECT_EQ(icon->frame(), CGRectMake(0, 0, 92, 92)) << "as the cell stood when it woke";
  EXPECT_EQ(cell(1)->imgViewOverLay.lock()->frame(), icon->frame());
  EXPECT_TRUE(icon->clipsToBounds());
  EXPECT_EQ(icon->contentMode(), UIViewContentModeScaleAspectFill);
  cell(1)->setThumbnailImage(nullptr);
  EXPECT_FALSE(icon->image());
}

TEST_F(MediaGridTest, DropsAThumbnailThatComesForACellInOtherUse) {
  fillCameraRoll(400);
  memory::ItemScript stalled;
  stalled.stalls = true;
  stalled.colour = 0xAA0000;
  platform.images.setScript("p0", stalled);
  open();
  const auto reused = cell(0);
  EXPECT_EQ(shownColour(0), -1);
  grid->collectionView()->setContentOffset({0, 5'000});
  platform.runUntilIdle();
  ASSERT_NE(reused->representedAssetIdentifier, Identifier("p0")) << "the cell is meant to be recycled here";
  const auto before = reused->imgViewImagIcon.lock()->image();
  ASSERT_TRUE(before);
  stalled.stalls = false;
  platform.images.setScript("p0", stalled);
  platform.images.release("p0");
  platform.runUntilIdle();
  EXPECT_EQ(reused->imgViewImagIcon.lock()->image(), before);
}

TEST_F(MediaGridTest, LeavesACellWithoutImageWhereNoneCanBeHad) {
  fillCameraRoll(2);
  open();
  EXPECT_NE(shownColour(0), -1);
  const memory::ItemScript scripts[] = {
      {.stalls = true}, {.error = NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorDamaged, "Damaged"}}};
  for (const auto& script : scripts) {
    platform.images.setScript("p0", script);
    grid->reload();
    platform.runUntilIdle();
    EXPECT_EQ(shownColour(0), -1) << "not another item's, which the cell showed before";
  }
}

TEST_F(MediaGridTest, FlipsEveryCopyBeforeItTellsOfATap) {
  platform.library.edit([](memory::LibraryContents& library) {
    library.addSmartAlbum("Camera Roll", photos("p", 3));
    library.addUserAlbum("Trip", {memory::photo("p1")});
  });
  for (const char* item : {"p0", "p1", "p2"}) colour(item, 0x445566);
  open();
  EXPECT_FALSE(overlayShown(1));
  const auto requestsBefore = platform.images.requests().size();

  bool copyIsMarked = false;
  delegate->whenPicked = [&](MediaModel&) { copyIsMarked = album(1)->getMediaModelAtIndex(0)->isModelSelected(); };
  tap(1);
  EXPECT_THAT(delegate->log, ElementsAre("p1 picked"));
  EXPECT_TRUE(overlayShown(1));
  EXPECT_TRUE(copyIsMarked) << "the same item in another album, when the delegate hears";
  EXPECT_EQ(platform.images.requests().size(), requestsBefore + 1) << "only the tapped item is drawn again";
  EXPECT_EQ(shownColour(1), 0x445566);

  tap(1);
  EXPECT_THAT(delegate->log, ElementsAre("p1 picked", "p1 unpicked"));
  EXPECT_FALSE(overlayShown(1));
  EXPECT_TRUE(cell(1)->imgViewOverLay.lock()->image()) << "kept for the next mark";
  EXPECT_FALSE(copyIsMarked);

  delegate->whenPicked = [](MediaModel& model) { model.setIsMediaSelected(false); };
  tap(2);
  EXPECT_FALSE(overlayShown(2)) << "the delegate took the mark back";
  grid->albumModel = nullptr;
  delegate->log.clear();
  EXPECT_TRUE(grid->collectionView()->tappedAt({0, 1}));
  EXPECT_THAT(delegate->log, IsEmpty()) << "a record that is gone";
}

TEST_F(MediaGridTest, DrawsATappedItemAgainWhereItStandsWhenTheDelegateIsDone) {
  fillCameraRoll(3);
  open();
  delegate->whenPicked = [&](MediaModel& model) {
    change([](memory::LibraryContents& library) { library.add(memory::photo("new", 2e6), {"Camera Roll"}); });
    photoManager->selectModel(model.getMediaIdentifier());
  };
  tap(1);
  EXPECT_EQ(cell(2)->representedAssetIdentifier, Identifier("p1"));
  EXPECT_TRUE(overlayShown(2));
}

TEST_F(MediaGridTest, SendsTheCameraButtonOnceHoweverOftenItsHeaderIsReused) {
  fillCameraRoll(400);
  open();
  for (double y : {5'000.0, 0.0, 5'000.0, 0.0}) {
    grid->collectionView()->setContentOffset({0, y});
    platform.runUntilIdle();
  }
  const auto header = grid->collectionView()->supplementaryViewForElementKind(UICollectionElementKindSectionHeader);
  EXPECT_TRUE(std::dynamic_pointer_cast<UIButton>(header->viewWithTag(101))->press());
  EXPECT_THAT(delegate->log, ElementsAre("camera"));
  EXPECT_FALSE(
      grid->collectionView_viewForSupplementaryElementOfKind_atIndexPath(*grid->collectionView(), "other", {}));
}

TEST_F(MediaGridTest, FollowsChangesOfItsOwnAlbumAlone) {
  platform.library.edit([](memory::LibraryContents& library) {
    library.addSmartAlbum("Camera Roll", photos("p", 3));
    library.addUserAlbum("Trip", photos("q", 2));
  });
  open();
  tap(1);
  const auto requestsBefore = platform.images.requests().size();
  change([](memory::LibraryContents& library) { library.remove({"q0"}); });
  EXPECT_EQ(platform.images.requests().size(), requestsBefore) << "another album changed: nothing is drawn again";
  EXPECT_TRUE(overlayShown(1));
  photoManager->reset();
  grid->reload();
  platform.runUntilIdle();
  EXPECT_FALSE(overlayShown(1)) << "the manager's new records are the ones that count";

  platform.library.changeQuietly([](memory::LibraryContents& library) { library.renameAlbum("Trip", "Journey"); });
  platform.library.changeQuietly(
      [](memory::LibraryContents& library) { library.add(photos("r", 1)[0], {"Camera Roll"}); });
  for (int word = 1; word <= 2; ++word) {
    platform.library.deliverNextChange();
    platform.runUntilIdle();
    EXPECT_EQ(cell(3)->representedAssetIdentifier, Identifier("p2")) << "the records are ahead of change " << word;
  }
  change([](memory::LibraryContents& library) { library.remove({"r0"}); });

  change([](memory::LibraryContents& library) { library.remove({"p0"}); });
  EXPECT_EQ(grid->albumModel, album(0)) << "the rebuilt record";
  EXPECT_EQ(grid->collectionView()->numberOfItems(), 2);
  EXPECT_EQ(footerText(), "2 Photos");

  change([](memory::LibraryContents& library) { library.removeAlbum("Camera Roll"); });
  EXPECT_FALSE(grid->albumModel);
  EXPECT_FALSE(grid->assetFetchResult);
  EXPECT_EQ(grid->collectionView()->numberOfItems(), 0);
  EXPECT_EQ(footerText(), "No Photos");
}

}  // namespace
}  // namespace tlx
