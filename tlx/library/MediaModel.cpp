#include "tlx/library/MediaModel.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace tlx {
namespace {

// A file may claim any duration, and converting one that no integer holds is undefined.
std::int64_t wholeSeconds(double seconds) {
  constexpr double limit = 9.2e18;
  if (seconds != seconds) return 0;
  if (seconds >= limit) return std::numeric_limits<std::int64_t>::max();
  if (seconds <= -limit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(seconds);
}

}  // namespace

const Identifier& MediaModel::mediaIdentifier() const {
  static const Identifier absent;
  if (ownIdentifier_) return *ownIdentifier_;
  return mediaAsset_ ? mediaAsset_->localIdentifier : absent;
}

void MediaModel::setMediaIdentifier(Identifier identifier) {
  identifierHash_ = identifier.hash();
  ownIdentifier_ = std::make_unique<const Identifier>(std::move(identifier));
}

void MediaModel::setMediaAsset(std::shared_ptr<const PHAsset> asset) {
  if (!ownIdentifier_) setMediaIdentifier(mediaIdentifier());
  mediaAsset_ = std::move(asset);
}

std::optional<std::string> MediaModel::getVedioDurationString() const {
  if (mediaType_ != PHAssetMediaTypeVideo) return std::nullopt;
  const std::int64_t n = wholeSeconds(mediaAsset_ ? mediaAsset_->duration : 0);
  char text[48];
  std::snprintf(text, sizeof text, "%02" PRId64 ":%02" PRId64, n / 60, n % 60);
  return std::string(text);
}

}  // namespace tlx
