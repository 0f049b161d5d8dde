#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tlx {

class UIWindow;

enum UIUserInterfaceIdiom : std::int64_t {
  UIUserInterfaceIdiomPhone = 0,
  /// The window's shorter side was at least 600 points when it was created. It keeps its idiom when it becomes larger
  /// or smaller: what was laid out by it once, as the grid's items are, goes on fitting what is laid out later.
  UIUserInterfaceIdiomPad = 1,
};

/// The URL that leads to the page where the person decides what this host may do.
inline constexpr char UIApplicationOpenSettingsURLString[] = "app-settings:";

/// The host program. Main thread; the contract is `ApplicationPort`'s.
class UIApplication {
 public:
  static UIApplication sharedApplication() { return {}; }

  bool openURL(const std::string& url) const;
  void setStatusBarHidden(bool hidden) const;
  /// The program's window; nothing while there is none.
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
  /// Pixels to a point.
  double scale() const;
};

}  // namespace tlx
