#pragma once

#include <cstddef>
#include <cstdint>

#include "adapters/photolibrary/source/MediaFormat.h"

namespace tlx::photolibrary {

/// Workers differ in the libraries that they load, since loading them is most of what a start costs.
enum class WorkerKind : std::uint32_t {
  Photo = 0,  ///< JPEG, HEIF and AVIF, and headers of what needs no library for them
  Vips = 1,   ///< every other photo format, and print colours
  Video = 2,
};
inline constexpr std::size_t workerKinds = 3;

/// The kind that makes a format's pictures. What is no known format goes to the one that starts soonest, which says so.
inline WorkerKind workerFor(MediaFormat format) {
  switch (traitsOf(format).decoder) {
    case PixelDecoder::Vips:
      return WorkerKind::Vips;
    case PixelDecoder::Video:
      return WorkerKind::Video;
    case PixelDecoder::None:
    case PixelDecoder::Jpeg:
    case PixelDecoder::Heif:
      break;
  }
  return WorkerKind::Photo;
}

/// The kind that reads a format's header: any can read those that need no library, so the one that starts soonest does.
inline WorkerKind headerWorkerFor(MediaFormat format) {
  return traitsOf(format).decoderReadsHeader ? workerFor(format) : WorkerKind::Photo;
}

/// The file name of a kind's program.
constexpr const char* programOf(WorkerKind kind) {
  switch (kind) {
    case WorkerKind::Photo:
      return "tlx-media-decoder-photo";
    case WorkerKind::Vips:
      return "tlx-media-decoder-vips";
    case WorkerKind::Video:
      return "tlx-media-decoder-video";
  }
  return "";
}

}  // namespace tlx::photolibrary
