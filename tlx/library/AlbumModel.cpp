#include "tlx/library/AlbumModel.h"

namespace tlx {

std::shared_ptr<AlbumModel> AlbumModel::initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount(
    Identifier identifier, Assets assetCollection, std::string albumName, std::int64_t mediaCount) {
  auto album = std::make_shared<AlbumModel>();
  album->setAssetCollection(std::move(assetCollection));
  album->setStrAlbumName(std::move(albumName));
  album->setIMediaCount(mediaCount);
  album->setIsSelected(false);
  album->setLocalIdentifier(std::move(identifier));
  album->initMediaModels();
  return album;
}

void AlbumModel::initMediaModels() {
  if (assetCollection_) arrMediaModel()->addObjectsForAssets(*assetCollection_);
}

std::shared_ptr<MediaModel> AlbumModel::getMediaModelAtIndex(std::uint64_t index) const {
  return arrMediaModel_ ? arrMediaModel_->objectAtIndex(index) : nullptr;
}

std::shared_ptr<const PHAsset> AlbumModel::getAssetForThumb() const {
  return assetCollection_ ? assetCollection_->firstObject() : nullptr;
}

const std::shared_ptr<MediaModelArray>& AlbumModel::arrMediaModel() {
  if (!arrMediaModel_) arrMediaModel_ = std::make_shared<MediaModelArray>();
  return arrMediaModel_;
}

}  // namespace tlx
