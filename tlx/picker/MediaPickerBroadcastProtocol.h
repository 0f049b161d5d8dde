#pragma once

#include <memory>
#include <string>

namespace tlx {

class AlbumModel;
class MediaModel;
class PHChange;

/// What the picker tells its subscribers, one after the other in the order in which they subscribed, on the main
/// thread.
///
/// Each message is optional. A message with one datum carries it in both arguments; subscribers read the second.
class MediaPickerBroadcastProtocol {
 public:
  virtual ~MediaPickerBroadcastProtocol() = default;

  // By value, so that one template serves every message. NOLINTBEGIN(performance-unnecessary-value-param)
  /// The album that is to be shown.
  virtual void mediaPicker_selectedAlbum(std::shared_ptr<AlbumModel>, std::shared_ptr<AlbumModel> album) {}
  /// The albums were rebuilt, the marks of the picked items are back.
  virtual void mediaPicker_photoLibraryChanged(std::shared_ptr<const PHChange>,
                                               std::shared_ptr<const PHChange> change) {}
  /// The camera-roll album is to be shown. The text is empty.
  virtual void mediaPicker_selectCameraRollAlbum(std::string, std::string) {}
  /// One item is to be drawn again. Declared for subscribers; nothing sends it.
  virtual void mediaPicker_refreshMediaCollectionForMediaModel(std::shared_ptr<MediaModel>,
                                                               std::shared_ptr<MediaModel> model) {}
  // NOLINTEND(performance-unnecessary-value-param)
};

}  // namespace tlx
