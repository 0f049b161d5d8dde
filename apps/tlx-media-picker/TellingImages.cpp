#include "apps/tlx-media-picker/TellingImages.h"

#include <utility>

namespace tlx::program {

TellingImages::TellingImages(ImageManagerPort& images, Tell tell)
    : images_(images), tell_(std::make_shared<const Tell>(std::move(tell))) {}

PHImageRequestID TellingImages::requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize targetSize,
                                             PHImageContentMode contentMode, const PHImageRequestOptions& options,
                                             PHImageResultHandler handler) {
  // A thumbnail that cannot be made shows in the grid; only why a picked item does not come is told.
  const bool picked =
      options.networkAccessAllowed && options.deliveryMode == PHImageRequestOptionsDeliveryModeHighQualityFormat;
  if (!picked || !asset) return images_.requestImage(asset, targetSize, contentMode, options, std::move(handler));
  return images_.requestImage(asset, targetSize, contentMode, options,
                              [asset, tell = tell_, handler = std::move(handler)](
                                  const std::shared_ptr<const UIImage>& image, const PHImageInfo& info) {
                                if (!image && info.PHImageErrorKey) (*tell)(*asset, false, *info.PHImageErrorKey);
                                if (handler) handler(image, info);
                              });
}

PHImageRequestID TellingImages::requestAVAsset(const std::shared_ptr<const PHAsset>& asset,
                                               const PHVideoRequestOptions& options, PHVideoResultHandler handler) {
  if (!asset) return images_.requestAVAsset(asset, options, std::move(handler));
  return images_.requestAVAsset(asset, options,
                                [asset, tell = tell_, handler = std::move(handler)](
                                    const std::shared_ptr<const AVAsset>& video,
                                    const std::shared_ptr<const AVAudioMix>& mix, const PHImageInfo& info) {
                                  if (!video && info.PHImageErrorKey) (*tell)(*asset, true, *info.PHImageErrorKey);
                                  if (handler) handler(video, mix, info);
                                });
}

std::string fetchFailure(const std::string& place, bool video, const NSError& cause) {
  const bool unusable = video && cause.domain != kCloudPhotoLibraryErrorDomain;
  std::string why = cause.localizedDescription;
  if (why.starts_with(place + ": ")) why.erase(0, place.size() + 2);
  return place + (unusable ? ": not a usable video: " : ": could not be fetched: ") + why;
}

}  // namespace tlx::program
