#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <typeindex>

namespace tlx {

class ApplicationPort;
class CameraPort;
class CaptureScreenPort;
class DisplayClockPort;
class ImageManagerPort;
class MainQueuePort;
class PhotoLibraryPort;
class PresentationPort;
class ReachabilityPort;
class ResourcePort;
class RunLoopPort;
class SystemLogPort;
class TextMeasurementPort;
class TimerPort;

/// The machine below the picker. A program builds one before its first picker and keeps it past the last; while it
/// lives it is the installed one, and there is never more than one. Main thread, except where a member says otherwise.
///
/// The ports are the program's: they must outlive the platform, and their threads must call no handler once it is gone.
class Platform {
 public:
  struct Ports {
    MainQueuePort& mainQueue;
    TimerPort& timers;
    DisplayClockPort& displayClock;
    RunLoopPort& runLoops;
    PhotoLibraryPort& photoLibrary;
    ImageManagerPort& imageManager;
    ReachabilityPort& reachability;
    ResourcePort& resources;
    TextMeasurementPort& textMeasurement;
    PresentationPort& presentation;
    ApplicationPort& application;
    SystemLogPort& systemLog;
    CameraPort& camera;
    CaptureScreenPort& captureScreen;
  };

  /// Installs itself. A second one while the first lives is a programming error (`NSException`).
  explicit Platform(const Ports& ports);
  /// Lets go of the once-per-platform objects, then uninstalls itself.
  ~Platform();
  Platform(const Platform&) = delete;
  Platform& operator=(const Platform&) = delete;

  /// The installed platform, on any thread. Without one: a programming error (`NSException`).
  static Platform& current();
  /// The same, or nothing.
  static Platform* installed();

  const Ports& ports() const { return ports_; }

  /// The platform's single object of type T, made by `make` on first use. Any thread; `make` runs once and may ask for
  /// others. What `make` answered is kept, also when it is nothing.
  template <class T>
  std::shared_ptr<T> once(const std::function<std::shared_ptr<T>()>& make) {
    std::lock_guard lock(mutex_);
    auto found = singles_.find(typeid(T));
    if (found == singles_.end()) {
      auto made = make();
      found = singles_.emplace(typeid(T), made).first;
    }
    return std::static_pointer_cast<T>(found->second);
  }

 private:
  Ports ports_;
  std::recursive_mutex mutex_;
  std::map<std::type_index, std::shared_ptr<void>> singles_;
};

}  // namespace tlx
