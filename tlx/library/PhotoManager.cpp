#include "tlx/library/PhotoManager.h"

#include <bitset>
#include <unordered_map>
#include <utility>

#include "tlx/platform/Platform.h"
#include "tlx/platform/dispatch/MainQueue.h"
#include "tlx/platform/foundation/NSBundle.h"

namespace tlx {

const Class& PhotoManager::classObject() {
  static const Class self{"PhotoManager", "", kTLXMediaPickerBundle, nullptr, {}, {}};
  return self;
}

std::shared_ptr<PhotoManager> PhotoManager::photoManagerWithType_delegate(std::int64_t mediaType,
                                                                          PhotoManagerDelegate* delegate) {
  std::shared_ptr<PhotoManager> manager(new PhotoManager, &PhotoManager::letGo);
  manager->customDelegate = delegate;
  auto library = PHPhotoLibrary::sharedPhotoLibrary();
  const auto known = library->newestChange();
  manager->setPhotoMediaType(mediaType);
  library->registerChangeObserver(*manager);
  manager->library_ = library;
  // What was told while the albums were fetched has passed the manager by.
  if (auto missed = library->newestChange(); missed != known) manager->photoLibraryDidChange(missed);
  return manager;
}

PhotoManager::~PhotoManager() {
  stopObserving();
}

// Runs instead of the destructor when the last reference goes, on the main thread like every use of a reference.
//
// A change that has been posted keeps the manager until it has been worked off. It cannot do so by a reference: that
// would have to be taken on the library's thread, and if the main thread let go of its own meanwhile, the manager could
// die over there. So the posted step holds a plain pointer and a count, and what is left to do here is to outlast the
// steps that are counted. Once the library has let go of the observer their number is final, and the main queue is
// first in, first out: a step that is posted now runs, or is destroyed, after all of them.
void PhotoManager::letGo(PhotoManager* manager) {
  std::unique_ptr<PhotoManager> owned(manager);
  owned->stopObserving();
  if (owned->changesUnderWay_ == 0 || !Platform::installed()) return;
  dispatch_async_main([kept = std::shared_ptr<PhotoManager>(std::move(owned))] {});
}

void PhotoManager::unregisterPhotoManager() {
  unregistered_ = true;
  stopObserving();
}

void PhotoManager::stopObserving() {
  if (auto library = library_.lock()) library->unregisterChangeObserver(*this);
  library_.reset();
}

void PhotoManager::setPhotoMediaType(std::int64_t type) {
  const auto self = sharedAs(this);  // the delegate may let go of the manager when it hears
  mediaType = type;
  authorized_ = isUserAuthorized();
  if (!authorized_) {
    tellDelegate(&PhotoManagerDelegate::userAuthorized, false);
    return;
  }
  tellDelegate(&PhotoManagerDelegate::userAuthorized, true);
  switch (type) {
    case 0:
      fetchAlbumsWithMediaType(0);
      break;
    case 1:
      fetchAlbumsWithMediaType(PHAssetMediaTypeImage);
      break;
    case 2:
      fetchAlbumsWithMediaType(PHAssetMediaTypeVideo);
      break;
    default:
      break;
  }
}

bool PhotoManager::isUserAuthorized() {
  const auto self = sharedAs(this);
  const PHAuthorizationStatus status = PHPhotoLibrary::authorizationStatus();
  if (status == PHAuthorizationStatusAuthorized) return true;
  if (status != PHAuthorizationStatusNotDetermined) return false;
  tellDelegate(&PhotoManagerDelegate::firstTimeAuthorization);
  // One answer is enough: each would append the albums.
  if (std::exchange(asking_, true)) return false;
  // The answer keeps the manager until it has been dealt with. The reference lies in a box that the closures share and
  // only the main thread opens; it takes the reference out, so that whoever drops the last closure, on whatever thread,
  // drops an empty box.
  auto box = std::make_shared<std::shared_ptr<PhotoManager>>(self);
  PHPhotoLibrary::requestAuthorization([box](PHAuthorizationStatus) {
    dispatch_async_main([box] {
      const auto manager = std::exchange(*box, nullptr);
      if (!manager) return;
      manager->asking_ = false;
      manager->setPhotoMediaType(manager->mediaType);
    });
  });
  return false;
}

void PhotoManager::fetchAlbumsWithMediaType(std::int64_t type) {
  const auto self = sharedAs(this);
  assetMediaType = type;
  PHFetchOptions options;
  options.setSortDescriptors({NSSortDescriptor::sortDescriptorWithKey_ascending("creationDate", false)});
  if (type != 0) options.setPredicate(NSPredicate::predicateWithFormat("mediaType = %d", type));
  appendAlbums(PHAssetCollectionTypeSmartAlbum, PHAssetCollectionSubtypeAlbumRegular, options);
  appendAlbums(PHAssetCollectionTypeAlbum, PHAssetCollectionSubtypeAny, options);
  tellDelegate(albumList().empty() ? &PhotoManagerDelegate::showEmptyMediaWarning
                                   : &PhotoManagerDelegate::hideEmptyMediaWarning);
}

void PhotoManager::appendAlbums(PHAssetCollectionType type, PHAssetCollectionSubtype subtype,
                                const PHFetchOptions& options) {
  const auto collections = PHPhotoLibrary::fetchAssetCollectionsWithType_subtype_options(type, subtype);
  if (!collections) return;
  // Only the library's own albums are known by title; a person may call an album whatever they like.
  const bool smart = type == PHAssetCollectionTypeSmartAlbum;
  for (const auto& collection : *collections) {
    if (!collection) continue;
    const std::string& title = collection->localizedTitle;
    if (smart && title == "Recently Deleted") continue;
    auto assets = PHPhotoLibrary::fetchAssetsInAssetCollection_options(*collection, options);
    if (!assets || assets->count() == 0) continue;
    const auto count = static_cast<std::int64_t>(assets->count());
    auto album = AlbumModel::initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount(
        collection->localIdentifier, std::move(assets), title, count);
    const bool cameraRoll = smart && (title == "Camera Roll" || title == "All Photos");
    albumList().insert(cameraRoll ? albumList().begin() : albumList().end(), std::move(album));
  }
}

std::shared_ptr<AlbumModel> PhotoManager::getAlbumModelAtIndex(std::uint64_t index) {
  return index < albumList().size() ? albumList()[index] : nullptr;
}

std::optional<NSIndexPath> PhotoManager::findIndexPath(const std::shared_ptr<AlbumModel>& album) {
  if (!album) return std::nullopt;
  std::int64_t row = 0;
  for (const auto& candidate : albumList()) {
    if (candidate && candidate->localIdentifier() == album->localIdentifier())
      return NSIndexPath::indexPathForRow_inSection(row, 0);
    ++row;
  }
  return std::nullopt;
}

std::shared_ptr<AlbumModel> PhotoManager::newAlbumModelForOldModel(const std::shared_ptr<AlbumModel>& album) {
  const auto found = findIndexPath(album);
  return found ? albumList()[static_cast<std::size_t>(found->row())] : nullptr;
}

bool PhotoManager::mediaExist(const Identifier& identifier) {
  for (const auto& album : albumList()) {
    if (album && !album->visitMediaModels([&](MediaModel& model) { return !model.hasIdentifier(identifier); })) {
      return true;
    }
  }
  return false;
}

std::vector<bool> PhotoManager::selectModels(const std::vector<Identifier>& identifiers) {
  std::vector<bool> found(identifiers.size());
  if (identifiers.empty()) return found;
  // Nearly every record is turned away by one bit of this small table, so that the pass runs as fast as memory is read.
  constexpr std::size_t bits = 1 << 18;
  std::bitset<bits> anyWithHash;
  std::unordered_multimap<std::size_t, std::size_t> byHash;
  for (std::size_t at = 0; at < identifiers.size(); ++at) {
    anyWithHash.set(identifiers[at].hash() % bits);
    byHash.emplace(identifiers[at].hash(), at);
  }
  for (const auto& album : albumList()) {
    if (!album) continue;
    album->visitMediaModels([&](MediaModel& model) {
      if (!anyWithHash[model.identifierHash() % bits]) return true;
      const auto [begin, end] = byHash.equal_range(model.identifierHash());
      for (auto at = begin; at != end; ++at) {
        if (!model.hasIdentifier(identifiers[at->second])) continue;
        model.setIsMediaSelected(true);
        found[at->second] = true;
      }
      return true;
    });
  }
  return found;
}

void PhotoManager::setIsMediaSelected_withModelIdentifier(bool selected, const Identifier& identifier) {
  for (const auto& album : albumList()) {
    if (!album) continue;
    album->visitMediaModels([&](MediaModel& model) {
      if (model.hasIdentifier(identifier)) model.setIsMediaSelected(selected);
      return true;
    });
  }
}

void PhotoManager::reset() {
  for (const auto& album : albumList()) {
    if (!album) continue;
    album->visitMediaModels([](MediaModel& model) {
      // Written only where it changes something, so that the pass does not send a million clean records back to memory.
      if (model.isModelSelected()) model.setIsMediaSelected(false);
      return true;
    });
  }
}

void PhotoManager::photoLibraryDidChange(const std::shared_ptr<const PHChange>& change) {
  ++changesUnderWay_;
  dispatch_async_main([this, change] {  // unretained: see letGo
    rebuildAfterChange(change);
    --changesUnderWay_;
  });
}

void PhotoManager::rebuildAfterChange(const std::shared_ptr<const PHChange>& change) {
  if (unregistered_) return;
  // The answer to an open question fetches everything, with the kind asked for. Albums that a change had fetched before
  // it would be there twice.
  if (asking_) return;
  const bool authorized = PHPhotoLibrary::authorizationStatus() == PHAuthorizationStatusAuthorized;
  if (!authorized && !authorized_) return;
  const auto self = sharedAs(this);
  albumList().clear();
  if (authorized == authorized_) {
    fetchAlbumsWithMediaType(assetMediaType);
  } else {
    setPhotoMediaType(mediaType);
  }
  tellDelegate(&PhotoManagerDelegate::photoLibraryChanged, change);
}

}  // namespace tlx
