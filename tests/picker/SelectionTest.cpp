#include "tlx/platform/foundation/NSTimer.h"

#include "tests/support/PickerSession.h"

namespace tlx::test {
namespace {

using testing::ElementsAre;

bool bannerIsIn(PickerSession& session) {
  const auto banner = session.picker->viewPhotoLimitationWarning.lock();
  return !banner->isHidden() && banner->frame().origin.y == 0;
}

TEST(Selection, LimitIsAnEquality) {
  struct Row {
    const char* why;
    std::int64_t limit;
    Names taps, picked;
    bool banner;
  };
  const Row rows[] = {
      {"a limit of 0 refuses the first", 0, {"a"}, {}, true},
      {"the last that fits", 2, {"a", "b"}, {"a", "b"}, false},
      {"one too many", 2, {"a", "b", "c"}, {"a", "b"}, true},
      {"a negative limit never refuses", -1, {"a", "b", "c"}, {"a", "b", "c"}, false},
      {"unpicking makes room; the others keep their order", 2, {"a", "b", "a", "c"}, {"b", "c"}, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    PickerSession session;
    session.host.limit = row.limit;
    session.open();
    session.pick(row.taps);
    EXPECT_EQ(session.picked(), row.picked);
    EXPECT_EQ(bannerIsIn(session), row.banner);
    for (const auto& name : {"a", "b", "c"}) {
      EXPECT_EQ(session.isMarked(name), testing::Value(row.picked, testing::Contains(name))) << name;
    }
  }
  PickerSession session;
  session.open();
  session.pick({"a", "b"});
  session.picker->iImageLimit = 1;
  session.pick({"c"});
  EXPECT_EQ(session.picked(), Names({"a", "b", "c"})) << "a limit lowered below the count no longer refuses";
}

TEST(Selection, VetoComesBeforeTheLimitAndShowsNoBanner) {
  PickerSession session;
  session.host.limit = 0;
  session.host.shouldSelect = [](std::uint64_t) { return false; };
  session.platform.library.edit(
      [](memory::LibraryContents& contents) { contents.addUserAlbum("Sea", {memory::photo("a")}); });
  session.open();
  session.pick({"a"});
  EXPECT_THAT(session.platform.messages(), ElementsAre("shouldSelect 0"));
  EXPECT_FALSE(session.isMarked("a"));
  EXPECT_FALSE(session.picker->photoManager->getAlbumModelAtIndex(1)->getMediaModelAtIndex(0)->isModelSelected())
      << "nor in another album";
  EXPECT_FALSE(bannerIsIn(session));
  session.platform.messageLog.take();
  session.host.shouldSelect = [](std::uint64_t) { return true; };
  session.picker->iImageLimit = -1;
  session.pick({"a", "b", "a"});
  EXPECT_THAT(session.platform.messages(), ElementsAre("shouldSelect 0", "shouldSelect 1"))
      << "the count is that of the others; unpicking is not asked about";
}

TEST(Selection, RecordsMadeAnewWhileTheHostThinksAreTheOnesThatAreMarked) {
  PickerSession session;
  session.open();
  session.host.shouldSelect = [&](std::uint64_t) {
    session.platform.library.change(
        [](memory::LibraryContents& contents) { contents.add(memory::photo("z"), {"Camera Roll"}); });
    session.platform.runUntilIdle();
    return true;
  };
  session.pick({"a"});
  EXPECT_EQ(session.picked(), Names({"a"}));
  EXPECT_TRUE(session.isMarked("a"));
}

TEST(Selection, DoneAndCountFollowTheListAsItIsWhenTheyChange) {
  PickerSession session;
  session.open();
  const auto done = session.picker->btnDone.lock();
  const auto count = session.picker->lblPhotoCount.lock();
  EXPECT_EQ(done->alpha(), 0.0);
  EXPECT_FALSE(done->isUserInteractionEnabled());
  session.tap("a");
  EXPECT_EQ(done->alpha(), 0.0) << "the change is posted";
  session.tap("b");
  session.platform.runUntilIdle();
  EXPECT_EQ(count->text(), "(2)");
  EXPECT_EQ(done->alpha(), 1.0);
  EXPECT_EQ(count->alpha(), 1.0);
  session.platform.advance(0.19);
  EXPECT_FALSE(done->isUserInteractionEnabled()) << "not before the fade has ended";
  session.platform.advance(0.02);
  EXPECT_TRUE(done->isUserInteractionEnabled());
  session.tap("a");
  session.tap("b");
  session.platform.runUntilIdle();
  EXPECT_EQ(done->alpha(), 0.0);
  session.platform.advance(0.21);
  EXPECT_EQ(count->text(), "(0)");
  EXPECT_FALSE(done->isUserInteractionEnabled());
  EXPECT_FALSE(session.picker->isMediaAlreadyPicked("a"));
  done->setAlpha(0.5);
  session.picker->removeAssetByidentifier("nobody");
  session.settle();
  EXPECT_EQ(done->alpha(), 0.5) << "nothing was unpicked, nothing fades";
}

TEST(Selection, BannerSlidesInStaysAndSlidesOut) {
  PickerSession session;
  session.open();
  const auto banner = session.picker->viewPhotoLimitationWarning.lock();
  const auto timersBefore = session.platform.loop.timerCount();
  session.picker->photosLimitationWarning();
  EXPECT_TRUE(bannerIsIn(session));
  session.platform.advance(2.4);
  EXPECT_TRUE(bannerIsIn(session));
  session.platform.advance(0.2);
  EXPECT_EQ(banner->frame().origin.y, -banner->frame().size.height) << "2 seconds after the slide-in";
  EXPECT_FALSE(banner->isHidden()) << "on its way out";
  session.platform.advance(0.5);
  EXPECT_TRUE(banner->isHidden());
  session.platform.advance(4);
  EXPECT_TRUE(banner->isHidden());
  EXPECT_EQ(session.platform.loop.timerCount(), timersBefore + 1) << "one timer, however often";
}

TEST(Selection, BannerShownAgainStaysItsFullTime) {
  for (const double second : {0.2, 1.0, 2.3, 2.7, 4.3, 4.8}) {
    SCOPED_TRACE("shown again after " + std::to_string(second) + " seconds");
    PickerSession session;
    session.open();
    session.picker->photosLimitationWarning();
    session.platform.advance(second);
    session.picker->photosLimitationWarning();
    session.platform.advance(0.55);
    EXPECT_TRUE(bannerIsIn(session));
    session.platform.advance(1.9);
    EXPECT_TRUE(bannerIsIn(session)) << "the first banner's timer is gone";
    session.platform.advance(0.6);
    EXPECT_FALSE(bannerIsIn(session));
  }
}

TEST(NSTimer, EndsWithItsTarget) {
  struct Target {
    void fire() {}
  };
  memory::MemoryPlatform platform;
  auto target = std::make_shared<Target>();
  const auto timer = NSTimer::scheduledTimerWithTimeInterval_target_selector_repeats(1, target, &Target::fire, true);
  target.reset();
  platform.advance(1);
  EXPECT_FALSE(timer->isValid());
}

TEST(Broadcast, ReachesSubscribersInOrderWithTheDatumInBothPlaces) {
  struct Hearing : MediaPickerBroadcastProtocol {
    Hearing(Names& names, std::string called) : heard(names), name(std::move(called)) {}
    void mediaPicker_selectCameraRollAlbum(std::string first, std::string second) override {
      heard.push_back(name + first + second);
    }
    Names& heard;
    std::string name;
  };
  PickerSession session;
  session.make();
  Names heard;
  const auto one = std::make_shared<Hearing>(heard, "one"), two = std::make_shared<Hearing>(heard, "two");
  for (const auto& subscriber : {one, std::shared_ptr<Hearing>(), two, one}) session.picker->subscribe(subscriber);
  session.picker->broadcastSelector_dataModel(&MediaPickerBroadcastProtocol::mediaPicker_selectCameraRollAlbum,
                                              std::string("!"));
  session.picker->removeSubscription(one);
  session.picker->broadcastSelector_dataModel_dataModel(
      &MediaPickerBroadcastProtocol::mediaPicker_selectCameraRollAlbum, std::string("1"), std::string("2"));
  EXPECT_THAT(heard, ElementsAre("one!!", "two!!", "one!!", "two12"));
}

}  // namespace
}  // namespace tlx::test
