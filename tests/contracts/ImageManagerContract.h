#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/dispatch/MainQueuePort.h"
#include "tlx/platform/photos/ImageManagerPort.h"

#include "tests/contracts/ContractWorld.h"

namespace tlx::contracts {

/// Items to ask for. Each call makes a new one that the adapter knows of when the call returns.
class ImageManagerWorld : public ContractWorld {
 public:
  using Asset = std::shared_ptr<const PHAsset>;

  virtual ImageManagerPort& images() = 0;

  /// A photo of one colour, 0xRRGGBB, that many pixels wide and high as it stands upright.
  virtual Asset photo(int width, int height, std::uint32_t colour) = 0;
  /// A photo whose file begins well and ends too early to be shown, or is none.
  virtual Asset damagedPhoto() = 0;
  virtual Asset video(double seconds) = 0;
  virtual Asset videoWithoutVideoTrack() = 0;
  /// An item that has been deleted since it was fetched.
  virtual Asset deletedPhoto() = 0;
  /// A photo and a video whose originals come from a server in several pieces; nothing when the adapter has no server.
  virtual Asset cloudPhoto() { return nullptr; }
  virtual Asset cloudVideo() { return nullptr; }
};

using ImageManagerWorldFactory = std::unique_ptr<ImageManagerWorld> (*)();

/// What one request has been answered so far. Any thread.
class ImageAnswers {
 public:
  struct Answer {
    std::shared_ptr<const UIImage> image;
    std::shared_ptr<const AVAsset> video;
    PHImageInfo info;
    bool onMainThread = false;
    std::thread::id thread;
  };

  explicit ImageAnswers(MainQueuePort& mainQueue) : mainQueue_(mainQueue) {}

  void add(std::shared_ptr<const UIImage> image, std::shared_ptr<const AVAsset> video, const PHImageInfo& info) {
    {
      std::lock_guard lock(mutex_);
      all_.push_back({std::move(image), std::move(video), info, mainQueue_.isMainThread(), std::this_thread::get_id()});
    }
    mainQueue_.post([] {});
  }
  std::vector<Answer> all() const {
    std::lock_guard lock(mutex_);
    return all_;
  }
  std::size_t finals() const {
    const auto answers = all();
    return static_cast<std::size_t>(std::count_if(
        answers.begin(), answers.end(), [](const Answer& answer) { return !answer.info.PHImageResultIsDegradedKey; }));
  }

 private:
  MainQueuePort& mainQueue_;
  mutable std::mutex mutex_;
  std::vector<Answer> all_;
};

class ImageManagerContract : public testing::TestWithParam<ImageManagerWorldFactory> {
 protected:
  using Asset = ImageManagerWorld::Asset;
  using Answers = std::shared_ptr<ImageAnswers>;

  struct Asked {
    PHImageRequestID id = PHInvalidImageRequestID;
    Answers answers;
    std::weak_ptr<int> handlerLife;  ///< expires when the adapter lets go of the handler
  };

  ImageManagerPort& images() { return world_->images(); }

  static PHImageRequestOptions options(PHImageRequestOptionsDeliveryMode mode, bool synchronous = false) {
    PHImageRequestOptions options;
    options.deliveryMode = mode;
    options.resizeMode = PHImageRequestOptionsResizeModeExact;
    options.networkAccessAllowed = true;
    options.synchronous = synchronous;
    return options;
  }

  Asked ask(const Asset& asset, CGSize size, PHImageContentMode mode, const PHImageRequestOptions& options) {
    Asked asked;
    asked.answers = std::make_shared<ImageAnswers>(world_->mainQueue());
    auto life = std::make_shared<int>();
    asked.handlerLife = life;
    asked.id = images().requestImage(asset, size, mode, options,
                                     [answers = asked.answers, life = std::move(life)](
                                         const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
                                       answers->add(image, nullptr, info);
                                     });
    return asked;
  }

