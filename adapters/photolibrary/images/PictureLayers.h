#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "tlx/platform/uikit/UIImage.h"

#include "adapters/photolibrary/images/FilePictures.h"
#include "adapters/photolibrary/images/cache/SharedThumbnails.h"
#include "adapters/photolibrary/images/cache/ThumbnailCache.h"
#include "adapters/photolibrary/images/pixels/PixelStore.h"
#include "adapters/photolibrary/source/ItemStore.h"

namespace tlx::photolibrary {

/// Items' pictures, from the cheapest place that has them: memory, the desktop's shared thumbnails, the picture inside
/// a photo's file, and decoding. What is small is remembered in memory wherever it came from. Any thread.
class PictureLayers {
 public:
  struct Wanted {
    ThumbnailKey key;
    bool thumbnail = false;  ///< to be looked at in a cell, and so need not be made of the original itself
    std::stop_token stop = {};
    bool atOnce = false;  ///< somebody stands still meanwhile: nothing that a file could make slow
  };
  /// A picture, or why there is none, or neither.
  struct Found {
    std::shared_ptr<const UIImage> image;
    std::optional<NSError> error;
    bool isFinal = true;  ///< as good as what decoding the original would give at this size

    explicit operator bool() const { return image || error; }
  };

  /// `items`, `decoders` and `pixels` outlive the object.
  PictureLayers(ItemStore& items, DecodersPort& decoders, PixelStore& pixels, std::size_t memory,
                std::size_t largestInMemory, SharedThumbnails::Settings shared);

  std::shared_ptr<const UIImage> inMemory(const ThumbnailKey& key);
  /// What needs no decoding of the original. `onlyFinal` leaves out what would have to be replaced by something better.
  Found atHand(const Wanted& wanted, bool onlyFinal);
  /// What stands for an original that is elsewhere.
  Found fromPreview(const Wanted& wanted, const Preview& preview);
  /// By decoding the original at that path. `record` is what is to be written to the shared thumbnails of it, later.
  Found decode(const Wanted& wanted, const std::string& path, std::optional<SharedThumbnails::Record>& record);

  ThumbnailCache& memory() { return memory_; }
  const ThumbnailCache& memory() const { return memory_; }
  SharedThumbnails& shared() { return shared_; }

 private:
  Found embedded(const Wanted& wanted, const ItemLocation& item, bool onlyFinal);
  Found keep(const Wanted& wanted, const ItemLocation& item, std::shared_ptr<const CGImage> bitmap);

  ItemStore& items_;    // unretained: outlives the object by contract
  PixelStore& pixels_;  // unretained: outlives the object by contract
  FilePictures files_;
  ThumbnailCache memory_;
  SharedThumbnails shared_;
};

}  // namespace tlx::photolibrary
