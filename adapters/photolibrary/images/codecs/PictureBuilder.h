#pragma once

#include <cstdint>
#include <memory>
#include <stop_token>
#include <variant>
#include <vector>

#include "tlx/platform/coregraphics/CGImage.h"
#include "tlx/platform/foundation/NSError.h"

#include "adapters/photolibrary/images/codecs/ColorTransform.h"
#include "adapters/photolibrary/images/codecs/FittedSize.h"
#include "adapters/photolibrary/images/codecs/RowResampler.h"
#include "adapters/photolibrary/images/codecs/RowSink.h"

namespace tlx::photolibrary {

/// What every decoder works with.
struct DecodeContext {
  RowSink& sink;
  ColorTransforms& transforms;
  /// Looked at between rows; once stopped, the decoder gives up.
  std::stop_token stop = {};
  /// Whether a truncated or damaged file is an error; otherwise the picture is made of what can be read.
  bool strict = true;

  bool isCancelled() const { return stop.stop_requested(); }
};

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