  Asked askVideo(const Asset& asset, PHAssetImageProgressHandler progress = nullptr, bool network = true) {
    PHVideoRequestOptions options;
    options.version = PHVideoRequestOptionsVersionOriginal;
    options.deliveryMode = PHVideoRequestOptionsDeliveryModeHighQualityFormat;
    options.networkAccessAllowed = network;
    options.progressHandler = std::move(progress);
    Asked asked;
    asked.answers = std::make_shared<ImageAnswers>(world_->mainQueue());
    auto life = std::make_shared<int>();
    asked.handlerLife = life;
    asked.id = images().requestAVAsset(
        asset, options,
        [answers = asked.answers, life = std::move(life)](
            const std::shared_ptr<const AVAsset>& video, const std::shared_ptr<const AVAudioMix>&,
            const PHImageInfo& info) { answers->add(nullptr, video, info); });
    return asked;
  }

  bool waitFor(const Asked& asked) {
    return world_->runUntil([&] { return asked.answers->finals() > 0; });
  }

  static void expectFailure(const Asked& asked, const std::string& what) {
    ASSERT_EQ(asked.answers->finals(), 1u) << what;
    const auto answer = asked.answers->all().back();
    EXPECT_FALSE(answer.image) << what;
    EXPECT_FALSE(answer.video) << what;
    ASSERT_TRUE(answer.info.PHImageErrorKey) << what;
    EXPECT_FALSE(answer.info.PHImageErrorKey->domain.empty()) << what;
    EXPECT_NE(answer.info.PHImageErrorKey->code, 0) << what;
  }

