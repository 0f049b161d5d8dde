#pragma once

#include <functional>
#include <string>

#include <gio/gio.h>

#include "adapters/camera/GlibLoop.h"

namespace tlx::camera {

/// The desktop's service org.freedesktop.portal.Camera, by which a program that is locked in reaches the cameras: it
/// asks the person itself, remembers what they said, and hands out a connection. On the loop's thread.
class CameraPortal {
 public:
  /// Whether this program is locked in, so that the service and not the devices' own rights decide. Any thread.
  static bool isNeeded();

  /// False also when the service does not answer.
  using Answer = std::function<void(bool allowed)>;

  /// A connection to the cameras, the taker's to close; -1 when there is none. A new one for each look through them:
  /// it ends with its first user. Any thread; waits for the service.
  static int openRemote(const std::string& address);

  /// `address` of the bus; empty for the person's own.
  explicit CameraPortal(std::string address = {}) : address_(std::move(address)) {}
  ~CameraPortal();
  CameraPortal(const CameraPortal&) = delete;
  CameraPortal& operator=(const CameraPortal&) = delete;

  /// One at a time.
  void ask(Answer answer);

 private:
  void end(bool allowed);

  const std::string address_;
  GDBusConnection* bus_ = nullptr;
  guint subscription_ = 0;
  Answer answer_;
};

}  // namespace tlx::camera
