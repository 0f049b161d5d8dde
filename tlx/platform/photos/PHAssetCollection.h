#pragma once

#include <cstdint>
#include <string>

#include "tlx/platform/foundation/Identifier.h"

namespace tlx {

enum PHAssetCollectionType : std::int64_t {
  PHAssetCollectionTypeAlbum = 1,       ///< made by the person: one for each folder that directly holds items
  PHAssetCollectionTypeSmartAlbum = 2,  ///< kept by the library itself
};

enum PHAssetCollectionSubtype : std::int64_t {
  PHAssetCollectionSubtypeAlbumRegular = 2,
  PHAssetCollectionSubtypeAny = 0x7FFFFFFFFFFFFFFF,
};

/// An album of the library: its name and identity, not its items. Immutable.
struct PHAssetCollection {
  PHAssetCollectionType assetCollectionType = PHAssetCollectionTypeAlbum;
  Identifier localIdentifier;
  std::string localizedTitle;  ///< UTF-8
};

}  // namespace tlx
