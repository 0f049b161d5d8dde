#pragma once

#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include "tlx/platform/coregraphics/CGImage.h"
#include "tlx/platform/foundation/NSError.h"

#include "adapters/photolibrary/images/pixels/ColorTransform.h"
#include "adapters/photolibrary/images/pixels/FittedSize.h"
#include "adapters/photolibrary/images/pixels/RowResampler.h"
#include "adapters/photolibrary/images/pixels/RowSink.h"

namespace tlx::photolibrary {

/// Where every decoder ends: takes decoded rows from the top as they are stored and hands on those of the finished
/// picture, resampled, in sRGB and premultiplied; whoever takes them turns it upright. One thread.
class PictureBuilder {
 public:
  struct Plan {
    PixelSize rows;         ///< of what is decoded
    PixelSize result;       ///< of the finished picture before it is turned; no larger than `rows`
    std::int32_t turn = 1;  ///< EXIF numbering
    bool opaque = true;     ///< every alpha is 255
    std::shared_ptr<const ColorTransform> transform;  ///< nothing for sRGB
  };

  /// An error where there is no room, or the plan is for no picture: a side without length, or a longer one than
  /// decoded.
  static std::variant<std::unique_ptr<PictureBuilder>, NSError> start(RowSink& sink, const Plan& plan);

  /// The next row, colour not premultiplied. The row is written to.
  void add(std::uint8_t* rgba);

 private:
  PictureBuilder(const Plan& plan, RowSink& sink);
  void place(std::uint8_t* rgba);

  Plan plan_;
  RowSink& sink_;  // unretained: outlives the builder by contract
  RowResampler resampler_;
};

}  // namespace tlx::photolibrary
