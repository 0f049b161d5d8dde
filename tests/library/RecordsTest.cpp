#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "tlx/library/AlbumModel.h"
#include "tlx/library/Media.h"

#include "adapters/memory/Pictures.h"

namespace tlx {
namespace {

std::shared_ptr<const PHAsset> assetOf(const char* identifier, PHAssetMediaType type = PHAssetMediaTypeImage,
                                       double duration = 0) {
  return std::make_shared<const PHAsset>(PHAsset{type, identifier, duration, 0});
}

std::shared_ptr<AlbumModel> albumOf(std::vector<std::shared_ptr<const PHAsset>> assets, std::int64_t count) {
  return AlbumModel::initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount(
      "album", std::make_shared<const PHFetchResult<PHAsset>>(std::move(assets)), "Album", count);
}

TEST(MediaModel, DurationText) {
  struct Row {
    PHAssetMediaType type;
    double duration;
    std::optional<std::string> expected;
    const char* reason;
  };
  const Row rows[] = {
      {PHAssetMediaTypeVideo, 59.9, "00:59", "two digits each; fractions are dropped, not rounded"},
      {PHAssetMediaTypeVideo, 3725, "62:05", "minutes do not become hours"},
      {PHAssetMediaTypeVideo, 0, "00:00", "a video that lasts nothing is still a video"},
      {PHAssetMediaTypeVideo, std::nan(""), "00:00", "a file may claim anything"},
      {PHAssetMediaTypeVideo, HUGE_VAL, "153722867280912930:07", "or everything"},
      {PHAssetMediaTypeImage, 9, std::nullopt, "photos have none"},
      {static_cast<PHAssetMediaType>(7), 9, std::nullopt, "nor has a type without a name"},
  };
  for (const Row& row : rows) {
    const auto model = MediaModel::initMediaModelWithPHAsset(assetOf("a", row.type, row.duration));
    EXPECT_EQ(model->getVedioDurationString(), row.expected) << row.reason;
  }
}

TEST(Media, StoresImagesUprightExceptAtCreation) {
  const auto upright = memory::solidPicture(4, 2, 0x808080);
  const auto turned = memory::solidPicture(4, 2, 0x808080, UIImageOrientationRight);
  EXPECT_EQ(Media::initMediaWithPHAsset_image(assetOf("a"), turned)->getMediaImage(), turned);
  const auto media = Media::initMediaWithPHAsset(assetOf("a"));
  media->setImage(upright);
  EXPECT_EQ(media->getMediaImage(), upright) << "an upright image is stored itself";
  media->setImage(turned);
  ASSERT_TRUE(media->getMediaImage());
  EXPECT_EQ(media->getMediaImage()->imageOrientation(), UIImageOrientationUp);
  EXPECT_EQ(media->getMediaImage()->size(), (CGSize{2, 4}));
  media->setImage(nullptr);
  EXPECT_FALSE(media->getMediaImage());
}

TEST(AlbumModel, HasOneRecordForEachAssetThatIsThereAndAnotherWhenFilledAgain) {
  const auto album = albumOf({assetOf("a"), nullptr, assetOf("b", PHAssetMediaTypeVideo)}, 3);
  const auto identifiers = [&] {
    std::vector<std::string> found;
    for (std::uint64_t i = 0; const auto model = album->getMediaModelAtIndex(i); ++i) {
      found.push_back(model->getMediaIdentifier().string());
    }
    return found;
  };
  EXPECT_THAT(identifiers(), testing::ElementsAre("a", "b"));
  EXPECT_FALSE(album->getMediaModelAtIndex(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_EQ(album->getMediaCount(), 3) << "as given, not as counted";
  EXPECT_EQ(album->getAssetForThumb()->localIdentifier, Identifier("a"));
  const auto first = album->getMediaModelAtIndex(0);
  album->initMediaModels();
  EXPECT_THAT(identifiers(), testing::ElementsAre("a", "b", "a", "b"));
  EXPECT_EQ(album->getMediaModelAtIndex(0), first) << "records that are there do not move";
}

}  // namespace
}  // namespace tlx
