#pragma once

#include <QPointer>
#include <QQuickItem>
#include <map>
#include <memory>

#include "tlx/platform/uikit/CaptureScreenPort.h"

class QQmlEngine;

namespace tlx::qtquick {

class CaptureModel;

/// Draws the camera's screen with Qt Quick, in the view of the one who presents it.
class QtCaptureScreen final : public CaptureScreenPort {
 public:
  /// The engine outlives the screens.
  explicit QtCaptureScreen(QQmlEngine& engine);
  ~QtCaptureScreen() override;

  void open(const std::shared_ptr<UIImagePickerController>& screen) override;
  void close(const UIImagePickerController& screen) override;

 private:
  struct Shown {
    std::unique_ptr<CaptureModel> model;
    QPointer<QQuickItem> item;
  };

  QQmlEngine& engine_;
  std::map<const UIImagePickerController*, Shown> shown_;
};

}  // namespace tlx::qtquick
