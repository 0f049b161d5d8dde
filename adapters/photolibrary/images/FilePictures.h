#pragma once

#include <string>
#include <variant>

#include "adapters/photolibrary/source/DecodersPort.h"

namespace tlx::photolibrary {

/// What decoders make of files that are known by their path. Errors name the file. Any thread.
class FilePictures {
 public:
  /// `decoders` outlives the object.
  explicit FilePictures(DecodersPort& decoders) : decoders_(decoders) {}

  Picture decode(const std::string& path, const PictureRequest& request);
  /// `atOnce` as in `DecodersPort::Wanted`.
  Picture decodeEmbedded(const std::string& path, const PictureRequest& request, bool atOnce = false);
  std::variant<VideoInfo, NSError> tracks(const std::string& path);

 private:
  DecodersPort& decoders_;  // unretained: outlives the object by contract
};

}  // namespace tlx::photolibrary
