#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "adapters/photolibrary/base/FileBytes.h"

namespace tlx::photolibrary {

/// The segments of a JPEG's header, read as tolerantly as decoders read them: whatever stands between two segments, and
/// markers that carry nothing, are passed over. One thread.
class JpegSegments {
 public:
  struct Segment {
    std::uint8_t marker = 0;    ///< the second byte of the mark
    std::uint64_t content = 0;  ///< where its content begins in the file
    std::size_t size = 0;       ///< of the content, in bytes; the file may end before
  };

  /// `file` outlives the object and begins as a JPEG does.
  explicit JpegSegments(FileBytes& file) : file_(file) {}
  /// Nothing after the last segment before the first scan, and where a decoder would give up as well.
  std::optional<Segment> next();

 private:
  std::optional<std::uint8_t> nextMarker();

  FileBytes& file_;
  std::uint64_t at_ = 2;
  int count_ = 0;
};

}  // namespace tlx::photolibrary
