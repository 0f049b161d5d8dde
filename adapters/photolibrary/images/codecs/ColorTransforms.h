#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "adapters/photolibrary/base/FileBytes.h"
#include "adapters/photolibrary/images/pixels/ColorTransform.h"

namespace tlx::photolibrary {

/// The transforms of the profiles seen lately: a camera writes the same one into each of its photos, and building a
/// transform costs more than turning a thumbnail's pixels. Any thread.
class ColorTransforms {
 public:
  ColorTransforms();
  /// Nothing where no change is needed or possible: sRGB itself, a damaged profile, one that is not for RGB.
  std::shared_ptr<const ColorTransform> fromProfile(Bytes icc);
  /// By the numbers of ITU-T H.273 for primaries, with sRGB's own curve: 1 is sRGB, 9 BT.2020, 12 Display P3. Nothing
  /// for the others.
  std::shared_ptr<const ColorTransform> fromPrimaries(int primaries);

 private:
  using Known = std::pair<std::vector<std::uint8_t>, std::shared_ptr<const ColorTransform>>;
  /// The colour library's own state, kept by every transform; messages of damaged profiles end there.
  std::shared_ptr<void> context_;
  std::mutex mutex_;
  std::list<Known> known_;  // newest first
};

/// Whether a profile's pixels are red, green and blue.
bool isRgbProfile(Bytes icc);

}  // namespace tlx::photolibrary
