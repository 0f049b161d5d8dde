#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/avfoundation/CameraPort.h"

namespace tlx::test {

/// Two cameras of which a test holds both ends: it shows pictures, and says what comes of each press.
class ScriptedCamera final : public CameraPort {
 public:
  AVAuthorizationStatus authorizationStatus() const override { return AVAuthorizationStatusAuthorized; }
  void requestAccess(AccessHandler handler) override { handler(true); }
  std::unique_ptr<CaptureSession> makeSession(CaptureSessionListener& told) override {
    listener = &told;
    return std::make_unique<Session>(*this);
  }

  /// A picture arrives; it is the first after an opening that makes the shutter work.
  void show() {
    picture = CGImage::create(4, 3, std::vector<std::uint8_t>(48, 255));
    listener->previewChanged();
  }

  std::vector<CaptureDevice> devices = {{"back", "Back camera", CaptureDevice::Facing::Back},
                                        {"front", "Front camera", CaptureDevice::Facing::Front}};
  std::vector<std::string> heard;  ///< what the screen asked for, since it was last read
  std::optional<double> recorded;
  CaptureSessionListener* listener = nullptr;  ///< unretained: a session's, nothing without one
  std::shared_ptr<const CGImage> picture;

 private:
  struct Session final : CaptureSession {
    explicit Session(ScriptedCamera& held) : camera(held) {}
    ~Session() override { camera.listener = nullptr; }
    std::vector<CaptureDevice> devices() const override { return camera.devices; }
    std::size_t device() const override { return open_; }
    void open(CaptureKind kind, const std::string& identifier) override {
      open_ = identifier == "front" ? 1 : 0;
      camera.picture = nullptr;
      camera.heard.push_back(std::string("open ") + (kind == CaptureKind::Movie ? "movie " : "photo ") + identifier);
      camera.listener->devicesChanged();
    }
    std::shared_ptr<const CGImage> preview() override { return camera.picture; }
    void takePhoto() override { camera.heard.emplace_back("photo"); }
    void startRecording() override { camera.heard.emplace_back("start"); }
    void stopRecording() override { camera.heard.emplace_back("stop"); }
    std::optional<double> recordedSeconds() const override { return camera.recorded; }
    ScriptedCamera& camera;
    std::size_t open_ = 0;
  };
};

}  // namespace tlx::test
