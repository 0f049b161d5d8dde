#include "tlx/library/Media.h"

#include "tlx/views/UIImage+BundleInfo.h"

namespace tlx {

std::shared_ptr<Media> Media::initMediaWithPHAsset_image(std::shared_ptr<const PHAsset> asset,
                                                         std::shared_ptr<const UIImage> image) {
  auto media = initMediaWithPHAsset(std::move(asset));
  media->setImageMain(std::move(image));
  return media;
}

std::shared_ptr<Media> Media::initMediaWithPHAsset_Video(std::shared_ptr<const PHAsset> asset,
                                                         std::shared_ptr<const AVAsset> video) {
  auto media = initMediaWithPHAsset(std::move(asset));
  media->setAvVideoAsset(std::move(video));
  return media;
}

std::shared_ptr<Media> Media::initMediaWithPHAsset(std::shared_ptr<const PHAsset> asset) {
  auto media = std::make_shared<Media>();
  media->setMediaAsset(std::move(asset));
  return media;
}

PHAssetMediaType Media::getMediaType() const {
  return mediaAsset_ ? mediaAsset_->mediaType : PHAssetMediaTypeUnknown;
}

const Identifier& Media::getMediaIdentifier() const {
  static const Identifier absent;
  return mediaAsset_ ? mediaAsset_->localIdentifier : absent;
}

void Media::setImage(std::shared_ptr<const UIImage> image) {
  const bool upright = !image || image->imageOrientation() == UIImageOrientationUp;
  setImageMain(upright ? std::move(image) : scaleAndRotate(image));
}

}  // namespace tlx
