#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "tlx/library/MediaModelArray.h"
#include "tlx/platform/foundation/Class.h"
#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/photos/PHFetchResult.h"

namespace tlx {

/// One album: its name, the count it was made with, its assets in display order, and a record for each. Main thread
/// only.
class AlbumModel : public NSObject {
 public:
  using Assets = std::shared_ptr<const PHFetchResult<PHAsset>>;

  static std::shared_ptr<AlbumModel> initAlbumModelWithIdentifier_assetCollection_albumName_mediaCount(
      Identifier identifier, Assets assetCollection, std::string albumName, std::int64_t mediaCount);

  /// Appends a record for each asset to `arrMediaModel`, behind what is there already.
  void initMediaModels();

  const Assets& getAssetCollection() const { return assetCollection_; }
  const std::string& getAlbumName() const { return strAlbumName_; }
  std::int64_t getMediaCount() const { return iMediaCount_; }
  /// Nothing when there are not that many records.
  std::shared_ptr<MediaModel> getMediaModelAtIndex(std::uint64_t index) const;
  bool isAlbumSelected() const { return isSelected_; }
  void setIsAlbumSelected(bool selected) { isSelected_ = selected; }
  /// The first asset; nothing for an empty album.
  std::shared_ptr<const PHAsset> getAssetForThumb() const;

  /// Visits the records at 0 up to `getMediaCount` − 1, without those that do not exist; see
  /// `MediaModelArray::visitFirst`.
  template <class Visit>
  bool visitMediaModels(Visit visit) const {
    return !arrMediaModel_ || arrMediaModel_->visitFirst(iMediaCount_, visit);
  }

  bool isSelected() const { return isSelected_; }
  void setIsSelected(bool selected) { isSelected_ = selected; }
  const Identifier& localIdentifier() const { return localIdentifier_; }
  void setLocalIdentifier(Identifier identifier) { localIdentifier_ = std::move(identifier); }
  /// Despite the name the list of assets, not the library's album.
  const Assets& assetCollection() const { return assetCollection_; }
  void setAssetCollection(Assets assets) { assetCollection_ = std::move(assets); }
  const std::string& strAlbumName() const { return strAlbumName_; }
  void setStrAlbumName(std::string name) { strAlbumName_ = std::move(name); }
  /// As given at creation; never counted again.
  std::int64_t iMediaCount() const { return iMediaCount_; }
  void setIMediaCount(std::int64_t count) { iMediaCount_ = count; }
  /// Never nothing: an empty one is made on first read.
  const std::shared_ptr<MediaModelArray>& arrMediaModel();
  void setArrMediaModel(std::shared_ptr<MediaModelArray> models) { arrMediaModel_ = std::move(models); }

 private:
  bool isSelected_ = false;
  Identifier localIdentifier_;
  Assets assetCollection_;
  std::string strAlbumName_;
  std::int64_t iMediaCount_ = 0;
  std::shared_ptr<MediaModelArray> arrMediaModel_;
};

}  // namespace tlx
