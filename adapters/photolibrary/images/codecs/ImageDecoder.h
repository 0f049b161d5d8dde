#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <variant>

#include "adapters/photolibrary/base/FileBytes.h"
#include "adapters/photolibrary/images/codecs/DecodeContext.h"
#include "adapters/photolibrary/images/headers/PhotoHeader.h"
#include "adapters/photolibrary/source/DecodersPort.h"

namespace tlx::photolibrary {

/// Makes pictures of files, for `DecodersPort`: in sRGB, at the size that a target and a mode give. Any thread, several
/// at once. Files are open for reading and stay the caller's.
class ImageDecoder {
 public:
  /// Asked before a picture that needs gigabytes is decoded: what holds others back until it is let go, or why that one
  /// cannot be.
  using LargeGate = std::function<std::variant<std::shared_ptr<void>, NSError>(std::int64_t bytes)>;

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

  explicit ImageDecoder(LargeGate gate);

  /// As `DecodersPort::decode` and `decodeEmbedded`, into a sink.
  Failure decode(int file, const PictureRequest& request, RowSink& sink);
  Failure decodeEmbedded(int file, const PictureRequest& request, RowSink& sink);

  /// To be called by a thread that will decode no more: frees what the libraries keep for it.
  static void leaveThread();

 private:
  Failure decodePhoto(FileBytes& file, MediaFormat format, const PictureRequest& request, RowSink& sink);
  /// Why the photo is not even tried.
  static Failure refusal(const PhotoHeader& header, std::int64_t fileBytes);

  LargeGate gate_;
  ColorTransforms transforms_;
};

/// One decoder per library, for `ImageDecoder`. `result` is the finished picture's size, upright. When they answer no
/// failure, the sink has the whole picture.
Failure decodeJpeg(FileBytes& file, const PhotoHeader& header, Bytes profile, PixelSize result,
                   const DecodeContext& context);
/// For all formats that have no decoder of their own here; 8-bit RGBA and sRGB come from libvips. Sets up libvips for
/// the process at first use: no operation cache, no messages on standard error.
Failure decodeWithVips(FileBytes& file, const PhotoHeader& header, PixelSize result, const DecodeContext& context);
/// Starts libvips, or loads what libheif loads, now, for a process that will soon be unable to.
void prepareVips();
void prepareHeif();
Failure decodeHeif(FileBytes& file, PixelSize result, const DecodeContext& context);
/// The first frame that is not black, of the first few key frames.
Failure decodePoster(FileBytes& file, MediaFormat format, const PictureRequest& request, const DecodeContext& context);

/// A JPEG that stands for a picture of `shape` (before turning): bars that make up for another shape are left out.
Failure decodeEmbeddedJpeg(Bytes jpeg, PixelSize shape, std::int32_t turn, const PictureRequest& request,
                           const DecodeContext& context);
Failure decodeHeifThumbnail(FileBytes& file, const PictureRequest& request, const DecodeContext& context);

}  // namespace tlx::photolibrary
