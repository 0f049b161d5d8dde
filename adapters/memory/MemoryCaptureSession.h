#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/avfoundation/CameraPort.h"
#include "tlx/platform/dispatch/MainQueuePort.h"

namespace tlx::memory {

/// What is plugged into a machine in memory, and what becomes of looks through it. Main thread.
struct MemoryCameraBench {
  enum class Step { Open, Photo, Record };

  std::vector<CaptureDevice> devices = {{"back", "Back camera", CaptureDevice::Facing::Back},
                                        {"front", "Front camera", CaptureDevice::Facing::Front}};
  /// What a step comes to instead of what it should; it does until it is taken out.
  std::vector<std::pair<Step, NSError>> failures;
  bool showsAtOnce = true;                        ///< or a picture comes when the bench shows one
  std::shared_ptr<const UIImage> photo;           ///< what the shutter takes
  std::vector<std::string> asked;                 ///< of the sessions, in words, since it was last read
  class MemoryCaptureSession* session = nullptr;  ///< unretained: takes itself out when it goes
};

/// A look through a camera in memory.
class MemoryCaptureSession final : public CaptureSession {
 public:
  /// All outlive the session.
  MemoryCaptureSession(MemoryCameraBench& bench, MainQueuePort& mainQueue, CaptureSessionListener& listener);
  ~MemoryCaptureSession() override;

  std::vector<CaptureDevice> devices() const override { return devices_; }
  std::size_t device() const override;
  void open(CaptureKind kind, const std::string& identifier) override;
  std::shared_ptr<const CGImage> preview() override;
  void takePhoto() override;
  void startRecording() override;
  void stopRecording() override;
  std::optional<double> recordedSeconds() const override { return recorded_; }

  // The bench's side.

  /// Another picture comes, unless nothing is open or it was lost.
  void show();
  /// The running recording is that much longer.
  void record(double seconds);
  /// The running recording ends by itself, with what there is of it.
  void cutShort(const NSError& cause);
  /// The camera shows nothing any more; what is being recorded is brought to its end first.
  void lose(const NSError& cause);
  /// What is plugged in is another; an open camera that is not there any more is lost.
  void plugged();

 private:
  /// Tells the listener in a turn of its own, unless the session has gone by then.
  template <class Call>
  void tell(Call call);
  std::optional<NSError> failureOf(MemoryCameraBench::Step step) const;
  void endRecording(std::optional<NSError> cause);

  MemoryCameraBench& bench_;
  MainQueuePort& mainQueue_;
  CaptureSessionListener& listener_;
  const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  std::vector<CaptureDevice> devices_;  ///< as told
  std::string open_;                    ///< identifier of the device that was opened last; empty when there was none
  bool works_ = false;
  std::shared_ptr<const CGImage> picture_;
  bool announced_ = false;
  std::optional<double> recorded_;
};

}  // namespace tlx::memory
