#include "adapters/memory/MemoryCaptureSession.h"

#include <algorithm>
#include <utility>

#include "tlx/platform/uikit/UIImage.h"

namespace tlx::memory {
namespace {

using Step = MemoryCameraBench::Step;

const CaptureDevice* named(const std::vector<CaptureDevice>& devices, const std::string& identifier) {
  const auto found = std::find_if(devices.begin(), devices.end(),
                                  [&](const CaptureDevice& each) { return each.identifier == identifier; });
  return found == devices.end() ? nullptr : &*found;
}

NSError cameraError(CameraErrorCode code) {
  return {kCameraErrorDomain, code, "the camera in memory"};
}

}  // namespace

MemoryCaptureSession::MemoryCaptureSession(MemoryCameraBench& bench, MainQueuePort& mainQueue,
                                           CaptureSessionListener& listener)
    : bench_(bench), mainQueue_(mainQueue), listener_(listener) {
  bench_.session = this;
}

MemoryCaptureSession::~MemoryCaptureSession() {
  if (bench_.session == this) bench_.session = nullptr;
}

template <class Call>
void MemoryCaptureSession::tell(Call call) {
  mainQueue_.post([this, alive = std::weak_ptr(alive_), call = std::move(call)] {
    if (!alive.expired()) call(listener_);
  });
}

std::optional<NSError> MemoryCaptureSession::failureOf(Step step) const {
  for (const auto& [failing, error] : bench_.failures) {
    if (failing == step) return error;
  }
  return std::nullopt;
}

std::size_t MemoryCaptureSession::device() const {
  const CaptureDevice* const open = named(devices_, open_);
  return open ? static_cast<std::size_t>(open - devices_.data()) : devices_.size();
}

void MemoryCaptureSession::open(CaptureKind kind, const std::string& identifier) {
  if (recorded_) return;
  bench_.asked.push_back(std::string("open ") + (kind == CaptureKind::Movie ? "movie " : "photo ") + identifier);
  picture_ = nullptr;
  works_ = false;
  const CaptureDevice* chosen = named(bench_.devices, identifier);
  if (!chosen && !bench_.devices.empty()) chosen = &bench_.devices.front();
  tell([this, devices = bench_.devices, open = chosen ? chosen->identifier : ""](CaptureSessionListener& told) {
    devices_ = devices;
    open_ = open;
    told.devicesChanged();
  });
  std::optional<NSError> failure = failureOf(Step::Open);
  if (!chosen) failure = cameraError(CameraErrorNoDevice);
  tell([this, failure](CaptureSessionListener&) {
    if (failure) return lose(*failure);
    works_ = true;
    if (bench_.showsAtOnce) show();
  });
}

std::shared_ptr<const CGImage> MemoryCaptureSession::preview() {
  announced_ = false;
  return picture_;
}

void MemoryCaptureSession::takePhoto() {
  bench_.asked.emplace_back("photo");
  if (const auto failure = works_ ? failureOf(Step::Photo) : cameraError(CameraErrorNoDevice)) {
    return tell([failure](CaptureSessionListener& told) { told.failed(*failure); });
  }
  auto photo = bench_.photo;
  if (!photo) photo = std::make_shared<const UIImage>(CGImage::create(40, 30, std::vector<std::uint8_t>(4800, 255)));
  tell([photo](CaptureSessionListener& told) { told.photoTaken(photo); });
}

void MemoryCaptureSession::startRecording() {
  bench_.asked.emplace_back("start");
  if (recorded_) return;
  recorded_ = 0;
  if (!works_) return endRecording(cameraError(CameraErrorNoDevice));
  if (const auto failure = failureOf(Step::Record)) endRecording(failure);
}

void MemoryCaptureSession::stopRecording() {
  bench_.asked.emplace_back("stop");
  if (recorded_) endRecording(std::nullopt);
}

void MemoryCaptureSession::endRecording(std::optional<NSError> cause) {
  std::optional<AVRecording> recording;
  if (const double seconds = std::exchange(recorded_, std::nullopt).value_or(0); seconds > 0) {
    recording = {"/nowhere.mp4", {{AVMediaTypeVideo, "h264", 1280, 720, seconds}}, seconds, nullptr};
  } else if (!cause) {
    cause = cameraError(CameraErrorFailed);
  }
  tell([recording, cause](CaptureSessionListener& told) { told.recordingEnded(recording, cause); });
}

void MemoryCaptureSession::show() {
  if (!works_) return;
  picture_ = CGImage::create(4, 3, std::vector<std::uint8_t>(48, 255));
  if (!std::exchange(announced_, true)) {
    tell([](CaptureSessionListener& told) { told.previewChanged(); });
  }
}

void MemoryCaptureSession::record(double seconds) {
  if (recorded_) *recorded_ += seconds;
  show();
}

void MemoryCaptureSession::cutShort(const NSError& cause) {
  if (recorded_) endRecording(cause);
}

void MemoryCaptureSession::plugged() {
  const bool lost = works_ && !named(bench_.devices, open_);
  tell([this, devices = bench_.devices](CaptureSessionListener& told) {
    devices_ = devices;
    told.devicesChanged();
  });
  if (lost) lose(cameraError(CameraErrorDisconnected));
}

void MemoryCaptureSession::lose(const NSError& cause) {
  works_ = false;
  picture_ = nullptr;
  cutShort(cause);
  tell([cause](CaptureSessionListener& told) { told.failed(cause); });
}

}  // namespace tlx::memory
