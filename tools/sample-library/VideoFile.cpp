extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <stdexcept>

#include "Files.h"

namespace tlx::samples {
namespace {

template <auto Free>
struct Released {
  template <class T>
  void operator()(T* object) const {
    Free(&object);
  }
};

int check(int result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string("cannot ") + what);
  return result;
}

/// Of a muxer whose file lies in memory.
struct Close {
  void operator()(AVFormatContext* muxer) const {
    std::uint8_t* held = nullptr;
    avio_close_dyn_buf(muxer->pb, &held);
    av_free(held);
    avformat_free_context(muxer);
  }
};

struct Track {
  Track(AVFormatContext* to, const std::string& encoder, AVRational timeBase) : file(to) {
    const AVCodec* kind = avcodec_find_encoder_by_name(encoder.c_str());
    if (!kind) throw std::runtime_error("no encoder " + encoder);
    codec.reset(avcodec_alloc_context3(kind));
    codec->thread_count = 1, codec->time_base = timeBase;
    codec->flags |=
        AV_CODEC_FLAG_BITEXACT | (to->oformat->flags & AVFMT_GLOBALHEADER ? AV_CODEC_FLAG_GLOBAL_HEADER : 0);
    stream = avformat_new_stream(to, nullptr);
  }
  void open() {
    check(avcodec_open2(codec.get(), nullptr, nullptr), "open the encoder");
    check(avcodec_parameters_from_context(stream->codecpar, codec.get()), "describe the track");
    stream->time_base = codec->time_base;
  }
  AVFrame* fresh(std::int64_t time) {
    av_frame_unref(frame.get());
    frame->width = codec->width, frame->height = codec->height, frame->sample_rate = codec->sample_rate;
    frame->format = codec->width > 0 ? static_cast<int>(codec->pix_fmt) : static_cast<int>(codec->sample_fmt);
    frame->nb_samples = codec->frame_size, frame->ch_layout = codec->ch_layout, frame->pts = time;
    check(av_frame_get_buffer(frame.get(), 0), "hold a frame");
    return frame.get();
  }
  /// Without a frame: the end.
  void send(const AVFrame* next) {
    check(avcodec_send_frame(codec.get(), next), "encode");
    while (avcodec_receive_packet(codec.get(), packet.get()) >= 0) {
      av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
      packet->stream_index = stream->index;
      check(av_interleaved_write_frame(file, packet.get()), "write");
    }
  }
  AVFormatContext* file;  // unretained: outlives its tracks
  AVStream* stream;       // unretained: the file's
  std::unique_ptr<AVCodecContext, Released<avcodec_free_context>> codec;
  std::unique_ptr<AVFrame, Released<av_frame_free>> frame{av_frame_alloc()};
  std::unique_ptr<AVPacket, Released<av_packet_free>> packet{av_packet_alloc()};
};

void show(Track& track, const Video& video, int index) {
  Canvas canvas(video.turned ? video.height : video.width, video.turned ? video.width : video.height);
  Random random(7);  // What stands still is painted the same in each frame.
  video.scene(static_cast<double>(index) / video.framesPerSecond)(canvas, random);
  if (video.turned) canvas.image = canvas.image.transformed(QTransform().rotate(-90));
  AVFrame* frame = track.fresh(index);
  SwsContext* const scaler = sws_getContext(video.width, video.height, AV_PIX_FMT_RGB32, video.width, video.height,
                                            track.codec->pix_fmt, SWS_BILINEAR, nullptr, nullptr, nullptr);
  const std::uint8_t* rows = canvas.image.constBits();
  const int stride = static_cast<int>(canvas.image.bytesPerLine());
  sws_scale(scaler, &rows, &stride, 0, video.height, frame->data, frame->linesize);
  sws_freeContext(scaler);
  track.send(frame);
}

/// A slow chord that swells and fades.
void play(Track& track, const Video& video, std::int64_t& at) {
  AVFrame* frame = track.fresh(at);
  for (int i = 0; i < frame->nb_samples; ++i, ++at) {
    const double t = static_cast<double>(at) / frame->sample_rate;
    double wave = 0;
    for (const double step : {1.0, 1.25, 1.5, 2.0})
      wave += std::sin(6.2831853 * 196 * step * t) * (0.6 + 0.4 * std::sin(t * step));
    reinterpret_cast<float*>(frame->data[0])[i] =
        static_cast<float>(wave * 0.04 * clamp01(t * 3) * clamp01(video.seconds - t));
  }
  track.send(frame);
}

}  // namespace

std::string encoded(const Video& video) {
  constexpr int kRate = 48000;
  AVFormatContext* muxer = nullptr;
  check(avformat_alloc_output_context2(&muxer, nullptr, nullptr, video.path.c_str()), "choose the container");
  avio_open_dyn_buf(&muxer->pb);
  std::unique_ptr<AVFormatContext, Close> file(muxer);
  muxer->flags |= AVFMT_FLAG_BITEXACT;
  const QString created = video.taken.toUTC().toString(Qt::ISODate);
  av_dict_set(&muxer->metadata, "creation_time", qPrintable(created), 0);
  std::unique_ptr<Track> picture;
  if (!video.picture.empty()) {
    picture = std::make_unique<Track>(muxer, video.picture, AVRational{1, video.framesPerSecond});
    AVCodecContext* c = picture->codec.get();
    c->width = video.width, c->height = video.height, c->pix_fmt = AV_PIX_FMT_YUV420P, c->gop_size = 30;
    c->bit_rate = static_cast<std::int64_t>(video.width) * video.height * video.framesPerSecond / 5;
    // Each encoder knows only its own of these; the rest leave it untouched.
    for (const auto& [name, value] : {std::pair("preset", "veryfast"), {"deadline", "realtime"}, {"cpu-used", "8"}})
      av_opt_set(c->priv_data, name, value, 0);
    picture->open();
    if (video.turned)
      av_display_rotation_set(reinterpret_cast<std::int32_t*>(av_stream_new_side_data(
                                  picture->stream, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t))),
                              -90);
  }
  Track sound(muxer, video.sound, {1, kRate});
  sound.codec->sample_rate = kRate, sound.codec->sample_fmt = AV_SAMPLE_FMT_FLTP, sound.codec->bit_rate = 64000;
  av_channel_layout_default(&sound.codec->ch_layout, 1);
  sound.open();
  if (sound.codec->frame_size == 0) sound.codec->frame_size = 1024;
  check(avformat_write_header(muxer, nullptr), "write the header");
  std::int64_t heard = 0;
  for (int i = 0; i < video.seconds * video.framesPerSecond; ++i) {
    if (picture) show(*picture, video, i);
    while (heard * video.framesPerSecond < static_cast<std::int64_t>(i + 1) * kRate) play(sound, video, heard);
  }
  if (picture) picture->send(nullptr);
  sound.send(nullptr);
  check(av_write_trailer(muxer), "finish the file");
  std::uint8_t* bytes = nullptr;
  const int size = avio_get_dyn_buf(muxer->pb, &bytes);
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)};
}

}  // namespace tlx::samples
