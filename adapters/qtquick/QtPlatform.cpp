#include "adapters/qtquick/QtPlatform.h"

#include <QCoreApplication>
#include <QEvent>
#include <QtQml>

// NOLINTNEXTLINE(readability-identifier-naming): named by what makes it of the QML module
void qml_register_types_TLX_MediaPicker();

namespace tlx::qtquick {

QtPlatform::QtPlatform(const LoopPorts& loops, QQuickWindow& window, PhotoLibraryPort& library,
                       ImageManagerPort& images, ReachabilityPort& reachability, SystemLogPort& log, CameraPort* camera)
    : application_(window, appearance_) {
  // A static library's types register themselves only when something refers to them.
  qml_register_types_TLX_MediaPicker();
  appearance_.giveTo(engine_);
  engine_.addImportPath(QStringLiteral("qrc:/tlx/mediapicker"));
  scenes_ = std::make_unique<QtScenes>(engine_);
  scenes_->readAhead();
  presentation_ = std::make_unique<QtPresentation>(engine_);
  platform_ = std::make_unique<Platform>(Platform::Ports{
      loops.mainQueue, loops.timers, loops.displayClock, loops.runLoops, library, images, reachability, *scenes_, text_,
      *presentation_, application_, log, camera ? *camera : noCamera_, captureScreen_});
  window_ = std::make_unique<QtWindow>(window, engine_, *scenes_);
  application_.setWindow(window_->model());
  presentation_->setWindow(window_.get());
  keys_ = std::make_unique<KeyRouter>(window_->rootItem(), *presentation_);
  window_->setKeyHandler([this](const QKeyEvent& event) { return keys_->press(event); });
}

QtPlatform::~QtPlatform() {
  presentation_->setWindow(nullptr);
  application_.setWindow(nullptr);
  window_.reset();
  presentation_.reset();
  scenes_->dropReady();
  // Items go with their views a turn later; none may outlive the engine that made it.
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  platform_.reset();
}

}  // namespace tlx::qtquick
