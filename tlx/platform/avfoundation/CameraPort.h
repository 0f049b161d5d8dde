#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tlx/platform/avfoundation/AVAsset.h"
#include "tlx/platform/coregraphics/CGImage.h"
#include "tlx/platform/foundation/NSError.h"

namespace tlx {

class UIImage;

/// May hold a value without a name; only authorized counts as access.
enum AVAuthorizationStatus : std::int64_t {
  AVAuthorizationStatusNotDetermined = 0,
  AVAuthorizationStatusRestricted = 1,  ///< nobody here can allow it: the machine keeps its cameras from this program
  AVAuthorizationStatusDenied = 2,      ///< the person refused
  AVAuthorizationStatusAuthorized = 3,
};

/// Domain of a camera's failures.
inline constexpr char kCameraErrorDomain[] = "CameraErrorDomain";
enum CameraErrorCode : std::int64_t {
  CameraErrorNoDevice = 1,      ///< there is no camera
  CameraErrorBusy = 2,          ///< another program has it
  CameraErrorNotAllowed = 3,    ///< the system keeps it from this program
  CameraErrorDisconnected = 4,  ///< it worked, and is gone
  CameraErrorNoSpace = 5,       ///< the disk is full
  CameraErrorNoEncoder = 6,     ///< nothing here can make a video
  CameraErrorFailed = 7,        ///< anything else
};

enum class CaptureKind { Photo, Movie };

struct CaptureDevice {
  enum class Facing { Unknown, Back, Front };
  std::string identifier;  ///< good while the device is plugged in
  std::string name;        ///< for people, UTF-8
  Facing facing = Facing::Unknown;
};

/// What a camera tells while it is looked through. Main thread, never from within a call to the session.
class CaptureSessionListener {
 public:
  virtual ~CaptureSessionListener() = default;
  /// `CaptureSession::preview` has another picture; told at most once until it has been read.
  virtual void previewChanged() = 0;
  /// `CaptureSession::devices` or `CaptureSession::device` answers something else now.
  virtual void devicesChanged() = 0;
  /// The answer to `takePhoto`: as many pixels as the sensor gives, with the orientation in which they are to be shown.
  /// Never on its side and mirrored at once: `scaleAndRotate`, which whoever keeps the photo calls, cuts a third off
  /// such a picture.
  virtual void photoTaken(const std::shared_ptr<const UIImage>& photo) = 0;
  /// The recording has ended, also by itself. Without a recording there is nothing worth keeping; an error beside a
  /// recording says what cut it short: what was recorded until then can be played.
  virtual void recordingEnded(const std::optional<AVRecording>& recording, const std::optional<NSError>& error) = 0;
  /// The camera shows nothing any more, until it is opened again.
  virtual void failed(const NSError& error) = 0;
};

/// One look through a camera, from the opening of a capture screen until it is left. Main thread. Its destructor ends
/// everything, throws away what is being recorded, and waits until the device is free.
class CaptureSession {
 public:
  virtual ~CaptureSession() = default;

  virtual std::vector<CaptureDevice> devices() const = 0;
  /// Index into `devices` of the open one; their count when there is none.
  virtual std::size_t device() const = 0;
  /// Opens a device, the best one for an absent identifier, in place of the one that is open. Photos come from the
  /// sensor's largest pictures, movies from a format that moves smoothly. Returns at once; what fails is told.
  virtual void open(CaptureKind kind, const std::string& identifier) = 0;

  /// The newest picture of what the camera sees, small enough to be drawn smoothly. Nothing before the first.
  virtual std::shared_ptr<const CGImage> preview() = 0;
  /// Answered by `photoTaken` or `failed`. To be called in photo mode, and not again before the answer.
  virtual void takePhoto() = 0;
  /// Answered by `recordingEnded`, after `stopRecording` or when something cuts it short. Sound is recorded when there
  /// is a microphone.
  virtual void startRecording() = 0;
  virtual void stopRecording() = 0;
  bool isRecording() const { return recordedSeconds().has_value(); }
  /// How long the running recording is; nothing while none runs.
  virtual std::optional<double> recordedSeconds() const = 0;
};

/// The machine's cameras: whether this program may use them, and a look through them.
class CameraPort {
 public:
  using AccessHandler = std::function<void(bool granted)>;

  virtual ~CameraPort() = default;
  /// Main thread; at once.
  virtual AVAuthorizationStatus authorizationStatus() const = 0;
  /// False on a platform that asks nobody.
  virtual bool offersAccessRequest() const { return true; }
  /// Main thread. Asks the person at most once; answers exactly once, on any thread, with their answer, or with the
  /// earlier one where they have decided.
  virtual void requestAccess(AccessHandler handler) = 0;
  /// Main thread. The listener outlives the session. Nothing when there are no cameras to look through at all, whatever
  /// is plugged in.
  virtual std::unique_ptr<CaptureSession> makeSession(CaptureSessionListener& listener) = 0;
};

/// A machine without cameras, for programs that want none.
class NoCamera final : public CameraPort {
 public:
  AVAuthorizationStatus authorizationStatus() const override { return AVAuthorizationStatusRestricted; }
  void requestAccess(AccessHandler handler) override { handler(false); }
  std::unique_ptr<CaptureSession> makeSession(CaptureSessionListener&) override { return nullptr; }
};

}  // namespace tlx
