#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "tlx/platform/photos/PhotoLibraryPort.h"

namespace tlx {

/// Hears of library changes, on a thread of the library's. The answer may only post: the library waits for it when an
/// observer is taken out.
class PHPhotoLibraryChangeObserver {
 public:
  virtual ~PHPhotoLibraryChangeObserver() = default;
  virtual void photoLibraryDidChange(const std::shared_ptr<const PHChange>& change) = 0;
};

/// The person's photo library, as the picker sees it.
class PHPhotoLibrary {
 public:
  /// The one library of the installed platform.
  static std::shared_ptr<PHPhotoLibrary> sharedPhotoLibrary();

  static PHAuthorizationStatus authorizationStatus();
  static void requestAuthorization(PhotoLibraryPort::AuthorizationHandler handler);

  static std::shared_ptr<const PHFetchResult<PHAssetCollection>> fetchAssetCollectionsWithType_subtype_options(
      PHAssetCollectionType type, PHAssetCollectionSubtype subtype);
  static std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssetsInAssetCollection_options(
      const PHAssetCollection& collection, const PHFetchOptions& options);
  static std::shared_ptr<const PHFetchResult<PHAsset>> fetchAssetsWithLocalIdentifiers_options(
      const std::vector<Identifier>& identifiers);

  PHPhotoLibrary();
  ~PHPhotoLibrary();
  PHPhotoLibrary(const PHPhotoLibrary&) = delete;
  PHPhotoLibrary& operator=(const PHPhotoLibrary&) = delete;

  /// Main thread. The block runs within the call and says by `PHAssetChangeRequest` what is to be done; that is done
  /// afterwards, as a whole or not at all. The completion is called once, on any thread.
  void performChanges_completionHandler(const std::function<void()>& changes,
                                        PhotoLibraryPort::ChangesHandler completion);

  /// Main thread. The observer is not retained: it unregisters at the latest in its destructor. Registering twice hears
  /// once.
  void registerChangeObserver(PHPhotoLibraryChangeObserver& observer);
  /// Main thread. After it has returned, the observer is not being called and will not be.
  void unregisterChangeObserver(PHPhotoLibraryChangeObserver& observer);
  /// Any thread. The change that the library told of last, whether or not anybody heard; nothing before the first. Who
  /// fetches before registering learns by it whether something was told between the two.
  std::shared_ptr<const PHChange> newestChange() const;

 private:
  void deliver(const std::shared_ptr<const PHChange>& change);

  mutable std::recursive_mutex mutex_;                    // recursive: an observer may take itself out while it is told
  std::vector<PHPhotoLibraryChangeObserver*> observers_;  // unretained: each takes itself out before it dies
  std::shared_ptr<const PHChange> newestChange_;
};

}  // namespace tlx
