#include "adapters/qtquick/capture/CaptureModel.h"

#include <QImage>
#include <QTransform>
#include <algorithm>
#include <utility>

#include "tlx/platform/Platform.h"

#include "adapters/qtquick/views/ImageItem.h"

namespace tlx::qtquick {
namespace {

/// A review needs no more pixels than a screen has.
constexpr int kReviewSide = 2048;

/// The photo turned upright, as it is to be seen.
QImage upright(const UIImage& photo) {
  QImage image = toQImage(photo);
  if (std::max(image.width(), image.height()) > kReviewSide) {
    image = image.scaled(kReviewSide, kReviewSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  }
  const auto orientation = photo.imageOrientation();
  static constexpr int kTurns[] = {0, 180, 270, 90};
  if (orientation >= UIImageOrientationUpMirrored) image = image.mirrored(true, false);
  if (const int turn = kTurns[orientation & 3]) image = image.transformed(QTransform().rotate(turn));
  return image;
}

}  // namespace

CaptureModel::CaptureModel(const std::shared_ptr<UIImagePickerController>& screen) : screen_(screen) {
  const auto& types = screen->mediaTypes();
  const auto offers = [&](const char* type) {
    return types && std::find(types->begin(), types->end(), type) != types->end();
  };
  movies_ = offers(kUTTypeMovie);
  photos_ = offers(kUTTypeImage) || !movies_;
  if (!photos_) kind_ = CaptureKind::Movie;
}

void CaptureModel::start(CapturePreview& preview) {
  preview_ = &preview;
  session_ = Platform::current().ports().camera.makeSession(*this);
  if (session_) {
    open({});
  } else {
    failed({kCameraErrorDomain, CameraErrorNoDevice, {}});
  }
}

void CaptureModel::stop() {
  session_.reset();
}

void CaptureModel::open(const std::string& device) {
  failure_.reset();
  sees_ = false;
  photo_.reset();
  recording_.reset();
  seconds_ = 0;
  if (session_) session_->open(kind_, device);
  setStage(Aiming);
}

void CaptureModel::setStage(Stage stage, const Words& words) {
  stage_ = stage;
  title_ = words.title;
  advice_ = words.advice;
  Q_EMIT changed();
  Q_EMIT elapsedChanged();
}

const CaptureDevice* CaptureModel::device() const {
  if (!session_) return nullptr;
  const auto at = session_->device();
  return at < devices_.size() ? &devices_[at] : nullptr;
}

std::string CaptureModel::deviceIdentifier() const {
  const CaptureDevice* open = device();
  return open ? open->identifier : std::string();
}

QString CaptureModel::cameraName() const {
  const CaptureDevice* open = device();
  return open ? QString::fromStdString(open->name) : QString();
}

bool CaptureModel::isFront() const {
  const CaptureDevice* open = device();
  return open && open->facing == CaptureDevice::Facing::Front;
}

QString CaptureModel::elapsed() const {
  const int whole = static_cast<int>(seconds_);
  return QStringLiteral("%1:%2").arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

void CaptureModel::shoot() {
  if (!session_) return;
  if (stage_ == Recording) {
    session_->stopRecording();
    setStage(Waiting);
  } else if (isReady() && isMovie()) {
    session_->startRecording();
    setStage(Recording);
  } else if (isReady()) {
    session_->takePhoto();
    setStage(Waiting);
  }
}

void CaptureModel::setMovie(bool movie) {
  const auto kind = movie ? CaptureKind::Movie : CaptureKind::Photo;
  if ((stage_ != Aiming && stage_ != Failed) || kind == kind_ || !offersBoth()) return;
  kind_ = kind;
  open(deviceIdentifier());
}

void CaptureModel::switchCamera() {
  if ((stage_ != Aiming && stage_ != Failed) || cameras() < 2) return;
  open(devices_[(session_->device() + 1) % devices_.size()].identifier);
}

void CaptureModel::retake() {
  if (stage_ == Failed || failure_) {
    if (preview_) preview_->show(QImage());
    open(deviceIdentifier());
  } else if (stage_ == Reviewing) {
    photo_.reset();
    recording_.reset();
    seconds_ = 0;
    setStage(Aiming);
    previewChanged();
  }
}

void CaptureModel::use() {
  if (stage_ != Reviewing) return;
  setStage(Saving);
  // In a later turn of the event loop: whoever is handed it may destroy this screen.
  UIImagePickerControllerInfo info{photo_ ? kUTTypeImage : kUTTypeMovie, photo_, recording_};
  QMetaObject::invokeMethod(
      this,
      [weak = screen_, info] {
        if (auto screen = weak.lock()) screen->finish(info);
      },
      Qt::QueuedConnection);
}

void CaptureModel::cancel() {
  if (stage_ == Saving) return;
  QMetaObject::invokeMethod(
      this,
      [weak = screen_] {
        if (auto screen = weak.lock()) screen->cancel();
      },
      Qt::QueuedConnection);
}

void CaptureModel::previewChanged() {
  if (!session_) return;
  const auto picture = session_->preview();
  const bool first = picture && !std::exchange(sees_, sees_ || picture);
  if (picture && preview_ && stage_ != Reviewing && stage_ != Saving && stage_ != Failed) preview_->show(picture);
  if (stage_ == Recording) {
    const QString before = elapsed();
    seconds_ = session_->recordedSeconds().value_or(seconds_);
    if (elapsed() != before) Q_EMIT elapsedChanged();
  }
  if (first) Q_EMIT changed();
}

void CaptureModel::devicesChanged() {
  if (!session_) return;
  devices_ = session_->devices();
  // A camera that was missing has been plugged in.
  if (stage_ == Failed && failure_ == CameraErrorNoDevice && !devices_.empty()) open({});
  Q_EMIT changed();
}

void CaptureModel::photoTaken(const std::shared_ptr<const UIImage>& photo) {
  if (stage_ != Waiting) return;
  photo_ = photo;
  if (preview_) preview_->show(upright(*photo));
  setStage(Reviewing);
}

void CaptureModel::recordingEnded(const std::optional<AVRecording>& recording, const std::optional<NSError>& error) {
  recording_ = recording;
  if (!recording) {
    seconds_ = 0;
    setStage(Failed, wordsFor(error.value_or(NSError{kCameraErrorDomain, CameraErrorFailed, {}})));
    return;
  }
  seconds_ = recording->duration;
  Words words;
  if (error) words = {wordsFor(*error).title, QStringLiteral("What was recorded until then is kept.")};
  setStage(Reviewing, words);
}

void CaptureModel::failed(const NSError& error) {
  failure_ = error.code;
  sees_ = false;
  // A photo or video that was taken before the failure can still be kept.
  if (stage_ == Reviewing || stage_ == Saving) return;
  setStage(Failed, wordsFor(error));
}

CaptureModel::Words CaptureModel::wordsFor(const NSError& error) {
  switch (error.code) {
    case CameraErrorNoDevice:
      return {QStringLiteral("No camera found"), QStringLiteral("Plug one in, and it shows here.")};
    case CameraErrorBusy:
      return {QStringLiteral("The camera is in use"),
              QStringLiteral("Close the program that is using it, then try again.")};
    case CameraErrorNotAllowed:
      return {QStringLiteral("The camera cannot be opened"),
              QStringLiteral("This program has no right to use it on this computer.")};
    case CameraErrorDisconnected:
      return {QStringLiteral("The camera was disconnected"), QStringLiteral("Plug it in again, then try again.")};
    case CameraErrorNoSpace:
      return {QStringLiteral("The disk is full"), QStringLiteral("Free some space, then try again.")};
    case CameraErrorNoEncoder:
      return {QStringLiteral("Videos cannot be recorded"),
              QStringLiteral("This computer has no video encoder that GStreamer can use.")};
    default:
      return {QStringLiteral("The camera does not work"), QStringLiteral("Try again, or use another one.")};
  }
}

}  // namespace tlx::qtquick
