#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "adapters/photolibrary/base/FileBytes.h"
#include "adapters/photolibrary/source/MediaInfo.h"

struct AVFormatContext;
struct AVIOContext;
struct AVStream;

namespace tlx::photolibrary {

/// An open video container over a file's bytes: only the demuxer of the format that the first bytes told is tried, and
/// nothing beside that file is ever opened, whatever the container refers to.
class VideoFile {
 public:
  /// `file` outlives the object. Reads the header alone unless it says nothing; then some packets too.
  VideoFile(FileBytes& file, MediaFormat format);
  ~VideoFile();
  VideoFile(const VideoFile&) = delete;
  VideoFile& operator=(const VideoFile&) = delete;

  /// Nothing when the container cannot be read.
  AVFormatContext* context() const { return context_; }
  /// The moving picture; nothing when there is none. Covers and other still pictures do not count.
  const AVStream* videoStream() const;
  /// Whether there is anything to see. A container whose writer was killed may have a video track and no frame in it;
  /// where the header does not tell, this reads on until the first one.
  bool hasFrames();

  VideoInfo info() const;
  std::optional<double> captureDate() const;

 private:
  static int read(void* self, std::uint8_t* into, int count);
  static std::int64_t seek(void* self, std::int64_t offset, int whence);
  bool headerIsEnough() const;

  FileBytes& file_;
  std::int64_t position_ = 0;
  std::int64_t allowance_;  ///< bytes that may still be read; a hostile container would have us read for ever
  bool headerIsTrusted_ = true;
  AVIOContext* io_ = nullptr;
  AVFormatContext* context_ = nullptr;
};

/// What the header of a video tells, for `probeMedia`.
std::variant<MediaInfo, NSError> probeVideoHeader(FileBytes& file, MediaFormat format);

/// Clockwise quarter turns, 0 to 3, that stand the stream's picture upright.
int quarterTurns(const AVStream& stream);

}  // namespace tlx::photolibrary
