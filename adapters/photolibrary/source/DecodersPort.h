#pragma once

#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <variant>
#include <vector>

#include "tlx/platform/coregraphics/CGGeometry.h"
#include "tlx/platform/coregraphics/CGImage.h"
#include "tlx/platform/foundation/NSError.h"
#include "tlx/platform/photos/PHImageRequest.h"

#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {

/// A picture, upright, in sRGB, or why there is none.
using Picture = std::variant<std::shared_ptr<const CGImage>, NSError>;

/// How large a picture is wanted.
struct PictureRequest {
  CGSize target = {};  ///< pixels; without an area for the whole picture
  PHImageContentMode mode = PHImageContentModeAspectFit;
  std::stop_token stop = {};  ///< once stopped, the answer is `PhotoLibraryErrorCancelled`, soon
};

/// Looks into files: makes pictures of them and reads what their headers say. A file is a regular one, open for
/// reading, and stays the caller's; its offset is neither used nor moved. Calls may come from any thread, several at
/// once, and wait for their answer. Errors are of the library's domain; their texts name no file.
class DecodersPort {
 public:
  struct Wanted {
    int file = -1;
    PictureRequest request = {};
    /// Somebody stands still meanwhile: an error, of no meaning for the file, rather than a wait of more than a moment.
    bool atOnce = false;
  };

  virtual ~DecodersPort() = default;

  /// The whole picture, or a video's poster frame. A truncated or damaged file is an error and no picture.
  virtual Picture decode(const Wanted& wanted) = 0;
  /// The small pictures inside photos' files, in the order of what is wanted: at most of the size asked for, of the
  /// photo's own shape. A HEIF's that is large enough comes in the very size that `decode` would give. An error where
  /// there is none; costs little more than reading the header. Several at a time may cost less than one after another.
  virtual std::vector<Picture> decodeEmbedded(std::span<const Wanted> wanted) = 0;
  /// How many headers are best looked at with one question.
  static constexpr std::size_t headersAtOnce = 48;
  /// What the headers of photos and videos tell, in the order of the files: `PhotoLibraryErrorUnsupported` for what is
  /// neither, sound alone in a video's container among it, `PhotoLibraryErrorDamaged` for what is empty, unreadable as
  /// what it claims to be, or a video without a frame, `PhotoLibraryErrorTooLarge` for what cannot be read within
  /// bounds, and other errors for a file that cannot be read now. Whether a video plays is for the fetch to say.
  virtual std::vector<std::variant<MediaInfo, NSError>> probe(std::span<const int> files) = 0;
  /// The capture dates that XMP files beside photos tell, in seconds since 1970 UTC; nothing where one tells none.
  virtual std::vector<std::optional<double>> probeSidecars(std::span<const int> files) = 0;
  /// The tracks and duration of a video; an error when it is no video or cannot be read.
  virtual std::variant<VideoInfo, NSError> tracks(int file) = 0;
  /// To be called by a thread that will ask no more: frees what libraries keep for it.
  virtual void leaveThread() {}
};

}  // namespace tlx::photolibrary
