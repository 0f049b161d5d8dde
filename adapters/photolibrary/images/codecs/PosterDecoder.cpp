extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/codecs/ImageDecoder.h"
#include "adapters/photolibrary/images/headers/VideoCodecs.h"
#include "adapters/photolibrary/images/headers/VideoFile.h"

namespace tlx::photolibrary {
namespace {

constexpr int maxPackets = 2000;                                // to read in search of one frame
constexpr std::int64_t maxFramePixels = std::int64_t{1} << 27;  // 16K; decoders keep several frames
constexpr double places[] = {0, 0.1, 0.3, 0.5};  // of the duration, where a frame that is not black is looked for

struct Release {
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
using Codec = std::unique_ptr<AVCodecContext, Release>;
using Frame = std::unique_ptr<AVFrame, Release>;
using Packet = std::unique_ptr<AVPacket, Release>;

/// EXIF numbers of clockwise quarter turns.
constexpr std::int32_t turnOfQuarters[] = {1, 6, 3, 8};

Codec openCodec(const AVStream& stream) {
  const AVCodec* found = avcodec_find_decoder(stream.codecpar->codec_id);
  if (!found) return nullptr;
  Codec codec(avcodec_alloc_context3(found));
  if (!codec || avcodec_parameters_to_context(codec.get(), stream.codecpar) < 0) return nullptr;
  codec->thread_count = 1;
  codec->max_pixels = maxFramePixels;
  codec->skip_frame = AVDISCARD_NONKEY;
  if (avcodec_open2(codec.get(), found, nullptr) < 0) return nullptr;
  return codec;
}

/// The next frame that the decoder does not skip, from the file's current position; nothing when there is none.
Frame nextFrame(AVFormatContext& format, AVCodecContext& codec, int stream, const DecodeContext& context) {
  const Packet packet(av_packet_alloc());
  Frame frame(av_frame_alloc());
  for (int read = 0; packet && frame && read < maxPackets && !context.isCancelled(); ++read) {
    const bool ended = av_read_frame(&format, packet.get()) < 0;
    if (!ended && packet->stream_index != stream) {
      av_packet_unref(packet.get());
      continue;
    }
    avcodec_send_packet(&codec, ended ? nullptr : packet.get());
    av_packet_unref(packet.get());
    if (avcodec_receive_frame(&codec, frame.get()) == 0) return frame;
    if (ended) return nullptr;
  }
  return nullptr;
}

/// A frame as it is to be shown, before it is turned.
struct Poster {
  PixelSize size;
  std::int32_t turn = 1;
  std::size_t stride = 0;
  std::vector<std::uint8_t> pixels;

