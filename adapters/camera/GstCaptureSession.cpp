#include "adapters/camera/GstCaptureSession.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <future>
#include <utility>

#include "adapters/camera/CameraFormat.h"
#include "adapters/camera/PictureOf.h"

namespace tlx::camera {
namespace {

constexpr unsigned kFirstPicturePatience = 8000;  // milliseconds
/// A microphone takes a moment to wake; whoever records right after opening the camera waits for it, but not for long.
constexpr unsigned kSoundPatience = 1000;  // milliseconds
/// A screen's worth: more would be scaled down again for every frame.
constexpr int kPreviewSide = 1280;

std::string pictureDescription(bool jpeg) {
  const std::string side = std::to_string(kPreviewSide);
  return std::string(jpeg ? "jpegdec ! " : "") +
         "tee name=t  t. ! queue leaky=downstream max-size-buffers=1 max-size-bytes=0 max-size-time=0 ! "
         "videoscale ! videoconvert ! videoflip video-direction=auto ! videoconvert ! "
         "video/x-raw,format=RGBA,pixel-aspect-ratio=1/1,width=[1," +
         side + "],height=[1," + side +
         "] ! appsink name=preview max-buffers=1 drop=true sync=false  "
         "t. ! queue leaky=downstream max-size-buffers=4 max-size-bytes=0 max-size-time=0 ! "
         "appsink name=whole caps=video/x-raw max-buffers=4 drop=true sync=false";
}

constexpr char kSoundDescription[] =
    "queue max-size-time=2000000000 ! audioconvert ! audioresample ! "
    "audio/x-raw,rate=48000,channels=[1,2] ! appsink name=sound sync=false";

}  // namespace

/// What both sides reach: the newest picture, and the way to the listener, which the session cuts when it goes.
struct GstCaptureSession::Shared {
  MainQueuePort& mainQueue;
  CaptureSessionListener* listener;  // main thread
  GstCaptureSession* session;        // main thread

  std::mutex mutex;       ///< guards what follows
  Gst<GstSample> newest;  // for the screen
  Gst<GstSample> whole;   // the same, or the one after it, with all of the sensor's pixels
  bool announced = false;
  std::shared_ptr<Recorder> recorder;
  bool photoWanted = false;

  std::atomic<bool> recording = false;

  template <class Step>
  static void tell(const std::shared_ptr<Shared>& shared, Step step) {
    shared->mainQueue.post([shared, step = std::move(step)] {
      if (shared->session) step(*shared->session, *shared->listener);
    });
  }
};

/// The loop's side.
class GstCaptureSession::Engine {
 public:
  Engine(GlibLoop& loop, const Options& options, std::shared_ptr<Shared> shared)
      : loop_(loop), options_(options), shared_(std::move(shared)) {
    startGstreamer();
    RecordingFile::sweep(options_.folder);
    devices_ = std::make_unique<DeviceList>(loop_, options_.devices, [this] { devicesChanged(); });
  }
  ~Engine() {
    ++opening_;
    closePictures();
    sounds_.reset();
    {
      std::lock_guard lock(shared_->mutex);
      shared_->recorder.reset();
    }
    recorder_.reset();
  }

  void open(CaptureKind kind, const std::string& identifier);
  void takePhoto();
  void startRecording() { startRecording(true); }
  void stopRecording(std::optional<NSError> cause);

 private:
  void startRecording(bool waitsForSound);
  void endWaitForSound();
  void devicesChanged();
  void flowPreview(GstSample& sample);
  void flowWhole(GstSample& sample, GstElement& pipeline);
  void flowSound(GstSample& sample, GstElement& pipeline);
  void tellPhoto(GstSample& sample, GstElement& pipeline);
  void closePictures();
  void broke(NSError error);
  void fail(NSError error);
  void recordingEnded(std::optional<AVRecording> recording, std::optional<NSError> error);
  void tellDevices(const std::vector<Camera>& cameras, const std::string& open);

