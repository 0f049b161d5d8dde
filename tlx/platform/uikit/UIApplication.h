#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tlx {

class UIWindow;

enum UIUserInterfaceIdiom : std::int64_t {
  UIUserInterfaceIdiomPhone = 0,
  UIUserInterfaceIdiomPad = 1,  ///< the window's shorter side is at least 600 points when it is created
};

/// The URL that leads to the page where the person decides what this host may do.
inline constexpr char UIApplicationOpenSettingsURLString[] = "app-settings:";

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
