#pragma once

#include <functional>
#include <memory>

#include "tlx/platform/ApplicationPort.h"
#include "tlx/platform/uikit/TextMeasurementPort.h"
#include "tlx/platform/uikit/UIApplication.h"
#include "tlx/platform/uikit/UIFont.h"

class QQuickWindow;

namespace tlx::qtquick {

class Appearance;

/// The host program and its machine, as Qt knows them.
class QtApplication final : public ApplicationPort {
 public:
  /// The idiom is settled now: pad when the window's shorter side is at least 600 points.
  QtApplication(QQuickWindow& window, const Appearance& appearance);

  void setWindow(std::shared_ptr<UIWindow> window) { window_ = std::move(window); }
  /// Called for the settings page.
  void setSettingsHandler(std::function<bool()> handler) { settings_ = std::move(handler); }

  std::shared_ptr<UIWindow> window() const override { return window_; }
  std::optional<UIUserInterfaceIdiom> userInterfaceIdiom() const override { return idiom_; }
  double screenScale() const override;
  bool openURL(const std::string& url) override;
  void setStatusBarHidden(bool) override {}
  bool reduceMotion() const override;

 private:
  QQuickWindow& quickWindow_;     // unretained: the program owns the window, the platform the appearance;
  const Appearance& appearance_;  // both outlive this
  UIUserInterfaceIdiom idiom_;
  std::shared_ptr<UIWindow> window_;
  std::function<bool()> settings_;
};

/// Measures with the fonts that labels are drawn in.
class QtText final : public TextMeasurementPort {
 public:
  CGSize sizeOfText(const std::string& text, const UIFontRef& font) override;
};

}  // namespace tlx::qtquick
