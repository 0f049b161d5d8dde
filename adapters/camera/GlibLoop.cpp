#include "adapters/camera/GlibLoop.h"

#include <utility>

namespace tlx::camera {

GlibLoop::GlibLoop() : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)) {
  thread_ = std::thread([this] {
    g_main_context_push_thread_default(context_);
    g_main_loop_run(loop_);
    g_main_context_pop_thread_default(context_);
  });
}

GlibLoop::~GlibLoop() {
  // As a step of its own: a loop that has not begun to run could not be told to end.
  post([this] { g_main_loop_quit(loop_); });
  thread_.join();
  g_main_loop_unref(loop_);
  g_main_context_unref(context_);
}

void GlibLoop::attach(GSource* source, Step step) {
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  g_source_set_callback(
      source,
      [](gpointer data) -> gboolean {
        (*static_cast<Step*>(data))();
        return G_SOURCE_REMOVE;
      },
      new Step(std::move(step)), [](gpointer data) { delete static_cast<Step*>(data); });
  g_source_attach(source, context_);
  g_source_unref(source);
}

void GlibLoop::post(Step step) {
  attach(g_idle_source_new(), std::move(step));
}

void GlibLoop::postLater(unsigned milliseconds, Step step) {
  attach(g_timeout_source_new(milliseconds), std::move(step));
}

GlibLoop::BusWatch::BusWatch(GlibLoop& loop, GstBus& bus, Handler handler) : source_(gst_bus_create_watch(&bus)) {
  const GstBusFunc call = [](GstBus*, GstMessage* message, gpointer data) -> gboolean {
    (*static_cast<Handler*>(data))(*message);
    return G_SOURCE_CONTINUE;
  };
  g_source_set_callback(source_, reinterpret_cast<GSourceFunc>(reinterpret_cast<void*>(call)),
                        new Handler(std::move(handler)), [](gpointer data) { delete static_cast<Handler*>(data); });
  g_source_attach(source_, loop.context_);
}

GlibLoop::BusWatch::~BusWatch() {
  if (!source_) return;
  g_source_destroy(source_);
  g_source_unref(source_);
}

}  // namespace tlx::camera
