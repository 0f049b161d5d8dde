#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/photos/PHImageRequest.h"

#include "adapters/photolibrary/images/codecs/ColorTransform.h"
#include "adapters/photolibrary/images/codecs/PictureBuilder.h"
#include "adapters/photolibrary/images/headers/FileBytes.h"
#include "adapters/photolibrary/images/headers/PhotoHeader.h"

namespace tlx::photolibrary {

/// Makes pictures of files: upright, in sRGB, at the size that a target and a mode give. Any thread, several at once.
class ImageDecoder {
 public:
  struct Request {
    CGSize target;
    PHImageContentMode mode = PHImageContentModeAspectFit;
    std::stop_token stop = {};  ///< once stopped, the answer is `PhotoLibraryErrorCancelled`
  };

  /// More pixels than this are refused: decoders that hand over rows need memory for a few of them only, the others for
  /// the whole picture. A row must fit as well.
  static constexpr std::int64_t maxStreamedPixels = std::int64_t{1} << 30;
  static constexpr std::int64_t maxHeldPixels = 400'000'000;
  static constexpr std::int32_t maxSide = 1 << 18;
  /// Of held pictures: larger ones are decoded one at a time, must have come from a file of some size, and only where
  /// the machine has the memory.
  static constexpr std::int64_t largePixels = 64'000'000;
  static constexpr std::int64_t maxPixelsOfAByte = 4096;
  static constexpr std::int64_t maxPieceBytes = std::int64_t{2} << 30;

  /// `store` outlives the decoder.
  explicit ImageDecoder(PixelStore& store);

  /// The whole picture, or a video's poster frame. A truncated or damaged file is an error and no picture.
  Picture decode(const std::string& path, const Request& request);
  /// The small picture inside a photo's file, at most of the size asked for, of the photo's own shape. A HEIF's that is
  /// large enough comes in the very size that `decode` would give. An error when there is none; costs little more than
  /// reading the header.
  Picture decodeEmbedded(const std::string& path, const Request& request);

  /// To be called by a thread that will decode no more: frees what the libraries keep for it.
  static void leaveThread();

 private:
  Picture decodePhoto(FileBytes& file, MediaFormat format, const Request& request);
  /// Why the photo is not even tried.
  static std::optional<NSError> refusal(const PhotoHeader& header, std::int64_t fileBytes);

  PixelStore& store_;
  ColorTransforms transforms_;
  std::mutex large_;  // pictures that need gigabytes are decoded one at a time
};

/// One decoder per library, for `ImageDecoder`. `result` is the finished picture's size, upright.
Picture decodeJpeg(FileBytes& file, const PhotoHeader& header, Bytes profile, PixelSize result, DecodeContext context);
/// For what is not worth a decoder of its own; 8-bit RGBA and sRGB come from libvips. Sets up libvips for the process
/// at first use: no operation cache, no messages on standard error.
Picture decodeWithVips(FileBytes& file, const PhotoHeader& header, PixelSize result, DecodeContext context);
Picture decodeHeif(FileBytes& file, PixelSize result, DecodeContext context);
/// The first frame that is not black, of the first few key frames.
Picture decodePoster(FileBytes& file, MediaFormat format, const ImageDecoder::Request& request, DecodeContext context);

/// A JPEG that stands for a picture of `shape` (before turning): bars that make up for another shape are left out.
Picture decodeEmbeddedJpeg(Bytes jpeg, PixelSize shape, std::int32_t turn, const ImageDecoder::Request& request,
                           DecodeContext context);
Picture decodeHeifThumbnail(FileBytes& file, const ImageDecoder::Request& request, DecodeContext context);

}  // namespace tlx::photolibrary
