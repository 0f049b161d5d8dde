#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "adapters/memory/LoopThread.h"
#include "adapters/memory/MainLoop.h"
#include "adapters/photolibrary/images/ImageManager.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary {
namespace {

using namespace test;

/// Holds whoever passes until it is opened, and tells how many are held.
class Gate {
 public:
  void pass() {
    std::unique_lock lock(mutex_);
    ++held_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
  }
  void open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  void waitForHeld(int count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return held_ >= count; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int held_ = 0;
  bool open_ = false;
};

class ManagingImages : public testing::Test {
 protected:
  using Asset = std::shared_ptr<const PHAsset>;

  static constexpr CGSize cell{130, 130};

  void start(unsigned workers = 2) {
    ImageManager::Settings settings;
    settings.workers = workers;
    settings.pixelFolder = folder_.file("pixels");
    settings.shared.folder.clear();
    images_ = std::make_unique<ImageManager>(items_, loop_, settings);
  }
  /// One worker, held at the request "first"; what it comes to when the gate opens is written down.
  void startHeld() {
    start(1);
    items_.setGate([this](const std::string& name) {
      if (name == "first") return gate_.pass();
      const std::lock_guard lock(mutex_);
      fetched_.push_back(name);
    });
    ask(photo("first"), PHImageRequestOptionsDeliveryModeHighQualityFormat, "first");
    gate_.waitForHeld(1);
  }
  Asset photo(const std::string& name, bool withThumbnail = false) {
    const std::string path = folder_.file(name + ".jpg");
    if (withThumbnail) {
      writeJpegWithThumbnail(path, 400, 300, 160, 120);
    } else {
      writePicture(path, {.width = 400, .height = 300});
    }
    return items_.add(name, path);
  }
  static PHImageRequestOptions options(PHImageRequestOptionsDeliveryMode mode) {
    PHImageRequestOptions options;
    options.deliveryMode = mode;
    return options;
  }
  PHImageRequestID ask(const Asset& asset, PHImageRequestOptionsDeliveryMode mode, const std::string& name) {
    return images_->requestImage(
        asset, cell, PHImageContentModeAspectFill, options(mode),
        [this, name](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
          answers_.push_back(name + (info.PHImageResultIsDegradedKey ? " degraded" : image ? " final" : " error"));
        });
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
  std::unique_ptr<ImageManager> images_;
  std::vector<std::string> answers_;
};

constexpr auto opportunistic = PHImageRequestOptionsDeliveryModeOpportunistic;
constexpr auto highQuality = PHImageRequestOptionsDeliveryModeHighQualityFormat;

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
  writeHeif(path, 640, 480, 1, 0, 320);
  const Asset asset = items_.add("a", path, {MediaFormat::Heic, 640, 480});
  ask(asset, opportunistic, "cell");
  settle();
  EXPECT_EQ(answers_, (std::vector<std::string>{"cell final"}));
  EXPECT_EQ(fetches, 0) << "the photo itself was not decoded";
  PHImageRequestID last =
      images_->requestImage(asset, {400, 400}, PHImageContentModeAspectFill, options(opportunistic),
                            [this](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
                              answers_.push_back(std::to_string(static_cast<int>(image->size().width)) +
                                                 (info.PHImageResultIsDegradedKey ? " degraded" : " final"));
                            });
  EXPECT_NE(last, PHInvalidImageRequestID);
  ask(asset, highQuality, "best");
  settle();
  std::sort(answers_.begin(), answers_.end());
  EXPECT_EQ(answers_, (std::vector<std::string>{"320 degraded", "533 final", "best final", "cell final"}));
  EXPECT_EQ(fetches, 2) << "the larger picture and the one of high quality";
}

TEST_F(ManagingImages, CellsGetTheScreensPixelsAndDeliveriesTheirExactSize) {
  start();
  images_->setScreenScale(2);
  const Asset asset = photo("a");
  struct Row {
    CGSize target;
    PHImageRequestOptionsDeliveryMode delivery;
    PHImageRequestOptionsResizeMode resize;
    double height;
    const char* reason;
  };
  constexpr auto fast = PHImageRequestOptionsResizeModeFast, exact = PHImageRequestOptionsResizeModeExact;
  const Row rows[] = {{{130, 130}, opportunistic, fast, 260, "a cell"},
                      {{130, 130}, opportunistic, exact, 130, "a cell that insists"},
                      {{130, 130}, highQuality, exact, 130, "a delivery"},
                      {{130, 130}, highQuality, fast, 130, "a delivery that does not insist"},
                      {{170, 170}, opportunistic, fast, 300, "never enlarged"}};
  for (const Row& row : rows) {
    PHImageRequestOptions asked = options(row.delivery);
    asked.resizeMode = row.resize;
    CGSize size{};
    images_->requestImage(asset, row.target, PHImageContentModeAspectFill, asked,
                          [&](const std::shared_ptr<const UIImage>& image, const PHImageInfo&) {
                            size = image->size();
                            EXPECT_EQ(image->scale(), 1) << row.reason;
                          });
    ASSERT_TRUE(loop_.runUntil([&] { return size.height > 0; })) << row.reason;
    EXPECT_EQ(size.height, row.height) << row.reason;
  }
  const int client = 0;
  images_->startCachingImages(&client, {asset}, {100, 100}, PHImageContentModeAspectFill, {});
  settle();
  images_->requestImage(asset, {100, 100}, PHImageContentModeAspectFill, options(opportunistic),
                        [&](const std::shared_ptr<const UIImage>& image, const PHImageInfo&) {
                          answers_.push_back(std::to_string(static_cast<int>(image->size().height)));
                        });
  EXPECT_EQ(answers_, (std::vector<std::string>{"200"})) << "preheated at the screen's pixels too";
}

TEST_F(ManagingImages, AFilesChangeMakesItsThumbnailAnew) {
  start();
  const Asset asset = photo("a");
  ask(asset, opportunistic, "first");
  ASSERT_TRUE(waitForAnswers(1));
  ask(asset, opportunistic, "again");
  EXPECT_EQ(answers_.size(), 2u) << "within the call";
  items_.touch("a");
  ask(asset, opportunistic, "changed");
  EXPECT_EQ(answers_.size(), 2u) << "no longer in memory";
  ASSERT_TRUE(waitForAnswers(3));
  items_.forget("a");
  ask(asset, opportunistic, "forgotten");
  ASSERT_TRUE(waitForAnswers(4));
  EXPECT_EQ(answers_.back(), "forgotten error");
}

TEST_F(ManagingImages, ServesTheNewestFirstAndWhatIsVisibleBeforeWhatIsPreheated) {
  startHeld();
  const int client = 0;
  images_->startCachingImages(&client, {photo("warm 1"), photo("warm 2")}, cell, PHImageContentModeAspectFill, {});
  ask(photo("a"), highQuality, "a");
  ask(photo("b"), highQuality, "b");
  const PHImageRequestID dropped = ask(photo("dropped"), highQuality, "dropped");
  ask(photo("c"), highQuality, "c");
  images_->startCachingImages(&client, {photo("stopped")}, cell, PHImageContentModeAspectFill, {});
  images_->stopCachingImages(&client, {items_.add("stopped", folder_.file("stopped.jpg"))}, cell,
                             PHImageContentModeAspectFill);
  images_->cancelImageRequest(dropped);
  gate_.open();
  settle();
  EXPECT_EQ(fetched_, (std::vector<std::string>{"c", "b", "a", "warm 1", "warm 2"}))
      << "what was cancelled or stopped is never touched";
}

TEST_F(ManagingImages, WhatIsScrolledAwayWaitsBehindWhatIsLookedAtNext) {
  startHeld();
  const int client = 0;
  const std::vector<Asset> passed{photo("passed 1"), photo("passed 2")};
  images_->startCachingImages(&client, passed, cell, PHImageContentModeAspectFill, {});
  for (const Asset& asset : passed) ask(asset, opportunistic, "passed");
  images_->stopCachingImages(&client, passed, cell, PHImageContentModeAspectFill);
  images_->startCachingImages(&client, {photo("next")}, cell, PHImageContentModeAspectFill, {});
  gate_.open();
  settle();
  EXPECT_EQ(fetched_, (std::vector<std::string>{"next", "passed 2", "passed 1"}));
  EXPECT_EQ(answers_.size(), 3u) << "they are answered all the same";
}

TEST_F(ManagingImages, TheSamePictureIsMadeOnceForAllWhoAskMeanwhile) {
  start(2);
  Gate gate;
  std::atomic<int> fetches{0};
  items_.setGate([&](const std::string&) {
    ++fetches;
    gate.pass();
  });
  const Asset asset = photo("a");
  std::vector<std::shared_ptr<const UIImage>> got;
  const auto again = [&] {
    return images_->requestImage(
        asset, {}, PHImageContentModeAspectFit, options(highQuality),
        [&](const std::shared_ptr<const UIImage>& image, const PHImageInfo&) { got.push_back(image); });
  };
  const PHImageRequestID first = again();
  gate.waitForHeld(1);
  again();
  again();
  const int client = 0;
  images_->startCachingImages(&client, {asset}, cell, PHImageContentModeAspectFill, {});
  gate.waitForHeld(2);  // the other worker comes to it only when it is through with those two
  images_->cancelImageRequest(first);
  gate.open();
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
  const FileFacts facts{MediaFormat::Jpeg, 400, 300};
  struct Row {
    const char* name;
    Asset asset;
    bool network;
    const char* answer;
    int originals;
    const char* reason;
  };
  const Row rows[] = {
      {"file", items_.addRemote("file", original, facts, Preview{{small, nullptr}, false}), false, "final", 0,
       "a picture of its own, needing no leave"},
      {"head", items_.addRemote("head", original, facts, Preview{{original, nullptr}, true}), true, "final", 0,
       "the picture in the original's first bytes"},
      {"none", items_.addRemote("none", original, facts), true, "final", 1, "without one the original is fetched"},
      {"forbidden", items_.addRemote("forbidden", original, facts), false, "error", 0, "if that is allowed"},
      {"video", items_.addRemote("video", original, {MediaFormat::Mp4, 400, 300}), true, "error", 0,
       "no video is fetched for its poster"},
      {"bad", items_.addRemote("bad", original, facts, Preview{{folder_.file("none"), nullptr}, false}), true, "final",
       1, "a preview that cannot be read is as good as none"},
  };
  for (const Row& row : rows) {
    answers_.clear();
    originals = 0;
    PHImageRequestOptions asked = options(opportunistic);
    asked.networkAccessAllowed = row.network;
    images_->requestImage(
        row.asset, cell, PHImageContentModeAspectFill, asked,
        [&](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
          answers_.push_back(info.PHImageResultIsDegradedKey ? "degraded" : image ? "final" : "error");
        });
    settle();
    EXPECT_EQ(answers_, (std::vector<std::string>{row.answer})) << row.reason;
    EXPECT_EQ(originals, row.originals) << row.reason;
  }
}

TEST_F(ManagingImages, TransfersHoldUpNeitherPicturesNorEachOther) {
  start(1);
  Gate gate;
  items_.setGate([&](const std::string& name) {
    if (name.starts_with("slow")) gate.pass();
  });
  const std::string path = folder_.file("far.jpg");
  writePicture(path, {.width = 400, .height = 300});
  PHImageRequestOptions online = options(highQuality);
  online.networkAccessAllowed = true;
  const auto fetch = [&](const std::string& name) {
    return images_->requestImage(
        items_.addRemote(name, path, {MediaFormat::Jpeg, 400, 300}), cell, PHImageContentModeAspectFill, online,
        [this, name](const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
          answers_.push_back(name + (image ? " final" : info.PHImageResultIsInCloudKey ? " in the cloud" : " error"));
        });
  };
  const PHImageRequestID running = fetch("slow 1");
  gate.waitForHeld(1);
  fetch("quick");
  ASSERT_TRUE(waitForAnswers(1)) << "another transfer comes through";
  fetch("slow 2");
  gate.waitForHeld(2);
  ask(photo("near"), highQuality, "near");
  ASSERT_TRUE(waitForAnswers(2)) << "and so does what needs none";
  const PHImageRequestID waiting = fetch("slow 3");
  images_->cancelImageRequest(waiting);
  images_->cancelImageRequest(running);
  gate.open();
  settle();
  EXPECT_EQ(answers_, (std::vector<std::string>{"quick final", "near final", "slow 2 final"}));
}

TEST_F(ManagingImages, ASynchronousRequestDoesNotWaitForTheQueue) {
  start(2);
  Gate gate;
  items_.setGate([&](const std::string& name) {
    if (name != "now") gate.pass();
  });
  for (int i = 0; i < 10; ++i) ask(photo(std::to_string(i)), highQuality, "queued");
  gate.waitForHeld(2);
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
  gate.open();
  EXPECT_TRUE(waitForAnswers(10));
}

TEST_F(ManagingImages, CallsNothingOnceItIsGone) {
  start(1);
  Gate gate;
  items_.setGate([&](const std::string&) { gate.pass(); });
  ask(photo("running"), highQuality, "running");
  ask(photo("waiting"), opportunistic, "waiting");
  const int client = 0;
  images_->startCachingImages(&client, {photo("warm")}, cell, PHImageContentModeAspectFill, {});
  gate.waitForHeld(1);
  gate.open();
  images_.reset();
  loop_.runUntilIdle();
  EXPECT_TRUE(answers_.empty());
}

TEST_F(ManagingImages, ADeliveredPictureOutlivesTheManager) {
  start();
  std::shared_ptr<const UIImage> kept;
  images_->requestImage(photo("a"), {}, PHImageContentModeAspectFit, options(highQuality),
                        [&](const std::shared_ptr<const UIImage>& image, const PHImageInfo&) { kept = image; });
  ASSERT_TRUE(loop_.runUntil([&] { return kept != nullptr; }));
  images_.reset();
  EXPECT_EQ(lettersOf(*kept->bitmap()), "RG/BW");
}

}  // namespace
}  // namespace tlx::photolibrary
