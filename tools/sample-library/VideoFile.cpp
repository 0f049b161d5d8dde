#include "VideoFile.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/display.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <cstdio>
#include <ctime>
#include <memory>
#include <stdexcept>

#include "PhotoFile.h"

namespace tlx::samples {
namespace {

template <auto Free>
struct FreeBy {
  template <class T>
  void operator()(T* object) const {
    Free(&object);
  }
};
using Codec = std::unique_ptr<AVCodecContext, FreeBy<avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, FreeBy<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, FreeBy<av_packet_free>>;
using Resampler = std::unique_ptr<SwrContext, FreeBy<swr_free>>;
struct CloseScaler {
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
struct CloseFile {
  void operator()(AVFormatContext* file) const {
    if (file->pb) avio_closep(&file->pb);
    avformat_free_context(file);
  }
};
using File = std::unique_ptr<AVFormatContext, CloseFile>;

void check(int result, const char* what) {
  if (result >= 0) return;
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(result, text, sizeof text);
  throw std::runtime_error(std::string(what) + ": " + text);
}

const AVCodec* firstOf(const std::vector<std::string>& names) {
  for (const auto& name : names)
    if (const AVCodec* codec = avcodec_find_encoder_by_name(name.c_str())) return codec;
  throw std::runtime_error("no encoder " + names.front());
}

/// Waves on a shore under a slow chord.
class Sound {
 public:
  explicit Sound(int key) : random_(static_cast<std::uint64_t>(key) + 77) {
    static const float kRoots[] = {196.0F, 220.0F, 174.6F, 246.9F, 164.8F};
    static const float kSteps[] = {1, 1.25F, 1.5F, 2, 1.875F};
    for (int i = 0; i < 5; ++i) tones_[static_cast<std::size_t>(i)] = kRoots[key % 5] * kSteps[i] * (i == 4 ? 0.5F : 1);
  }
  std::pair<float, float> at(double seconds, double length) {
    const auto t = static_cast<float>(seconds);
    float left = 0, right = 0;
    for (std::size_t i = 0; i < tones_.size(); ++i) {
      const float swell = 0.55F + 0.45F * std::sin(t * (0.5F + 0.13F * static_cast<float>(i)) + static_cast<float>(i));
      const float wave = std::sin(6.2831853F * tones_[i] * t) + 0.25F * std::sin(12.566371F * tones_[i] * t);
      const float pan = static_cast<float>(i) / 4;
      left += wave * swell * (1 - 0.6F * pan), right += wave * swell * (0.4F + 0.6F * pan);
    }
    hiss_ += (random_.in(-1, 1) - hiss_) * 0.10F;
    const float surf = hiss_ * (0.35F + 0.65F * (0.5F + 0.5F * std::sin(t * 1.3F)));
    const auto fade = static_cast<float>(std::min({1.0, seconds * 3, (length - seconds) * 2}));
    return {(left * 0.035F + surf * 0.4F) * fade, (right * 0.035F + surf * 0.36F) * fade};
  }

 private:
  Random random_;
  std::array<float, 5> tones_{};
  float hiss_ = 0;
};

class Track {
 public:
  Track(AVFormatContext* file, const AVCodec* codec)
      : file_(file),
        codec_(avcodec_alloc_context3(codec)),
        stream_(avformat_new_stream(file, nullptr)),
        frame_(av_frame_alloc()),
        packet_(av_packet_alloc()) {
    codec_->thread_count = 1;
    if (file->oformat->flags & AVFMT_GLOBALHEADER) codec_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  }
  AVCodecContext* codec() { return codec_.get(); }
  AVStream* stream() { return stream_; }
  AVFrame* frame() { return frame_.get(); }
  void open() {
    check(avcodec_open2(codec_.get(), codec_->codec, nullptr), "opening the encoder");
    check(avcodec_parameters_from_context(stream_->codecpar, codec_.get()), "describing the track");
    stream_->time_base = codec_->time_base;
  }
  /// Without a frame: the end.
  void send(AVFrame* frame) {
    check(avcodec_send_frame(codec_.get(), frame), "encoding");
    for (;;) {
      const int got = avcodec_receive_packet(codec_.get(), packet_.get());
      if (got == AVERROR(EAGAIN) || got == AVERROR_EOF) return;
      check(got, "encoding");
      av_packet_rescale_ts(packet_.get(), codec_->time_base, stream_->time_base);
      packet_->stream_index = stream_->index;
      check(av_interleaved_write_frame(file_, packet_.get()), "writing");
    }
  }

