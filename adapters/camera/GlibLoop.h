#pragma once

#include <functional>
#include <thread>

#include <glib.h>
#include <gst/gst.h>

namespace tlx::camera {

/// A thread with a loop of GLib's: all that GStreamer is told, and all that it tells, goes through it, one after the
/// other.
class GlibLoop {
 public:
  using Step = std::function<void()>;

  GlibLoop();
  /// Ends the loop once the running step is done; what waits is let go unrun.
  ~GlibLoop();
  GlibLoop(const GlibLoop&) = delete;
  GlibLoop& operator=(const GlibLoop&) = delete;

  /// Any thread. In order.
  void post(Step step);
  /// Any thread. Once, after that many milliseconds.
  void postLater(unsigned milliseconds, Step step);

  /// Watches a bus while it lives; on the loop's thread, like its handler.
  class BusWatch {
   public:
    using Handler = std::function<void(GstMessage&)>;
    BusWatch() = default;
    BusWatch(GlibLoop& loop, GstBus& bus, Handler handler);
    ~BusWatch();
    BusWatch(const BusWatch&) = delete;
    BusWatch& operator=(const BusWatch&) = delete;

   private:
    GSource* source_ = nullptr;
  };

 private:
  void attach(GSource* source, Step step);

  GMainContext* context_;
  GMainLoop* loop_;
  std::thread thread_;
};

}  // namespace tlx::camera
