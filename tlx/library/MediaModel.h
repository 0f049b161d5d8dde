#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tlx/platform/foundation/Identifier.h"
#include "tlx/platform/photos/PHAsset.h"

namespace tlx {

/// One item of an album that can be picked, with its mark. Main thread only.
///
/// A library of a million items has a million of these or more, one for each album an item is in. So it is a plain
/// value of at most 64 bytes in its album's block, without a virtual table or a reference count of its own: whoever
/// holds one holds the block (see `MediaModelArray`).
class MediaModel {
 public:
  /// A record by itself, outside any album. An absent asset gives type 0 and an empty identifier.
  static std::shared_ptr<MediaModel> initMediaModelWithPHAsset(std::shared_ptr<const PHAsset> asset) {
    return std::make_shared<MediaModel>(std::move(asset));
  }

  explicit MediaModel(std::shared_ptr<const PHAsset> asset)
      : mediaAsset_(std::move(asset)),
        mediaType_(mediaAsset_ ? mediaAsset_->mediaType : PHAssetMediaTypeUnknown),
        mediaIdentifier_(mediaAsset_ ? mediaAsset_->localIdentifier : Identifier()) {}
  MediaModel(const MediaModel&) = delete;
  MediaModel& operator=(const MediaModel&) = delete;

  const std::shared_ptr<const PHAsset>& getMediaAsset() const { return mediaAsset_; }
  PHAssetMediaType getMediaType() const { return mediaType_; }
  const Identifier& getMediaIdentifier() const { return mediaIdentifier_; }
  bool isModelSelected() const { return isSelected_; }
  void setIsMediaSelected(bool selected) { isSelected_ = selected; }

  /// "MM:SS" of a video, whole seconds, fractions dropped; minutes run past 59. Nothing for every other type.
  std::optional<std::string> getVedioDurationString() const;

  const std::shared_ptr<const PHAsset>& mediaAsset() const { return mediaAsset_; }
  void setMediaAsset(std::shared_ptr<const PHAsset> asset) { mediaAsset_ = std::move(asset); }
  /// The type and the identifier were copied from the asset when the record was made; another asset does not change
  /// them.
  PHAssetMediaType mediaType() const { return mediaType_; }
  void setMediaType(PHAssetMediaType type) { mediaType_ = type; }
  const Identifier& mediaIdentifier() const { return mediaIdentifier_; }
  void setMediaIdentifier(Identifier identifier) { mediaIdentifier_ = std::move(identifier); }
  bool isSelected() const { return isSelected_; }
  void setIsSelected(bool selected) { isSelected_ = selected; }

 private:
  std::shared_ptr<const PHAsset> mediaAsset_;
  PHAssetMediaType mediaType_;
  Identifier mediaIdentifier_;
  bool isSelected_ = false;
};

static_assert(sizeof(MediaModel) <= 64, "a library of a million items pays for every byte a million times");

}  // namespace tlx
