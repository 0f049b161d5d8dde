#pragma once

#include <QQmlEngine>
#include <QString>
#include <memory>

#include "tlx/platform/Platform.h"
#include "tlx/platform/avfoundation/CameraPort.h"

#include "adapters/qtquick/capture/QtCaptureScreen.h"
#include "adapters/qtquick/loop/QtLoop.h"
#include "adapters/qtquick/scenes/QtScenes.h"
#include "adapters/qtquick/window/Appearance.h"
#include "adapters/qtquick/window/KeyRouter.h"
#include "adapters/qtquick/window/QtApplication.h"
#include "adapters/qtquick/window/QtPresentation.h"
#include "adapters/qtquick/window/QtWindow.h"

namespace tlx {
class PhotoLibraryPort;
class ImageManagerPort;
class ReachabilityPort;
class SystemLogPort;
}  // namespace tlx

namespace tlx::qtquick {

/// What moves a platform: queue, timers, display clock and run loops. They outlive it.
struct LoopPorts {
  MainQueuePort& mainQueue;
  TimerPort& timers;
  DisplayClockPort& displayClock;
  RunLoopPort& runLoops;
};

/// A platform whose screen is a Qt Quick window; without a camera of the program's it has none. Built on the main
/// thread after the application object; the program brings the library, the pictures and the network. Destroy the
/// pickers first, then this, then what it was given.
class QtPlatform {
 public:
  /// Qt's own. They exist before the platform, because libraries are built on them.
  class Loops {
   public:
    Loops() : displayClock(timers) {}
    QtMainQueue mainQueue;
    QtTimers timers;
    QtDisplayClock displayClock;
    QtRunLoops runLoops;
    operator LoopPorts() { return {mainQueue, timers, displayClock, runLoops}; }
  };

  QtPlatform(const LoopPorts& loops, QQuickWindow& window, PhotoLibraryPort& library, ImageManagerPort& images,
             ReachabilityPort& reachability, SystemLogPort& log, CameraPort* camera = nullptr);
  ~QtPlatform();

  QtWindow& window() { return *window_; }
  Appearance& appearance() { return appearance_; }
  QtApplication& application() { return application_; }
  QtPresentation& presentation() { return *presentation_; }
  QtScenes& scenes() { return *scenes_; }
  QQmlEngine& engine() { return engine_; }

 private:
  Appearance appearance_{nullptr};
  QQmlEngine engine_;
  QtApplication application_;
  QtText text_;
  NoCamera noCamera_;
  QtCaptureScreen captureScreen_{engine_};
  std::unique_ptr<QtScenes> scenes_;
  std::unique_ptr<QtPresentation> presentation_;
  std::unique_ptr<Platform> platform_;
  std::unique_ptr<QtWindow> window_;
  std::unique_ptr<KeyRouter> keys_;
};

}  // namespace tlx::qtquick
