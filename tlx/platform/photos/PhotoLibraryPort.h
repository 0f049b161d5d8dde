#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "tlx/platform/foundation/NSError.h"
#include "tlx/platform/photos/PHAsset.h"
#include "tlx/platform/photos/PHAssetChangeRequest.h"
#include "tlx/platform/photos/PHAssetCollection.h"
#include "tlx/platform/photos/PHChange.h"
#include "tlx/platform/photos/PHFetchOptions.h"
#include "tlx/platform/photos/PHFetchResult.h"

namespace tlx {

/// May hold a value without a name; only authorized counts as access.
enum PHAuthorizationStatus : std::int64_t {
  PHAuthorizationStatusNotDetermined = 0,
  PHAuthorizationStatusRestricted = 1,
  PHAuthorizationStatusDenied = 2,
  PHAuthorizationStatusAuthorized = 3,
};

/// The photo library below the picker: access, albums, their items, and word of changes.
///
/// Fetches are called on the main thread and answer before they return, from what the library holds in memory: they
/// never wait for a disk or a network. Without access, and for a collection that no longer exists, they answer an empty
/// result, never nothing.
class PhotoLibraryPort {
 public:
  using AuthorizationHandler = std::function<void(PHAuthorizationStatus)>;
  using ChangeHandler = std::function<void(std::shared_ptr<const PHChange>)>;

  using ChangesHandler = std::function<void(bool success, const std::optional<NSError>& error)>;

  virtual ~PhotoLibraryPort() = default;

  /// Main thread.
  virtual PHAuthorizationStatus authorizationStatus() const = 0;
  /// Main thread. Asks the person at most once; answers exactly once, on a thread of the library's, with the status at
  /// that time. When the person decided before, answers without asking.
  virtual void requestAuthorization(AuthorizationHandler handler) = 0;

  /// All albums of the type in the library's own order, which is stable between changes. `subtype` Regular for smart
  /// albums and Any for the person's own both mean all of that type.
  virtual std::shared_ptr<const PHFetchResult<PHAssetCollection>> fetchAssetCollections(
      PHAssetCollectionType type, PHAssetCollectionSubtype subtype) = 0;
  /// The album's items that the options keep, in their order. The same question between two changes gives the same
  /// object.
  virtual std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssets(const PHAssetCollection& collection,
                                                                    const PHFetchOptions& options) = 0;
  /// The items with these identifiers, in the order given; unknown ones are left out.
  virtual std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssetsWithLocalIdentifiers(
      const std::vector<Identifier>& identifiers) = 0;

  /// Main thread. One handler; nothing ends it. It is called on a thread of the library's, holding no lock of the
  /// library's, one change after the other; when it is called, fetches on the main thread may already see the change.
  /// A change between the last fetch and this call is told to the new handler, since nobody heard of it; what a fetch
  /// has seen already is not.
  /// After a call that replaced or ended it has returned, the old handler is not running and is not called again.
  ///
  /// Access that is granted or taken away elsewhere, as on a settings page, is a change too, told after the answers to
  /// requests that were waiting. What was fetched with access has details of it when access goes: nothing is left.
  virtual void setChangeHandler(ChangeHandler handler) = 0;

  /// Main thread; returns at once. Makes the assets, all or none, without touching what is there, and answers once, on
  /// any thread. On success fetches on the main thread find them by their placeholders' identifiers from then on.
  ///
  /// Word of the change, and of whatever else happens meanwhile, comes when whoever saved has their items in hand:
  /// after the completion has returned, and so behind what it posts to the main queue; and, where the library itself
  /// makes the pictures, after the requests for a new photo's picture have been answered and their handlers have
  /// returned. A photo that nobody asks for keeps it waiting for a bounded time only.
  ///
  /// A request without an image or a video fails. This one answers within the call: a library that takes nothing in.
  // NOLINTNEXTLINE(performance-unnecessary-value-param): overriders keep them
  virtual void performChanges(std::vector<PHAssetCreation> creations, ChangesHandler completion) {
    completion(false, NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorUnsupported, "The library takes nothing in."});
  }
};

}  // namespace tlx
