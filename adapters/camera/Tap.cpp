#include "adapters/camera/Tap.h"

#include <utility>
#include <vector>

#include <gst/app/gstappsink.h>

namespace tlx::camera {

Tap::Tap(GlibLoop& loop, GstElement* source, const std::string& description, std::vector<Outlet> outlets, Broken broken)
    : outlets_(std::move(outlets)), broken_(std::move(broken)) {
  const bool built = build(source, description);
  if (built) {
    const Gst<GstBus> bus(gst_element_get_bus(pipeline_.get()));
    watch_ = std::make_unique<GlibLoop::BusWatch>(loop, *bus, [this](GstMessage& message) {
      if (GST_MESSAGE_TYPE(&message) == GST_MESSAGE_ERROR) breakOff(cameraError(message, CameraErrorFailed));
      if (GST_MESSAGE_TYPE(&message) == GST_MESSAGE_EOS) {
        breakOff(cameraError(CameraErrorDisconnected, "the device gives nothing more"));
      }
    });
    useSystemClock(*pipeline_);
    gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);  // a refusal is told on the bus as well
  } else {
    loop.post([this, alive = std::weak_ptr(alive_)] {
      if (!alive.expired()) breakOff(cameraError(CameraErrorFailed, "the device cannot be set up"));
    });
  }
}

bool Tap::build(GstElement* source, const std::string& description) {
  if (!source) return false;
  GError* error = nullptr;
  GstElement* const rest = gst_parse_bin_from_description(description.c_str(), TRUE, &error);
  const bool failed = error != nullptr;
  g_clear_error(&error);
  pipeline_.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
  gst_bin_add(GST_BIN(pipeline_.get()), source);
  if (failed || !rest) return false;
  gst_bin_add(GST_BIN(pipeline_.get()), rest);
  if (!gst_element_link(source, rest)) return false;
  for (Outlet& outlet : outlets_) {
    const auto sink = elementIn(*pipeline_, outlet.name.c_str());
    if (!sink) return false;
    GstAppSinkCallbacks callbacks{};
    struct Context {
      Outlet* outlet;        // unretained: the pipeline stops before either goes
      GstElement* pipeline;  // likewise
    };
    callbacks.new_sample = [](GstAppSink* from, gpointer data) -> GstFlowReturn {
      const auto* context = static_cast<Context*>(data);
      const Gst<GstSample> sample(gst_app_sink_pull_sample(from));
      if (sample) context->outlet->flow(*sample, *context->pipeline);
      return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, new Context{&outlet, pipeline_.get()},
                               [](gpointer data) { delete static_cast<Context*>(data); });
  }
  return true;
}

Tap::~Tap() {
  watch_.reset();
  if (pipeline_) gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

void Tap::breakOff(NSError error) {
  if (const auto broken = std::exchange(broken_, nullptr)) broken(std::move(error));
}

}  // namespace tlx::camera
