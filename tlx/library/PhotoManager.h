#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "tlx/library/AlbumModel.h"
#include "tlx/library/PhotoManagerDelegate.h"
#include "tlx/platform/foundation/Class.h"
#include "tlx/platform/foundation/NSIndexPath.h"
#include "tlx/platform/photos/PHPhotoLibrary.h"

namespace tlx {

/// The picker's one way to the photo library: asks for access, keeps the ordered list of albums that are not empty,
/// builds it anew after every change of the library, and finds and marks items by their identifier. When access is
/// granted or taken away elsewhere, it reports access again, with the kind asked for.
///
/// Main thread only, except `photoLibraryDidChange`. References to it are taken and let go on the main thread only.
class PhotoManager : public NSObject, public PHPhotoLibraryChangeObserver {
 public:
  /// The class, which lies in the picker's own bundle.
  static const Class& classObject();

  /// Asks for access and, with it, fetches the albums, telling `delegate` (which may be nothing) before it returns;
  /// from then on follows the library. `mediaType`: 0 images and videos, 1 images, 2 videos; any other kind fetches
  /// nothing.
  static std::shared_ptr<PhotoManager> photoManagerWithType_delegate(std::int64_t mediaType,
                                                                     PhotoManagerDelegate* delegate);
  ~PhotoManager() override;

  /// Stops following the library for good: the list stays as it is, and a change that is waiting its turn is dropped.
  void unregisterPhotoManager();

  void setPhotoMediaType(std::int64_t mediaType);
  /// Whether the person granted access. When they have not decided, asks them, unless that is under way already,
  /// answers false at once, and calls `setPhotoMediaType` again after they have.
  bool isUserAuthorized();
  /// Appends the library's albums to `albumList`: the camera roll in front, smart albums, then the person's own, each
  /// newest item first. `assetMediaType`: 0 everything, 1 images, 2 videos.
  void fetchAlbumsWithMediaType(std::int64_t assetMediaType);

  std::int64_t getAlbumCount() { return static_cast<std::int64_t>(albumList().size()); }
  /// Nothing at or past the count.
  std::shared_ptr<AlbumModel> getAlbumModelAtIndex(std::uint64_t index);
  std::int64_t getMediaType() const { return mediaType; }
  /// Row of the first album with this one's identifier, in section 0; nothing without one.
  std::optional<NSIndexPath> findIndexPath(const std::shared_ptr<AlbumModel>& album);
  /// The first album of the list with this one's identifier; nothing without one.
  std::shared_ptr<AlbumModel> newAlbumModelForOldModel(const std::shared_ptr<AlbumModel>& album);

  /// These look at every record, over all albums; an item has one in each album that it is in.
  bool mediaExist(const Identifier& identifier);
  void selectModel(const Identifier& identifier) { setIsMediaSelected_withModelIdentifier(true, identifier); }
  /// `selectModel` for each of many items, in one pass over the records. Answers for each what `mediaExist` would.
  std::vector<bool> selectModels(const std::vector<Identifier>& identifiers);
  void setIsMediaSelected_withModelIdentifier(bool selected, const Identifier& identifier);
  void reset();

  /// Any thread; only posts.
  void photoLibraryDidChange(const std::shared_ptr<const PHChange>& change) override;

  /// In display order. Always the same list.
  std::vector<std::shared_ptr<AlbumModel>>& albumList() { return albumList_; }
  /// The kind asked for.
  std::int64_t mediaType = 0;
  /// Told of everything above; may be nothing.
  // unretained: whoever makes the manager sets this to nothing in its own destructor, since a step on the main queue
  // may keep the manager longer
  PhotoManagerDelegate* customDelegate = nullptr;
  /// Type of the last album fetch, which the rebuild after a change repeats.
  std::int64_t assetMediaType = 0;

 private:
  PhotoManager() = default;
  static void letGo(PhotoManager* manager);

  void rebuildAfterChange(const std::shared_ptr<const PHChange>& change);
  void appendAlbums(PHAssetCollectionType type, PHAssetCollectionSubtype subtype, const PHFetchOptions& options);
  void stopObserving();
  template <class Message, class... Arguments>
  void tellDelegate(Message message, const Arguments&... arguments) {
    if (customDelegate) (customDelegate->*message)(arguments...);
  }

  std::vector<std::shared_ptr<AlbumModel>> albumList_;
  std::weak_ptr<PHPhotoLibrary> library_;  // set while observing
  bool unregistered_ = false, asking_ = false;
  bool authorized_ = false;  // as the delegate was told last
  std::atomic<int> changesUnderWay_ = 0;
};

}  // namespace tlx
