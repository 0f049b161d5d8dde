// The records of a large library: building them, what they weigh, and marking one item among a million.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tlx/library/AlbumModel.h"

#include "bench/SideBySide.h"

namespace {

using namespace tlx;
using Assets = std::shared_ptr<const PHFetchResult<PHAsset>>;
using PlainRecord = std::array<std::uint64_t, sizeof(MediaModel) / sizeof(std::uint64_t)>;

std::string nameOf(std::size_t index) {
  return "0123456789abcdef-" + std::to_string(index) + "/L0/001";
}

/// A library that makes every asset and every identifier by itself.
Assets scatteredAssets(std::size_t count) {
  std::vector<std::shared_ptr<const PHAsset>> assets;
  assets.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    assets.push_back(std::make_shared<PHAsset>(PHAsset{PHAssetMediaTypeImage, nameOf(i), 0, 0}));
  }
  return std::make_shared<PHFetchResult<PHAsset>>(std::move(assets));
}

/// A library that keeps assets and texts in blocks, as one would for a million.
Assets blockedAssets(std::size_t count) {
  auto texts = std::make_shared<std::vector<std::string>>();
  auto block = std::make_shared<std::vector<PHAsset>>();
  texts->reserve(count);
  block->reserve(count);
  std::vector<std::shared_ptr<const PHAsset>> assets;
  assets.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    texts->push_back(nameOf(i));
    block->push_back(
        {PHAssetMediaTypeImage, Identifier(std::shared_ptr<const std::string>(texts, &texts->back())), 0, 0});
    assets.push_back({block, &block->back()});
  }
  return std::make_shared<PHFetchResult<PHAsset>>(std::move(assets));
}

bool building(const char* name, const Assets& assets) {
  return bench::sideBySide(
      name, 3, 15,
      [&] {
        std::shared_ptr<AlbumModel> album;
        const double seconds = bench::secondsOf([&] {
          album = AlbumModel::initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount(
              "album", assets, "Album", static_cast<std::int64_t>(assets->count()));
        });
        bench::keep(album.get());
        return seconds;
      },
      [&] {
        std::vector<PlainRecord> plain;
        const double seconds = bench::secondsOf([&] {
          plain.reserve(assets->count());
          for (std::uint64_t i = 0; i < assets->count(); ++i) plain.push_back({i, i, i, i, i, 0});
        });
        bench::keep(plain.data());
        return seconds;
      });
}

bool marking(const Assets& assets) {
  const auto album = AlbumModel::initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount(
      "album", assets, "Album", static_cast<std::int64_t>(assets->count()));
  const Identifier tapped = nameOf(assets->count() / 2);
  std::vector<PlainRecord> plain(assets->count());
  bool selected = false;
  return bench::sideBySide(
      "marking pass over 1,000,000 records", 1.5, 25,
      [&] {
        selected = !selected;
        return bench::secondsOf([&] {
          album->visitMediaModels([&](MediaModel& model) {
            if (model.hasIdentifier(tapped)) model.setIsMediaSelected(selected);
            return true;
          });
        });
      },
      [&] {
        return bench::secondsOf([&] {
          std::uint64_t sum = 0;
          for (const PlainRecord& record : plain) {
            for (const std::uint64_t word : record) sum += word;
          }
          bench::keep(&sum);
        });
      });
}

}  // namespace

int main() {
  bench::becomeMultithreaded();
  std::printf("%-44s %zu bytes  budget 64\n", "one record", sizeof(MediaModel));
  const Assets scattered = scatteredAssets(1'000'000);
  const Assets blocked = blockedAssets(1'000'000);
  bool kept = building("building 1,000,000 records, assets apart", scattered);
  kept &= building("building 1,000,000 records, assets in blocks", blocked);
  kept &= marking(scattered);
  return kept ? 0 : 1;
}