  std::unique_ptr<ImageManagerWorld> world_ = GetParam()();
};

TEST_P(ImageManagerContract, AnswersAtTheSizeThatTargetAndModeGive) {
  struct Row {
    const char* reason;
    int width, height;
    CGSize target;
    PHImageContentMode mode;
    CGSize expected;
  };
  const Row rows[] = {
      {"a landscape fits by its width", 400, 200, {100, 100}, PHImageContentModeAspectFit, {100, 50}},
      {"a portrait fits by its height", 200, 400, {100, 100}, PHImageContentModeAspectFit, {50, 100}},
      {"a landscape fills by its height", 400, 200, {100, 100}, PHImageContentModeAspectFill, {200, 100}},
      {"a portrait fills by its width", 200, 400, {100, 100}, PHImageContentModeAspectFill, {100, 200}},
      {"never enlarged to fit", 60, 40, {600, 600}, PHImageContentModeAspectFit, {60, 40}},
      {"never enlarged to fill", 60, 40, {50, 50}, PHImageContentModeAspectFill, {60, 40}},
      {"no target is the full size", 90, 60, {0, 0}, PHImageContentModeAspectFit, {90, 60}},
      {"nor is a negative one a size", 90, 60, {-1, -1}, PHImageContentModeAspectFill, {90, 60}},
      {"a strip keeps at least one pixel", 400, 4, {40, 40}, PHImageContentModeAspectFit, {40, 1}},
  };
  for (const Row& row : rows) {
    for (const bool synchronous : {false, true}) {
      const auto asked = ask(world_->photo(row.width, row.height, 0x3060C0), row.target, row.mode,
                             options(PHImageRequestOptionsDeliveryModeHighQualityFormat, synchronous));
      ASSERT_TRUE(waitFor(asked)) << row.reason;
      const auto image = asked.answers->all().back().image;
      ASSERT_TRUE(image) << row.reason;
      EXPECT_NEAR(image->size().width, row.expected.width, 1) << row.reason;
      EXPECT_NEAR(image->size().height, row.expected.height, 1) << row.reason;
      EXPECT_EQ(image->scale(), 1) << row.reason;
      EXPECT_EQ(image->imageOrientation(), UIImageOrientationUp) << row.reason;
      const auto& bitmap = image->bitmap();
      ASSERT_TRUE(bitmap) << row.reason;
      const std::uint8_t* middle = bitmap->row(bitmap->height() / 2) + bitmap->width() / 2 * CGImage::bytesPerPixel;
      EXPECT_NEAR(middle[0], 0x30, 8) << row.reason;
      EXPECT_NEAR(middle[1], 0x60, 8) << row.reason;
      EXPECT_NEAR(middle[2], 0xC0, 8) << row.reason;
      EXPECT_EQ(middle[3], 255) << row.reason;
    }
  }
}

TEST_P(ImageManagerContract, AnswersOnceOnTheMainThreadAfterTheCall) {
  for (const auto mode :
       {PHImageRequestOptionsDeliveryModeHighQualityFormat, PHImageRequestOptionsDeliveryModeFastFormat}) {
    const auto asked = ask(world_->photo(300, 200, 0x808080), {100, 100}, PHImageContentModeAspectFit, options(mode));
    EXPECT_NE(asked.id, PHInvalidImageRequestID);
    EXPECT_TRUE(asked.answers->all().empty()) << "within the call";
    ASSERT_TRUE(waitFor(asked));
    world_->settle();
    ASSERT_EQ(asked.answers->all().size(), 1u);
    const auto answer = asked.answers->all().front();
    EXPECT_TRUE(answer.onMainThread);
    EXPECT_FALSE(answer.info.PHImageErrorKey);
    EXPECT_FALSE(answer.info.PHImageResultIsInCloudKey);
    EXPECT_TRUE(asked.handlerLife.expired()) << "the handler is let go of";
  }
}

TEST_P(ImageManagerContract, AnOpportunisticRequestEndsWithOneFinalAnswerAndThenHasItAtHand) {
  const auto photo = world_->photo(800, 600, 0x208040);
  const auto opportunistic = options(PHImageRequestOptionsDeliveryModeOpportunistic);
  const auto first = ask(photo, {130, 130}, PHImageContentModeAspectFill, opportunistic);
  ASSERT_TRUE(waitFor(first));
  world_->settle();
  ASSERT_EQ(first.answers->finals(), 1u);
  ASSERT_LE(first.answers->all().size(), 2u) << "at most one degraded answer";
  EXPECT_FALSE(first.answers->all().back().info.PHImageResultIsDegradedKey) << "the final answer is the last";
  for (const auto& answer : first.answers->all()) {
    EXPECT_TRUE(answer.image);
    EXPECT_TRUE(answer.onMainThread);
  }
  EXPECT_TRUE(first.handlerLife.expired());

  const auto again = ask(photo, {130, 130}, PHImageContentModeAspectFill, opportunistic);
  EXPECT_EQ(again.answers->finals(), 1u) << "a picture in memory is answered within the call";
  world_->settle();
  EXPECT_EQ(again.answers->all().size(), 1u);
  EXPECT_TRUE(again.handlerLife.expired());
}

TEST_P(ImageManagerContract, WhatWasPreheatedIsAtHandUntilItIsReleased) {
  const int client = 0;
  const std::vector<Asset> photos = {world_->photo(800, 600, 0x208040), world_->photo(600, 800, 0x402080)};
  const auto opportunistic = options(PHImageRequestOptionsDeliveryModeOpportunistic);
  images().startCachingImages(&client, photos, {130, 130}, PHImageContentModeAspectFill, opportunistic);
  world_->settle();
  for (const auto& photo : photos) {
    EXPECT_EQ(ask(photo, {130, 130}, PHImageContentModeAspectFill, opportunistic).answers->finals(), 1u);
  }
  images().stopCachingImages(&client, photos, {130, 130}, PHImageContentModeAspectFill);
  images().stopCachingImages(&client, photos, {130, 130}, PHImageContentModeAspectFill);
  images().stopCachingImagesForAllAssets(&client);
  const auto after = ask(photos[0], {130, 130}, PHImageContentModeAspectFill, opportunistic);
  EXPECT_TRUE(waitFor(after)) << "a released picture is made again";
}

TEST_P(ImageManagerContract, PreheatingToleratesWhatAGridMaySendIt) {
  const int client = 0;
  const auto opportunistic = options(PHImageRequestOptionsDeliveryModeOpportunistic);
  const std::vector<Asset> photos = {world_->photo(80, 60, 0x208040), world_->deletedPhoto(), world_->damagedPhoto()};
  images().startCachingImages(&client, {}, {130, 130}, PHImageContentModeAspectFill, opportunistic);
  images().stopCachingImages(&client, {}, {130, 130}, PHImageContentModeAspectFill);
  images().startCachingImages(&client, photos, {0, 0}, PHImageContentModeAspectFill, opportunistic);
  images().stopCachingImages(&client, photos, {0, 0}, PHImageContentModeAspectFill);
  images().startCachingImages(&client, photos, {130, 130}, PHImageContentModeAspectFill, opportunistic);
  images().stopCachingImagesForAllAssets(&client);
  images().stopCachingImagesForAllAssets(&client);
  world_->settle();
  const auto asked = ask(photos[0], {130, 130}, PHImageContentModeAspectFill, opportunistic);
  EXPECT_TRUE(waitFor(asked));
}

TEST_P(ImageManagerContract, ASynchronousRequestAnswersBeforeItReturnsAndNeverNeedsTheMainQueue) {
  const auto photo = world_->photo(300, 200, 0x808080);
  const auto missing = world_->deletedPhoto();
  const auto check = [&] {
    for (const auto mode :
         {PHImageRequestOptionsDeliveryModeOpportunistic, PHImageRequestOptionsDeliveryModeHighQualityFormat}) {
      const auto asked = ask(photo, {130, 130}, PHImageContentModeAspectFill, options(mode, true));
      ASSERT_EQ(asked.answers->all().size(), 1u) << "mode " << mode;
      const auto answer = asked.answers->all().front();
      const bool atOnce = world_->mainQueue().isMainThread() && mode == PHImageRequestOptionsDeliveryModeOpportunistic;
      EXPECT_EQ(answer.image == nullptr, atOnce) << "the main thread waits for no decoding";
      EXPECT_EQ(answer.info.PHImageResultIsDegradedKey, atOnce);
      EXPECT_FALSE(answer.info.PHImageErrorKey);
      EXPECT_EQ(answer.thread, std::this_thread::get_id());
      EXPECT_TRUE(asked.handlerLife.expired());
      const auto lost = ask(missing, {130, 130}, PHImageContentModeAspectFill, options(mode, true));
      EXPECT_FALSE(lost.answers->all().back().image);
      if (!atOnce) expectFailure(lost, "a deleted item");
    }
  };
  check();
  std::thread(check).join();  // the main thread stands still meanwhile
  const auto opportunistic = options(PHImageRequestOptionsDeliveryModeOpportunistic);
  ASSERT_TRUE(waitFor(ask(photo, {130, 130}, PHImageContentModeAspectFill, opportunistic)));
  const auto made = ask(photo, {130, 130}, PHImageContentModeAspectFill,
                        options(PHImageRequestOptionsDeliveryModeOpportunistic, true));
  EXPECT_TRUE(made.answers->all().front().image);
  EXPECT_FALSE(made.answers->all().front().info.PHImageResultIsDegradedKey);
}

TEST_P(ImageManagerContract, AFailedRequestAnswersOnceWithAnError) {
  struct Row {
    const char* reason;
    Asset asset;
  };
  const Row rows[] = {
      {"nothing", nullptr}, {"a deleted item", world_->deletedPhoto()}, {"a damaged file", world_->damagedPhoto()}};
  for (const Row& row : rows) {
    for (const auto mode :
         {PHImageRequestOptionsDeliveryModeOpportunistic, PHImageRequestOptionsDeliveryModeHighQualityFormat}) {
      const auto asked = ask(row.asset, {100, 100}, PHImageContentModeAspectFit, options(mode));
      EXPECT_TRUE(asked.answers->all().empty()) << row.reason;
      ASSERT_TRUE(waitFor(asked)) << row.reason;
      world_->settle();
      expectFailure(asked, row.reason);
      EXPECT_TRUE(asked.answers->all().back().onMainThread) << row.reason;
    }
  }
}

TEST_P(ImageManagerContract, ACancelledRequestAnswersNoMore) {
  std::vector<Asked> kept, cancelled;
  std::set<PHImageRequestID> ids;
  for (int number = 0; number < 30; ++number) {
    const auto mode = number % 2 ? PHImageRequestOptionsDeliveryModeOpportunistic
                                 : PHImageRequestOptionsDeliveryModeHighQualityFormat;
    const auto asked =
        ask(world_->photo(400 + number, 300, 0x808080), {130, 130}, PHImageContentModeAspectFill, options(mode));
    EXPECT_TRUE(ids.insert(asked.id).second) << "an id used twice";
    (number % 3 == 0 ? cancelled : kept).push_back(asked);
  }
  EXPECT_EQ(ids.count(PHInvalidImageRequestID), 0u);
  for (const auto& asked : cancelled) images().cancelImageRequest(asked.id);
  for (const auto& asked : kept) ASSERT_TRUE(waitFor(asked));
  world_->settle();
  for (const auto& asked : kept) EXPECT_EQ(asked.answers->finals(), 1u);
  for (const auto& asked : cancelled) {
    EXPECT_TRUE(asked.answers->all().empty());
    EXPECT_TRUE(asked.handlerLife.expired()) << "the handler is let go of";
  }
  // Answered, cancelled before, never given: nothing happens.
  for (const PHImageRequestID id : {kept[0].id, cancelled[0].id, PHInvalidImageRequestID, 1'000'000'000}) {
    images().cancelImageRequest(id);
  }
  const auto last = ask(world_->photo(40, 30, 0x808080), {0, 0}, PHImageContentModeAspectFit,
                        options(PHImageRequestOptionsDeliveryModeHighQualityFormat));
  EXPECT_TRUE(waitFor(last));
}

TEST_P(ImageManagerContract, AHandlerMayAskAndCancelInTurn) {
  const auto photo = world_->photo(300, 200, 0x808080);
  const auto doomed =
      ask(photo, {90, 90}, PHImageContentModeAspectFit, options(PHImageRequestOptionsDeliveryModeHighQualityFormat));
  Asked next;
  images().cancelImageRequest(doomed.id);
  images().requestImage(photo, {100, 100}, PHImageContentModeAspectFit,
                        options(PHImageRequestOptionsDeliveryModeHighQualityFormat),
                        [&](const std::shared_ptr<const UIImage>&, const PHImageInfo&) {
                          const auto dropped = ask(photo, {110, 110}, PHImageContentModeAspectFit,
                                                   options(PHImageRequestOptionsDeliveryModeHighQualityFormat));
                          images().cancelImageRequest(dropped.id);
                          next = ask(photo, {120, 120}, PHImageContentModeAspectFit,
                                     options(PHImageRequestOptionsDeliveryModeHighQualityFormat));
                        });
  ASSERT_TRUE(world_->runUntil([&] { return next.answers && next.answers->finals() == 1; }));
}

TEST_P(ImageManagerContract, VideosComeWithTheirTracksOffTheMainThread) {
  const auto asked = askVideo(world_->video(2));
  EXPECT_NE(asked.id, PHInvalidImageRequestID);
  ASSERT_TRUE(waitFor(asked));
  world_->settle();
  ASSERT_EQ(asked.answers->all().size(), 1u);
  const auto answer = asked.answers->all().front();
  EXPECT_FALSE(answer.onMainThread);
  EXPECT_FALSE(answer.info.PHImageErrorKey);
  ASSERT_TRUE(answer.video);
  EXPECT_GE(answer.video->tracksWithMediaType(AVMediaTypeVideo).size(), 1u);
  EXPECT_NEAR(answer.video->duration(), 2, 0.25);
  EXPECT_TRUE(asked.handlerLife.expired()) << "the handler is let go of";

  struct Row {
    const char* reason;
    Asset asset;
  };
  const Row rows[] = {{"nothing", nullptr},
                      {"a photo", world_->photo(40, 30, 0x808080)},
                      {"a video without a video track", world_->videoWithoutVideoTrack()},
                      {"a deleted item", world_->deletedPhoto()}};
  for (const Row& row : rows) {
    const auto failed = askVideo(row.asset);
    ASSERT_TRUE(waitFor(failed)) << row.reason;
    world_->settle();
    expectFailure(failed, row.reason);
    EXPECT_FALSE(failed.answers->all().back().onMainThread) << row.reason;
  }
}

TEST_P(ImageManagerContract, AVideoHasAPosterPicture) {
  const auto asked = ask(world_->video(2), {130, 130}, PHImageContentModeAspectFill,
                         options(PHImageRequestOptionsDeliveryModeOpportunistic));
  ASSERT_TRUE(waitFor(asked));
  EXPECT_TRUE(asked.answers->all().back().image);
}

/// What a progress handler was told. Any thread.
class ProgressReports {
 public:
  explicit ProgressReports(MainQueuePort& mainQueue, bool stopAtFirst = false)
      : mainQueue_(mainQueue), stopAtFirst_(stopAtFirst) {}
  PHAssetImageProgressHandler handler() {
    return [this](double progress, const NSError*, bool* stop, const PHImageInfo&) {
      if (mainQueue_.isMainThread()) onMainThread = true;
      if (stopAtFirst_) *stop = true;
      std::lock_guard lock(mutex_);
      all_.push_back(progress);
    };
  }
  std::vector<double> all() const {
    std::lock_guard lock(mutex_);
    return all_;
  }
  std::atomic<bool> onMainThread = false;

 private:
  MainQueuePort& mainQueue_;
  const bool stopAtFirst_;
  mutable std::mutex mutex_;
  std::vector<double> all_;
};

TEST_P(ImageManagerContract, WhatLiesOnAServerComesOnlyWithLeaveAndReportsItsProgress) {
  const auto forbidden = world_->cloudPhoto();
  if (!forbidden) GTEST_SKIP() << "the adapter has no server";
  auto offline = options(PHImageRequestOptionsDeliveryModeHighQualityFormat);
  offline.networkAccessAllowed = false;
  ProgressReports none(world_->mainQueue());
  offline.progressHandler = none.handler();
  const auto refused = ask(forbidden, {0, 0}, PHImageContentModeAspectFit, offline);
  ASSERT_TRUE(waitFor(refused));
  expectFailure(refused, "the network is forbidden");
  EXPECT_TRUE(refused.answers->all().back().info.PHImageResultIsInCloudKey);
  EXPECT_TRUE(none.all().empty());

  ProgressReports photoProgress(world_->mainQueue()), videoProgress(world_->mainQueue());
  auto online = options(PHImageRequestOptionsDeliveryModeHighQualityFormat);
  online.progressHandler = photoProgress.handler();
  const auto photo = ask(world_->cloudPhoto(), {0, 0}, PHImageContentModeAspectFit, online);
  const auto video = askVideo(world_->cloudVideo(), videoProgress.handler());
  ASSERT_TRUE(waitFor(photo) && waitFor(video));
  world_->settle();
  EXPECT_TRUE(photo.answers->all().back().image);
  EXPECT_TRUE(video.answers->all().back().video);
  for (const auto* reports : {&photoProgress, &videoProgress}) {
    const auto all = reports->all();
    EXPECT_FALSE(all.empty());
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end())) << "progress never falls";
    EXPECT_THAT(all, testing::Each(testing::AllOf(testing::Ge(0), testing::Le(1))));
    EXPECT_FALSE(reports->onMainThread);
  }
}

TEST_P(ImageManagerContract, AStoppedTransferAnswersAsCancelled) {
  const auto item = world_->cloudPhoto();
  if (!item) GTEST_SKIP() << "the adapter has no server";
  ProgressReports reports(world_->mainQueue(), true);
  auto online = options(PHImageRequestOptionsDeliveryModeHighQualityFormat);
  online.progressHandler = reports.handler();
  const auto asked = ask(item, {0, 0}, PHImageContentModeAspectFit, online);
  ASSERT_TRUE(waitFor(asked));
  world_->settle();
  expectFailure(asked, "stopped");
  EXPECT_EQ(asked.answers->all().back().info.PHImageErrorKey->code, PhotoLibraryErrorCancelled);
  EXPECT_EQ(reports.all().size(), 1u);
}

}  // namespace tlx::contracts
