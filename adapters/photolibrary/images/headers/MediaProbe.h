#pragma once

#include <optional>
#include <variant>

#include "tlx/platform/foundation/NSError.h"

#include "adapters/photolibrary/source/MediaInfo.h"

namespace tlx::photolibrary {

/// Reads the header of an open regular file. Any thread; reads at most the bytes it needs (64 KiB of most photos).
/// Answers `PhotoLibraryErrorUnsupported` for what is no photo or video, sound alone in a video's container among it,
/// `PhotoLibraryErrorDamaged` for what is empty, unreadable as what it claims to be, or a video without a frame, and
/// other errors for a file that cannot be read now. Whether a video plays is for the fetch to say.
std::variant<MediaInfo, NSError> probeMedia(int fd);

/// The capture date that an open XMP file beside a photo tells, in seconds since 1970 UTC. Any thread.
std::optional<double> probeSidecar(int fd);

/// The tracks and duration of a video file; an error when it is no video or cannot be read. Any thread.
std::variant<VideoInfo, NSError> probeVideo(int fd);

}  // namespace tlx::photolibrary
