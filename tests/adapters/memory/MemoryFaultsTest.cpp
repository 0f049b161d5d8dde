#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "adapters/memory/MemoryPlatform.h"

namespace tlx::memory {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A library of one photo and one video, and requests that write their answers into the log.
class MemoryFaults : public testing::Test {
 protected:
  MemoryFaults() {
    platform.library.edit([](LibraryContents& contents) {
      contents.addSmartAlbum("Camera Roll", {photo("photo", 2), video("video", 1)});
    });
  }

  PHImageRequestID ask(const Identifier& item, PHImageRequestOptions options = highQuality()) {
    return platform.faults.requestImage(
        platform.library.contents()->find(item), {100, 100}, PHImageContentModeAspectFit, options,
        [this](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
          platform.log(std::string(image ? "image" : "no image") +
                       (info.PHImageResultIsDegradedKey ? ", degraded" : "") +
                       (info.PHImageErrorKey ? ", " + info.PHImageErrorKey->localizedDescription : "") +
                       (platform.loop.isMainThread() ? "" : ", elsewhere"));
        });
  }
  PHImageRequestID askVideo(const Identifier& item) {
    return platform.faults.requestAVAsset(
        platform.library.contents()->find(item), {},
        [this](const std::shared_ptr<const AVAsset>& asset, const std::shared_ptr<const AVAudioMix>&,
               const PHImageInfo&) {
          platform.log(std::string(asset ? "video" : "no video") + (platform.loop.isMainThread() ? ", main" : ""));
        });
  }
  static PHImageRequestOptions highQuality() {
    PHImageRequestOptions options;
    options.deliveryMode = PHImageRequestOptionsDeliveryModeHighQualityFormat;
    options.networkAccessAllowed = true;
    return options;
  }

  MemoryPlatform platform;
};

TEST_F(MemoryFaults, FailTheThirdRequestAndNoOther) {
  platform.faults.plan(3, FaultyImageManager::Fault::Fail, {kCloudPhotoLibraryErrorDomain, 1, "Gone"});
  for (int request = 0; request < 4; ++request) {
    ask("photo");
    platform.runUntilIdle();
  }
  EXPECT_THAT(platform.messages(), ElementsAre("image", "image", "no image, Gone", "image"));
}

TEST_F(MemoryFaults, StallHoldsTheAnswerBackUntilItIsReleasedOrCancelled) {
  platform.faults.plan(1, FaultyImageManager::Fault::Stall);
  platform.faults.plan(2, FaultyImageManager::Fault::Stall);
  platform.faults.plan(3, FaultyImageManager::Fault::Stall);
  ask("photo");
  const auto cancelled = ask("photo");
  askVideo("video");
  platform.advance(10);
  EXPECT_THAT(platform.messages(), IsEmpty());
  platform.faults.cancelImageRequest(cancelled);
  platform.faults.releaseStalled();
  platform.runUntilIdle();
  EXPECT_THAT(platform.messages(), testing::UnorderedElementsAre("image", "video"));
}

TEST_F(MemoryFaults, AnswersTwiceAfterCancelAndElsewhere) {
  platform.faults.plan(1, FaultyImageManager::Fault::AnswerTwice);
  ask("photo");
  platform.runUntilIdle();
  EXPECT_THAT(platform.messageLog.take(), ElementsAre("image", "image"));
  platform.faults.plan(1, FaultyImageManager::Fault::AnswerAfterCancel);
  platform.faults.cancelImageRequest(ask("photo"));
  platform.runUntilIdle();
  EXPECT_THAT(platform.messageLog.take(), ElementsAre("image"));
  platform.faults.plan(1, FaultyImageManager::Fault::AnswerElsewhere);
  platform.faults.plan(2, FaultyImageManager::Fault::AnswerElsewhere);
  ask("photo");
  platform.runUntilIdle();
  askVideo("video");
  platform.runUntilIdle();
  EXPECT_THAT(platform.messageLog.take(), ElementsAre("image, elsewhere", "video, main"));
}

TEST_F(MemoryFaults, AScriptedDownloadTakesItsTimeAndCanHangHalfWay) {
  platform.images.setScript("photo", {.seconds = 2, .stalls = true, .inCloud = true, .progress = {0.1, 0.6}});
  auto options = highQuality();
  options.progressHandler = [this](double progress, const NSError*, bool*, const PHImageInfo&) {
    platform.log(std::to_string(progress).substr(0, 3));
  };
  ask("photo", options);
  platform.advance(0.9);
  EXPECT_THAT(platform.messageLog.take(), ElementsAre("0.1"));
  platform.advance(5);
  EXPECT_THAT(platform.messageLog.take(), ElementsAre("0.6"));
  EXPECT_EQ(platform.images.outstanding(), 1u);
  platform.images.setScript("photo", {.seconds = 1});
  platform.images.release("photo");
  platform.advance(0.5);
  EXPECT_THAT(platform.messages(), IsEmpty());
  platform.advance(0.5);
  EXPECT_THAT(platform.messageLog.take(), ElementsAre("image"));
  EXPECT_EQ(platform.images.outstanding(), 0u);
}

TEST_F(MemoryFaults, ADegradedAnswerComesFirstAndTheNewestRequestIsServedFirst) {
  platform.images.setScript("photo", {.degradedFirst = true});
  platform.images.setScript("video", {.colour = 1});
  ask("photo", {});
  platform.runUntilIdle();
  EXPECT_THAT(platform.messageLog.take(), ElementsAre("image, degraded", "image"));
  std::vector<int> answered;
  for (int request = 0; request < 3; ++request) {
    platform.images.requestImage(platform.library.contents()->find("video"), {50, 50}, PHImageContentModeAspectFit,
                                 highQuality(),
                                 [&, request](const auto&, const auto&) { answered.push_back(request); });
  }
  platform.runUntilIdle();
  EXPECT_THAT(answered, ElementsAre(2, 1, 0));
}

TEST_F(MemoryFaults, AChangeIsDeliveredWhenAndWhereTheTestSays) {
  platform.library.setChangeHandler([this](const std::shared_ptr<const PHChange>&) {
    platform.log(platform.loop.isMainThread() ? "here" : "beside");
  });
  const auto add = [](LibraryContents& contents) { contents.add(photo("new"), {"Camera Roll"}); };
  platform.library.change(add);
  EXPECT_THAT(platform.messages(), IsEmpty());
  platform.runUntilIdle();
  platform.library.changeQuietly(add);
  platform.runUntilIdle();
  EXPECT_TRUE(platform.library.deliverNextChange());
  EXPECT_FALSE(platform.library.deliverNextChange());
  EXPECT_THAT(platform.messages(), ElementsAre("beside", "here"));
  EXPECT_THROW(platform.library.edit([](LibraryContents& contents) { contents.remove({"no such item"}); }),
               NSException);
}

}  // namespace
}  // namespace tlx::memory
