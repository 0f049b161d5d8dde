#pragma once

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

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

class ImageManagerContract : public testing::TestWithParam<ImageManagerWorldFactory> {
 protected:
  using Asset = ImageManagerWorld::Asset;
  static constexpr CGSize kCell{130, 130};
  static constexpr auto kOpportunistic = PHImageRequestOptionsDeliveryModeOpportunistic;
  static constexpr auto kHighQuality = PHImageRequestOptionsDeliveryModeHighQualityFormat;

  struct Answer {
    std::shared_ptr<const UIImage> image;
    std::shared_ptr<const AVAsset> video;
    PHImageInfo info;
  };
  struct Asked {
    PHImageRequestID id = PHInvalidImageRequestID;
    std::shared_ptr<Heard<Answer>> answers;

    std::size_t finals() const {
      const auto all = answers->all();
      return static_cast<std::size_t>(std::count_if(
          all.begin(), all.end(), [](const Answer& answer) { return !answer.info.PHImageResultIsDegradedKey; }));
    }
    Answer last() const { return answers->all().back(); }
    bool handlerIsLetGoOf() const { return answers.use_count() == 1; }
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

  Asked ask(const Asset& asset, const PHImageRequestOptions& options, CGSize size = kCell,
            PHImageContentMode mode = PHImageContentModeAspectFill) {
    Asked asked{.answers = std::make_shared<Heard<Answer>>(world_->mainQueue())};
    asked.id = images().requestImage(
        asset, size, mode, options,
        [answers = asked.answers](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
          answers->add({image, nullptr, info});
        });
    return asked;
  }
  Asked askVideo(const Asset& asset, PHAssetImageProgressHandler progress = nullptr) {
    PHVideoRequestOptions options;
    options.version = PHVideoRequestOptionsVersionOriginal;
    options.deliveryMode = PHVideoRequestOptionsDeliveryModeHighQualityFormat;
    options.networkAccessAllowed = true;
    options.progressHandler = std::move(progress);
    Asked asked{.answers = std::make_shared<Heard<Answer>>(world_->mainQueue())};
    asked.id = images().requestAVAsset(
        asset, options,
        [answers = asked.answers](const std::shared_ptr<const AVAsset>& video, const std::shared_ptr<const AVAudioMix>&,
                                  const PHImageInfo& info) {
          answers->add({nullptr, video, info});
        });
    return asked;
  }

  bool waitFor(const Asked& asked) {
    return world_->runUntil([&] { return asked.finals() > 0; });
  }
  /// Waits for the only final answer.
  void expectEnd(const Asked& asked, bool fails, bool onMainThread = true) {
    ASSERT_TRUE(waitFor(asked));
    world_->settle();
    EXPECT_EQ(asked.finals(), 1u);
    const auto answer = asked.last();
    EXPECT_FALSE(answer.info.PHImageResultIsDegradedKey) << "the final answer is the last";
    EXPECT_EQ(!answer.image && !answer.video, fails);
    EXPECT_EQ(answer.info.PHImageErrorKey.has_value(), fails);
    if (fails) {
      EXPECT_FALSE(answer.info.PHImageErrorKey->domain.empty());
      EXPECT_NE(answer.info.PHImageErrorKey->code, 0);
    }
    const auto here = testing::Contains(std::this_thread::get_id());
    EXPECT_THAT(asked.answers->threads(),
                testing::Conditional(onMainThread, testing::AllOf(here, testing::SizeIs(1)), testing::Not(here)));
    EXPECT_TRUE(asked.handlerIsLetGoOf());
  }

  const std::unique_ptr<ImageManagerWorld> world_ = GetParam()();
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
      SCOPED_TRACE(row.reason);
      const auto asked =
          ask(world_->photo(row.width, row.height, 0x3060C0), options(kHighQuality, synchronous), row.target, row.mode);
      ASSERT_TRUE(waitFor(asked));
      const auto image = asked.last().image;
      ASSERT_TRUE(image && image->bitmap());
      EXPECT_NEAR(image->size().width, row.expected.width, 1);
      EXPECT_NEAR(image->size().height, row.expected.height, 1);
      EXPECT_EQ(image->scale(), 1);
      EXPECT_EQ(image->imageOrientation(), UIImageOrientationUp);
      const auto& bitmap = *image->bitmap();
      const std::uint8_t* middle = bitmap.row(bitmap.height() / 2) + bitmap.width() / 2 * CGImage::bytesPerPixel;
      const auto about = [](int value) { return testing::AllOf(testing::Ge(value - 8), testing::Le(value + 8)); };
      EXPECT_THAT(std::vector<int>(middle, middle + 4),
                  testing::ElementsAre(about(0x30), about(0x60), about(0xC0), 255));
    }
  }
}

