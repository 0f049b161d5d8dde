#include "adapters/camera/MovieEncoding.h"

#include <algorithm>
#include <initializer_list>

#include "adapters/camera/GstObjects.h"

namespace tlx::camera {
namespace {

/// Whether the element is installed, and its hardware, if it is for one, answers.
bool works(const std::string& name) {
  const Gst<GstElement> element(gst_element_factory_make(name.c_str(), nullptr));
  if (!element) return false;
  gst_object_ref_sink(element.get());
  const bool ready = gst_element_set_state(element.get(), GST_STATE_READY) != GST_STATE_CHANGE_FAILURE;
  gst_element_set_state(element.get(), GST_STATE_NULL);
  return ready;
}

}  // namespace

std::optional<MovieEncoding> chooseMovieEncoding(bool withSound, const std::vector<std::string>& without) {
  const auto first = [&](std::initializer_list<const char*> names) -> std::string {
    for (const char* name : names) {
      if (std::find(without.begin(), without.end(), name) == without.end() && works(name)) return name;
    }
    return {};
  };
  const auto h264 = [&] {
    return first({"vah264enc", "vah264lpenc", "vaapih264enc", "nvh264enc", "qsvh264enc", "v4l2h264enc", "omxh264enc",
                  "openh264enc", "x264enc"});
  };
  MovieEncoding mp4{h264(), first({"h264parse"}), "", "", first({"mp4mux"}), ".mp4"};
  const bool picturesInMp4 = !mp4.videoEncoder.empty() && !mp4.videoParser.empty() && !mp4.muxer.empty();
  if (withSound && picturesInMp4) {
    mp4.audioEncoder = first({"avenc_aac", "fdkaacenc", "voaacenc"});
    mp4.audioParser = first({"aacparse"});
    if (mp4.audioParser.empty()) mp4.audioEncoder.clear();
  }
  if (picturesInMp4 && (!withSound || !mp4.audioEncoder.empty())) return mp4;

  MovieEncoding webm{first({"vp8enc"}), "", "", "", first({"webmmux"}), ".webm"};
  if (withSound) webm.audioEncoder = first({"opusenc", "vorbisenc"});
  const bool picturesInWebm = !webm.videoEncoder.empty() && !webm.muxer.empty();
  if (picturesInWebm && (!withSound || !webm.audioEncoder.empty())) return webm;
  if (picturesInMp4) return mp4;
  if (picturesInWebm) return webm;
  return std::nullopt;
}

}  // namespace tlx::camera
