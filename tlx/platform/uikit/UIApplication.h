#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tlx {

class UIViewController;
class UIWindow;

enum UIUserInterfaceIdiom : std::int64_t {
  UIUserInterfaceIdiomPhone = 0,
  UIUserInterfaceIdiomPad = 1,  ///< the window's shorter side is at least 600 points when it is created
};

/// The URL that leads to the page where the person decides what this host may do.
inline constexpr char UIApplicationOpenSettingsURLString[] = "app-settings:";

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
  virtual void setStatusBarHidden(bool hidden) = 0;
  /// Whether the person asked for less motion: animations then jump, their completions keep their time.
  virtual bool reduceMotion() const { return false; }
};

class UIApplication {
 public:
  static UIApplication sharedApplication() { return {}; }

  bool openURL(const std::string& url) const;
  void setStatusBarHidden(bool hidden) const;
  /// Through the application's delegate; nothing when there is none.
  std::shared_ptr<UIWindow> window() const;
};

class UIDevice {
 public:
  static UIDevice currentDevice() { return {}; }
  /// Phone when the device does not tell.
  UIUserInterfaceIdiom userInterfaceIdiom() const;
};

class UIScreen {
 public:
  static UIScreen mainScreen() { return {}; }
  double scale() const;
};

}  // namespace tlx
