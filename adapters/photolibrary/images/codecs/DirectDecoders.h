#pragma once

#include <mutex>

#include "adapters/photolibrary/images/codecs/ImageDecoder.h"
#include "adapters/photolibrary/images/pixels/PixelStore.h"
#include "adapters/photolibrary/source/DecodersPort.h"

namespace tlx::photolibrary {

/// The decoders in the process itself, on the thread that asks.
class DirectDecoders final : public DecodersPort {
 public:
  /// `pixels` outlives the object.
  explicit DirectDecoders(PixelStore& pixels);

  Picture decode(const Wanted& wanted) override;
  std::vector<Picture> decodeEmbedded(std::span<const Wanted> wanted) override;
  std::vector<std::variant<MediaInfo, NSError>> probe(std::span<const int> files) override;
  std::vector<std::optional<double>> probeSidecars(std::span<const int> files) override;
  std::variant<VideoInfo, NSError> tracks(int file) override;
  void leaveThread() override { ImageDecoder::leaveThread(); }

 private:
  PixelStore& pixels_;  // unretained: outlives the object by contract
  ImageDecoder decoder_;
  std::mutex large_;  ///< pictures that need gigabytes are decoded one at a time
};

}  // namespace tlx::photolibrary
