#include "adapters/photolibrary/source/Source.h"

namespace tlx::photolibrary {

void FoundItem::setHeader(const MediaInfo& info) {
  mediaType = info.mediaType;
  if (info.captureDate) {
    created = *info.captureDate;
    facts.dateOrigin = info.dateOrigin;
  }
  duration = info.duration;
  facts.width = info.width;
  facts.height = info.height;
  facts.format = info.format;
  facts.orientation = static_cast<std::uint8_t>(info.orientation);
  facts.marks =
      static_cast<std::uint8_t>((info.favorite ? ItemMarkFavorite : 0) | (info.panorama ? ItemMarkPanorama : 0) |
                                (info.screenshot ? ItemMarkScreenshot : 0));
}

}  // namespace tlx::photolibrary
