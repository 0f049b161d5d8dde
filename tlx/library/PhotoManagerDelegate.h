#pragma once

#include <memory>

#include "tlx/platform/photos/PHChange.h"

namespace tlx {

/// Hears what a `PhotoManager` finds out. Main thread. It may hear the first messages before the factory that makes the
/// manager has returned.
class PhotoManagerDelegate {
 public:
  virtual ~PhotoManagerDelegate() = default;

  /// The person has not decided yet and is about to be asked.
  virtual void firstTimeAuthorization() = 0;
  /// Once for every `setPhotoMediaType`; when true, before the albums are fetched.
  virtual void userAuthorized(bool authorized) = 0;
  /// The end of every album fetch: no album, or at least one.
  virtual void showEmptyMediaWarning() = 0;
  virtual void hideEmptyMediaWarning() = 0;
  /// All records were built anew because of `change`.
  virtual void photoLibraryChanged(const std::shared_ptr<const PHChange>& change) = 0;
};

}  // namespace tlx
