// From opening the camera to its first picture, and from the shutter to the file, beside plain pipelines of GStreamer's
// that do no more than that with the same pictures.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include "adapters/camera/GstCamera.h"
#include "adapters/memory/MemoryPlatform.h"
#include "adapters/photolibrary/files/CaptureFolder.h"
#include "bench/SideBySide.h"

namespace tlx::bench {
namespace {

constexpr int kRounds = 9;

double seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Listener final : CaptureSessionListener {
  void previewChanged() override { seen = true; }
  void devicesChanged() override {}
  void photoTaken(const std::shared_ptr<const UIImage>& taken) override { photo = taken; }
  void recordingEnded(const std::optional<AVRecording>&, const std::optional<NSError>&) override {}
  void failed(const NSError& error) override {
    std::fprintf(stderr, "%s\n", error.localizedDescription.c_str());
    std::exit(1);
  }
  bool seen = false;
  std::shared_ptr<const UIImage> photo;
};

struct Ours {
  double firstPicture = 0, file = 0;
};

Ours ours(const std::filesystem::path& folder) {
  memory::MemoryPlatform platform;
  camera::GstCamera::Options options;
  options.test = true;
  options.folder = folder / "recordings";
  camera::GstCamera camera(options, platform.loop);
  Listener listener;
  Ours figures;
  const double opened = seconds();
  const auto session = camera.makeSession(listener);
  session->open(CaptureKind::Photo, "");
  if (!platform.loop.runUntil([&] { return listener.seen && session->preview(); })) std::exit(1);
  figures.firstPicture = seconds() - opened;
  const double pressed = seconds();
  session->takePhoto();
  if (!platform.loop.runUntil([&] { return listener.photo != nullptr; })) std::exit(1);
  const photolibrary::CaptureFolder saved(folder);
  if (!std::holds_alternative<std::string>(saved.savePhoto(*listener.photo, 1e9))) std::exit(1);
  figures.file = seconds() - pressed;
  return figures;
}

/// The time until the description's sink "out" has a picture, or until its end.
double plain(const std::string& description) {
  const double start = seconds();
  GstElement* const pipeline = gst_parse_launch(description.c_str(), nullptr);
  if (!pipeline) std::exit(1);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  if (GstElement* const sink = gst_bin_get_by_name(GST_BIN(pipeline), "out")) {
    gst_sample_unref(gst_app_sink_pull_sample(GST_APP_SINK(sink)));
    gst_object_unref(sink);
  } else {
    GstBus* const bus = gst_element_get_bus(pipeline);
    gst_message_unref(gst_bus_timed_pop_filtered(bus, GST_CLOCK_TIME_NONE, GST_MESSAGE_EOS));
    gst_object_unref(bus);
  }
  const double took = seconds() - start;
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
  return took;
}

int run() {
  gst_init(nullptr, nullptr);
  const std::string source =
      "videotestsrc is-live=true num-buffers=1 ! video/x-raw,format=I420,width=2048,height=1536,framerate=15/1 ! ";
  std::string name = (std::filesystem::temp_directory_path() / "tlx-bench-XXXXXX").string();
  const std::filesystem::path folder = ::mkdtemp(name.data());
  std::vector<double> picture, file, plainPicture, plainFile;
  for (int round = 0; round < kRounds; ++round) {
    const Ours figures = ours(folder);
    picture.push_back(figures.firstPicture);
    file.push_back(figures.file);
    plainPicture.push_back(plain(source + "videoconvert ! video/x-raw,format=RGBA ! appsink name=out sync=false"));
    plainFile.push_back(
        plain(source + "jpegenc quality=92 ! filesink sync=false location=" + (folder / "plain.jpg").string()));
  }
  std::filesystem::remove_all(folder);
  const bool first = report("opening the camera to its first picture", picture, plainPicture, 3);
  const bool saved = report("shutter to a file with its date, 3 MP", file, plainFile, 3);
  return first && saved ? 0 : 1;
}

}  // namespace
}  // namespace tlx::bench

int main() {
  return tlx::bench::run();
}
