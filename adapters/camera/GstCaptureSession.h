#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/dispatch/MainQueuePort.h"

#include "adapters/camera/DeviceList.h"
#include "adapters/camera/GlibLoop.h"
#include "adapters/camera/Recorder.h"
#include "adapters/camera/Tap.h"

namespace tlx::camera {

/// A look through a camera by GStreamer. All work is done on a loop of its own, so that the main thread never waits for
/// a device, except for it to be free when the session goes.
class GstCaptureSession final : public CaptureSession {
 public:
  struct Options {
    DeviceList::Options devices;
    std::string folder;                     ///< for recordings; made when it is not there
    std::uint64_t spareBytes = 64u << 20;   ///< what a recording leaves free on the disk
    std::vector<std::string> without = {};  ///< encoders that are not to be used
  };
  /// The queue and the listener outlive the session.
  GstCaptureSession(const Options& options, MainQueuePort& mainQueue, CaptureSessionListener& listener);
  ~GstCaptureSession() override;

  std::vector<CaptureDevice> devices() const override { return devices_; }
  std::size_t device() const override;
  void open(CaptureKind kind, const std::string& identifier) override;
  std::shared_ptr<const CGImage> preview() override;
  void takePhoto() override;
  void startRecording() override;
  void stopRecording() override;
  std::optional<double> recordedSeconds() const override;

 private:
  class Engine;
  struct Shared;

  const std::shared_ptr<Shared> shared_;
  std::vector<CaptureDevice> devices_;
  std::string device_;
  GlibLoop loop_;
  std::unique_ptr<Engine> engine_;  ///< the loop's, made and let go of there
};

}  // namespace tlx::camera
