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

std::vector<std::string> identifiersOf(AlbumModel& album) {
  std::vector<std::string> found;
  for (std::size_t i = 0; i < album.arrMediaModel()->count(); ++i) {
    found.push_back(album.arrMediaModel()->objectAtIndex(i)->getMediaIdentifier().string());
  }
  return found;
}

TEST(MediaModel, DurationText) {
  struct Row {
    PHAssetMediaType type;
    double duration;
    std::optional<std::string> expected;
    const char* reason;
  };
  const Row rows[] = {
      {PHAssetMediaTypeVideo, 9, "00:09", "two digits each"},
      {PHAssetMediaTypeVideo, 59.9, "00:59", "fractions are dropped, not rounded"},
      {PHAssetMediaTypeVideo, 60, "01:00", "a whole minute"},
      {PHAssetMediaTypeVideo, 3725, "62:05", "minutes do not become hours"},
      {PHAssetMediaTypeVideo, 0, "00:00", "a video that lasts nothing is still a video"},
      {PHAssetMediaTypeVideo, std::nan(""), "00:00", "a file may claim anything"},
      {PHAssetMediaTypeVideo, HUGE_VAL, "153722867280912930:07", "or everything"},
      {PHAssetMediaTypeImage, 9, std::nullopt, "photos have none"},
      {PHAssetMediaTypeAudio, 9, std::nullopt, "nor has any other type"},
      {static_cast<PHAssetMediaType>(7), 9, std::nullopt, "nor one without a name"},
  };
  for (const Row& row : rows) {
    const auto model = MediaModel::initMediaModelWithPHAsset(assetOf("a", row.type, row.duration));
    EXPECT_EQ(model->getVedioDurationString(), row.expected) << row.reason;
  }
}

TEST(MediaModel, TypeAndIdentifierAreItsOwnOnceMade) {
  const auto model = MediaModel::initMediaModelWithPHAsset(assetOf("a", PHAssetMediaTypeVideo, 5));
  model->setMediaAsset(nullptr);
  EXPECT_EQ(model->getMediaType(), PHAssetMediaTypeVideo);
  EXPECT_EQ(model->getMediaIdentifier(), Identifier("a"));
  EXPECT_TRUE(model->hasIdentifier("a"));
  model->setMediaAsset(assetOf("b"));
  EXPECT_FALSE(model->hasIdentifier("b"));
  model->setMediaIdentifier("c");
  EXPECT_TRUE(model->hasIdentifier("c"));
  EXPECT_EQ(model->getMediaIdentifier(), Identifier("c"));
  model->setMediaAsset(nullptr);
  EXPECT_EQ(model->getVedioDurationString(), "00:00") << "the duration is the asset's, and there is none";
}

TEST(Media, ReadsTypeAndIdentifierFromTheAssetEachTime) {
  const auto media = Media::initMediaWithPHAsset(assetOf("a", PHAssetMediaTypeVideo));
  EXPECT_EQ(media->fetchCompletionStatus(), 0);
  EXPECT_EQ(media->getMediaImage(), nullptr);
  EXPECT_EQ(media->getMediaVideoAsset(), nullptr);
  EXPECT_EQ(media->getMediaType(), PHAssetMediaTypeVideo);
  media->setMediaAsset(nullptr);
  EXPECT_EQ(media->getMediaType(), 0);
  EXPECT_EQ(media->getMediaIdentifier(), Identifier());
}

TEST(Media, StoresImagesUprightExceptAtCreation) {
  const auto upright = memory::solidPicture(4, 2, 0x808080);
  const auto turned = memory::solidPicture(4, 2, 0x808080, UIImageOrientationRight);
  EXPECT_EQ(Media::initMediaWithPHAsset_image(assetOf("a"), turned)->getMediaImage(), turned);

  const auto media = Media::initMediaWithPHAsset(assetOf("a"));
  media->setImage(upright);
  EXPECT_EQ(media->getMediaImage(), upright) << "an upright image is stored itself";
  media->setImage(turned);
  ASSERT_NE(media->getMediaImage(), nullptr);
  EXPECT_EQ(media->getMediaImage()->imageOrientation(), UIImageOrientationUp);
  EXPECT_EQ(media->getMediaImage()->size(), (CGSize{2, 4}));
  media->setImage(nullptr);
  EXPECT_EQ(media->getMediaImage(), nullptr);
}

TEST(AlbumModel, HasOneRecordForEachAssetThatIsThere) {
  const auto album = albumOf({assetOf("a"), nullptr, assetOf("b", PHAssetMediaTypeVideo)}, 3);
  EXPECT_THAT(identifiersOf(*album), ::testing::ElementsAre("a", "b"));
  EXPECT_EQ(album->getMediaModelAtIndex(1)->getMediaType(), PHAssetMediaTypeVideo);
  EXPECT_EQ(album->getMediaModelAtIndex(2), nullptr);
  EXPECT_EQ(album->getMediaModelAtIndex(std::numeric_limits<std::uint64_t>::max()), nullptr);
  EXPECT_EQ(album->getMediaCount(), 3) << "as given, not as counted";
  EXPECT_EQ(album->getAssetForThumb()->localIdentifier, Identifier("a"));
}

TEST(AlbumModel, FillingItAgainAppendsASecondCopy) {
  const auto album = albumOf({assetOf("a"), assetOf("b")}, 2);
  const auto first = album->getMediaModelAtIndex(0);
  album->initMediaModels();
  EXPECT_THAT(identifiersOf(*album), ::testing::ElementsAre("a", "b", "a", "b"));
  EXPECT_EQ(album->getMediaModelAtIndex(0), first) << "records that are there do not move";
  EXPECT_NE(album->getMediaModelAtIndex(2), first);
}

TEST(AlbumModel, WithoutAssetsEverythingAnswersNothing) {
  for (const auto& album : {albumOf({}, 0), std::make_shared<AlbumModel>()}) {
    album->initMediaModels();
    EXPECT_EQ(album->getMediaModelAtIndex(0), nullptr);
    EXPECT_EQ(album->getAssetForThumb(), nullptr);
    ASSERT_NE(album->arrMediaModel(), nullptr);
    EXPECT_EQ(album->arrMediaModel()->count(), 0u);
  }
}

TEST(AlbumModel, ARecordOutlivesItsAlbum) {
  auto asset = assetOf("a");
  const std::weak_ptr<const PHAsset> watched = asset;
  auto album = albumOf({assetOf("b"), std::move(asset)}, 2);
  auto model = album->getMediaModelAtIndex(1);
  album.reset();
  EXPECT_EQ(model->getMediaIdentifier(), Identifier("a"));
  EXPECT_FALSE(watched.expired());
  model.reset();
  EXPECT_TRUE(watched.expired()) << "the block went with its last record";
}

}  // namespace
}  // namespace tlx
