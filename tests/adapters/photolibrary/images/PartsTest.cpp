#include <atomic>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>
#include <sys/mman.h>

#include "adapters/photolibrary/images/RequestQueue.h"
#include "adapters/photolibrary/images/cache/ThumbnailCache.h"
#include "adapters/photolibrary/images/pixels/PixelStore.h"
#include "adapters/photolibrary/images/pixels/RowResampler.h"
#include "tests/adapters/photolibrary/images/Samples.h"

namespace tlx::photolibrary {
namespace {

using namespace test;

Buffer resample(PixelSize from, PixelSize to, const Buffer& rgba) {
  Buffer result;
  RowResampler resampler(from, to, [&](std::uint8_t* row) {
    result.insert(result.end(), row, row + static_cast<std::size_t>(to.width) * 4);
  });
  for (int y = 0; y < from.height; ++y)
    resampler.add(&rgba[static_cast<std::size_t>(y) * static_cast<std::size_t>(from.width) * 4]);
  return result;
}

TEST(RowResampler, KeepsFlatColourAndEdgesWhereTheyAre) {
  const PixelSize sizes[][2] = {{{64, 48}, {64, 48}},   {{64, 48}, {63, 47}}, {{64, 48}, {32, 24}},
                                {{640, 480}, {13, 10}}, {{97, 31}, {10, 31}}, {{31, 97}, {31, 1}},
                                {{1000, 3}, {4, 3}}};
  for (const auto& [from, to] : sizes) {
    // A ramp's symmetry shows a shift by half a pixel; the other channels are flat.
    Buffer ramp;
    for (int i = 0; i < from.pixels(); ++i) {
      const auto slope = static_cast<std::uint8_t>(255 * (i % from.width) / std::max(1, from.width - 1));
      ramp.insert(ramp.end(), {slope, 100, 50, 255});
    }
    const Buffer made = resample(from, to, ramp);
    const std::size_t width = static_cast<std::size_t>(to.width);
    ASSERT_EQ(made.size(), static_cast<std::size_t>(to.pixels()) * 4);
    for (std::size_t i = 0; i < made.size(); i += 4) {
      const std::size_t across = i / 4 / width * width * 4 + (width - 1 - i / 4 % width) * 4;
      EXPECT_NEAR(made[i] + made[across], 255, 3) << from.width << " to " << to.width << " at " << i / 4;
      EXPECT_NEAR(made[i + 1], 100, 1);
      EXPECT_NEAR(made[i + 2], 50, 1);
      EXPECT_NEAR(made[i + 3], 255, 1);
    }
  }
}

TEST(RowResampler, LetsNoColourExceedItsAlpha) {
  Buffer rgba;
  for (int i = 0; i < 40 * 40; ++i) {
    const bool opaque = (i % 40 / 4 + i / 160) % 2;
    rgba.insert(rgba.end(), 4, opaque ? 255 : 0);
  }
  const auto result = resample({40, 40}, {23, 23}, rgba);
  for (std::size_t i = 0; i < result.size(); i += 4) EXPECT_LE(result[i], result[i + 3]);
}

std::size_t residentBytes() {
  std::ifstream stream("/proc/self/statm");
  std::size_t total = 0, resident = 0;
  stream >> total >> resident;
  return resident * 4096;
}

TEST(PixelStore, KeepsLargePicturesOutOfMemoryBeyondItsBudget) {
  const TemporaryFolder folder;
  const std::size_t large = std::size_t{8} << 20;
  PixelStore store(folder.file("made when needed"), {.largeFrom = 1 << 20, .memoryBudget = 2 * large});
  [[maybe_unused]] const std::size_t before = residentBytes();
  std::vector<std::shared_ptr<PixelBlock>> blocks;
  for (int i = 0; i < 40; ++i) {
    auto room = store.reserve(large);
    ASSERT_TRUE(std::holds_alternative<std::shared_ptr<PixelBlock>>(room));
    blocks.push_back(std::get<0>(room));
    std::fill_n(blocks.back()->data(), large, static_cast<std::uint8_t>(i + 1));
    blocks.back()->settle();
  }
  EXPECT_EQ(store.inMemory(), 2 * large);
#ifndef __SANITIZE_THREAD__  // which keeps a shadow of every byte in memory
  EXPECT_LT(residentBytes() - before, 5 * large) << "forty pictures, two of them in memory";
#endif
  EXPECT_TRUE(std::filesystem::is_empty(folder.file("made when needed"))) << "the files have no names";
  for (int i = 0; i < 40; ++i) {
    const std::uint8_t* data = blocks[static_cast<std::size_t>(i)]->data();
    EXPECT_EQ(data[0], i + 1);
    EXPECT_EQ(data[large - 1], i + 1);
  }
  blocks.clear();
  EXPECT_EQ(store.inMemory(), 0u);
}

TEST(PixelStore, AFullOrAbsentDiskIsAnErrorOrMemoryAndNeverASignal) {
  const std::size_t large = std::size_t{4} << 20;
  PixelStore lenient("/proc/no folder can be made here", {.largeFrom = 1, .memoryBudget = 0});
  auto room = lenient.reserve(large);
  ASSERT_TRUE(std::holds_alternative<std::shared_ptr<PixelBlock>>(room)) << "from memory instead";
  std::fill_n(std::get<0>(room)->data(), large, std::uint8_t{7});

  PixelStore strict("/proc/no folder can be made here", {.largeFrom = 1, .memoryBudget = 0, .withoutDisk = 0});
  const auto refused = strict.reserve(large);
  ASSERT_TRUE(std::holds_alternative<NSError>(refused));
  EXPECT_EQ(std::get<NSError>(refused).code, PhotoLibraryErrorNoSpace);
  EXPECT_EQ(strict.inMemory(), 0u);
}

std::shared_ptr<const UIImage> thumbnail(std::size_t side) {
  return std::make_shared<const UIImage>(CGImage::create(side, side, Buffer(side * side * 4)));
}

TEST(ThumbnailCache, IsBoundedAndForgetsWhatWasUsedLongestAgo) {
  ThumbnailCache cache(4 * 400, 401);
  const auto key = [](const char* name, double side = 10) { return ThumbnailKey{name, {side, side}}; };
  for (const char* name : {"a", "b", "c", "d"}) cache.insert(key(name), {}, thumbnail(10));
  EXPECT_TRUE(cache.find(key("a"), {}));
  cache.age(key("d"));
  cache.insert(key("e"), {}, thumbnail(10));
  EXPECT_FALSE(cache.find(key("d"), {})) << "aged";
  cache.insert(key("f"), {}, thumbnail(10));
  EXPECT_FALSE(cache.find(key("b"), {})) << "unused for longest";
  EXPECT_TRUE(cache.find(key("a"), {}));
  EXPECT_LE(cache.bytes(), 1600u);

  EXPECT_FALSE(cache.find(key("a", 11), {})) << "another size";
  cache.insert(key("big"), {}, thumbnail(11));
  EXPECT_FALSE(cache.find(key("big"), {})) << "too large to keep";
}

TEST(RequestQueue, ServesTheNewestOfTheMostUrgentLaneFirst) {
  std::vector<std::int64_t> served;  // by the one thread, until it is idle
  std::mutex gate;
  RequestQueue queue(1);
  gate.lock();
  std::atomic<bool> held{false};
  queue.add(RequestQueue::Picture, 1000, [&] {
    held = true;
    const std::lock_guard wait(gate);
  });
  while (!held) std::this_thread::yield();
  const auto add = [&](RequestQueue::Lane lane, const std::vector<std::int64_t>& numbers) {
    for (const std::int64_t number : numbers) queue.add(lane, number, [&, number] { served.push_back(number); });
  };
  add(RequestQueue::Preheat, {1200, 1201});
  add(RequestQueue::Picture, {1100, 1101, 1102});
  add(RequestQueue::Preview, {1090, 900});
  EXPECT_TRUE(queue.remove(RequestQueue::Picture, 1101));
  EXPECT_FALSE(queue.remove(RequestQueue::Picture, 1101));
  gate.unlock();
  queue.waitUntilIdle();
  EXPECT_EQ(served, (std::vector<std::int64_t>{1090, 1102, 1100, 900, 1201, 1200}))
      << "the preview of something scrolled past long ago waits for the pictures of now";
}

TEST(RequestQueue, KeepsAThreadForPreviewsWhileAScreenIsAskingForThem) {
  RequestQueue queue(2, {}, std::chrono::hours(1));
  std::mutex gate;
  std::atomic<int> pictures{0}, previews{0};
  const auto preview = [&](std::int64_t number) { queue.add(RequestQueue::Preview, number, [&] { ++previews; }); };
  const auto picture = [&](std::int64_t number) {
    queue.add(RequestQueue::Picture, number, [&] {
      ++pictures;
      const std::lock_guard wait(gate);
    });
  };
  gate.lock();
  preview(1);
  picture(2);
  picture(3);
  while (pictures == 0) std::this_thread::yield();
  preview(4);
  while (previews < 2) std::this_thread::yield();
  EXPECT_EQ(pictures, 1) << "the other thread is kept";
  gate.unlock();
  queue.waitUntilIdle();
  EXPECT_EQ(pictures, 2);
}

}  // namespace
}  // namespace tlx::photolibrary
