#include <utility>

#include "adapters/memory/Pictures.h"
#include "tests/support/PickerSession.h"

namespace tlx::test {
namespace {

/// Everything that a session makes.
std::vector<std::weak_ptr<void>> madeBy(PickerSession& session) {
  return {session.picker,
          session.picker->photoManager,
          session.picker->mediaCollectionViewCotroller,
          session.list(),
          session.panel(),
          session.picker->view(),
          session.grid().albumModel};
}

MATCHER(HasGone, "") {
  return arg.expired();
}

TEST(SessionLifetime, EverythingGoesWithThePickerAtEveryMoment) {
  struct Row {
    const char* why;
    std::function<void(PickerSession&)> before;
  };
  const Row rows[] = {
      {"a fade under way", [](PickerSession& session) { session.tap("c"); }},
      {"the banner's timer running",
       [](PickerSession& session) {
         session.picker->photosLimitationWarning();
         session.settle();
       }},
      {"a download under way",
       [](PickerSession& session) {
         session.script("b", PickerSession::downloading({0.1, 0.5}, 30));
         session.done();
       }},
      {"an answer on its way", [](PickerSession& session) { session.pressDone(); }},
      {"the list open",
       [](PickerSession& session) {
         session.picker->btnAlbumPicker.lock()->press();
         session.settle();
       }},
      {"a question on the screen",
       [](PickerSession& session) {
         session.script("b", PickerSession::failing());
         session.done();
       }},
      {"a photo being saved",
       [](PickerSession& session) {
         session.picker->btnCameraPressed();
         session.settle();
         session.platform.camera.takePhoto(memory::solidPicture(4, 3, 0));
       }},
      {"a library change on its way",
       [](PickerSession& session) {
         session.platform.library.change([](memory::LibraryContents& contents) { contents.remove({"a"}); });
       }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    PickerSession session;
    session.open();
    session.pick({"a", "b"});
    row.before(session);
    session.platform.messageLog.take();
    const auto made = madeBy(session);
    auto panel = session.panel();
    session.platform.application.host()->dismissViewControllerAnimated_completion(false, nullptr);
    session.picker = nullptr;
    EXPECT_TRUE(made.front().expired()) << "the picker goes at once";
    EXPECT_EQ(std::exchange(panel, nullptr)->customDelegate, nullptr) << "a press on Cancel would tell it";
    session.platform.advance(60);
    EXPECT_THAT(made, testing::Each(HasGone()));
    EXPECT_EQ(session.platform.images.outstanding(), 0u) << "requests are cancelled";
    EXPECT_TRUE(session.platform.messages().empty()) << "the host hears no more";
    EXPECT_EQ(session.platform.presentation.top(), nullptr);
    EXPECT_EQ(session.platform.loop.timerCount() + session.platform.loop.listenerCount(), 0u);
  }
}

TEST(SessionLifetime, HostMayLetGoWithinItsAnswers) {
  for (const auto moment : {&PickerHost::whenFetchingStarts, &PickerHost::whenFinished}) {
    PickerSession session;
    session.open();
    session.pick({"a", "b"});
    session.host.*moment = [&] {
      session.platform.application.host()->dismissViewControllerAnimated_completion(false, nullptr);
      session.picker = nullptr;
    };
    const auto made = madeBy(session);
    const auto picker = session.picker.get();
    picker->btnDonePressed();
    session.settle();
    EXPECT_THAT(made, testing::Each(HasGone()));
  }
}

// Progress and videos come on the adapters' thread while the main thread cancels, retries and lets go.
TEST(SessionLifetime, HandlersOnOtherThreadsOnlyPost) {
  for (int round = 0; round < 20; ++round) {
    PickerSession session({"v1", "v2", "v3"});
    session.open();
    session.pick({"v1", "v2", "v3"});
    session.platform.background.setOverlapping(true);
    for (const auto& name : {"v1", "v2", "v3"}) {
      session.script(name, PickerSession::downloading({0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9}, 0.01));
    }
    session.pressDone();
    const auto asked = static_cast<std::size_t>(1 + round % 3);
    EXPECT_TRUE(session.platform.loop.runUntil([&] { return session.fetched().size() >= asked; }));
    if (round % 4 == 0) {
      session.picker->cancelDownload();
      EXPECT_TRUE(session.platform.loop.runUntil([&] { return session.picker->cancelling(); }));
    } else if (round % 4 == 1) {
      session.platform.application.host()->dismissViewControllerAnimated_completion(false, nullptr);
      session.picker = nullptr;
      session.platform.runUntilIdle();
    } else {
      if (round % 4 == 2) session.picker->btnDonePressed();
      EXPECT_TRUE(session.platform.loop.runUntil([&] { return !session.host.deliveries.empty(); }));
      EXPECT_EQ(session.host.deliveries.at(0).size(), 3u);
    }
  }
}

}  // namespace
}  // namespace tlx::test
