#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tlx {

class UIWindow;
enum UIUserInterfaceIdiom : std::int64_t;

/// The host program and the device it runs on. Main thread.
class ApplicationPort {
 public:
  virtual ~ApplicationPort() = default;
  /// The program's window with its root view controller; nothing while there is none.
  virtual std::shared_ptr<UIWindow> window() const = 0;
  /// Nothing when the device does not tell, which counts as a phone.
  virtual std::optional<UIUserInterfaceIdiom> userInterfaceIdiom() const = 0;
  /// Pixels to a point of the main screen; at least 1.
  virtual double screenScale() const = 0;
  /// Opens the settings page for `UIApplicationOpenSettingsURLString`. False when nothing could be opened.
  virtual bool openURL(const std::string& url) = 0;
  /// Nothing happens where there is no status bar.
  virtual void setStatusBarHidden(bool hidden) = 0;
  /// Whether the person asked for less motion: what is drawn then jumps, while completions still come after the
  /// full duration.
  virtual bool reduceMotion() const { return false; }
};

}  // namespace tlx