TEST_P(ImageManagerContract, EndsWithOneFinalAnswerOnTheMainThreadAfterTheCall) {
  for (const auto mode : {kHighQuality, PHImageRequestOptionsDeliveryModeFastFormat, kOpportunistic}) {
    SCOPED_TRACE(mode);
    const auto photo = world_->photo(800, 600, 0x208040);
    const auto asked = ask(photo, options(mode));
    EXPECT_NE(asked.id, PHInvalidImageRequestID);
    EXPECT_EQ(asked.finals(), 0u) << "within the call";
    expectEnd(asked, false);
    EXPECT_FALSE(asked.last().info.PHImageResultIsInCloudKey);
    EXPECT_LE(asked.answers->count(), mode == kOpportunistic ? 2u : 1u) << "at most one degraded answer";
    EXPECT_TRUE(asked.answers->all().front().image);
    if (mode != kOpportunistic) continue;
    const auto again = ask(photo, options(mode));
    EXPECT_EQ(again.finals(), 1u) << "a picture in memory is answered within the call";
    expectEnd(again, false);
    EXPECT_EQ(again.answers->count(), 1u);
  }
}

TEST_P(ImageManagerContract, WhatWasPreheatedIsAtHandUntilItIsReleased) {
  const int client = 0;
  const std::vector<Asset> photos = {world_->photo(800, 600, 0x208040), world_->deletedPhoto(), world_->damagedPhoto()};
  const auto start = [&](const std::vector<Asset>& which, CGSize size) {
    images().startCachingImages(&client, which, size, PHImageContentModeAspectFill, options(kOpportunistic));
  };
  const auto stop = [&](const std::vector<Asset>& which, CGSize size) {
    images().stopCachingImages(&client, which, size, PHImageContentModeAspectFill);
  };
  start({}, kCell);
  stop({}, kCell);
  start(photos, {0, 0});
  stop(photos, {0, 0});
  start(photos, kCell);
  world_->settle();
  EXPECT_EQ(ask(photos[0], options(kOpportunistic)).finals(), 1u);
  stop(photos, kCell);
  stop(photos, kCell);
  start(photos, kCell);
  images().stopCachingImagesForAllAssets(&client);
  images().stopCachingImagesForAllAssets(&client);
  EXPECT_TRUE(waitFor(ask(photos[0], options(kOpportunistic)))) << "a released picture is made again";
}

TEST_P(ImageManagerContract, ASynchronousRequestAnswersBeforeItReturnsAndNeverNeedsTheMainQueue) {
  const auto photo = world_->photo(300, 200, 0x808080), missing = world_->deletedPhoto();
  const auto check = [&] {
    for (const auto mode : {kOpportunistic, kHighQuality}) {
      const auto asked = ask(photo, options(mode, true));
      ASSERT_EQ(asked.answers->count(), 1u) << "mode " << mode;
      const bool atOnce = world_->mainQueue().isMainThread() && mode == kOpportunistic;
      EXPECT_EQ(asked.last().image == nullptr, atOnce) << "the main thread waits for no decoding";
      EXPECT_EQ(asked.last().info.PHImageResultIsDegradedKey, atOnce);
      EXPECT_FALSE(asked.last().info.PHImageErrorKey);
      EXPECT_THAT(asked.answers->threads(), testing::ElementsAre(std::this_thread::get_id()));
      EXPECT_TRUE(asked.handlerIsLetGoOf());
      const auto lost = ask(missing, options(mode, true));
      EXPECT_FALSE(lost.last().image);
      EXPECT_TRUE(atOnce || lost.last().info.PHImageErrorKey);
    }
  };
  check();
  std::thread(check).join();  // the main thread stands still meanwhile
  ASSERT_TRUE(waitFor(ask(photo, options(kOpportunistic))));
  const auto made = ask(photo, options(kOpportunistic, true)).last();
  EXPECT_TRUE(made.image);
  EXPECT_FALSE(made.info.PHImageResultIsDegradedKey);
}

TEST_P(ImageManagerContract, AFailedRequestAnswersOnceWithAnError) {
  struct Row {
    const char* reason;
    Asset asset;
    bool asVideo;
  };
  const Row rows[] = {{"nothing", nullptr, false},
                      {"a deleted item", world_->deletedPhoto(), false},
                      {"a damaged file", world_->damagedPhoto(), false},
                      {"no video", nullptr, true},
                      {"a photo", world_->photo(40, 30, 0x808080), true},
                      {"a video without a video track", world_->videoWithoutVideoTrack(), true},
                      {"an item deleted before it is opened", world_->deletedPhoto(), true}};
  for (const Row& row : rows) {
    for (const auto mode : {kOpportunistic, kHighQuality}) {
      SCOPED_TRACE(row.reason);
      const auto asked = row.asVideo ? askVideo(row.asset) : ask(row.asset, options(mode));
      EXPECT_TRUE(row.asVideo || asked.answers->all().empty()) << "within the call";
      expectEnd(asked, true, !row.asVideo);
    }
  }
}