 private:
  AVFormatContext* file_;  // unretained: the file outlives its tracks
  Codec codec_;
  AVStream* stream_;  // unretained: the file's
  Frame frame_;
  Packet packet_;
};

class PictureTrack : public Track {
 public:
  PictureTrack(AVFormatContext* file, const VideoFormat& f)
      : Track(file, firstOf(f.pictureCodecs)), canvas_(f.width * 3 / 4, f.height * 3 / 4) {
    auto* c = codec();
    c->width = f.width, c->height = f.height;
    c->pix_fmt = AV_PIX_FMT_YUV420P;
    c->time_base = {1, f.framesPerSecond};
    c->framerate = {f.framesPerSecond, 1};
    c->gop_size = f.framesPerSecond * 2;
    c->bit_rate = static_cast<std::int64_t>(f.width) * f.height * f.framesPerSecond / 7;
    c->color_range = AVCOL_RANGE_MPEG;
    c->colorspace = AVCOL_SPC_SMPTE170M;
    c->color_primaries = AVCOL_PRI_BT709;
    c->color_trc = AVCOL_TRC_IEC61966_2_1;
    // Each encoder knows only its own of these; the rest leave it untouched.
    av_opt_set(c->priv_data, "preset", "veryfast", 0);
    av_opt_set(c->priv_data, "deadline", "realtime", 0);
    av_opt_set(c->priv_data, "cpu-used", "8", 0);
    open();
    stream()->avg_frame_rate = c->framerate;
    if (f.rotation != 0) {
      auto* matrix = reinterpret_cast<std::int32_t*>(
          av_stream_new_side_data(stream(), AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t)));
      if (!matrix) throw std::runtime_error("no memory");
      av_display_rotation_set(matrix, -f.rotation);
    }
    frame()->format = c->pix_fmt, frame()->width = f.width, frame()->height = f.height;
    check(av_frame_get_buffer(frame(), 0), "making a frame");
    scaler_.reset(sws_getContext(canvas_.width(), canvas_.height(), AV_PIX_FMT_RGB24, f.width, f.height,
                                 AV_PIX_FMT_YUV420P, SWS_BICUBIC, nullptr, nullptr, nullptr));
  }
  void paint(const MovingScene& scene, int index) {
    std::fill(canvas_.row(0), canvas_.row(0) + static_cast<std::ptrdiff_t>(canvas_.width()) * canvas_.height(),
              Colour{});
    scene(canvas_, static_cast<float>(index) / static_cast<float>(codec()->framerate.num));
    const Bytes pixels = developedRgb(canvas_);
    check(av_frame_make_writable(frame()), "making a frame");
    const std::uint8_t* lines[1] = {pixels.data()};
    const int pitch[1] = {canvas_.width() * 3};
    sws_scale(scaler_.get(), lines, pitch, 0, canvas_.height(), frame()->data, frame()->linesize);
    frame()->pts = index;
    send(frame());
  }

