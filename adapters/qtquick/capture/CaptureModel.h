#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>
#include <optional>

#include <QtQml/qqmlregistration.h>

#include "tlx/platform/avfoundation/CameraPort.h"
#include "tlx/platform/uikit/UIImage.h"
#include "tlx/platform/uikit/UIImagePickerController.h"

#include "adapters/qtquick/capture/CapturePreview.h"

namespace tlx::qtquick {

/// What the camera's screen shows, and what its buttons do: aim, take, look at it, keep it or take another.
class CaptureModel final : public QObject, public CaptureSessionListener {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("made by the screen")
  Q_PROPERTY(Stage stage READ stage NOTIFY changed)
  Q_PROPERTY(bool movie READ isMovie NOTIFY changed)
  Q_PROPERTY(bool offersBoth READ offersBoth NOTIFY changed)
  Q_PROPERTY(int cameras READ cameras NOTIFY changed)
  Q_PROPERTY(QString cameraName READ cameraName NOTIFY changed)
  Q_PROPERTY(bool front READ isFront NOTIFY changed)
  Q_PROPERTY(bool ready READ isReady NOTIFY changed)
  Q_PROPERTY(QString elapsed READ elapsed NOTIFY elapsedChanged)
  Q_PROPERTY(QString title READ title NOTIFY changed)
  Q_PROPERTY(QString advice READ advice NOTIFY changed)

 public:
  /// Waiting: for the photo, or for a recording's end. Failed: nothing can be taken; title and advice say why.
  enum Stage { Aiming, Recording, Waiting, Reviewing, Saving, Failed };
  Q_ENUM(Stage)

  explicit CaptureModel(const std::shared_ptr<UIImagePickerController>& screen);

  /// Where pictures go; begins to look through the camera.
  void start(CapturePreview& preview);
  /// Lets go of the camera; what is shown stays.
  void stop();

  Stage stage() const { return stage_; }
  bool isMovie() const { return kind_ == CaptureKind::Movie; }
  bool offersBoth() const { return photos_ && movies_; }
  int cameras() const { return session_ ? static_cast<int>(session_->devices().size()) : 0; }
  QString cameraName() const;
  bool isFront() const;
  /// Whether there is a picture to take.
  bool isReady() const { return stage_ == Aiming && sees_; }
  /// "0:07", of the recording that runs or was made.
  QString elapsed() const;
  /// Beside a review: what cut the recording short.
  QString title() const { return title_; }
  QString advice() const { return advice_; }

  Q_INVOKABLE void shoot();
  Q_INVOKABLE void setMovie(bool movie);
  Q_INVOKABLE void switchCamera();
  /// Another try, after a look at what was taken or after a failure.
  Q_INVOKABLE void retake();
  Q_INVOKABLE void use();
  Q_INVOKABLE void cancel();

  void previewChanged() override;
  void devicesChanged() override;
  void photoTaken(const std::shared_ptr<const UIImage>& photo) override;
  void recordingEnded(const std::optional<AVRecording>& recording, const std::optional<NSError>& error) override;
  void failed(const NSError& error) override;

 Q_SIGNALS:
  void changed();
  void elapsedChanged();

 private:
  struct Words {
    QString title, advice;
  };
  static Words wordsFor(const NSError& error);
  void open(const std::string& device);
  void setStage(Stage stage, const Words& words = {});
  std::string deviceIdentifier() const;
  const CaptureDevice* device() const;

  const std::weak_ptr<UIImagePickerController> screen_;
  bool photos_ = false, movies_ = false, sees_ = false;
  CaptureKind kind_ = CaptureKind::Photo;
  Stage stage_ = Aiming;
  QString title_, advice_;
  double seconds_ = 0;
  std::optional<std::int64_t> failure_;  ///< the code of what the camera cannot go on for
  QPointer<CapturePreview> preview_;
  std::vector<CaptureDevice> devices_;
  std::shared_ptr<const UIImage> photo_;
  std::optional<AVRecording> recording_;
  std::unique_ptr<CaptureSession> session_;
};

}  // namespace tlx::qtquick
