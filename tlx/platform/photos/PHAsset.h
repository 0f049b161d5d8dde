#pragma once

#include <cstdint>
#include <memory>

#include "tlx/platform/foundation/Identifier.h"

namespace tlx {

/// May hold a value without a name.
enum PHAssetMediaType : std::int64_t {
  PHAssetMediaTypeUnknown = 0,
  PHAssetMediaTypeImage = 1,
  PHAssetMediaTypeVideo = 2,
  PHAssetMediaTypeAudio = 3,
};

/// One photo or video of the library. Immutable, so that it may be read on any thread; a library that learns something
/// new about an item makes a new asset with the same identifier. Several of its kind usually share one block of memory.
struct PHAsset {
  PHAssetMediaType mediaType = PHAssetMediaTypeUnknown;
  Identifier localIdentifier;
  double duration = 0;      ///< seconds; 0 for a photo
  double creationDate = 0;  ///< seconds since 1970-01-01 00:00 UTC
};

}  // namespace tlx