 private:
  Canvas canvas_;  // three quarters of the size: in motion nobody can tell
  std::unique_ptr<SwsContext, CloseScaler> scaler_;
};

class SoundTrack : public Track {
 public:
  SoundTrack(AVFormatContext* file, const VideoFormat& f)
      : Track(file, firstOf(f.soundCodecs)), sound_(f.key), seconds_(f.seconds) {
    auto* c = codec();
    c->sample_rate = kRate;
    c->sample_fmt = c->codec->sample_fmts ? c->codec->sample_fmts[0] : AV_SAMPLE_FMT_FLTP;
    c->bit_rate = 96000;
    c->time_base = {1, kRate};
    c->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    av_channel_layout_default(&c->ch_layout, 2);
    open();
    samples_ = c->frame_size > 0 ? c->frame_size : 1024;
    SwrContext* resampler = nullptr;
    check(swr_alloc_set_opts2(&resampler, &c->ch_layout, c->sample_fmt, kRate, &c->ch_layout, AV_SAMPLE_FMT_FLT, kRate,
                              0, nullptr),
          "converting sound");
    resampler_.reset(resampler);
    check(swr_init(resampler), "converting sound");
  }
  double reached() const { return static_cast<double>(at_) / kRate; }
  void play() {
    std::vector<float> wave(static_cast<std::size_t>(samples_) * 2);
    for (int i = 0; i < samples_; ++i) {
      const auto [left, right] = sound_.at(static_cast<double>(at_ + i) / kRate, seconds_);
      wave[static_cast<std::size_t>(i) * 2] = left, wave[static_cast<std::size_t>(i) * 2 + 1] = right;
    }
    AVFrame* f = frame();
    av_frame_unref(f);
    f->format = codec()->sample_fmt, f->nb_samples = samples_, f->sample_rate = kRate;
    check(av_channel_layout_copy(&f->ch_layout, &codec()->ch_layout), "making sound");
    check(av_frame_get_buffer(f, 0), "making sound");
    const auto* from = reinterpret_cast<const std::uint8_t*>(wave.data());
    check(swr_convert(resampler_.get(), f->data, samples_, &from, samples_), "converting sound");
    f->pts = at_;
    at_ += samples_;
    send(f);
  }

 private:
  static constexpr int kRate = 48000;
  Sound sound_;
  double seconds_;
  int samples_ = 1024;
  std::int64_t at_ = 0;
  Resampler resampler_;
};

void write(const std::string& path, const VideoFormat& format, const MovingScene& scene) {
  AVFormatContext* context = nullptr;
  check(avformat_alloc_output_context2(&context, nullptr, format.container.c_str(), path.c_str()),
        "choosing the container");
  const File file(context);
  Moment utc = format.taken;
  const std::time_t when = format.taken.unixTime();
  std::tm clock{};
  gmtime_r(&when, &clock);
  utc = {clock.tm_year + 1900, clock.tm_mon + 1, clock.tm_mday, clock.tm_hour, clock.tm_min, clock.tm_sec};
  av_dict_set(&context->metadata, "creation_time", (utc.iso() + ".000000Z").c_str(), 0);
  std::unique_ptr<PictureTrack> picture;
  std::unique_ptr<SoundTrack> sound;
  if (!format.pictureCodecs.empty()) picture = std::make_unique<PictureTrack>(context, format);
  if (!format.soundCodecs.empty()) sound = std::make_unique<SoundTrack>(context, format);
  check(avio_open(&context->pb, path.c_str(), AVIO_FLAG_WRITE), "creating the file");
  check(avformat_write_header(context, nullptr), "writing the header");
  const int frames = static_cast<int>(format.seconds * format.framesPerSecond);
  for (int i = 0; i < frames; ++i) {
    const double now = static_cast<double>(i + 1) / format.framesPerSecond;
    if (picture) picture->paint(scene, i);
    while (sound && sound->reached() < now) sound->play();
  }
  if (picture) picture->send(nullptr);
  if (sound) sound->send(nullptr);
  check(av_write_trailer(context), "finishing the file");
}

}  // namespace

bool writeVideo(const std::string& path, const VideoFormat& format, const MovingScene& scene, std::string& why) {
  try {
    write(path, format, scene);
    return true;
  } catch (const std::exception& error) {
    why = error.what();
    std::remove(path.c_str());
    return false;
  }
}

}  // namespace tlx::samples
