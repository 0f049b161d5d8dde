#include "adapters/photolibrary/images/headers/VideoFile.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/log.h>
}

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <mutex>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/headers/PhotoFacts.h"
#include "adapters/photolibrary/images/headers/VideoCodecs.h"

namespace tlx::photolibrary {
namespace {

constexpr int bufferSize = 32 * 1024;
constexpr std::int64_t maxBytesRead = std::int64_t{1} << 30;
constexpr int maxPacketsToAFrame = 1000;

bool isMovingPicture(const AVStream& stream) {
  constexpr int still = AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS;
  return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && (stream.disposition & still) == 0;
}

double secondsOf(std::int64_t value, AVRational base) {
  return value == AV_NOPTS_VALUE || value < 0 ? 0 : static_cast<double>(value) * av_q2d(base);
}

const char* mediaTypeOf(AVMediaType type) {
  switch (type) {
    case AVMEDIA_TYPE_VIDEO:
      return AVMediaTypeVideo;
    case AVMEDIA_TYPE_AUDIO:
      return AVMediaTypeAudio;
    case AVMEDIA_TYPE_SUBTITLE:
      return "sbtl";
    default:
      return "meta";
  }
}

}  // namespace

int quarterTurns(const AVStream& stream) {
  size_t size = 0;
  const std::uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (!matrix || size < 9 * sizeof(std::int32_t)) return 0;
  const double counterClockwise = av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
  if (std::isnan(counterClockwise)) return 0;
  const int quarters = static_cast<int>(std::lround(-counterClockwise / 90.0));
  return ((quarters % 4) + 4) % 4;
}

VideoFile::VideoFile(FileBytes& file, MediaFormat format) : file_(file), allowance_(maxBytesRead) {
  static std::once_flag quiet;
  std::call_once(quiet, [] { av_log_set_level(AV_LOG_QUIET); });
  const char* name = traitsOf(format).demuxer;
  const AVInputFormat* demuxer = name ? av_find_input_format(name) : nullptr;
  auto* buffer = static_cast<std::uint8_t*>(av_malloc(bufferSize));
  if (!demuxer || !buffer) {
    av_free(buffer);
    return;
  }
  io_ = avio_alloc_context(buffer, bufferSize, 0, this, &VideoFile::read, nullptr, &VideoFile::seek);
  context_ = avformat_alloc_context();
  context_->pb = io_;
  context_->flags |= AVFMT_FLAG_CUSTOM_IO;
  context_->max_streams = 64;
  context_->codec_whitelist = av_strdup(allowedDecoders());
  // Other files that the container refers to are not opened.
  context_->io_open = [](AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EPERM); };
  if (avformat_open_input(&context_, nullptr, demuxer, nullptr) < 0) {
    context_ = nullptr;
    return;
  }
  if (!headerIsEnough()) {
    context_->probesize = 4 * 1024 * 1024;
    context_->max_analyze_duration = 2 * AV_TIME_BASE;
    avformat_find_stream_info(context_, nullptr);
    headerIsTrusted_ = false;
  }
}

VideoFile::~VideoFile() {
  if (context_) avformat_close_input(&context_);
  if (io_) {
    av_freep(&io_->buffer);
    avio_context_free(&io_);
  }
}

bool VideoFile::headerIsEnough() const {
  if (context_->nb_streams == 0) return false;
  if (context_->duration <= 0) return false;
  for (unsigned i = 0; i < context_->nb_streams; ++i) {
    const AVStream& stream = *context_->streams[i];
    if (isMovingPicture(stream) && (stream.codecpar->width <= 0 || stream.codecpar->height <= 0)) return false;
  }
  return true;
}

bool VideoFile::hasFrames() {
  const AVStream* const stream = videoStream();
  if (!stream || headerIsTrusted_) return stream != nullptr;
  AVPacket* packet = av_packet_alloc();
  bool found = false;
  for (int read = 0; packet && !found && read < maxPacketsToAFrame; ++read) {
    if (av_read_frame(context_, packet) < 0) break;
    found = packet->stream_index == stream->index && packet->size > 0;
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  return found;
}

const AVStream* VideoFile::videoStream() const {
  for (unsigned i = 0; context_ && i < context_->nb_streams; ++i) {
    if (isMovingPicture(*context_->streams[i])) return context_->streams[i];
  }
  return nullptr;
}

VideoInfo VideoFile::info() const {
  VideoInfo info;
  if (!context_) return info;
  info.duration = secondsOf(context_->duration, AVRational{1, AV_TIME_BASE});
  for (unsigned i = 0; i < context_->nb_streams; ++i) {
    const AVStream& stream = *context_->streams[i];
    const AVCodecParameters& codec = *stream.codecpar;
    AVAssetTrack track;
    const bool moving = isMovingPicture(stream);
    track.mediaType = codec.codec_type == AVMEDIA_TYPE_VIDEO && !moving ? "pict" : mediaTypeOf(codec.codec_type);
    if (codec.codec_id != AV_CODEC_ID_NONE) track.codec = avcodec_get_name(codec.codec_id);
    track.duration = secondsOf(stream.duration, stream.time_base);
    if (moving) {
      const AVRational pixel =
          stream.sample_aspect_ratio.num > 0 ? stream.sample_aspect_ratio : codec.sample_aspect_ratio;
      const double stretch = pixel.num > 0 && pixel.den > 0 ? av_q2d(pixel) : 1.0;
      track.width = codec.width;
      if (stretch > 0.1 && stretch < 10) track.width = static_cast<int>(std::lround(codec.width * stretch));
      track.height = codec.height;
      if (quarterTurns(stream) % 2 == 1) std::swap(track.width, track.height);
      info.duration = std::max(info.duration, track.duration);
    }
    info.tracks.push_back(std::move(track));
  }
  return info;
}

std::optional<double> VideoFile::captureDate() const {
  if (!context_) return std::nullopt;
  // A key with this ending carries the local date with its offset; the plain creation time is the container's, in UTC.
  const AVDictionaryEntry* entry = nullptr;
  while ((entry = av_dict_get(context_->metadata, "", entry, AV_DICT_IGNORE_SUFFIX))) {
    if (std::string_view(entry->key).ends_with(".creationdate")) {
      if (const auto date = parseIsoDate(entry->value)) return date;
    }
  }
  for (const char* key : {"creation_time", "date"}) {
    entry = av_dict_get(context_->metadata, key, nullptr, 0);
    if (!entry) continue;
    const auto date = parseIsoDate(entry->value);
    if (date && *date > 0) return date;
  }
  return std::nullopt;
}

int VideoFile::read(void* self, std::uint8_t* into, int count) {
  auto* file = static_cast<VideoFile*>(self);
  if (file->allowance_ <= 0) return AVERROR(EIO);
  const std::int64_t got =
      file->file_.copy(static_cast<std::uint64_t>(file->position_), into, static_cast<std::size_t>(count));
  if (got < 0) return AVERROR(EIO);
  if (got == 0) return AVERROR_EOF;
  file->position_ += got;
  file->allowance_ -= got;
  return static_cast<int>(got);
}

std::int64_t VideoFile::seek(void* self, std::int64_t offset, int whence) {
  auto* file = static_cast<VideoFile*>(self);
  switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
      return file->file_.size();
    case SEEK_CUR:
      offset += file->position_;
      break;
    case SEEK_END:
      offset += file->file_.size();
      break;
    default:
      break;
  }
  if (offset < 0) return AVERROR(EINVAL);
  return file->position_ = offset;
}

}  // namespace tlx::photolibrary
