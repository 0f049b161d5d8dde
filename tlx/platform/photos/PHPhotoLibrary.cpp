#include "tlx/platform/photos/PHPhotoLibrary.h"

#include <algorithm>
#include <utility>

#include "tlx/platform/Platform.h"

namespace tlx {
namespace {

PhotoLibraryPort& port() {
  return Platform::current().ports().photoLibrary;
}

}  // namespace

std::shared_ptr<PHPhotoLibrary> PHPhotoLibrary::sharedPhotoLibrary() {
  return Platform::current().once<PHPhotoLibrary>([] { return std::make_shared<PHPhotoLibrary>(); });
}

PHAuthorizationStatus PHPhotoLibrary::authorizationStatus() {
  return port().authorizationStatus();
}

void PHPhotoLibrary::requestAuthorization(PhotoLibraryPort::AuthorizationHandler handler) {
  port().requestAuthorization(std::move(handler));
}

std::shared_ptr<const PHFetchResult<PHAssetCollection>> PHPhotoLibrary::fetchAssetCollectionsWithType_subtype_options(
    PHAssetCollectionType type, PHAssetCollectionSubtype subtype) {
  return port().fetchAssetCollections(type, subtype);
}

std::shared_ptr<const PHFetchResult<PHAsset>> PHPhotoLibrary::fetchAssetsInAssetCollection_options(
    const PHAssetCollection& collection, const PHFetchOptions& options) {
  return port().fetchAssets(collection, options);
}

std::shared_ptr<const PHFetchResult<PHAsset>> PHPhotoLibrary::fetchAssetsWithLocalIdentifiers_options(
    const std::vector<Identifier>& identifiers) {
  return port().fetchAssetsWithLocalIdentifiers(identifiers);
}

PHPhotoLibrary::PHPhotoLibrary() {
  // The handler may hold this object plainly: the destructor takes it out and waits for a running call.
  port().setChangeHandler([this](const std::shared_ptr<const PHChange>& change) { deliver(change); });
}

PHPhotoLibrary::~PHPhotoLibrary() {
  if (Platform* platform = Platform::installed()) platform->ports().photoLibrary.setChangeHandler(nullptr);
}

void PHPhotoLibrary::performChanges_completionHandler(const std::function<void()>& changes,
                                                      PhotoLibraryPort::ChangesHandler completion) {
  port().performChanges(PHAssetChangeRequest::collect(changes), std::move(completion));
}

void PHPhotoLibrary::registerChangeObserver(PHPhotoLibraryChangeObserver& observer) {
  std::lock_guard lock(mutex_);
  if (std::find(observers_.begin(), observers_.end(), &observer) == observers_.end()) observers_.push_back(&observer);
}

void PHPhotoLibrary::unregisterChangeObserver(PHPhotoLibraryChangeObserver& observer) {
  std::lock_guard lock(mutex_);
  std::erase(observers_, &observer);
}

std::shared_ptr<const PHChange> PHPhotoLibrary::newestChange() const {
  std::lock_guard lock(mutex_);
  return newestChange_;
}

void PHPhotoLibrary::deliver(const std::shared_ptr<const PHChange>& change) {
  // Told under the lock, so that an observer that has been taken out is never in the middle of a call. Observers only
  // post, hence nothing can wait for us in turn.
  std::lock_guard lock(mutex_);
  newestChange_ = change;
  const auto observers = observers_;
  for (PHPhotoLibraryChangeObserver* observer : observers) {
    if (std::find(observers_.begin(), observers_.end(), observer) != observers_.end()) {
      observer->photoLibraryDidChange(change);
    }
  }
}

}  // namespace tlx
