#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "adapters/camera/GlibLoop.h"
#include "adapters/camera/GstObjects.h"

namespace tlx::camera {

/// A running device, with what flows out of it. Lives on the loop's thread; letting go of it stops the device and
/// returns when nothing flows any more.
class Tap {
 public:
  /// On a thread of the device's; `pipeline` is the tap's, for `takenAt`.
  using Flow = std::function<void(GstSample& sample, GstElement& pipeline)>;
  /// On the loop's thread, once: it will flow no more. Letting go of the tap is allowed.
  using Broken = std::function<void(NSError)>;

  struct Outlet {
    std::string name;  ///< of an appsink in the description
    Flow flow;
  };

  /// `source` floating, linked before `description`, whose first element takes its output. Nothing flows and `broken`
  /// is told where the two do not fit, or the device refuses.
  Tap(GlibLoop& loop, GstElement* source, const std::string& description, std::vector<Outlet> outlets, Broken broken);
  ~Tap();
  Tap(const Tap&) = delete;
  Tap& operator=(const Tap&) = delete;

  GstElement& pipeline() const { return *pipeline_; }

 private:
  bool build(GstElement* source, const std::string& description);
  void breakOff(NSError error);

  Gst<GstElement> pipeline_;
  std::vector<Outlet> outlets_;
  Broken broken_;
  std::unique_ptr<GlibLoop::BusWatch> watch_;
  const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace tlx::camera
