#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "tlx/platform/foundation/NSError.h"

namespace tlx::photolibrary {

/// Codes of `kCloudPhotoLibraryErrorDomain`.
enum CloudErrorCode : std::int64_t {
  CloudErrorOffline = 1,            ///< this machine has no network, or none that leads to the server
  CloudErrorNameNotResolved = 2,    ///< nobody knows the server's name
  CloudErrorRefused = 3,            ///< nothing listens there
  CloudErrorTimedOut = 4,           ///< the server stopped answering
  CloudErrorCertificate = 5,        ///< it could not prove who it is
  CloudErrorCancelled = 6,          ///< the number that local items have for it too
  CloudErrorNotFound = 7,           ///< it no longer has the item
  CloudErrorServer = 8,             ///< it failed, or does not keep to its protocol
  CloudErrorChanged = 9,            ///< what it has there is not what it had listed
  CloudErrorDiskFull = 10,          ///< there is no room for the original on this machine
  CloudErrorWrongCredentials = 11,  ///< it wants other credentials
  CloudErrorConnectionLost = 12,    ///< it went away in the middle of an answer
  CloudErrorForbidden = 13,         ///< it knows who we are and gives no access
};

inline NSError cloudError(CloudErrorCode code, std::string text) {
  return {kCloudPhotoLibraryErrorDomain, code, std::move(text)};
}

}  // namespace tlx::photolibrary
