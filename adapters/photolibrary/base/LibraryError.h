#pragma once

#include <string>
#include <utility>

#include "tlx/platform/foundation/NSError.h"

namespace tlx::photolibrary {

inline NSError libraryError(PhotoLibraryErrorCode code, std::string text) {
  return NSError{kPhotoLibraryErrorDomain, code, std::move(text)};
}

/// What a failed open() or read() means to the one who asked for a picture.
NSError fileError(int errnoValue, const std::string& path);

}  // namespace tlx::photolibrary
