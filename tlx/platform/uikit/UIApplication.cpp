#include "tlx/platform/uikit/UIApplication.h"

#include "tlx/platform/ApplicationPort.h"
#include "tlx/platform/Platform.h"

namespace tlx {
namespace {

ApplicationPort& port() {
  return Platform::current().ports().application;
}

}  // namespace

bool UIApplication::openURL(const std::string& url) const {
  return port().openURL(url);
}

void UIApplication::setStatusBarHidden(bool hidden) const {
  port().setStatusBarHidden(hidden);
}

std::shared_ptr<UIWindow> UIApplication::window() const {
  return port().window();
}

UIUserInterfaceIdiom UIDevice::userInterfaceIdiom() const {
  return port().userInterfaceIdiom().value_or(UIUserInterfaceIdiomPhone);
}

double UIScreen::scale() const {
  return port().screenScale();
}

}  // namespace tlx
