#include "adapters/camera/Recorder.h"

#include <cstdint>
#include <utility>

#include <gst/app/gstappsrc.h>
#include <gst/pbutils/pbutils.h>
#include <gst/video/video.h>
#include <sys/statvfs.h>

namespace tlx::camera {
namespace {

constexpr unsigned kRoomInterval = 500;     // milliseconds
constexpr unsigned kFinishPatience = 8000;  // milliseconds: an encoder that says nothing by then never will
constexpr GstClockTime kReadPatience = 5 * GST_SECOND;

void setIfThere(GstElement& element, const char* property, const char* value) {
  if (g_object_class_find_property(G_OBJECT_GET_CLASS(&element), property)) {
    gst_util_set_object_arg(G_OBJECT(&element), property, value);
  }
}

/// Made for a camera that cannot wait: quick, at a rate that keeps a face sharp. Encoders count in bits or in
/// thousands.
void tune(GstElement& encoder, const std::string& name) {
  const bool inBits = name == "openh264enc" || name == "vp8enc" || name == "v4l2h264enc" || name == "omxh264enc";
  const std::string rate = std::to_string(inBits ? 8'000'000 : 8'000);
  setIfThere(encoder, name == "vp8enc" ? "target-bitrate" : "bitrate", rate.c_str());
  setIfThere(encoder, "rate-control", name == "openh264enc" ? "bitrate" : "cbr");
  setIfThere(encoder, "complexity", "low");
  setIfThere(encoder, "gop-size", "30");
  setIfThere(encoder, "key-int-max", "30");
  setIfThere(encoder, "keyframe-max-dist", "30");
  setIfThere(encoder, "speed-preset", "veryfast");
  setIfThere(encoder, "tune", "zerolatency");
  setIfThere(encoder, "deadline", "1");
  setIfThere(encoder, "cpu-used", "8");
  setIfThere(encoder, "threads", "2");
}

/// The step with a parser before it, where there is one.
std::string after(const std::string& parser, const char* step) {
  return parser.empty() ? step : parser + " ! " + step;
}

struct DiscovererRelease {
  void operator()(GstDiscoverer* discoverer) const { g_object_unref(discoverer); }
  void operator()(GstDiscovererInfo* info) const { gst_discoverer_info_unref(info); }
};

std::string codecOf(GstDiscovererStreamInfo& stream) {
  GstCaps* const caps = gst_discoverer_stream_info_get_caps(&stream);
  std::string name;
  if (caps && !gst_caps_is_empty(caps)) {
    const std::string type = gst_structure_get_name(gst_caps_get_structure(caps, 0));
    name = type == "video/x-h264" ? "h264" : type == "video/x-vp8" ? "vp8" : type == "audio/mpeg" ? "aac" : "";
    if (name.empty()) name = type.substr(type.rfind(type.find("x-") != std::string::npos ? '-' : '/') + 1);
  }
  if (caps) gst_caps_unref(caps);
  return name;
}

/// What a player would find in the file; nothing when there is no picture to play.
std::optional<AVRecording> readBack(const std::string& path, double length) {
  GError* error = nullptr;
  const std::unique_ptr<GstDiscoverer, DiscovererRelease> discoverer(gst_discoverer_new(kReadPatience, &error));
  g_clear_error(&error);
  gchar* const uri = gst_filename_to_uri(path.c_str(), nullptr);
  if (!discoverer || !uri) return std::nullopt;
  const std::unique_ptr<GstDiscovererInfo, DiscovererRelease> info(
      gst_discoverer_discover_uri(discoverer.get(), uri, &error));
  g_free(uri);
  g_clear_error(&error);
  if (!info) return std::nullopt;
  AVRecording recording{path, {}, length, nullptr};
  const GstClockTime told = gst_discoverer_info_get_duration(info.get());
  if (GST_CLOCK_TIME_IS_VALID(told) && told > 0) recording.duration = static_cast<double>(told) / GST_SECOND;
  bool pictures = false;
  GList* const streams = gst_discoverer_info_get_stream_list(info.get());
  for (GList* each = streams; each; each = each->next) {
    auto* const stream = static_cast<GstDiscovererStreamInfo*>(each->data);
    AVAssetTrack track;
    track.codec = codecOf(*stream);
    track.duration = recording.duration;
    if (GST_IS_DISCOVERER_VIDEO_INFO(stream)) {
      auto* const video = GST_DISCOVERER_VIDEO_INFO(stream);
      track.mediaType = AVMediaTypeVideo;
      track.width = static_cast<int>(gst_discoverer_video_info_get_width(video));
      track.height = static_cast<int>(gst_discoverer_video_info_get_height(video));
      pictures = pictures || track.width > 0;
    } else if (GST_IS_DISCOVERER_AUDIO_INFO(stream)) {
      track.mediaType = AVMediaTypeAudio;
    } else {
      continue;
    }
    recording.tracks.push_back(std::move(track));
  }
  gst_discoverer_stream_info_list_free(streams);
  if (!pictures) return std::nullopt;
  return recording;
}

}  // namespace

Recorder::Recorder(GlibLoop& loop, Plan plan, Ended ended)
    : loop_(loop), plan_(std::move(plan)), ended_(std::move(ended)) {
  if (!build()) {
    pictures_.reset();
    loop_.post([this, alive = std::weak_ptr(alive_)] {
      if (!alive.expired()) giveUp(cameraError(CameraErrorNoEncoder, "the recording could not be set up"));
    });
    return;
  }
  checkRoom();
}

bool Recorder::build() {
  const MovieEncoding& with = plan_.encoding;
  std::string text =
      "appsrc name=pictures format=time ! queue max-size-buffers=20 max-size-bytes=0 max-size-time=0 "
      "leaky=downstream ! videoconvert ! " +
      with.videoEncoder + " name=encoder ! " + after(with.videoParser, "queue") +
      " max-size-time=0 max-size-bytes=0 max-size-buffers=0 ! " + with.muxer +
      " name=muxer ! filesink name=file sync=false";
  if (!with.audioEncoder.empty()) {
    text +=
        " appsrc name=sounds format=time ! queue max-size-time=0 max-size-bytes=0 max-size-buffers=0 ! "
        "audioconvert ! audioresample ! " +
        with.audioEncoder + " ! " + after(with.audioParser, "queue") + " ! muxer.";
  }
  GError* error = nullptr;
  pipeline_.reset(gst_parse_launch(text.c_str(), &error));
  const bool failed = error != nullptr;
  g_clear_error(&error);
  if (failed || !pipeline_) return false;
  gst_object_ref_sink(pipeline_.get());
  tune(*elementIn(*pipeline_, "encoder"), with.videoEncoder);
  const auto muxer = elementIn(*pipeline_, "muxer");
  setIfThere(*muxer, "fragment-duration", "1000");
  setIfThere(*muxer, "fragment-mode", "first-moov-then-finalise");
  g_object_set(elementIn(*pipeline_, "file").get(), "location", plan_.file->path().c_str(), nullptr);
  pictures_ = elementIn(*pipeline_, "pictures");
  sounds_ = elementIn(*pipeline_, "sounds");
  const Gst<GstBus> bus(gst_element_get_bus(pipeline_.get()));
  watch_ = std::make_unique<GlibLoop::BusWatch>(loop_, *bus, [this](GstMessage& message) { heard(message); });
  useSystemClock(*pipeline_);
  return gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

Recorder::~Recorder() {
  watch_.reset();
  if (pipeline_) gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

void Recorder::push(GstElement* source, GstSample& sample, GstClockTime at) {
  GstBuffer* const buffer = gst_buffer_copy(gst_sample_get_buffer(&sample));  // the pixels are shared
  GST_BUFFER_PTS(buffer) = at;
  GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
  GST_BUFFER_OFFSET(buffer) = GST_BUFFER_OFFSET_NONE;
  const Gst<GstCaps> before(gst_app_src_get_caps(GST_APP_SRC(source)));
  GstCaps* const caps = gst_sample_get_caps(&sample);
  if (caps && (!before || !gst_caps_is_equal(before.get(), caps))) gst_app_src_set_caps(GST_APP_SRC(source), caps);
  gst_app_src_push_buffer(GST_APP_SRC(source), buffer);
}

void Recorder::addPicture(GstSample& sample, GstClockTime taken) {
  if (!pictures_ || !GST_CLOCK_TIME_IS_VALID(taken)) return;
  GstClockTime none = GST_CLOCK_TIME_NONE;
  start_.compare_exchange_strong(none, taken);
  const GstClockTime start = start_;
  if (taken < start) return;
  const GstClockTime at = taken - start;
  GstBuffer* const buffer = gst_sample_get_buffer(&sample);
  const GstClockTime lasts = GST_BUFFER_DURATION_IS_VALID(buffer) ? GST_BUFFER_DURATION(buffer) : 0;
  push(pictures_.get(), sample, at);
  length_ = at + lasts;
}

void Recorder::addSound(GstSample& sample, GstClockTime taken) {
  const GstClockTime start = start_;
  if (!sounds_ || !GST_CLOCK_TIME_IS_VALID(taken) || !GST_CLOCK_TIME_IS_VALID(start) || taken < start) return;
  push(sounds_.get(), sample, taken - start);
}

void Recorder::endSound() {
  if (sounds_) gst_app_src_end_of_stream(GST_APP_SRC(sounds_.get()));
}

void Recorder::finish(std::optional<NSError> cause) {
  if (std::exchange(finishing_, true)) return;
  cause_ = std::move(cause);
  if (!pictures_ || !GST_CLOCK_TIME_IS_VALID(start_.load())) {
    loop_.post([this, alive = std::weak_ptr(alive_)] {
      if (!alive.expired()) conclude(false);
    });
    return;
  }
  endSound();
  gst_app_src_end_of_stream(GST_APP_SRC(pictures_.get()));
  loop_.postLater(kFinishPatience, [this, alive = std::weak_ptr(alive_)] {
    if (!alive.expired()) giveUp(cameraError(CameraErrorFailed, "the recording could not be brought to its end"));
  });
}

void Recorder::heard(GstMessage& message) {
  switch (GST_MESSAGE_TYPE(&message)) {
    case GST_MESSAGE_EOS:
      conclude(true);
      break;
    case GST_MESSAGE_ERROR:
      giveUp(cameraError(message, CameraErrorFailed));
      break;
    default:
      break;
  }
}

void Recorder::checkRoom() {
  if (finishing_) return;
  struct statvfs disk;
  if (::statvfs(plan_.file->path().c_str(), &disk) == 0 &&
      static_cast<std::uint64_t>(disk.f_bavail) * disk.f_frsize < plan_.spareBytes) {
    loop_.post([this, alive = std::weak_ptr(alive_)] {
      if (!alive.expired()) finish(cameraError(CameraErrorNoSpace, "the disk is nearly full"));
    });
    return;
  }
  loop_.postLater(kRoomInterval, [this, alive = std::weak_ptr(alive_)] {
    if (!alive.expired()) checkRoom();
  });
}

void Recorder::giveUp(NSError why) {
  finishing_ = true;
  if (!cause_) cause_ = std::move(why);
  conclude(false);
}

/// Not whole: what is there may still be worth having.
void Recorder::conclude(bool whole) {
  watch_.reset();
  if (pipeline_) gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  auto recording = readBack(plan_.file->path(), seconds());
  if (recording) {
    recording->owner = plan_.file;
  } else if (!cause_) {
    cause_ = cameraError(CameraErrorFailed, whole ? "the recording cannot be played" : "nothing was recorded");
  }
  if (const auto ended = std::exchange(ended_, nullptr)) ended(std::move(recording), std::move(cause_));
}

}  // namespace tlx::camera
