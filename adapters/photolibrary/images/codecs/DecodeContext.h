#pragma once

#include <stop_token>

#include "adapters/photolibrary/images/codecs/ColorTransforms.h"
#include "adapters/photolibrary/images/pixels/PictureBuilder.h"

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

}  // namespace tlx::photolibrary
