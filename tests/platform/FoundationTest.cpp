#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tlx/platform/NSException.h"
#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/foundation/NSTimer.h"
#include "tlx/platform/photos/PHAssetChangeRequest.h"
#include "tlx/platform/photos/PHImageManager.h"
#include "tlx/platform/photos/PHPhotoLibrary.h"

#include "adapters/memory/MemoryPlatform.h"

namespace tlx {
namespace {

TEST(NSTimer, EndsWithItsTargetOrItsLastReference) {
  class Target {
   public:
    void fire() { ++fired; }
    int fired = 0;
  };
  memory::MemoryPlatform platform;
  auto target = std::make_shared<Target>();
  const auto start = [&](bool repeats) {
    return NSTimer::scheduledTimerWithTimeInterval_target_selector_repeats(1, target, &Target::fire, repeats);
  };
  auto once = start(false), again = start(true), left = start(true);
  left.reset();
  platform.advance(2.5);
  EXPECT_EQ(target->fired, 3);
  EXPECT_FALSE(once->isValid());
  EXPECT_TRUE(again->isValid());
  target.reset();
  platform.advance(1);
  EXPECT_FALSE(again->isValid());
}

TEST(Identifier, AbsentAndEmptyAreOne) {
  EXPECT_EQ(Identifier(), Identifier(""));
  EXPECT_EQ(Identifier(std::shared_ptr<const std::string>()), Identifier());
  EXPECT_FALSE(Identifier() == Identifier("a"));
}

TEST(PHPhotoLibrary, TellsEachObserverOnceAndNoneThatHasGoneMeanwhile) {
  class Observer : public PHPhotoLibraryChangeObserver {
   public:
    void photoLibraryDidChange(const std::shared_ptr<const PHChange>&) override {
      ++heard;
      if (other) PHPhotoLibrary::sharedPhotoLibrary()->unregisterChangeObserver(*other);
    }
    int heard = 0;
    Observer* other = nullptr;
  } one, two;
  memory::MemoryPlatform platform;
  const auto library = PHPhotoLibrary::sharedPhotoLibrary();
  for (int i = 0; i < 2; ++i) library->registerChangeObserver(one);
  library->registerChangeObserver(two);
  one.other = &two;
  platform.library.change([](memory::LibraryContents& contents) { contents.addSmartAlbum("A", {}); });
  platform.runUntilIdle();
  EXPECT_EQ(one.heard, 1);
  EXPECT_EQ(two.heard, 0);
}

TEST(PHCachingImageManager, LetsGoOfWhatItPreheatedAsItGoes) {
  memory::MemoryPlatform platform;
  { PHCachingImageManager manager; }
  ASSERT_EQ(platform.images.cachingCalls().size(), 1u);
  EXPECT_EQ(platform.images.cachingCalls()[0].kind, memory::MemoryImageManager::CachingCall::StopAll);
}

TEST(PHAssetChangeRequest, IsMadeInAChangeBlockAloneHoweverThatEnds) {
  const auto ask = [] { PHAssetChangeRequest::creationRequestForAssetFromImage(nullptr); };
  EXPECT_EQ(PHAssetChangeRequest::collect(ask).size(), 1u);
  EXPECT_THROW(ask(), NSException);
  EXPECT_THROW(PHAssetChangeRequest::collect([] { throw std::runtime_error("in the middle"); }), std::runtime_error);
  EXPECT_THROW(ask(), NSException);
}

}  // namespace
}  // namespace tlx
