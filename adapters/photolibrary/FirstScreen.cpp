#include "adapters/photolibrary/FirstScreen.h"

#include <algorithm>
#include <cmath>

namespace tlx::photolibrary {

void preheatNewest(const PhotoLibrary& library, ImageManagerPort& images, CGSize target, std::size_t count) {
  static constexpr char client = 0;  // they are never released: it is one screenful
  PHImageRequestOptions options;
  options.deliveryMode = PHImageRequestOptionsDeliveryModeOpportunistic;
  options.networkAccessAllowed = true;
  images.startCachingImages(&client, library.newest(count), target, PHImageContentModeAspectFill, options);
}

std::size_t cellsIn(CGSize window, CGSize cell) {
  if (!(cell.width > 0) || !(cell.height > 0)) return 0;
  const double columns = std::floor(window.width / cell.width), rows = std::ceil(window.height / cell.height);
  return static_cast<std::size_t>(std::max(0.0, columns * rows));
}

}  // namespace tlx::photolibrary