TEST_P(ImageManagerContract, ACancelledRequestAnswersNoMore) {
  std::vector<Asked> kept, cancelled;
  std::set<PHImageRequestID> ids = {PHInvalidImageRequestID};
  for (int number = 0; number < 30; ++number) {
    auto asked = ask(world_->photo(400 + number, 300, 0x808080), options(number % 2 ? kOpportunistic : kHighQuality));
    EXPECT_TRUE(ids.insert(asked.id).second) << "an id used twice";
    (number % 3 == 0 ? cancelled : kept).push_back(std::move(asked));
  }
  for (const auto& asked : cancelled) images().cancelImageRequest(asked.id);
  for (const auto& asked : kept) expectEnd(asked, false);
  for (const auto& asked : cancelled) {
    EXPECT_TRUE(asked.answers->all().empty());
    EXPECT_TRUE(asked.handlerIsLetGoOf());
  }
  // Answered, cancelled before, never given: nothing happens.
  for (const PHImageRequestID id : {kept[0].id, cancelled[0].id, PHInvalidImageRequestID, 1'000'000'000}) {
    images().cancelImageRequest(id);
  }
  // A handler may ask and cancel in turn.
  const auto photo = world_->photo(40, 30, 0x808080);
  Asked next;
  images().requestImage(photo, kCell, PHImageContentModeAspectFit, options(kHighQuality),
                        [&](const std::shared_ptr<const UIImage>&, const PHImageInfo&) {
                          images().cancelImageRequest(ask(photo, options(kHighQuality), {30, 30}).id);
                          next = ask(photo, options(kHighQuality), {20, 20});
                        });
  ASSERT_TRUE(world_->runUntil([&] { return next.answers && next.finals() == 1; }));
}

TEST_P(ImageManagerContract, VideosComeWithTheirTracksOffTheMainThreadAndHaveAPosterPicture) {
  const auto video = world_->video(2);
  const auto asked = askVideo(video);
  EXPECT_NE(asked.id, PHInvalidImageRequestID);
  expectEnd(asked, false, false);
  EXPECT_GE(asked.last().video->tracksWithMediaType(AVMediaTypeVideo).size(), 1u);
  EXPECT_NEAR(asked.last().video->duration(), 2, 0.25);
  expectEnd(ask(video, options(kOpportunistic)), false);
}

TEST_P(ImageManagerContract, WhatLiesOnAServerComesOnlyWithLeaveAndReportsItsProgress) {
  const auto item = world_->cloudPhoto();
  if (!item) GTEST_SKIP() << "the adapter has no server";
  auto photoOptions = options(kHighQuality);
  const auto reportTo = [&](Heard<double>& reports, bool stops = false) {
    return [&reports, stops](double progress, const NSError*, bool* stop, const PHImageInfo&) {
      if (stops) *stop = true;
      reports.add(progress);
    };
  };
  Heard<double> none(world_->mainQueue()), one(world_->mainQueue());
  photoOptions.networkAccessAllowed = false;
  photoOptions.progressHandler = reportTo(none);
  const auto refused = ask(item, photoOptions, {0, 0});
  expectEnd(refused, true);
  EXPECT_TRUE(refused.last().info.PHImageResultIsInCloudKey);
  EXPECT_THAT(none.all(), testing::IsEmpty());

  photoOptions.networkAccessAllowed = true;
  photoOptions.progressHandler = reportTo(one, true);
  const auto stopped = ask(world_->cloudPhoto(), photoOptions, {0, 0});
  expectEnd(stopped, true);
  EXPECT_EQ(stopped.last().info.PHImageErrorKey->code, PhotoLibraryErrorCancelled);
  EXPECT_EQ(one.count(), 1u);

  Heard<double> photoProgress(world_->mainQueue()), videoProgress(world_->mainQueue());
  photoOptions.progressHandler = reportTo(photoProgress);
  const auto photo = ask(world_->cloudPhoto(), photoOptions, {0, 0});
  const auto video = askVideo(world_->cloudVideo(), reportTo(videoProgress));
  expectEnd(photo, false);
  expectEnd(video, false, false);
  for (const auto* reports : {&photoProgress, &videoProgress}) {
    const auto all = reports->all();
    EXPECT_FALSE(all.empty());
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end())) << "progress never falls";
    EXPECT_THAT(all, testing::Each(testing::AllOf(testing::Ge(0), testing::Le(1))));
    EXPECT_THAT(reports->threads(), testing::Not(testing::Contains(std::this_thread::get_id())));
  }
}

}  // namespace tlx::contracts
