#include <cmath>

#include "tests/support/PickerSession.h"

namespace tlx::test {
namespace {

using testing::ElementsAre;

Names named(const char* prefix, int count) {
  Names names;
  for (int i = 0; i < count; ++i) names.push_back(prefix + std::to_string(i));
  return names;
}

TEST(Finalization, FetchesFromTheLastToTheFirstAndDeliversInPickedOrder) {
  PickerSession session({"a", "v", "c"});
  session.open();
  session.pick({"c", "v", "a"});
  session.platform.messageLog.take();
  session.host.whenFetchingStarts = [&] { EXPECT_FALSE(session.pressDone()) << "the host may spin an event loop"; };
  ASSERT_TRUE(session.pressDone());
  EXPECT_EQ(session.fetched(), Names({"a"})) << "one request at a time";
  EXPECT_EQ(session.panel()->lblCompletionCount.lock()->text(), "1/3");
  EXPECT_EQ(session.percent(), "Processing...");
  session.settle();
  EXPECT_EQ(session.fetched(), Names({"a", "v", "c"}));
  EXPECT_EQ(session.panel()->lblCompletionCount.lock()->text(), "3/3");
  EXPECT_FALSE(session.overlayIsShown());
  EXPECT_THAT(session.platform.messages(), ElementsAre("willStartFetching", "didFinish { \"c\", \"v\", \"a\" }"));
  const auto& delivered = session.host.deliveries.at(0);
  EXPECT_NE(delivered[0]->getMediaImage(), nullptr);
  EXPECT_NE(delivered[1]->getMediaVideoAsset(), nullptr);
  EXPECT_EQ(session.picked(), Names());
  EXPECT_FALSE(session.picker->btnDone.lock()->isUserInteractionEnabled());
  EXPECT_EQ(session.picker->iMediaCount, 3);
  EXPECT_EQ(session.picker->arrCloudReqId().size(), 3u);

  session.platform.library.change([](memory::LibraryContents& contents) { contents.remove({"a"}); });
  session.settle();
  EXPECT_NE(session.item("a"), nullptr) << "after delivery the library is no longer followed";
}

TEST(Finalization, AsksForFullQuality) {
  PickerSession session({"a", "v"});
  session.open();
  session.pick({"a", "v"});
  session.done();
  ASSERT_EQ(session.fetched(), Names({"v", "a"}));
  for (const auto& request : session.platform.images.requests()) {
    if (!PickerSession::isFetch(request)) continue;
    EXPECT_TRUE(request.reportsProgress);
    if (request.isVideo) {
      EXPECT_TRUE(request.videoOptions.networkAccessAllowed);
      EXPECT_EQ(request.videoOptions.version, PHVideoRequestOptionsVersionOriginal);
      EXPECT_EQ(request.videoOptions.deliveryMode, PHVideoRequestOptionsDeliveryModeHighQualityFormat);
    } else {
      EXPECT_EQ(request.targetSize, session.host.size);
      EXPECT_EQ(request.contentMode, PHImageContentModeAspectFit);
      EXPECT_TRUE(request.imageOptions.networkAccessAllowed);
      EXPECT_FALSE(request.imageOptions.synchronous);
      EXPECT_EQ(request.imageOptions.resizeMode, PHImageRequestOptionsResizeModeExact);
    }
  }
}

TEST(Finalization, OverlayComesAtOnceForMoreThanSixteen) {
  for (const int count : {16, 17}) {
    PickerSession session(named("item", count));
    session.open();
    session.pick(named("item", count));
    session.pressDone();
    EXPECT_EQ(session.overlayIsShown(), count == 17) << count;
    session.settle();
    EXPECT_FALSE(session.overlayIsShown());
    EXPECT_EQ(session.host.deliveries.at(0).size(), static_cast<std::size_t>(count));
  }
}

TEST(Finalization, DownloadShowsOverlayAndPercent) {
  PickerSession session;
  session.open();
  session.script("a", PickerSession::downloading({0.004, 0.05, 0.29, 1.0}, 4));
  session.pick({"a"});
  session.pressDone();
  const auto tick = [&] {
    session.settle();
    return session.percent();
  };
  session.platform.runUntilIdle();
  EXPECT_TRUE(session.overlayIsShown());
  EXPECT_FALSE(session.panel()->btnCancel.lock()->isHidden());
  EXPECT_EQ(session.panel()->lblHeader1.lock()->text(), "DOWNLOADING");
  EXPECT_EQ(session.percent(), "Processing...");
  EXPECT_EQ(tick(), "05 %");
  EXPECT_EQ(session.panel()->viewDownloadProgress.lock()->progress(), 0.05F);
  EXPECT_EQ(tick(), "28 %") << "truncated: 0.29 is a little less";
  EXPECT_EQ(tick(), "100 %");
  session.settle();
  EXPECT_FALSE(session.overlayIsShown());
  EXPECT_EQ(session.host.deliveries.size(), 1u);
  session.picker->setProgress(std::nan(""));
  EXPECT_EQ(session.percent(), "Processing...");
}

TEST(Finalization, FailuresAreToldApartByCause) {
  struct Row {
    const char* why;
    const char* item;
    memory::ItemScript script;
    bool online;
    std::int64_t status;
    bool onlineAtFirst = true;
  };
  memory::ItemScript soundOnly, soundOnlyDelivered;
  soundOnly.tracks = {{AVMediaTypeAudio, "aac", 0, 0, 10}};
  soundOnlyDelivered = soundOnly;
  soundOnlyDelivered.deliversWithoutVideoTrack = true;
  const auto disk = PickerSession::failing(), cloud = PickerSession::failingInTheCloud();
  const Row rows[] = {
      {"an image fails for whatever reason", "a", disk, true, 2},
      {"a video without a video track", "v", soundOnlyDelivered, false, 1},
      {"no video at all", "v", soundOnly, true, 1},
      {"a video from this machine, offline", "v", disk, false, 1},
      {"a cloud video, online", "v", cloud, true, 1},
      {"a cloud video, offline", "v", cloud, false, 2, false},
      {"a cloud video, offline when it fails", "v", cloud, false, 2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    PickerSession session({"a", "v"});
    session.open();
    if (!row.onlineAtFirst) session.platform.reachability.setFlags(0);
    session.script(row.item, row.script);
    session.pick({row.item});
    session.pressDone();
    EXPECT_EQ(session.picker->boolInternetConnected, row.onlineAtFirst);
    if (!row.online) session.platform.reachability.setFlags(0);
    session.settle();
    ASSERT_EQ(session.picker->arrUnsuccessfulMedia().size(), 1u);
    EXPECT_EQ(session.picker->arrUnsuccessfulMedia().front()->fetchCompletionStatus(), row.status);
    EXPECT_EQ(session.picked(), Names());
    EXPECT_TRUE(session.isMarked(row.item));
    EXPECT_TRUE(session.host.deliveries.empty());
    session.script(row.item, {});
    if (row.script.tracks.size() == 1 || !session.platform.presentation.press("Retry")) continue;
    session.settle();
    EXPECT_EQ(session.host.deliveries.at(0).front()->fetchCompletionStatus(), FetchCompletionStatusFetched);
  }
}

TEST(Finalization, QuestionFollowsTheCounts) {
  struct Row {
    const char* why;
    int fetched, offline, unsupported;
    std::string title, message;
    Names buttons;
  };
  const Names ok{"OK"}, retryOnly{"Cancel", "Retry"}, goOn{"Continue", "Cancel"}, all{"Continue", "Retry", "Cancel"},
      anyway{"Continue Anyway", "Retry", "Cancel"};
  const std::string lost = "iCloud downloading was not successful since there is no internet connection.";
  const std::string offline = lost + " Please connect to a network & try again.";
  const std::string goOnWithout = lost + " You can connect to a network and retry or continue without ";
  const std::string either =
      ". You can connect to a network and retry or you can continue without these inaccessible files.";
  const Row rows[] = {
      {"one bad video alone", 0, 0, 1, "Unsupported File!", "Please choose another file to continue.", ok},
      {"bad videos alone", 0, 0, 2, "Unsupported Files!", "Please choose another file to continue.", ok},
      {"one offline alone", 0, 1, 0, "", offline, retryOnly},
      {"all offline", 0, 2, 0, "", offline, retryOnly},
      {"nothing came, one bad video", 0, 1, 1, "Inaccessible Files!",
       "Please choose another file since there is an unsupporeted file.\n" + offline, retryOnly},
      {"nothing came, bad videos", 0, 1, 2, "Inaccessible Files!",
       "Please choose another file since there are some unsupported files.\n" + offline, retryOnly},
      {"some came, one bad video", 1, 0, 1, "Unsupported File!",
       "There is an unsupported file. You can continue without the unsupported file.", goOn},
      {"some came, bad videos", 2, 0, 2, "Unsupported Files!",
       "There are some unsupported files. You can continue without these unsupported files.", goOn},
      {"some came, one offline", 1, 1, 0, "", goOnWithout + "the iCloud file.", all},
      {"some came, several offline", 3, 2, 0, "", goOnWithout + "these iCloud files.", all},
      {"some came, one of each", 1, 1, 1, "Inaccessible Files!",
       "There is an unsupported file and an iCloud file" + either, anyway},
      {"some came, one video, several offline", 1, 2, 1, "Inaccessible Files!",
       "There is an unsupported file and iCloud files" + either, anyway},
      {"some came, several videos, one offline", 1, 1, 2, "Inaccessible Files!",
       "There are some unsupported files and an iCloud file" + either, anyway},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    Names items = named("good", row.fetched);
    for (const auto& name : named("offline", row.offline)) items.push_back(name);
    for (const auto& name : named("video", row.unsupported)) items.push_back(name);
    PickerSession session(items);
    session.open();
    for (const auto& name : named("offline", row.offline)) session.script(name, PickerSession::failingInTheCloud());
    for (const auto& name : named("video", row.unsupported)) session.script(name, PickerSession::failing());
    session.pick(items);
    session.done();
    const auto alert = session.platform.presentation.alert();
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->title(), row.title);
    EXPECT_EQ(alert->message(), row.message);
    Names buttons;
    for (const auto& action : alert->actions()) {
      buttons.push_back(action->title());
      const bool isCancel = action->title() == "Cancel" || action->title() == "OK";
      EXPECT_EQ(action->style(), isCancel ? UIAlertActionStyleCancel : UIAlertActionStyleDefault);
    }
    EXPECT_EQ(buttons, row.buttons);
    EXPECT_FALSE(session.overlayIsShown());
  }
}

/// Picked a, b, c and the video v; b and v failed, and the question is on the screen.
struct Asked : PickerSession {
  Asked() : PickerSession({"a", "b", "c", "v", "late"}) {
    open();
    script("b", failing());
    script("v", failing());
    pick({"a", "b", "c", "v"});
    done();
  }
  void choose(const std::string& button) {
    EXPECT_TRUE(platform.presentation.press(button));
    settle();
  }
};

TEST(Finalization, RetryFetchesEverythingAgainTheFailedFirst) {
  Asked session;
  const auto before = static_cast<std::ptrdiff_t>(session.fetched().size());
  session.script("v", {});
  session.platform.messageLog.take();
  session.choose("Retry");
  const auto fetched = session.fetched();
  EXPECT_EQ(Names(fetched.begin() + before, fetched.end()), Names({"b", "v", "c", "a"}));
  EXPECT_THAT(session.platform.messages(), ElementsAre("willStartFetching"));
  // The host's leave for a pick may come while the question stands.
  session.picker->arrPickedModel()->push_back(Media::initMediaWithPHAsset(session.item("late")->getMediaAsset()));
  session.choose("Continue");
  EXPECT_EQ(namesOf(session.host.deliveries.at(0)), Names({"a", "c", "v", "late"}));
}

TEST(Finalization, CancelAtEveryMoment) {
  struct Row {
    const char* why;
    std::function<void(PickerSession&)> before;
    std::size_t deliveries = 0;
  };
  const Row rows[] = {
      {"as Done is pressed", [](PickerSession& session) { session.pressDone(); }},
      {"during a download",
       [](PickerSession& session) {
         session.script("c", PickerSession::downloading({0.1, 0.2, 0.3}, 30));
         session.done();
         EXPECT_TRUE(session.overlayIsShown());
       }},
      {"as the question comes up",
       [](PickerSession& session) {
         session.script("a", PickerSession::failing());
         session.done();
       }},
      {"after delivery", [](PickerSession& session) { session.done(); }, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    PickerSession session;
    session.open();
    session.pick({"a", "b", "c"});
    row.before(session);
    const auto button = session.panel()->btnCancel.lock();
    button->setHidden(false);
    button->sendActionsForControlEvents(UIControlEventTouchUpInside);
    EXPECT_TRUE(button->isHidden());
    EXPECT_EQ(session.panel()->lblHeader1.lock()->text(), "Importing");
    session.platform.runUntilIdle();
    EXPECT_TRUE(session.picker->btnDone.lock()->isUserInteractionEnabled()) << "until it has faded out";
    session.settle();
    EXPECT_EQ(session.picker->btnDone.lock()->alpha(), 0.0);
    EXPECT_EQ(session.host.deliveries.size(), row.deliveries) << "what is cancelled is not delivered";
    EXPECT_TRUE(session.picker->cancelling());
    EXPECT_FALSE(session.overlayIsShown());
    EXPECT_EQ(session.picked(), Names());
    EXPECT_TRUE(session.picker->arrUnsuccessfulMedia().empty());
    EXPECT_EQ(session.platform.presentation.alert(), nullptr);
    EXPECT_TRUE(session.fetchesAreCancelled());
    EXPECT_TRUE(session.picker->arrCloudReqId().empty());
    if (row.deliveries > 0) continue;  // the library is no longer followed
    for (const auto& name : {"a", "b", "c"}) EXPECT_FALSE(session.isMarked(name)) << name;
    for (const auto& name : {"a", "b", "c"}) session.script(name, {});
    session.pick({"b"});
    EXPECT_TRUE(session.done());
    EXPECT_EQ(namesOf(session.host.deliveries.at(0)), Names({"b"})) << "a new pass runs";
    EXPECT_FALSE(session.picker->cancelling());
  }
}

TEST(Finalization, ProgressThatIsOnItsWayDuringACancelShowsNothing) {
  PickerSession session;
  session.open();
  session.pick({"a"});
  auto script = PickerSession::downloading({0.5, 0.9}, 10);
  script.progressOnMainThread = true;
  session.script("a", script);
  session.platform.faults.plan(1, memory::FaultyImageManager::Fault::AnswerAfterCancel);
  session.pressDone();
  session.picker->cancelDownload();  // runs between the report and what the report posts
  session.script("a", {});           // for the thumbnails
  session.settle();
  EXPECT_FALSE(session.overlayIsShown());
  session.platform.advance(5);
  EXPECT_EQ(session.platform.images.outstanding(), 0u) << "the next report stops what no cancel has reached";
}

// The choice closes the question, which takes a moment; what was picked in between would be delivered unfetched.
TEST(Finalization, NothingIsTakenBetweenAChoiceAndItsEffect) {
  for (const char* const choice : {"Continue Anyway", "Cancel"}) {
    Asked session;
    session.platform.library.change(
        [](memory::LibraryContents& contents) { contents.add(memory::photo("z"), {"Camera Roll"}); });
    session.settle();
    EXPECT_TRUE(session.isMarked("b")) << "what failed keeps its mark";
    EXPECT_TRUE(session.platform.presentation.press(choice));
    session.tap("z");
    session.platform.advance(UIPresentationAnimationDuration - 0.01);
    session.tap("z");
    EXPECT_FALSE(session.picker->btnAlbumPicker.lock()->press());
    EXPECT_FALSE(session.isMarked("z"));
    session.settle();
    EXPECT_EQ(session.picked(), Names());
    EXPECT_TRUE(session.picker->arrUnsuccessfulMedia().empty());
    if (session.host.deliveries.empty()) {
      EXPECT_FALSE(session.isMarked("b"));
    }
    session.pick({"z"});
    EXPECT_EQ(session.picked(), Names({"z"})) << "then the picker goes on";
  }
}

// The overlay is hidden for few items, so that the grid takes taps under a running pass.
TEST(Finalization, ListMayChangeUnderTheWalk) {
  const auto remove = [](std::vector<Identifier> items) {
    return [items](PickerSession& session) {
      session.platform.library.change([&](memory::LibraryContents& contents) { contents.remove(items); });
      session.platform.runUntilIdle();
    };
  };
  const auto tap = [](const Names& names) {
    return [names](PickerSession& session) {
      for (const auto& name : names) session.tap(name);
    };
  };
  struct Row {
    const char* why;
    std::function<void(PickerSession&)> meanwhile;
    Names fetched, delivered;
    std::string counter;
  };
  const Row rows[] = {
      {"one below is unpicked: the others move down, none is fetched twice",
       tap({"a"}),
       {"d", "c", "b"},
       {"b", "c", "d"},
       "4/4"},
      {"all are unpicked", tap({"a", "b", "c", "d"}), {"d", "c"}, {}, "2/4"},
      {"one is picked: it is fetched too", tap({"e"}), {"d", "c", "b", "a", "e"}, {"a", "b", "c", "d", "e"}, "5/5"},
      {"one is swapped", tap({"b", "e"}), {"d", "c", "a", "e"}, {"a", "c", "d", "e"}, "4/4"},
      {"unpicked and picked again: a new item",
       tap({"d", "d"}),
       {"d", "c", "b", "a", "d"},
       {"a", "b", "c", "d"},
       "4/4"},
      {"the one in flight is deleted", remove({"c"}), {"d", "c", "b", "a"}, {"a", "b", "d"}, "4/4"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    PickerSession session({"a", "b", "c", "d", "e"});
    session.open();
    session.pick({"a", "b", "c", "d"});
    session.script("c", PickerSession::stalling());
    session.done();
    ASSERT_EQ(session.fetched(), Names({"d", "c"}));
    row.meanwhile(session);
    session.settle();
    EXPECT_FALSE(session.pressDone()) << "a second pass would tell the host twice";
    session.script("c", {});
    session.platform.images.release("c");
    session.settle();
    EXPECT_EQ(session.fetched(), row.fetched);
    EXPECT_EQ(session.panel()->lblCompletionCount.lock()->text(), row.counter);
    ASSERT_EQ(session.host.deliveries.size(), 1u);
    EXPECT_EQ(namesOf(session.host.deliveries[0]), row.delivered);
    for (const auto& media : session.host.deliveries[0]) EXPECT_NE(media->getMediaImage(), nullptr);
    EXPECT_EQ(session.platform.presentation.alert(), nullptr) << "an item that is gone is nobody's failure";
  }
}

TEST(Finalization, ItemOfAnotherTypeEndsTheWalk) {
  PickerSession session;
  session.platform.library.edit([](memory::LibraryContents& contents) {
    PHAsset sound = memory::photo("sound", 5);
    sound.mediaType = PHAssetMediaTypeAudio;
    contents.add(sound, {"Camera Roll"});
  });
  session.open();
  session.pick({"a", "sound", "b"});
  session.done();
  EXPECT_EQ(session.fetched(), Names({"b"}));
  EXPECT_TRUE(session.host.deliveries.empty());
  EXPECT_FALSE(session.picker->btnDone.lock()->isUserInteractionEnabled());
  session.platform.messageLog.take();
  const auto cancel = std::make_shared<UIButton>();
  cancel->setTag(106);
  session.picker->btnPressed(cancel);
  EXPECT_THAT(session.platform.messages(), ElementsAre("cancelPressed"));
  session.settle();
  EXPECT_FALSE(session.picker->cancelling()) << "that is the host's to decide";
  session.picker->cancelDownload();
  session.settle();
  EXPECT_EQ(session.picked(), Names()) << "a cancel leads out";
}

// Of a, b and c the last one fails at once; then a is waited for.
TEST(Finalization, WhatIsNoLongerWantedIsNobodysConcern) {
  const struct {
    const char* why;
    Names taps;
    bool asks;
    Names afterRetry;
  } rows[] = {
      {"picked again: tried once more with the others", {"c", "c"}, false, {"a", "b", "c"}},
      {"unpicked", {"c"}, false, {"a", "b"}},
      {"its place was given to another", {"d"}, true, {"a", "b", "d"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    PickerSession session({"a", "b", "c", "d"});
    session.host.limit = 3;
    session.open();
    session.pick({"a", "b", "c"});
    session.script("c", PickerSession::failing());
    session.script("b", PickerSession::stalling());
    session.done();
    ASSERT_EQ(namesOf(session.picker->arrUnsuccessfulMedia()), Names({"c"}));
    session.script("c", {});
    session.pick(row.taps);
    session.script("b", {});
    session.platform.images.release("b");
    session.settle();
    EXPECT_EQ(session.platform.presentation.press("Retry"), row.asks);
    session.settle();
    ASSERT_EQ(session.host.deliveries.size(), 1u);
    EXPECT_EQ(namesOf(session.host.deliveries[0]), row.afterRetry);
    EXPECT_EQ(session.isMarked("c"), testing::Value(row.afterRetry, testing::Contains("c")));
  }
}

}  // namespace
}  // namespace tlx::test
