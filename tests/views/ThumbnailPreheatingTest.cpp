#include "tests/views/ViewsTest.h"

namespace tlx {
namespace {

using memory::MemoryImageManager;
using testing::ElementsAre;
using testing::IsEmpty;

/// 400 × 300 points: 4 items of 98 × 98 to a row, rows 102 apart; the band reaches 150 beyond either end.
class PreheatingTest : public ViewsTest {
 protected:
  PreheatingTest() {
    AssetGridThumbnailSize = {};
    fillCameraRoll(200);
    openLibrary();
    grid = makeGrid({400, 300});
  }
  void open() {
    show(*grid);
    grid->mediaPicker_selectedAlbum(nullptr, album(0));
    platform.runUntilIdle();
    calls();
  }
  void scroll(double y) { grid->collectionView()->setContentOffset({0, y}); }
  /// What was asked of the cache since the last time, such as "start p0-p15".
  std::vector<std::string> calls() {
    std::vector<std::string> texts;
    const auto& all = platform.images.cachingCalls();
    for (; seen_ < all.size(); ++seen_) {
      const auto& call = all[seen_];
      std::string what = call.kind == MemoryImageManager::CachingCall::Start  ? "start"
                         : call.kind == MemoryImageManager::CachingCall::Stop ? "stop"
                                                                              : "stop all";
      if (!call.items.empty()) what += " " + call.items.front().string() + "-" + call.items.back().string();
      texts.push_back(what);
    }
    return texts;
  }

  std::shared_ptr<MediaCollectionViewController> grid;

 private:
  std::size_t seen_ = 0;
};

TEST_F(PreheatingTest, FollowsTheViewOnceItHasLeftByMoreThanAThird) {
  open();
  scroll(1);
  EXPECT_THAT(calls(), ElementsAre("start p0-p19")) << "the first scroll after a reset: the view and half of it below";
  scroll(101);
  EXPECT_THAT(calls(), IsEmpty()) << "exactly a third of the height";
  scroll(102);
  EXPECT_THAT(calls(), ElementsAre("start p16-p23")) << "what enters below; nothing has left above yet";
  EXPECT_EQ(grid->previousPreheatRect, CGRectMake(0, -48, 400, 600));
  scroll(600);
  EXPECT_THAT(calls(), ElementsAre("start p20-p43", "stop p0-p19"));
  scroll(400);
  EXPECT_THAT(calls(), ElementsAre("start p8-p19", "stop p32-p43"));
  scroll(4'000);
  EXPECT_THAT(calls(), ElementsAre("start p148-p175", "stop p8-p35")) << "bands apart";
  const auto& call = platform.images.cachingCalls().at(platform.images.cachingCalls().size() - 2);
  EXPECT_EQ(call.targetSize, (CGSize{130, 130}));
  EXPECT_EQ(call.contentMode, PHImageContentModeAspectFill);
  EXPECT_EQ(call.options.deliveryMode, PHImageRequestOptionsDeliveryModeOpportunistic);
  EXPECT_TRUE(call.options.networkAccessAllowed);
}

TEST_F(PreheatingTest, StartsOverWithEachAlbumAndLoadButNotWithAChange) {
  open();
  scroll(300);
  EXPECT_EQ(calls().size(), 1u);
  change([](memory::LibraryContents& library) { library.remove({"p199"}); });
  EXPECT_THAT(calls(), IsEmpty());
  grid->albumPicked(album(0));
  EXPECT_THAT(calls(), ElementsAre("stop all"));
  EXPECT_EQ(grid->previousPreheatRect, CGRectZero);
  grid->viewDidLoad();
  EXPECT_THAT(calls(), ElementsAre("stop all"));
}

TEST_F(PreheatingTest, LetsGoOfEverythingAsItGoes) {
  open();
  subscribers.clear();
  grid.reset();
  EXPECT_THAT(calls(), ElementsAre("stop all"));
}

TEST_F(PreheatingTest, DoesNothingOutsideAWindow) {
  MediaCollectionViewController unloaded;
  unloaded.updateCachedAssets();
  EXPECT_FALSE(unloaded.isViewLoaded()) << "asking must not load the view";
  open();
  grid->view()->removeFromSuperview();
  scroll(600);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PreheatingTest, AsksForNoSizeBeforeTheFirstCell) {
  const auto headed = makeGrid({400, 300}, 40);
  show(*headed);
  headed->albumModel = album(0);
  calls();
  headed->collectionView()->setContentOffset({0, 10});
  EXPECT_THAT(calls(), ElementsAre("start p0-p0")) << "the header and the footer stand at the path of the first item";
  EXPECT_EQ(platform.images.cachingCalls().back().targetSize, CGSize{});
  EXPECT_THAT(platform.images.preheated(), IsEmpty());
}

}  // namespace
}  // namespace tlx