  std::uint8_t* row(std::int32_t y) { return pixels.data() + static_cast<std::size_t>(y) * stride; }
};

std::variant<Poster, NSError> posterOf(const AVFrame& frame, const AVStream& stream, const PictureRequest& request) {
  const std::int32_t turn = turnOfQuarters[quarterTurns(stream)];
  const AVRational pixel = frame.sample_aspect_ratio.num > 0 ? frame.sample_aspect_ratio : stream.sample_aspect_ratio;
  const double stretch = pixel.num > 0 && pixel.den > 0 ? av_q2d(pixel) : 1;
  PixelSize shown{frame.width, frame.height};
  if (stretch > 0.1 && stretch < 10)
    shown.width = std::max(1, static_cast<std::int32_t>(std::lround(frame.width * stretch)));
  const PixelSize upright = turn >= 5 ? shown.turned() : shown;
  const PixelSize result = fittedSize(upright, request.target, request.mode);
  const PixelSize stored = turn >= 5 ? result.turned() : result;

  const std::unique_ptr<SwsContext, Release> scaler(
      sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), stored.width, stored.height,
                     AV_PIX_FMT_RGBA, SWS_AREA | SWS_FULL_CHR_H_INT | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
  if (!scaler) return libraryError(PhotoLibraryErrorUnsupported, "frames of an unknown kind");
  const int* colours = sws_getCoefficients(frame.colorspace == AVCOL_SPC_UNSPECIFIED && frame.height >= 720
                                               ? SWS_CS_ITU709
                                               : static_cast<int>(frame.colorspace));
  sws_setColorspaceDetails(scaler.get(), colours, frame.color_range == AVCOL_RANGE_JPEG, colours, 1, 0, 1 << 16,
                           1 << 16);
  // The scaler writes whole vectors, past the end of a row.
  const std::size_t stride = (static_cast<std::size_t>(stored.width) * 4 + 127) / 64 * 64;
  Poster poster{stored, turn, stride, std::vector<std::uint8_t>(stride * static_cast<std::size_t>(stored.height) + 64)};
  std::uint8_t* planes[4] = {poster.pixels.data(), nullptr, nullptr, nullptr};
  const int strides[4] = {static_cast<int>(stride), 0, 0, 0};
  if (sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) <= 0) {
    return libraryError(PhotoLibraryErrorDamaged, "the frame cannot be converted");
  }
  return poster;
}

Failure handOn(Poster& poster, RowSink& sink) {
  if (auto failed = sink.begin(poster.size, poster.turn)) return failed;
  for (std::int32_t y = 0; y < poster.size.height; ++y) {
    std::uint8_t* row = poster.row(y);
    for (std::int32_t x = 0; x < poster.size.width; ++x) row[x * 4 + 3] = 255;
    sink.add(row);
  }
  return std::nullopt;
}

bool isBlack(Poster& poster) {
  std::uint64_t sum = 0;
  for (std::int32_t y = 0; y < poster.size.height; ++y) {
    const std::uint8_t* row = poster.row(y);
    for (std::int32_t x = 0; x < poster.size.width; ++x) {
      sum += std::max({row[x * 4], row[x * 4 + 1], row[x * 4 + 2]});
    }
  }
  return sum / static_cast<std::uint64_t>(poster.size.pixels()) < 12;
}

}  // namespace

Failure decodePoster(FileBytes& file, MediaFormat format, const PictureRequest& request, const DecodeContext& context) {
  const VideoFile video(file, format);
  const AVStream* stream = video.videoStream();
  if (!video.context()) return libraryError(PhotoLibraryErrorDamaged, "the container cannot be read");
  if (!stream) return libraryError(PhotoLibraryErrorUnsupported, "no video track");
  if (!isVideoCodecAllowed(stream->codecpar->codec_id)) {
    const std::string name = avcodec_get_name(stream->codecpar->codec_id);
    return libraryError(PhotoLibraryErrorUnsupported, "video of the kind " + name + " is not decoded");
  }
  const Codec codec = openCodec(*stream);
  if (!codec) return libraryError(PhotoLibraryErrorUnsupported, "no decoder for its video");

  const auto duration = static_cast<double>(video.context()->duration);
  std::optional<Poster> black;
  for (const double place : places) {
    if (place > 0) {
      const auto when = static_cast<std::int64_t>(duration * place);
      if (when <= 0 || av_seek_frame(video.context(), -1, when, 0) < 0) break;
      avcodec_flush_buffers(codec.get());
    }
    Frame frame = nextFrame(*video.context(), *codec, stream->index, context);
    if (!frame && place == 0 && av_seek_frame(video.context(), -1, 0, AVSEEK_FLAG_BACKWARD) >= 0) {
      // Some streams refresh piece by piece and mark no frame as key.
      avcodec_flush_buffers(codec.get());
      codec->skip_frame = AVDISCARD_DEFAULT;
      frame = nextFrame(*video.context(), *codec, stream->index, context);
    }
    if (context.isCancelled()) return libraryError(PhotoLibraryErrorCancelled, "cancelled");
    if (!frame) continue;
    auto poster = posterOf(*frame, *stream, request);
    if (NSError* error = std::get_if<NSError>(&poster)) return std::move(*error);
    if (!isBlack(std::get<Poster>(poster))) return handOn(std::get<Poster>(poster), context.sink);
    if (!black) black = std::get<Poster>(std::move(poster));
  }
  if (black) return handOn(*black, context.sink);
  return libraryError(PhotoLibraryErrorDamaged, "no frame can be decoded");
}

}  // namespace tlx::photolibrary
