#include "adapters/memory/MemoryCamera.h"

#include <utility>

namespace tlx::memory {

AVAuthorizationStatus MemoryCamera::authorizationStatus() const {
  std::lock_guard lock(mutex_);
  return status_;
}

void MemoryCamera::setStatus(AVAuthorizationStatus status) {
  std::lock_guard lock(mutex_);
  status_ = status;
}

void MemoryCamera::requestAccess(AccessHandler handler) {
  {
    std::lock_guard lock(mutex_);
    if (status_ != AVAuthorizationStatusNotDetermined) {
      background_.perform(
          [handler = std::move(handler), allowed = status_ == AVAuthorizationStatusAuthorized] { handler(allowed); });
      return;
    }
    waiting_.push_back(std::move(handler));
    if (waiting_.size() > 1) return;
  }
  ++questionCount_;
  if (answer_) answer(*answer_);
}

void MemoryCamera::answer(bool allowed) {
  background_.perform([this, allowed] {
    std::vector<AccessHandler> handlers;
    {
      std::lock_guard lock(mutex_);
      status_ = allowed ? AVAuthorizationStatusAuthorized : AVAuthorizationStatusDenied;
      handlers.swap(waiting_);
    }
    for (const auto& handler : handlers) handler(allowed);
  });
}

void MemoryCamera::plugIn(CaptureDevice device) {
  bench.devices.push_back(std::move(device));
  if (bench.session) bench.session->plugged();
}

void MemoryCamera::unplug(const std::string& identifier) {
  std::erase_if(bench.devices, [&](const CaptureDevice& each) { return each.identifier == identifier; });
  if (bench.session) bench.session->plugged();
}

void MemoryCamera::close(const UIImagePickerController& screen) {
  // Whoever is being destroyed can no longer be locked.
  if (const auto open = screen_.lock(); !open || open.get() == &screen) screen_.reset();
}

bool MemoryCamera::take(const UIImagePickerControllerInfo& info) {
  const auto open = screen();
  if (open) open->finish(info);
  return open != nullptr;
}

bool MemoryCamera::takePhoto(std::shared_ptr<const UIImage> photo) {
  return take({kUTTypeImage, std::move(photo), std::nullopt});
}

bool MemoryCamera::takeVideo(AVRecording video) {
  return take({kUTTypeMovie, nullptr, std::move(video)});
}

bool MemoryCamera::cancel() {
  const auto open = screen();
  if (open) open->cancel();
  return open != nullptr;
}

void MemoryCamera::clear() {
  std::vector<AccessHandler> dropped;
  std::lock_guard lock(mutex_);
  dropped.swap(waiting_);
}

}  // namespace tlx::memory
