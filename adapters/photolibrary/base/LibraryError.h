#pragma once

#include <string>
#include <utility>

#include "tlx/platform/foundation/NSError.h"

namespace tlx::photolibrary {

inline NSError libraryError(PhotoLibraryErrorCode code, std::string text) {
  return NSError{kPhotoLibraryErrorDomain, code, std::move(text)};
}

/// The same failure, of the file of that name.
inline NSError named(NSError error, const std::string& path) {
  error.localizedDescription = path + ": " + error.localizedDescription;
  return error;
}

/// What a failed open() or read() means to the one who asked for a picture.
NSError fileError(int errnoValue, const std::string& path);

}  // namespace tlx::photolibrary
