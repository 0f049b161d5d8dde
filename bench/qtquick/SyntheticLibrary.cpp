#include "SyntheticLibrary.h"

#include <cstdio>

namespace tlx::bench {

SyntheticLibrary::SyntheticLibrary(std::size_t count) {
  auto block = std::make_shared<std::vector<PHAsset>>(count);
  std::vector<PHFetchResult<PHAsset>::Element> elements;
  elements.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    PHAsset& asset = (*block)[i];
    asset.mediaType = i % 8 == 3 ? PHAssetMediaTypeVideo : PHAssetMediaTypeImage;
    asset.localIdentifier = Identifier(std::to_string(i));
    asset.duration = asset.mediaType == PHAssetMediaTypeVideo ? static_cast<double>(i % 600) : 0;
    asset.creationDate = 1.7e9 - 60.0 * static_cast<double>(i);
    elements.emplace_back(block, &asset);
  }
  assets_ = std::make_shared<PHFetchResult<PHAsset>>(std::move(elements));
}

std::shared_ptr<const PHFetchResult<PHAssetCollection>> SyntheticLibrary::fetchAssetCollections(
    PHAssetCollectionType type, PHAssetCollectionSubtype) {
  std::vector<PHFetchResult<PHAssetCollection>::Element> found;
  if (type == PHAssetCollectionTypeSmartAlbum) {
    found.push_back(std::make_shared<PHAssetCollection>(
        PHAssetCollection{PHAssetCollectionTypeSmartAlbum, Identifier("roll"), "Camera Roll"}));
  } else {
    for (const char* name : {"Iceland", "Garden", "City Nights"}) {
      found.push_back(
          std::make_shared<PHAssetCollection>(PHAssetCollection{PHAssetCollectionTypeAlbum, Identifier(name), name}));
    }
  }
  return std::make_shared<PHFetchResult<PHAssetCollection>>(std::move(found));
}

std::vector<std::shared_ptr<const UIImage>> makePictures(int count) {
  constexpr int side = 130;
  std::vector<std::shared_ptr<const UIImage>> pictures;
  for (int i = 0; i < count; ++i) {
    const int hue = i * 7 % 255;
    std::vector<std::uint8_t> pixels;
    pixels.reserve(side * side * 4);
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        for (const int value : {hue, (x + i) % 256, 255 - y, 255}) pixels.push_back(static_cast<std::uint8_t>(value));
      }
    }
    pictures.push_back(std::make_shared<UIImage>(CGImage::create(side, side, std::move(pixels))));
  }
  return pictures;
}

PHImageRequestID ReadyImages::requestImage(const std::shared_ptr<const PHAsset>& asset, CGSize, PHImageContentMode,
                                           const PHImageRequestOptions&, PHImageResultHandler handler) {
  const std::size_t index = asset ? asset->localIdentifier.hash() % pictures_.size() : 0;
  handler(pictures_[index], {});
  return ++last_;
}

void StderrLog::log(const std::string& line) {
  std::fprintf(stderr, "%s\n", line.c_str());
}

void StderrLog::assertionFailed(const std::string& function, const std::string& file, int line,
                                const std::string& description) {
  std::fprintf(stderr, "%s:%d: %s: %s\n", file.c_str(), line, function.c_str(), description.c_str());
}

}  // namespace tlx::bench