  GlibLoop& loop_;
  const Options options_;
  const std::shared_ptr<Shared> shared_;
  std::unique_ptr<DeviceList> devices_;
  std::unique_ptr<Tap> pictures_, sounds_;
  std::shared_ptr<Recorder> recorder_;
  std::string device_;
  std::uint64_t opening_ = 0;
  std::atomic<CaptureKind> kind_ = CaptureKind::Photo;
  std::atomic<bool> flowed_ = false, soundFlows_ = false;
  bool awaitsSound_ = false;        ///< a recording does, before it begins
  std::optional<NSError> failure_;  ///< to be told when the recording has ended
  const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

GstCaptureSession::GstCaptureSession(const Options& options, MainQueuePort& mainQueue, CaptureSessionListener& listener)
    : shared_(new Shared{mainQueue, &listener, this, {}, {}, {}, false, {}, false, false}) {
  loop_.post([this, options] { engine_ = std::make_unique<Engine>(loop_, options, shared_); });
}

GstCaptureSession::~GstCaptureSession() {
  shared_->session = nullptr;
  std::promise<void> gone;
  loop_.post([this, &gone] {
    engine_.reset();
    gone.set_value();
  });
  gone.get_future().wait();
}

std::size_t GstCaptureSession::device() const {
  const auto found =
      std::find_if(devices_.begin(), devices_.end(), [&](const auto& each) { return each.identifier == device_; });
  return static_cast<std::size_t>(found - devices_.begin());
}

void GstCaptureSession::open(CaptureKind kind, const std::string& identifier) {
  loop_.post([this, kind, identifier] { engine_->open(kind, identifier); });
}

std::shared_ptr<const CGImage> GstCaptureSession::preview() {
  std::lock_guard lock(shared_->mutex);
  shared_->announced = false;
  return shared_->newest ? mappedPicture(*shared_->newest) : nullptr;
}

void GstCaptureSession::takePhoto() {
  loop_.post([this] { engine_->takePhoto(); });
}

void GstCaptureSession::startRecording() {
  loop_.post([this] { engine_->startRecording(); });
}

void GstCaptureSession::stopRecording() {
  loop_.post([this] { engine_->stopRecording(std::nullopt); });
}

std::optional<double> GstCaptureSession::recordedSeconds() const {
  if (!shared_->recording) return std::nullopt;
  std::lock_guard lock(shared_->mutex);
  return shared_->recorder ? shared_->recorder->seconds() : 0;
}

void GstCaptureSession::Engine::tellDevices(const std::vector<Camera>& cameras, const std::string& open) {
  std::vector<CaptureDevice> devices;
  devices.reserve(cameras.size());
  for (const Camera& camera : cameras) devices.push_back(camera.device);
  Shared::tell(shared_,
               [devices = std::move(devices), open](GstCaptureSession& session, CaptureSessionListener& listener) {
                 session.devices_ = devices;
                 session.device_ = open;
                 listener.devicesChanged();
               });
}

void GstCaptureSession::Engine::devicesChanged() {
  tellDevices(devices_->cameras(), device_);
}

void GstCaptureSession::Engine::open(CaptureKind kind, const std::string& identifier) {
  if (recorder_) return;
  closePictures();  // the device must be free before it is opened anew
  sounds_.reset();
  {
    std::lock_guard lock(shared_->mutex);
    shared_->newest.reset();
    shared_->photoWanted = false;
  }
  failure_.reset();
  kind_ = kind;
  flowed_ = soundFlows_ = awaitsSound_ = false;
  const auto opening = ++opening_;
  const auto cameras = devices_->cameras();
  auto camera = std::find_if(cameras.begin(), cameras.end(),
                             [&](const Camera& each) { return each.device.identifier == identifier; });
  if (camera == cameras.end()) camera = cameras.begin();
  device_ = camera == cameras.end() ? "" : camera->device.identifier;
  tellDevices(cameras, device_);
  if (camera == cameras.end()) return fail(cameraError(CameraErrorNoDevice, "there is no camera"));

  const auto format = chooseFormat(camera->offers.get(), kind);
  const bool jpeg = format && gst_structure_has_name(gst_caps_get_structure(format.get(), 0), "image/jpeg");
  std::string filter;
  if (format) {
    gchar* const text = gst_caps_to_string(format.get());
    filter = std::string("capsfilter caps=\"") + text + "\" ! ";
    g_free(text);
  }
  pictures_ = std::make_unique<Tap>(
      loop_, camera->makeSource(), filter + pictureDescription(jpeg),
      std::vector<Tap::Outlet>{
          {"preview", [this](GstSample& sample, GstElement&) { flowPreview(sample); }},
          {"whole", [this](GstSample& sample, GstElement& pipeline) { flowWhole(sample, pipeline); }}},
      [this](NSError error) { broke(std::move(error)); });
  if (kind == CaptureKind::Movie) {
    if (GstElement* const microphone = devices_->makeMicrophone()) {
      sounds_ = std::make_unique<Tap>(
          loop_, microphone, kSoundDescription,
          std::vector<Tap::Outlet>{
              {"sound", [this](GstSample& sample, GstElement& pipeline) { flowSound(sample, pipeline); }}},
          [this](const NSError&) {
            // Better a silent movie than none.
            soundFlows_ = false;
            if (recorder_) recorder_->endSound();
            sounds_.reset();
            endWaitForSound();
          });
    }
  }
  loop_.postLater(kFirstPicturePatience, [this, alive = std::weak_ptr(alive_), opening] {
    if (!alive.expired() && opening == opening_ && !flowed_)
      broke(cameraError(CameraErrorFailed, "the camera gives no pictures"));
  });
}

void GstCaptureSession::Engine::closePictures() {
  // The device's own memory: it may not be free while we hold some of it.
  const auto letGo = [this] {
    std::lock_guard lock(shared_->mutex);
    shared_->whole.reset();
  };
  letGo();
  pictures_.reset();
  letGo();
}

void GstCaptureSession::Engine::flowPreview(GstSample& sample) {
  flowed_ = true;
  bool announce = false;
  {
    std::lock_guard lock(shared_->mutex);
    shared_->newest.reset(gst_sample_ref(&sample));
    announce = !std::exchange(shared_->announced, true);
  }
  if (announce) {
    Shared::tell(shared_, [](GstCaptureSession&, CaptureSessionListener& listener) { listener.previewChanged(); });
  }
}

void GstCaptureSession::Engine::flowWhole(GstSample& sample, GstElement& pipeline) {
  std::shared_ptr<Recorder> recorder;
  bool wanted = false;
  {
    std::lock_guard lock(shared_->mutex);
    recorder = shared_->recorder;
    wanted = std::exchange(shared_->photoWanted, false);
    if (kind_ == CaptureKind::Photo) shared_->whole.reset(gst_sample_ref(&sample));
  }
  if (recorder) recorder->addPicture(sample, takenAt(sample, pipeline));
  if (wanted) tellPhoto(sample, pipeline);
}

void GstCaptureSession::Engine::tellPhoto(GstSample& sample, GstElement& pipeline) {
  const auto photo = uprightablePicture(sample, pipeline);
  Shared::tell(shared_, [photo](GstCaptureSession&, CaptureSessionListener& listener) {
    if (photo) {
      listener.photoTaken(photo);
    } else {
      listener.failed(cameraError(CameraErrorFailed, "the camera's picture cannot be read"));
    }
  });
}

void GstCaptureSession::Engine::flowSound(GstSample& sample, GstElement& pipeline) {
  if (!soundFlows_.exchange(true)) {
    loop_.post([this, alive = std::weak_ptr(alive_)] {
      if (!alive.expired()) endWaitForSound();
    });
  }
  std::shared_ptr<Recorder> recorder;
  {
    std::lock_guard lock(shared_->mutex);
    recorder = shared_->recorder;
  }
  if (recorder) recorder->addSound(sample, takenAt(sample, pipeline));
}

void GstCaptureSession::Engine::takePhoto() {
  if (!pictures_) return fail(cameraError(CameraErrorNoDevice, "no camera is open"));
  // What the person saw when they pressed, rather than what comes after it.
  Gst<GstSample> seen;
  {
    std::lock_guard lock(shared_->mutex);
    seen = std::move(shared_->whole);
    shared_->photoWanted = !seen;
  }
  if (seen) tellPhoto(*seen, pictures_->pipeline());
}

void GstCaptureSession::Engine::startRecording(bool waitsForSound) {
  if (recorder_) return;
  shared_->recording = true;
  if (!pictures_) return recordingEnded(std::nullopt, cameraError(CameraErrorNoDevice, "no camera is open"));
  if (sounds_ && !soundFlows_ && waitsForSound) {
    if (std::exchange(awaitsSound_, true)) return;
    loop_.postLater(kSoundPatience, [this, alive = std::weak_ptr(alive_), opening = opening_] {
      if (!alive.expired() && opening == opening_) endWaitForSound();
    });
    return;
  }
  const bool sound = sounds_ && soundFlows_;
  auto encoding = chooseMovieEncoding(sound, options_.without);
  if (!encoding) return recordingEnded(std::nullopt, cameraError(CameraErrorNoEncoder, "there is no encoder"));
  auto file = RecordingFile::make(options_.folder, encoding->ending);
  if (!file) {
    const auto code = errno == ENOSPC || errno == EDQUOT ? CameraErrorNoSpace : CameraErrorFailed;
    return recordingEnded(std::nullopt, cameraError(code, options_.folder + ": " + std::strerror(errno)));
  }
  recorder_ =
      std::make_shared<Recorder>(loop_, Recorder::Plan{std::move(*encoding), std::move(file), options_.spareBytes},
                                 [this](std::optional<AVRecording> recording, std::optional<NSError> error) {
                                   recordingEnded(std::move(recording), std::move(error));
                                 });
  std::lock_guard lock(shared_->mutex);
  shared_->recorder = recorder_;
}

void GstCaptureSession::Engine::endWaitForSound() {
  if (std::exchange(awaitsSound_, false) && shared_->recording) startRecording(false);
}

void GstCaptureSession::Engine::stopRecording(std::optional<NSError> cause) {
  if (!recorder_) {
    if (shared_->recording) recordingEnded(std::nullopt, std::move(cause));  // it had not begun
    return;
  }
  {
    std::lock_guard lock(shared_->mutex);
    shared_->recorder.reset();
  }
  recorder_->finish(std::move(cause));
}

void GstCaptureSession::Engine::recordingEnded(std::optional<AVRecording> recording, std::optional<NSError> error) {
  {
    std::lock_guard lock(shared_->mutex);
    shared_->recorder.reset();
  }
  shared_->recording = false;
  // It goes in a step of its own: not from within its own call, and on this thread although a picture may still be on
  // its way into it.
  loop_.post([this, done = std::exchange(recorder_, nullptr)] { (void)this; });
  Shared::tell(shared_, [recording = std::move(recording), error = std::move(error)](GstCaptureSession&,
                                                                                     CaptureSessionListener& listener) {
    listener.recordingEnded(recording, error);
  });
  if (failure_) fail(*std::exchange(failure_, std::nullopt));
}

/// The camera is gone. What is being recorded is brought to its end first.
void GstCaptureSession::Engine::broke(NSError error) {
  if (flowed_ && error.code == CameraErrorFailed) error.code = CameraErrorDisconnected;
  closePictures();
  if (shared_->recording) {
    failure_ = error;
    stopRecording(std::move(error));
  } else {
    fail(std::move(error));
  }
}

void GstCaptureSession::Engine::fail(NSError error) {
  Shared::tell(shared_, [error = std::move(error)](GstCaptureSession&, CaptureSessionListener& listener) {
    listener.failed(error);
  });
}

}  // namespace tlx::camera
