#include "tlx/platform/uikit/UIStoryboard.h"

#include <utility>

#include "tlx/platform/Platform.h"
#include "tlx/platform/uikit/ResourcePort.h"
#include "tlx/platform/uikit/UIViewController.h"

namespace tlx {
namespace {

ResourcePort& port() {
  return Platform::current().ports().resources;
}

}  // namespace

std::shared_ptr<UIStoryboard> UIStoryboard::storyboardWithName_bundle(std::string name, NSBundle bundle) {
  auto storyboard = std::make_shared<UIStoryboard>();
  storyboard->name_ = std::move(name);
  storyboard->bundle_ = std::move(bundle);
  return storyboard;
}

std::shared_ptr<UIViewController> UIStoryboard::instantiateViewControllerWithIdentifier(const std::string& identifier) {
  return port().instantiateViewController(bundle_, name_, identifier);
}

std::vector<std::shared_ptr<NSObject>> loadNibNamed(const NSBundle& bundle, const std::string& name) {
  return port().loadNib(bundle, name);
}

std::shared_ptr<const UIImage> imageNamed_inBundle(const std::string& name, const NSBundle& bundle) {
  return port().imageNamed(bundle, name);
}

}  // namespace tlx
