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
        identifierHash_(mediaAsset_ ? mediaAsset_->localIdentifier.hash() : 0) {}
  MediaModel(const MediaModel&) = delete;
  MediaModel& operator=(const MediaModel&) = delete;

  const std::shared_ptr<const PHAsset>& getMediaAsset() const { return mediaAsset_; }
  PHAssetMediaType getMediaType() const { return mediaType_; }
  const Identifier& getMediaIdentifier() const { return mediaIdentifier(); }
  bool isModelSelected() const { return isSelected_; }
  void setIsMediaSelected(bool selected) { isSelected_ = selected; }

  /// "MM:SS" of a video, whole seconds, fractions dropped; minutes run past 59. Nothing for every other type.
  std::optional<std::string> getVedioDurationString() const;

  /// Whether `getMediaIdentifier` equals `identifier`. Touches nothing beside the record while the hashes differ.
  bool hasIdentifier(const Identifier& identifier) const {
    return identifierHash_ == identifier.hash() && mediaIdentifier() == identifier;
  }

  /// Of `getMediaIdentifier`.
  std::size_t identifierHash() const { return identifierHash_; }

  const std::shared_ptr<const PHAsset>& mediaAsset() const { return mediaAsset_; }
  /// The type and the identifier were taken from the asset when the record was made; another asset does not change
  /// them.
  void setMediaAsset(std::shared_ptr<const PHAsset> asset);
  PHAssetMediaType mediaType() const { return mediaType_; }
  void setMediaType(PHAssetMediaType type) { mediaType_ = type; }
  const Identifier& mediaIdentifier() const;
  void setMediaIdentifier(Identifier identifier);
  bool isSelected() const { return isSelected_; }
  void setIsSelected(bool selected) { isSelected_ = selected; }

 private:
  std::shared_ptr<const PHAsset> mediaAsset_;
  PHAssetMediaType mediaType_;
  // Assets are immutable, so the identifier is read from the record's own until somebody gives it another one. Holding
  // it a second time would double the reference counts to be written when a million records are made or go.
  std::unique_ptr<const Identifier> ownIdentifier_;
  std::size_t identifierHash_;
  bool isSelected_ = false;
};

static_assert(sizeof(MediaModel) <= 64, "a library of a million items pays for every byte a million times");

}  // namespace tlx
