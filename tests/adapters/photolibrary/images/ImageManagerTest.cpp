#include <atomic>
#include <latch>
#include <semaphore>
#include <thread>

#include <gtest/gtest.h>

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary {
namespace {

using namespace test;

/// Holds whoever passes until it is opened, which is once.
class Gate {
 public:
  void pass() {
    held_.release();
    open_.wait();
  }
  void open() { open_.count_down(); }
  /// Returns when one more is held.
  void waitForOne() { held_.acquire(); }

 private:
  std::counting_semaphore<> held_{0};
  std::latch open_{1};
};

constexpr auto opportunistic = PHImageRequestOptionsDeliveryModeOpportunistic;
constexpr auto highQuality = PHImageRequestOptionsDeliveryModeHighQualityFormat;

class ManagingImages : public testing::Test {
 protected:
  using Asset = std::shared_ptr<const PHAsset>;

  static constexpr CGSize cell{130, 130};

  void start(unsigned workers = 2) {
    ImageManager::Settings settings;
    settings.workers = workers;
    settings.shared.folder.clear();
    images_ = std::make_unique<ImageManager>(items_, decoding_.decoders, decoding_.pixels, loop_, settings);
  }
  /// One worker, held at the request "first"; what it comes to when the gate opens is written down.
  void startHeld() {
    start(1);
    items_.setGate([this](const std::string& name) {
      if (name == "first") return gate_.pass();
      const std::lock_guard lock(mutex_);
      fetched_.push_back(name);
    });
    ask(photo("first"), highQuality, "first");
    gate_.waitForOne();
  }
  Asset photo(const std::string& name, bool withThumbnail = false) {
    const std::string path = folder_.file(name + ".jpg");
    if (withThumbnail) {
      writeJpegWithThumbnail(path, 400, 300, 160, 120);
    } else {
      writePicture(path, {.width = 400, .height = 300});
    }
    return items_.add(name, {path});
  }
  static PHImageRequestOptions options(PHImageRequestOptionsDeliveryMode mode, bool network = false) {
    PHImageRequestOptions options;
    options.deliveryMode = mode;
    options.networkAccessAllowed = network;
    return options;
  }
  PHImageRequestID ask(const Asset& asset, const PHImageRequestOptions& options, const std::string& name,
                       CGSize target = cell) {
    return images_->requestImage(
        asset, target, PHImageContentModeAspectFill, options,
        [this, name](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
          answers_.push_back(name + (info.PHImageResultIsDegradedKey ? " degraded" : image ? " final" : " error"));
          last_ = image;
        });
  }
  PHImageRequestID ask(const Asset& asset, PHImageRequestOptionsDeliveryMode mode, const std::string& name,
                       CGSize target = cell) {
    return ask(asset, options(mode), name, target);
  }
  /// Has these made beforehand, for cells.
  void warm(const std::vector<Asset>& assets) {
    images_->startCachingImages(this, assets, cell, PHImageContentModeAspectFill, {});
  }
  bool waitForAnswers(std::size_t count) {
    return loop_.runUntil([&] { return answers_.size() >= count; });
  }
  void settle() {
    images_->waitUntilIdle();
    loop_.runUntilIdle();
  }

  TemporaryFolder folder_;
  memory::Background background_;
  memory::MainLoop loop_{background_};
  Gate gate_;
  std::mutex mutex_;  ///< guards what follows
  std::vector<std::string> fetched_;
  FileItems items_;
  Decoding decoding_{folder_.file("pixels")};
  std::unique_ptr<ImageManager> images_;
  std::vector<std::string> answers_;
  std::shared_ptr<const UIImage> last_;  ///< what the last of them brought
};

TEST_F(ManagingImages, ShowsTheEmbeddedPictureFirstAndThenTheFinalOne) {
  start();
  const Asset embedded = photo("embedded", true), plain = photo("plain");
  ask(embedded, opportunistic, "embedded");
  ASSERT_TRUE(waitForAnswers(2));
  ask(plain, opportunistic, "plain");
  ASSERT_TRUE(waitForAnswers(3));
  ask(embedded, PHImageRequestOptionsDeliveryModeFastFormat, "fast");
  settle();
  EXPECT_EQ(answers_, (std::vector<std::string>{"embedded degraded", "embedded final", "plain final", "fast final"}));
}

TEST_F(ManagingImages, AHeifsOwnThumbnailIsFinalWhereItIsLargeEnough) {
  start(1);
  std::atomic<int> fetches{0};
  items_.setGate([&](const std::string&) { ++fetches; });
  const std::string path = folder_.file("a.heic");
  writePicture(path, {.width = 640, .height = 480, .thumbnail = 320});
  const Asset asset = items_.add("a", {path, MediaFormat::Heic, 640, 480});
  ask(asset, opportunistic, "cell");
  settle();
  EXPECT_EQ(fetches, 0) << "the photo itself was not decoded";
  ask(asset, opportunistic, "large", {400, 400});
  settle();
  EXPECT_EQ(last_->size().width, 533);
  ask(asset, highQuality, "best");
  settle();
  EXPECT_EQ(answers_, (std::vector<std::string>{"cell final", "large degraded", "large final", "best final"}));
  EXPECT_EQ(fetches, 2) << "the larger picture and the one of high quality";
}

TEST_F(ManagingImages, CellsGetTheScreensPixelsAndDeliveriesTheirExactSize) {
  start();
  images_->setScreenScale(2);
  const Asset asset = photo("a");
  constexpr auto fast = PHImageRequestOptionsResizeModeFast, exact = PHImageRequestOptionsResizeModeExact;
  const struct {
    double target;
    PHImageRequestOptionsDeliveryMode delivery;
    PHImageRequestOptionsResizeMode resize;
    double height;
    const char* reason;
  } rows[] = {{130, opportunistic, fast, 260, "a cell"},
              {130, opportunistic, exact, 130, "a cell that insists"},
              {130, highQuality, exact, 130, "a delivery"},
              {130, highQuality, fast, 130, "a delivery that does not insist"},
              {170, opportunistic, fast, 300, "never enlarged"}};
  for (const auto& row : rows) {
    PHImageRequestOptions asked = options(row.delivery);
    asked.resizeMode = row.resize;
    ask(asset, asked, row.reason, {row.target, row.target});
    settle();
    ASSERT_TRUE(last_) << row.reason;
    EXPECT_EQ(last_->size().height, row.height) << row.reason;
    EXPECT_EQ(last_->scale(), 1) << row.reason;
  }
  images_->startCachingImages(this, {asset}, {100, 100}, PHImageContentModeAspectFill, {});
  settle();
  ask(asset, opportunistic, "preheated", {100, 100});
  EXPECT_EQ(last_->size().height, 200) << "preheated at the screen's pixels too, hence within the call";
}

TEST_F(ManagingImages, AFilesChangeMakesItsThumbnailAnew) {
  start();
  const Asset asset = photo("a");
  ask(asset, opportunistic, "first");
  ASSERT_TRUE(waitForAnswers(1));
  ask(asset, opportunistic, "again");
  EXPECT_EQ(answers_.size(), 2u) << "within the call";
  items_.add("a", {.path = folder_.file("a.jpg"), .modified = 2});
  ask(asset, opportunistic, "changed");
  EXPECT_EQ(answers_.size(), 2u) << "no longer in memory";
  ASSERT_TRUE(waitForAnswers(3));
  items_.forget("a");
  ask(asset, opportunistic, "forgotten");
  ASSERT_TRUE(waitForAnswers(4));
  EXPECT_EQ(answers_.back(), "forgotten error");
}

TEST_F(ManagingImages, WhatIsScrolledAwayWaitsBehindWhatIsLookedAtNext) {
  startHeld();
  const std::vector<Asset> passed{photo("passed 1"), photo("passed 2")}, stopped{photo("stopped")};
  warm(passed);
  for (const Asset& asset : passed) ask(asset, opportunistic, "passed");
  images_->stopCachingImages(this, passed, cell, PHImageContentModeAspectFill);
  warm({photo("next")});
  warm(stopped);
  images_->stopCachingImages(this, stopped, cell, PHImageContentModeAspectFill);
  const PHImageRequestID dropped = ask(photo("dropped"), highQuality, "dropped");
  ask(photo("visible"), highQuality, "visible");
  images_->cancelImageRequest(dropped);
  gate_.open();
  settle();
  EXPECT_EQ(fetched_, (std::vector<std::string>{"visible", "next", "passed 2", "passed 1"}))
      << "what was cancelled or stopped is never touched";
  EXPECT_EQ(answers_.size(), 4u) << "what was passed is answered all the same";
}

TEST_F(ManagingImages, TheSamePictureIsMadeOnceForAllWhoAskMeanwhile) {
  start(2);
  std::atomic<int> fetches{0};
  items_.setGate([&](const std::string&) {
    ++fetches;
    gate_.pass();
  });
  const Asset asset = photo("a");
  std::vector<std::shared_ptr<const UIImage>> got;
  const auto again = [&] {
    return images_->requestImage(
        asset, {}, PHImageContentModeAspectFit, options(highQuality),
        [&](const std::shared_ptr<const UIImage>& image, const PHImageInfo&) { got.push_back(image); });
  };
  const PHImageRequestID first = again();
  gate_.waitForOne();
  again();
  again();
  warm({asset});
  gate_.waitForOne();  // the other worker comes to it only when it is through with those two
  images_->cancelImageRequest(first);
  gate_.open();
  settle();
  EXPECT_EQ(fetches, 2) << "the whole picture and the cell's";
  ASSERT_EQ(got.size(), 2u) << "the one that set it going was cancelled, and did not take the others with it";
  EXPECT_TRUE(got[0] && got[0] == got[1]);
}

TEST_F(ManagingImages, AnItemElsewhereIsShownByItsPreview) {
  start(1);
  std::atomic<int> originals{0};
  items_.setGate([&](const std::string&) { ++originals; });
  const std::string original = folder_.file("original.jpg"), small = folder_.file("small.jpg");
  writeJpegWithThumbnail(original, 400, 300, 160, 120);
  writePicture(small, {.width = 200, .height = 150});
  using Shown = std::optional<Preview>;
  const auto of = [](const std::string& path, bool head) { return Preview{{path, nullptr}, head}; };
  constexpr auto jpeg = MediaFormat::Jpeg;
  const struct {
    MediaFormat format;
    Shown preview;
    bool network;
    const char* answer;
    int originals;
    const char* reason;
  } rows[] = {
      {jpeg, of(small, false), false, " final", 0, "a picture of its own, needing no leave"},
      {jpeg, of(original, true), true, " final", 0, "the picture in the original's first bytes"},
      {jpeg, {}, true, " final", 1, "without one the original is fetched"},
      {jpeg, {}, false, " error", 0, "if that is allowed"},
      {MediaFormat::Mp4, {}, true, " error", 0, "no video is fetched for its poster"},
      {jpeg, of("none", false), true, " final", 1, "a preview that cannot be read is as good as none"},
  };
  for (const auto& row : rows) {
    answers_.clear();
    originals = 0;
    ask(items_.add(row.reason, {original, row.format, 400, 300, true, row.preview}),
        options(opportunistic, row.network), "");
    settle();
    EXPECT_EQ(answers_, (std::vector<std::string>{row.answer})) << row.reason;
    EXPECT_EQ(originals, row.originals) << row.reason;
  }
}

TEST_F(ManagingImages, TransfersHoldUpNeitherPicturesNorEachOther) {
  start(1);
  items_.setGate([&](const std::string& name) {
    if (name.starts_with("slow")) gate_.pass();
  });
  const std::string path = folder_.file("far.jpg");
  writePicture(path, {.width = 400, .height = 300});
  const auto fetch = [&](const std::string& name) {
    return ask(items_.add(name, {path, MediaFormat::Jpeg, 400, 300, true}), options(highQuality, true), name);
  };
  const PHImageRequestID running = fetch("slow 1");
  gate_.waitForOne();
  fetch("quick");
  ASSERT_TRUE(waitForAnswers(1)) << "another transfer comes through";
  fetch("slow 2");
  gate_.waitForOne();
  ask(photo("near"), highQuality, "near");
  ASSERT_TRUE(waitForAnswers(2)) << "and so does what needs none";
  const PHImageRequestID waiting = fetch("slow 3");
  images_->cancelImageRequest(waiting);
  images_->cancelImageRequest(running);
  gate_.open();
  settle();
  EXPECT_EQ(answers_, (std::vector<std::string>{"quick final", "near final", "slow 2 final"}));
}

TEST_F(ManagingImages, ASynchronousRequestDoesNotWaitForTheQueue) {
  start(2);
  items_.setGate([&](const std::string& name) {
    if (name != "now") gate_.pass();
  });
  for (int i = 0; i < 10; ++i) ask(photo(std::to_string(i)), highQuality, "queued");
  for (int worker = 0; worker < 2; ++worker) gate_.waitForOne();
  const Asset now = photo("now");
  std::atomic<bool> answered{false};
  std::thread([&] {
    PHImageRequestOptions synchronous = options(opportunistic);
    synchronous.synchronous = true;
    images_->requestImage(
        now, cell, PHImageContentModeAspectFill, synchronous,
        [&](const std::shared_ptr<const UIImage>& image, const PHImageInfo&) { answered = image != nullptr; });
  }).join();
  EXPECT_TRUE(answered);
  gate_.open();
  EXPECT_TRUE(waitForAnswers(10));
}

TEST_F(ManagingImages, CallsNothingOnceItIsGoneAndLeavesWhatItDelivered) {
  start(1);
  ask(photo("delivered"), highQuality, "delivered", {});
  ASSERT_TRUE(waitForAnswers(1));
  items_.setGate([&](const std::string&) { gate_.pass(); });
  ask(photo("running"), highQuality, "running");
  ask(photo("waiting"), opportunistic, "waiting");
  warm({photo("warm")});
  gate_.waitForOne();
  gate_.open();
  images_.reset();
  loop_.runUntilIdle();
  EXPECT_EQ(answers_.size(), 1u);
  EXPECT_EQ(lettersOf(*last_->bitmap()), "RG/BW");
}

}  // namespace
}  // namespace tlx::photolibrary
