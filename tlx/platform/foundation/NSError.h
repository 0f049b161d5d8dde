#pragma once

#include <cstdint>
#include <string>

namespace tlx {

/// A platform failure as a value. `domain` groups codes (for example "CloudPhotoLibraryErrorDomain"), `code` is stable
/// within its domain, `localizedDescription` is one English sentence for a log, without credentials.
struct NSError {
  std::string domain;
  std::int64_t code = 0;
  std::string localizedDescription;

  friend bool operator==(const NSError&, const NSError&) = default;
};

/// Domain of failures of items whose original lies on a server.
inline constexpr char kCloudPhotoLibraryErrorDomain[] = "CloudPhotoLibraryErrorDomain";
/// Domain of failures of items on this machine's disks.
inline constexpr char kPhotoLibraryErrorDomain[] = "PhotoLibraryErrorDomain";

/// Codes of `kPhotoLibraryErrorDomain`.
enum PhotoLibraryErrorCode : std::int64_t {
  PhotoLibraryErrorNotFound = 1,           ///< the item or its file is gone
  PhotoLibraryErrorUnreadable = 2,         ///< the file may not be read
  PhotoLibraryErrorDamaged = 3,            ///< truncated, or its contents contradict its header
  PhotoLibraryErrorUnsupported = 4,        ///< no decoder for it, or it holds no video track
  PhotoLibraryErrorTooLarge = 5,           ///< more pixels than the library is willing to decode
  PhotoLibraryErrorCancelled = 6,          ///< the request was cancelled
  PhotoLibraryErrorNoSpace = 7,            ///< a disk is full
  PhotoLibraryErrorNetworkNotAllowed = 8,  ///< the original is elsewhere and the request forbids the network
};

}  // namespace tlx
