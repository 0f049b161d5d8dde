#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "adapters/camera/GlibLoop.h"
#include "adapters/camera/GstObjects.h"

namespace tlx::camera {

/// A camera, and how to get its pictures.
struct Camera {
  CaptureDevice device;
  Gst<GstCaps> offers;  ///< its formats; nothing when it does not tell
  /// A new source of its pictures, floating; nothing when it cannot be had.
  std::function<GstElement*()> makeSource;
};

/// The cameras and microphones that are plugged in. Lives on the loop's thread.
class DeviceList {
 public:
  struct Options {
    bool test = false;  ///< two cameras and a microphone that are made up
    /// For tests: in place of the test cameras' pictures, as for gst-launch.
    std::string testPictures;
    bool testSound = true;
    /// A new connection to the desktop's cameras, the taker's to close, or -1. Set where the program is locked in.
    std::function<int()> openRemote;
  };
  /// `changed` is told when something is plugged in or out, not before the constructor has returned.
  DeviceList(GlibLoop& loop, const Options& options, std::function<void()> changed);
  ~DeviceList();

  /// Those that can be looked through, the best one first.
  std::vector<Camera> cameras() const;
  /// A new source of sound, floating; nothing without a microphone.
  GstElement* makeMicrophone() const;

 private:
  std::vector<Camera> testCameras() const;

  const Options options_;
  Gst<GstDeviceMonitor> monitor_;
  std::unique_ptr<GlibLoop::BusWatch> watch_;
};

}  // namespace tlx::camera
